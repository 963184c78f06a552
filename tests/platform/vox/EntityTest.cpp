#include "platform/vox/Entity.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
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

TEST_F(EntityTest, DeleteAllNotifiesEveryMember) {
  for (uint32_t v = 0; v < 5; ++v)
    coll->flagIs({v});
  recorder.events.clear();
  coll->flagDelAll();
  EXPECT_EQ(recorder.events.size(), 5u);
  EXPECT_EQ(coll->flags(), 0u);
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

// An observer that runs an action on its first notification.
struct Actor : TestColl::NotifieeConst {
  std::function<void()> action;
  int calls = 0;
  void onAttribute(const Vox::AttributeInfo&, const void*) override {
    if (calls++ == 0 && action) action();
  }
};

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
// again once the list is back to one. Each case crosses that boundary from inside a delivery:
// watchers `a` (and `b` when `bothWatch`) are hooked in that order, the case arranges what they
// do on their first notification (and may hook `c`), then flag 1 changes (throwing when `throws`)
// and flag 2 follows.
struct BoundaryScene {
  struct Watcher : TestColl::NotifieeConst {
    Watcher(std::string n, Events& l) : name(std::move(n)), log(l) {}
    void onAttribute(const Vox::AttributeInfo&, const void* key) override {
      log.push_back(name + ":" + std::to_string(static_cast<const TestKey*>(key)->value));
      if (calls++ == 0 && action) action();
    }
    std::string name;
    Events& log;
    std::function<void()> action;
    int calls = 0;
  };
  void watch(Watcher& w) {
    w.notifierIs(coll);
    w.hasNotificationActiveIs(true);
  }
  Vox::Ptr<TestColl> coll = Vox::create<TestColl>();
  Events log;
  Watcher a{"a", log}, b{"b", log}, c{"c", log};
};

struct BoundaryCase {
  const char* name;
  bool bothWatch;
  void (*arrange)(BoundaryScene&);
  bool throws;
  Events log;
  std::size_t notifieesAfter;
  friend void PrintTo(const BoundaryCase& c, std::ostream* out) { *out << c.name; }
};

class ObserverListBoundaryTest : public ::testing::TestWithParam<BoundaryCase> {};

TEST_P(ObserverListBoundaryTest, KeepsTheDeliveryGuaranteesAcrossTheInlineArrayBoundary) {
  const BoundaryCase& param = GetParam();
  const int64_t listBytesBefore = Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList);
  BoundaryScene scene;
  scene.watch(scene.a);
  if (param.bothWatch) scene.watch(scene.b);
  param.arrange(scene);
  if (param.throws) {
    EXPECT_THROW(scene.coll->flagIs({1}), std::runtime_error);
  } else {
    scene.coll->flagIs({1});
  }
  scene.coll->flagIs({2});
  EXPECT_EQ(scene.log, param.log);
  EXPECT_EQ(scene.coll->notifiees(), param.notifieesAfter);
  const int64_t listBytes =
      Vox::Memory::liveBytes(Vox::MemoryKind::kNotifieeList) - listBytesBefore;
  if (param.notifieesAfter <= 1) {
    EXPECT_EQ(listBytes, 0) << "a list of one observer or none holds no array";
  } else {
    EXPECT_GT(listBytes, 0);
  }
}

