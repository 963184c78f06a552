#include "platform/vox/Entity.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestEntities.h"

namespace {

using QuillTest::Recorder;
using QuillTest::TestColl;
using QuillTest::TestItem;
using QuillTest::TestKey;
using Events = std::vector<std::string>;

class EntityTest : public ::testing::Test {
 protected:
  void SetUp() override {
    coll = Vox::create<TestColl>();
    recorder.notifierIs(coll);
    recorder.hasNotificationActiveIs(true);
  }
  Vox::Ptr<TestColl> coll;
  Recorder recorder;
};

TEST_F(EntityTest, NotifiesOncePerRealChangeAndNeverForNoOps) {
  auto first = coll->itemIs({1});
  EXPECT_EQ(coll->itemIs({1}), first);  // find, not create
  coll->flagIs({7});
  coll->flagIs({7});
  coll->flagDel({8});
  coll->itemDel({2});
  coll->flagDel({7});
  coll->itemDel({1});
  EXPECT_EQ(recorder.events, (Events{"item:1", "flag:7", "flag:7", "item:1"}));
  for (uint32_t v = 0; v < 5; ++v)
    coll->flagIs({v});
  coll->flagDelAll();  // one notification per member removed
  EXPECT_EQ(recorder.events.size(), 4u + 10u);
  EXPECT_EQ(coll->flags(), 0u);
}

TEST_F(EntityTest, ObserversSeeTheChangeAlreadyApplied) {
  struct Checker : TestColl::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
      if (auto* k = TestColl::itemAttribute::match(attr, key))
        present.push_back(bool(notifier()->item(*k)));
    }
    std::vector<bool> present;
  } checker;
  checker.notifierIs(coll);
  checker.hasNotificationActiveIs(true);
  coll->itemIs({3});
  coll->itemDel({3});
  EXPECT_EQ(checker.present, (std::vector<bool>{true, false}));
}

TEST_F(EntityTest, MembersAreChildrenUntilRemovedAndSurviveWhileHeld) {
  Vox::Ptr<TestItem> item = coll->itemIs({4});
  EXPECT_EQ(item->parent(), coll.ptr());
  EXPECT_TRUE(item->hasNotificationActive());
  EXPECT_EQ(item->name(), "4");  // a member is named by its key; a collection has no name
  EXPECT_EQ(coll->name(), "");
  item->tagIs({9});
  coll->itemDel({4});
  EXPECT_EQ(item->parent(), nullptr);
  EXPECT_TRUE(item->tag({9}));  // still usable outside any collection
  EXPECT_EQ(item->references(), 1u);
}

TEST_F(EntityTest, InactiveOrDeletingObserversAndInactiveEntitiesAreSilent) {
  recorder.hasNotificationActiveIs(false);
  coll->flagIs({1});
  recorder.hasNotificationActiveIs(true);
  recorder.deletingIs(true);
  coll->flagIs({2});
  recorder.deletingIs(false);
  coll->hasNotificationActiveIs(false);
  coll->flagIs({3});
  coll->hasNotificationActiveIs(true);
  recorder.unhook();
  coll->flagIs({4});
  recorder.hook();
  coll->flagIs({5});
  EXPECT_EQ(recorder.events, (Events{"flag:5"}));
}

TEST_F(EntityTest, AMemberRemovedInsideTheLoopThatVisitsItStaysUsable) {
  for (uint32_t v = 0; v < 4; ++v) {
    auto item = coll->itemIs({v});
    item->tagIs({1});
    item->tagIs({2});
  }
  int tagsSeen = 0;
  for (const auto [key, item] : coll->itemColl()) {
    for (const TestKey& tag : item.tagColl()) {
      ++tagsSeen;
      coll->itemDel(key);  // drops the collection's reference to `item` mid-iteration
      EXPECT_TRUE(tag.value == 1 || tag.value == 2);
    }
  }
  EXPECT_EQ(tagsSeen, 8);
  EXPECT_EQ(coll->items(), 0u);
}

