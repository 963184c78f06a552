#include "platform/vox/Reactor.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/TestEntities.h"

namespace {

using QuillTest::TestColl;
using QuillTest::TestItem;
using QuillTest::TestKey;
using Events = std::vector<std::string>;

// A reactor that follows every item of a TestColl and every tag of each item, logging what its
// handlers see.
template <Vox::Removal RemovalPolicy>
class LoggingReactor : public Vox::Reactor {
 public:
  class VoxItem : public Vox::MemberReactor<VoxItem, LoggingReactor, TestItem> {
   public:
    static constexpr Vox::Removal kRemoval = RemovalPolicy;
    using Vox::MemberReactor<VoxItem, LoggingReactor, TestItem>::MemberReactor;

    void handleItem() {
      if (!this->ownerAlive()) return;
      std::string tags;
      for (const TestKey& tag : this->member()->tagColl())
        tags += " " + std::to_string(tag.value);
      this->owner()->log.push_back("whole " + this->member()->name() +
                                   (this->zombie() ? " zombie" : "") + tags);
    }
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
      if (auto* tag = TestItem::tagAttribute::match(attr, key)) {
        this->owner()->log.push_back("tag " + this->member()->name() + " " +
                                     std::to_string(tag->value));
      }
    }
    static constexpr auto kWholeMemberHandler = &VoxItem::handleItem;
  };

  explicit LoggingReactor(const Vox::Ptr<const TestColl>& coll) { itemObserver.notifierIs(coll); }

  void handleFlag(const TestKey& flag) { log.push_back("flag " + std::to_string(flag.value)); }

  Events log;
  Vox::PerKeyReactorColl<VoxItem> item{*this, "QuillTest::LoggingReactor", "item"};
  Vox::CollectionObserver<TestColl::itemAttribute, VoxItem> itemObserver{*this, item};
  Vox::KeyObserver<TestColl::flagAttribute, &LoggingReactor::handleFlag> flagObserver{*this};
};

template <class R>
class ReactorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    coll = Vox::create<TestColl>();
    coll->itemIs({1})->tagIs({10});
    reactor = Vox::create<R>(coll);
    reactor->flagObserver.notifierIs(coll);
  }
  Vox::Ptr<TestColl> coll;
  Vox::Ptr<R> reactor;
};

using DropReactor = LoggingReactor<Vox::Removal::kDrop>;
using ZombieReactor = LoggingReactor<Vox::Removal::kZombie>;
using ReactorTypes = ::testing::Types<DropReactor, ZombieReactor>;
TYPED_TEST_SUITE(ReactorTest, ReactorTypes);

TYPED_TEST(ReactorTest, FollowsMembersAndTheirKeysAndLetsRemovedOnesGoAsThePolicySays) {
  // The item present at construction got its per-key reactor while the owner was not yet
  // referenced, so its whole-member scan did nothing.
  EXPECT_TRUE(this->reactor->log.empty());
  EXPECT_EQ(this->reactor->item.size(), 1u);
  auto item = this->coll->itemIs({2});
  item->tagIs({20});
  item->tagDel({20});
  this->coll->flagIs({5});
  EXPECT_EQ(this->reactor->log, (Events{"whole 2", "tag 2 20", "tag 2 20", "flag 5"}));
  EXPECT_EQ(this->reactor->item.size(), 2u);
  // A removed member is dropped, or withdrawn as a zombie, and reaches no one any more.
  this->reactor->log.clear();
  auto first = this->coll->item({1});
  this->coll->itemDel({1});
  first->tagIs({11});
  EXPECT_EQ(this->reactor->item.size(), 1u);
  EXPECT_EQ(this->reactor->log,
            (std::is_same_v<TypeParam, ZombieReactor> ? Events{"whole 1 zombie 10"} : Events{}));
}

// With notifications off, and as a zombie, no part of the reactor hears anything; it hears again
// once back.
TYPED_TEST(ReactorTest, NotificationsOffAndAZombieSilenceEveryPartUntilBack) {
  auto& reactor = *this->reactor;
  reactor.hasNotificationActiveIs(false);
  this->coll->itemIs({3});
  this->coll->item({1})->tagIs({12});
  this->coll->flagIs({6});
  EXPECT_TRUE(reactor.log.empty());
  EXPECT_EQ(reactor.item.size(), 1u);
  reactor.hasNotificationActiveIs(true);
  this->coll->item({1})->tagIs({13});
  EXPECT_EQ(reactor.log, (Events{"tag 1 13"}));
  reactor.voxDoZombieReactors(true);
  EXPECT_TRUE(reactor.zombie());
  EXPECT_TRUE(reactor.deleting());
  reactor.log.clear();  // per-key reactors ran their zombie scans
  this->coll->item({1})->tagIs({14});
  this->coll->itemIs({4});
  this->coll->flagIs({7});
  EXPECT_TRUE(reactor.log.empty());
  reactor.voxDoZombieReactors(false);
  this->coll->item({1})->tagIs({15});
  EXPECT_EQ(reactor.log, (Events{"tag 1 15"}));
}