const BoundaryCase kBoundaryCases[] = {
    BoundaryCase{"OnlyObserverRemovesItself", false,
                 [](BoundaryScene& s) { s.a.action = [&s] { s.a.unhook(); }; }, false,
                 Events{"a:1"}, 0},
    BoundaryCase{"OnlyObserverAddsASecond", false,
                 [](BoundaryScene& s) { s.a.action = [&s] { s.watch(s.b); }; }, false,
                 Events{"a:1", "a:2", "b:2"}, 2},
    BoundaryCase{"OnlyObserverReplacesItself", false,
                 [](BoundaryScene& s) {
                   s.a.action = [&s] {
                     s.a.unhook();
                     s.watch(s.b);
                   };
                 },
                 false, Events{"a:1", "b:2"}, 1},
    BoundaryCase{"FirstOfTwoRemovesTheOther", true,
                 [](BoundaryScene& s) { s.a.action = [&s] { s.b.unhook(); }; }, false,
                 Events{"a:1", "a:2"}, 1},
    BoundaryCase{"SecondOfTwoRemovesTheOther", true,
                 [](BoundaryScene& s) { s.b.action = [&s] { s.a.unhook(); }; }, false,
                 Events{"a:1", "b:1", "b:2"}, 1},
    BoundaryCase{"BothOfTwoRemoveThemselves", true,
                 [](BoundaryScene& s) {
                   s.a.action = [&s] { s.a.unhook(); };
                   s.b.action = [&s] { s.b.unhook(); };
                 },
                 false, Events{"a:1", "b:1"}, 0},
    BoundaryCase{"FirstOfThreeRemovesTheThirdAndTheSecondItself", true,
                 [](BoundaryScene& s) {
                   s.watch(s.c);
                   s.a.action = [&s] { s.c.unhook(); };
                   s.b.action = [&s] { s.b.unhook(); };
                 },
                 false, Events{"a:1", "b:1", "a:2"}, 1},
    BoundaryCase{"ThirdAddedWhileTheArrayIsWalked", true,
                 [](BoundaryScene& s) { s.a.action = [&s] { s.watch(s.c); }; }, false,
                 Events{"a:1", "b:1", "a:2", "b:2", "c:2"}, 3},
    BoundaryCase{"NestedChangeFromTheOnlyObserver", false,
                 [](BoundaryScene& s) { s.a.action = [&s] { s.coll->flagIs({99}); }; }, false,
                 Events{"a:1", "a:99", "a:2"}, 1},
    BoundaryCase{"SecondAddedThenNestedChangeRemovesTheFirst", false,
                 [](BoundaryScene& s) {
                   s.a.action = [&s] {
                     s.watch(s.b);
                     s.coll->flagIs({99});
                   };
                   s.b.action = [&s] { s.a.unhook(); };
                 },
                 false, Events{"a:1", "a:99", "b:99", "b:2"}, 1},
    BoundaryCase{
        "OnlyObserverThrows", false,
        [](BoundaryScene& s) { s.a.action = [] { throw std::runtime_error("observer failed"); }; },
        true, Events{"a:1", "a:2"}, 1},
    BoundaryCase{"OnlyObserverAddsASecondThenThrows", false,
                 [](BoundaryScene& s) {
                   s.a.action = [&s] {
                     s.watch(s.b);
                     throw std::runtime_error("observer failed");
                   };
                 },
                 true, Events{"a:1", "a:2", "b:2"}, 2},
    BoundaryCase{"FirstOfTwoRemovesTheOtherThenThrows", true,
                 [](BoundaryScene& s) {
                   s.a.action = [&s] {
                     s.b.unhook();
                     throw std::runtime_error("observer failed");
                   };
                 },
                 true, Events{"a:1", "a:2"}, 1}};

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

TEST(EntityLifetimeTest, EntityOutlivesDeliveryWhenAnObserverDropsTheLastReference) {
  Vox::Ptr<TestColl> coll = Vox::create<TestColl>();
  Actor dropper;
  dropper.notifierIs(coll);
  dropper.hasNotificationActiveIs(true);
  Recorder after;
  after.notifierIs(coll);
  after.hasNotificationActiveIs(true);
  dropper.action = [&] {
    dropper.notifierIs(nullptr);
    after.notifierIs(nullptr);
    coll = nullptr;  // the caller's reference, the last one outside the delivery
  };
  TestColl* raw = coll.ptr();
  raw->flagIs({1});  // must not touch freed memory (the sanitizer build checks)
  EXPECT_EQ(coll, nullptr);
  EXPECT_TRUE(after.events.empty());
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