// One observer lives in the entity itself; a second moves the list to a heap array, which goes
// again once the list is back to one. Each case crosses that boundary from inside a delivery: the
// observers named in `hooked` are hooked in that order, `a` and `b` run their scripts on their
// first notification, then flag 1 changes and flag 2 follows. A script's steps: "+x" hooks
// observer x, "-x" unhooks it, "*" changes flag 99 (a nested delivery), "0" lets every observer
// go of the entity and drops the caller's reference, its last (the entity must outlive the
// delivery), "!" throws.
struct BoundaryScene {
  struct Watcher : TestColl::NotifieeConst {
    Watcher(char n, BoundaryScene& s) : name(n), scene(s) {}
    void onAttribute(const Vox::AttributeInfo&, const void* key) override {
      scene.log.push_back(name + (":" + std::to_string(static_cast<const TestKey*>(key)->value)));
      if (calls++ == 0) scene.run(script);
    }
    char name;
    BoundaryScene& scene;
    std::string_view script;
    int calls = 0;
  };
  Watcher& watcher(char name) { return watchers[name - 'a']; }
  void watch(Watcher& w) {
    w.notifierIs(coll);
    w.hasNotificationActiveIs(true);
  }
  void run(std::string_view script) {
    for (std::size_t i = 0; i < script.size(); ++i) {
      if (script[i] == '+') watch(watcher(script[++i]));
      if (script[i] == '-') watcher(script[++i]).unhook();
      if (script[i] == '*') coll->flagIs({99});
      if (script[i] == '0') {
        for (Watcher& w : watchers)
          w.notifierIs(nullptr);
        coll = nullptr;
      }
      if (script[i] == '!') throw std::runtime_error("observer failed");
    }
  }
  Vox::Ptr<TestColl> coll = Vox::create<TestColl>();
  Events log;
  Watcher watchers[3] = {{'a', *this}, {'b', *this}, {'c', *this}};
};

struct BoundaryCase {
  const char* name;
  std::string_view hooked, scriptA, scriptB;
  Events log;
  std::size_t notifieesAfter;
  friend void PrintTo(const BoundaryCase& c, std::ostream* out) { *out << c.name; }
};

class ObserverListBoundaryTest : public ::testing::TestWithParam<BoundaryCase> {};

TEST_P(ObserverListBoundaryTest, KeepsTheDeliveryGuaranteesAcrossTheInlineArrayBoundary) {
  const BoundaryCase& param = GetParam();
  const int64_t listBytesBefore = Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList);
  BoundaryScene scene;
  scene.watcher('a').script = param.scriptA;
  scene.watcher('b').script = param.scriptB;
  for (const char name : param.hooked)
    scene.watch(scene.watcher(name));
  TestColl* raw = scene.coll.ptr();
  if (param.scriptA.find('!') != std::string_view::npos) {
    EXPECT_THROW(raw->flagIs({1}), std::runtime_error);
  } else {
    raw->flagIs({1});  // must not touch freed memory when "0" ran (the sanitizer build checks)
  }
  if (scene.coll) scene.coll->flagIs({2});
  EXPECT_EQ(scene.log, param.log);
  EXPECT_EQ(scene.coll ? scene.coll->notifiees() : 0u, param.notifieesAfter);
  const int64_t listBytes =
      Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList) - listBytesBefore;
  EXPECT_GE(listBytes, 0);
  EXPECT_EQ(listBytes > 0, param.notifieesAfter > 1) << "only two observers or more hold an array";
}

const BoundaryCase kBoundaryCases[] = {
    {"OnlyObserverRemovesItself", "a", "-a", "", {"a:1"}, 0},
    {"OnlyObserverAddsASecond", "a", "+b", "", {"a:1", "a:2", "b:2"}, 2},
    {"OnlyObserverReplacesItself", "a", "-a+b", "", {"a:1", "b:2"}, 1},
    {"FirstOfTwoRemovesTheOther", "ab", "-b", "", {"a:1", "a:2"}, 1},
    {"SecondOfTwoRemovesTheOther", "ab", "", "-a", {"a:1", "b:1", "b:2"}, 1},
    {"BothOfTwoRemoveThemselves", "ab", "-a", "-b", {"a:1", "b:1"}, 0},
    {"FirstOfThreeRemovesTheThirdAndTheSecondItself", "abc", "-c", "-b", {"a:1", "b:1", "a:2"}, 1},
    {"ThirdAddedWhileTheArrayIsWalked", "ab", "+c", "", {"a:1", "b:1", "a:2", "b:2", "c:2"}, 3},
    {"NestedChangeFromTheOnlyObserver", "a", "*", "", {"a:1", "a:99", "a:2"}, 1},
    {"SecondAddedThenNestedChangeRemovesTheFirst",
     "a",
     "+b*",
     "-a",
     {"a:1", "a:99", "b:99", "b:2"},
     1},
    {"OnlyObserverThrows", "a", "!", "", {"a:1", "a:2"}, 1},
    {"OnlyObserverAddsASecondThenThrows", "a", "+b!", "", {"a:1", "a:2", "b:2"}, 2},
    {"FirstOfTwoRemovesTheOtherThenThrows", "ab", "-b!", "", {"a:1", "a:2"}, 1},
    {"AnObserverDropsTheLastReference", "ab", "0", "", {"a:1"}, 0},
};