template <class Call>
void expectRangeError(Call call, const char* message) {
  try {
    call();
    ADD_FAILURE() << "expected a range exception";
  } catch (const Vox::RangeException& error) {
    EXPECT_STREQ(error.what(), message);
  }
}

TYPED_TEST(ReactorTest, ReplacingTheMemberOfAKeyReplacesItsReactorAndNoneIsARangeError) {
  auto* first = this->reactor->item.find({1});
  EXPECT_EQ(this->reactor->item.is(this->coll->item({1})), first);
  auto stranger = Vox::create<TestItem>(TestKey{1});
  auto* replaced = this->reactor->item.is(stranger);
  EXPECT_EQ(this->reactor->item.size(), 1u);
  EXPECT_EQ(replaced->member(), stranger.ptr());
  EXPECT_EQ(this->reactor->item.find({1}), replaced);
  // The old member reaches no one any more; the new one does.
  this->reactor->log.clear();
  this->coll->item({1})->tagIs({16});
  stranger->tagIs({17});
  EXPECT_EQ(this->reactor->log, (Events{"tag 1 17"}));
  expectRangeError([this] { this->reactor->item.is(nullptr); },
                   "null _item parameter to mutator for QuillTest::LoggingReactor::item not "
                   "allowed\"");
}

// The typed forwarders: every tag of every item of a group reaches one stage handler with the
// keys of both levels, and each (group, item, tag) is walked once however the group arrives or
// goes.
class NestingReactor : public Vox::Reactor {
 public:
  void handleTag(const TestKey& group, const TestKey& item, const TestKey& tag) {
    log.push_back(std::to_string(group.value) + "/" + std::to_string(item.value) + "/" +
                  std::to_string(tag.value));
  }
  struct VoxGroup
      : Vox::MemberCollForwarder<VoxGroup, NestingReactor, QuillTest::TestGroup::itemAttribute,
                                 TestItem::tagAttribute, &NestingReactor::handleTag> {
    static constexpr const char* kClassName = "QuillTest::NestingReactor::VoxGroup";
    using MemberCollForwarder::MemberCollForwarder;
  };

  explicit NestingReactor(const Vox::Ptr<const QuillTest::TestGroupColl>& coll) {
    initializedIs(true);
    observer.notifierIs(coll);
  }

  Events log;
  Vox::PerKeyReactorColl<VoxGroup> group{*this, "QuillTest::NestingReactor", "group"};
  Vox::CollectionObserver<QuillTest::TestGroupColl::groupAttribute, VoxGroup> observer{*this,
                                                                                       group};
};

TEST(KeyForwarderTest, NestedKeysReachTheStageOncePerPair) {
  auto coll = Vox::create<QuillTest::TestGroupColl>();
  coll->groupIs({1})->itemIs({1})->tagIs({10});
  auto reactor = Vox::create<NestingReactor>(coll);
  EXPECT_TRUE(reactor->log.empty());  // created before anything referenced the reactor

  auto group = coll->groupIs({2});
  group->itemIs({3})->tagIs({30});
  group->item({3})->tagDel({30});
  EXPECT_EQ(reactor->log, (Events{"2/3/30", "2/3/30"}));

  // A whole group arriving at once (a stranger replacing group 2) is walked once per pair; the
  // group it replaces withdraws what it holds, once.
  group->itemIs({4})->tagIs({40});
  auto stranger = Vox::create<QuillTest::TestGroup>(TestKey{2});
  stranger->itemIs({5})->tagIs({50});
  stranger->item({5})->tagIs({51});
  reactor->log.clear();
  reactor->group.is(stranger);
  std::sort(reactor->log.begin() + 1, reactor->log.end());
  EXPECT_EQ(reactor->log, (Events{"2/4/40", "2/5/50", "2/5/51"}));

  // Removing an item withdraws its tags through the group's forwarder; removing the group walks
  // what is left, once.
  reactor->log.clear();
  coll->group({1})->itemIs({6})->tagIs({60});
  coll->group({1})->itemDel({6});
  coll->groupDel({1});
  EXPECT_EQ(reactor->log, (Events{"1/6/60", "1/6/60", "1/1/10"}));
  EXPECT_EQ(reactor->group.size(), 1u);

  expectRangeError([&] { reactor->group.find({2})->nestedIs(nullptr); },
                   "null _item parameter to mutator for QuillTest::NestingReactor::VoxGroup::item "
                   "not allowed\"");
}

}  // namespace