INSTANTIATE_TEST_SUITE_P(Boundaries, ObserverListBoundaryTest, ::testing::ValuesIn(kBoundaryCases),
                         [](const ::testing::TestParamInfo<BoundaryCase>& param) {
                           return param.param.name;
                         });

TEST(ObserverListTest, AListBackToOneObserverOutsideADeliveryGivesItsArrayBack) {
  const int64_t listBytesBefore = Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList);
  auto listBytes = [&] {
    return Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList) - listBytesBefore;
  };
  Vox::Ptr<TestColl> coll = Vox::create<TestColl>();
  std::vector<std::unique_ptr<Recorder>> recorders;
  for (int i = 0; i < 5; ++i) {
    recorders.push_back(std::make_unique<Recorder>());
    recorders.back()->notifierIs(coll);
    recorders.back()->hasNotificationActiveIs(true);
    EXPECT_EQ(listBytes() > 0, i > 0) << i + 1 << " observers";
  }
  // Remove from the middle and both ends; the survivors keep their order and all hear changes.
  for (int i : {2, 0, 4}) {
    recorders[i]->unhook();
  }
  EXPECT_EQ(coll->notifiees(), 2u);
  EXPECT_GT(listBytes(), 0);
  const Vox::NotifieeList& list = coll->notifieeList();
  ASSERT_FALSE(list.inlined());
  ASSERT_EQ(list.arraySlots(), 2u);
  EXPECT_EQ(list.arraySlot(0), recorders[1].get());
  EXPECT_EQ(list.arraySlot(1), recorders[3].get());
  coll->flagIs({1});
  recorders[1]->unhook();
  EXPECT_EQ(coll->notifiees(), 1u);
  EXPECT_EQ(listBytes(), 0);
  EXPECT_TRUE(list.inlined());
  EXPECT_EQ(list.single(), recorders[3].get());
  coll->flagIs({2});
  EXPECT_EQ(recorders[1]->events, (Events{"flag:1"}));
  EXPECT_EQ(recorders[3]->events, (Events{"flag:1", "flag:2"}));
  recorders.clear();
  EXPECT_EQ(coll->notifiees(), 0u);
}

// A follower of a group hears each item's changes while the item is a member, the item itself
// when it leaves (still holding its tags), and nothing of it once it has left; an item's own
// observer that takes it out of the group during a change leaves the follower hearing of the
// removal, not of that change.
TEST(MemberFollowerTest, HearsItsMembersOnlyWhileTheyAreMembers) {
  auto group = Vox::create<QuillTest::TestGroup>(TestKey{1});
  struct Follower : QuillTest::TestGroup::NotifieeConst {
    Follower() { followsMembersIs(true); }
    void onAttribute(const Vox::AttributeInfo& attr, const void*) override {
      log.push_back(std::string("joined ") + attr.name);
    }
    void onMemberRemoved(const Vox::AttributeInfo&, const void*,
                         const Vox::Entity& removed) override {
      log.push_back("left " + removed.name() + " with " +
                    std::to_string(static_cast<const TestItem&>(removed).tags()) + " tags");
    }
    void onMemberAttribute(const Vox::Entity& member, const Vox::AttributeInfo& attr,
                           const void* key) override {
      log.push_back(member.name() + " " + attr.name + " " +
                    std::to_string(static_cast<const TestKey*>(key)->value));
    }
    Events log;
  } follower;
  follower.notifierIs(group);
  follower.hasNotificationActiveIs(true);

  auto item = group->itemIs({2});
  item->tagIs({20});
  group->itemDel({2});
  item->tagIs({21});  // no longer a member: unheard

  struct Evicter : TestItem::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo&, const void*) override { group->itemDel({3}); }
    Vox::Ptr<QuillTest::TestGroup> group;
  } evicter;
  evicter.group = group;
  evicter.notifierIs(group->itemIs({3}));
  evicter.hasNotificationActiveIs(true);
  group->item({3})->tagIs({30});
  EXPECT_EQ(follower.log, (Events{"joined item", "2 tag 20", "left 2 with 1 tags", "joined item",
                                  "left 3 with 1 tags"}));
}

}  // namespace
