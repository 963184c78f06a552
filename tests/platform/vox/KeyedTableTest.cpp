#include "platform/vox/KeyedTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <unordered_set>
#include <vector>

#include "platform/mpls/RouterId.h"
#include "platform/vela/MplsLabel.h"
#include "tests/support/TestEntities.h"

namespace {

using QuillTest::CollidingKey;
using QuillTest::TestKey;
using Vox::MemoryKind;

// The pipeline keeps a great many one-element sets and maps: their whole cost is the object.
static_assert(sizeof(Vox::KeyedSet<Vela::MplsLabel>) <= 48);
static_assert(sizeof(Vox::KeyedTable<Mpls::RouterId, Vox::Ptr<QuillTest::TestItem>>) <= 64);

template <class Set>
std::multiset<uint32_t> contents(const Set& set) {
  std::multiset<uint32_t> out;
  for (const auto& key : set)
    out.insert(key.value);
  return out;
}

std::multiset<uint32_t> range(uint32_t from, uint32_t to) {
  std::multiset<uint32_t> out;
  for (uint32_t v = from; v < to; ++v)
    out.insert(v);
  return out;
}

int64_t liveSetBytes() {
  return Vox::Memory::liveBytes(MemoryKind::kKeyedSet);
}

// Every behaviour is checked for tables without inline slots, with the default one, and with
// more, so that each crosses the boundary between inline slots and heap segments.
template <uint32_t N>
struct Inline {
  static constexpr uint32_t kSlots = N;
};

template <class P>
class KeyedTableTest : public ::testing::Test {
 protected:
  static constexpr uint32_t kInline = P::kSlots;
  using Set = Vox::KeyedSet<TestKey, MemoryKind::kKeyedSet, kInline>;
  template <class Value>
  using Map = Vox::KeyedTable<TestKey, Value, MemoryKind::kKeyedMap, kInline>;

  // Sizes either side of the boundary.
  static std::vector<uint32_t> sizes() {
    std::set<uint32_t> out = {1, kInline + 1, 2 * kInline + 3, 40};
    if (kInline > 0) out.insert(kInline);
    return {out.begin(), out.end()};
  }
  static void fill(Set& set, uint32_t count) {
    for (uint32_t v = 0; v < count; ++v)
      set.insert({v});
  }
};

using InlineCounts = ::testing::Types<Inline<0>, Inline<1>, Inline<2>, Inline<3>>;
TYPED_TEST_SUITE(KeyedTableTest, InlineCounts);

// Long random sequences of inserts and erases, checked against std::unordered_set after every
// step; the narrow key range empties and refills the table often. Every insert and removal changes
// the version, and nothing else does: not a failed insert or erase, a lookup nor a walk.
template <class Set>
void expectAgreesWithUnorderedSet(uint32_t keyRange) {
  SCOPED_TRACE(testing::Message() << "key range " << keyRange);
  std::mt19937 random(20261121 + keyRange);
  Set set;
  std::unordered_set<uint32_t> model;
  for (int step = 0; step < 20000; ++step) {
    const uint32_t value = random() % keyRange;
    const uint32_t version = set.version();
    bool changed;
    if (random() % 3 == 0) {
      changed = set.erase({value});
      ASSERT_EQ(changed, model.erase(value) == 1) << "step " << step;
    } else {
      changed = set.insert({value});
      ASSERT_EQ(changed, model.insert(value).second) << "step " << step;
    }
    ASSERT_EQ(set.size(), model.size());
    ASSERT_EQ(set.contains({value + 1}), model.count(value + 1) == 1);
    if (model.empty()) {
      ASSERT_EQ(set.allocatedBytes(), 0u) << "an empty table holds nothing";
    }
    if (step % 997 == 0) {
      ASSERT_EQ(contents(set), std::multiset<uint32_t>(model.begin(), model.end()));
    }
    ASSERT_EQ(set.version() != version, changed) << "step " << step;
  }
}

// Well-spread keys, and keys whose hashes all collide.
TYPED_TEST(KeyedTableTest, AgreesWithUnorderedSetOverRandomOperations) {
  expectAgreesWithUnorderedSet<typename TestFixture::Set>(4);
  expectAgreesWithUnorderedSet<typename TestFixture::Set>(500);
  expectAgreesWithUnorderedSet<
      Vox::KeyedSet<CollidingKey, MemoryKind::kKeyedSet, TestFixture::kInline>>(60);
}

// A walk resumes from a key; removing the element it stands on lets it go on to every other.
TYPED_TEST(KeyedTableTest, ResumesFromAKeyAndRemovingTheCurrentElementVisitsEveryOtherOnce) {
  for (const uint32_t size : TestFixture::sizes()) {
    typename TestFixture::Set set;
    TestFixture::fill(set, size);
    std::vector<uint32_t> order, resumed;
    for (const TestKey& key : set)
      order.push_back(key.value);
    for (auto it = set.iteratorAt({order[size / 2]}); it != set.end(); ++it)
      resumed.push_back(it->value);
    EXPECT_EQ(resumed, std::vector<uint32_t>(order.begin() + size / 2, order.end()));
    EXPECT_TRUE(set.iteratorAt({12345}) == set.end());
    std::multiset<uint32_t> visited;
    for (auto it = set.begin(); it != set.end(); ++it) {
      const TestKey& key = *it;
      const uint32_t value = key.value;
      visited.insert(value);
      if (value % 3 == 0) {
        set.erase(key);
        EXPECT_EQ(key.value, value) << "a removed key stays readable while iterating";
      }
    }
    EXPECT_EQ(visited, range(0, size)) << size;
    EXPECT_EQ(set.size(), size - (size + 2) / 3) << size;
  }
}

// Tables that fit their inline slots allocate nothing; beyond them the tracked bytes are exactly
// what allocatedBytes() reports. Emptying the table gives them all back: at once, or once the
// iterator that emptied it is gone.
TYPED_TEST(KeyedTableTest, AllocatesOnlyBeyondTheInlineSlotsAndReleasesWhenEmptied) {
  const int64_t before = liveSetBytes();
  auto sizes = TestFixture::sizes();
  sizes.push_back(1000);
  for (const uint32_t size : sizes) {
    {
      typename TestFixture::Set set;
      TestFixture::fill(set, size);
      const std::size_t held = set.allocatedBytes();
      EXPECT_EQ(held == 0, size <= TestFixture::kInline) << size;
      EXPECT_EQ(liveSetBytes() - before, static_cast<int64_t>(held)) << size;
      uint32_t visits = 0;
      for (const TestKey& key : set) {
        ++visits;
        set.erase(key);
        EXPECT_EQ(set.allocatedBytes(), held) << "storage stays while an iterator is alive";
      }
      EXPECT_EQ(visits, size);
      EXPECT_TRUE(set.empty());
      EXPECT_EQ(set.allocatedBytes(), 0u);
      EXPECT_EQ(liveSetBytes(), before);
      TestFixture::fill(set, size);
    }
    EXPECT_EQ(liveSetBytes(), before) << "the destructor releases everything";
  }
}

// A walk may insert and remove other elements: an element present throughout is visited once and
// never moves, one removed before the walk reaches it is not visited, and a new one at most once.
// Inserting a present key keeps its value; inserting without a value value-initialises it.
TYPED_TEST(KeyedTableTest, InsertsAndRemovalsOfOthersDuringAWalk) {
  for (const uint32_t size : TestFixture::sizes()) {
    typename TestFixture::template Map<uint32_t> map;
    std::vector<const uint32_t*> stored;
    for (uint32_t v = 0; v < size; ++v)
      stored.push_back(map.insert({v}, v * 10).first);
    EXPECT_FALSE(map.insert({0}, 99).second) << "an existing element keeps its value";
    std::multiset<uint32_t> visited;
    for (auto it = map.begin(); it != map.end(); ++it) {
      const uint32_t key = it.key().value;
      visited.insert(key);
      if (key >= size) continue;
      map.insert({key + 1000});  // value-initialised, perhaps in a freed slot; spills and grows
      for (uint32_t v = 1; v < size; v += 2) {
        if (v != key && !visited.count(v)) map.erase({v});
      }
    }
    for (uint32_t v = 0; v < size; ++v) {
      EXPECT_EQ(visited.count(v), map.contains({v}) ? 1u : 0u) << size << " key " << v;
      EXPECT_EQ(map.contains({v + 1000}), map.contains({v})) << "inserted on its visit";
      EXPECT_LE(visited.count(v + 1000), 1u);
      if (map.contains({v})) {
        EXPECT_EQ(map.find({v}), stored[v]) << "elements must not move when the table grows";
        EXPECT_EQ(*stored[v], v * 10);
        EXPECT_EQ(*map.find({v + 1000}), 0u);
      }
    }
  }
}

// A value that can be neither default-constructed, copied nor moved, and that records its
// construction and destruction and may act on its table when destroyed.
struct Census {
  int constructed = 0;
  int destroyed = 0;
};

class Probe {
 public:
  Probe(Census& census, uint32_t id, std::function<void()> onDestroy = {})
      : census_(census), id_(id), onDestroy_(std::move(onDestroy)) {
    if (id == kThrows) throw std::runtime_error("refused");
    ++census_.constructed;
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  ~Probe() {
    ++census_.destroyed;
    if (onDestroy_) onDestroy_();
    id_ = kGone;  // spoils any value wrongly built in this storage while it was being destroyed
  }
  uint32_t id() const { return id_; }

  static constexpr uint32_t kThrows = 666;
  static constexpr uint32_t kGone = 0xdead;

 private:
  Census& census_;
  uint32_t id_;
  std::function<void()> onDestroy_;
};

// Every value is destroyed exactly once: by its erase at once, or by the table's destructor, which
// removes the elements one by one so that each value's destructor still finds a consistent table.
TYPED_TEST(KeyedTableTest, EmplaceConstructsOnlyWhenAbsentAndDestroysExactlyOnce) {
  for (const uint32_t size : TestFixture::sizes()) {
    Census census;
    {
      typename TestFixture::template Map<Probe> map;
      const auto seesItsRemoval = [&map, &census](uint32_t v) {
        return [&map, &census, v] {
          EXPECT_FALSE(map.contains({v}));
          EXPECT_EQ(map.size(), static_cast<std::size_t>(census.constructed - census.destroyed));
        };
      };
      for (uint32_t v = 0; v < size; ++v) {
        auto [probe, inserted] = map.emplace({v}, census, v, seesItsRemoval(v));
        EXPECT_TRUE(inserted);
        EXPECT_EQ(probe->id(), v);
      }
      auto [existing, inserted] = map.emplace({0}, census, 99u);
      EXPECT_FALSE(inserted);
      EXPECT_EQ(existing->id(), 0u);
      EXPECT_EQ(existing, map.find({0}));
      EXPECT_EQ(census.constructed, static_cast<int>(size));
      for (uint32_t v = 0; v < size; v += 2) {
        const int destroyed = census.destroyed;
        EXPECT_TRUE(map.erase({v}));
        EXPECT_EQ(census.destroyed, destroyed + 1) << "erase destroys the value at once";
        EXPECT_FALSE(map.erase({v}));
      }
      map.emplace({0}, census, 100u, seesItsRemoval(0));  // reuses a freed slot
      EXPECT_EQ(map.find({0})->id(), 100u);
    }
    EXPECT_EQ(census.constructed, census.destroyed) << size;
    EXPECT_EQ(census.constructed, static_cast<int>(size) + 1) << size;
  }
}

TYPED_TEST(KeyedTableTest, AThrowingConstructorLeavesTheTableAsItWas) {
  for (const uint32_t size : {0u, TestFixture::kInline, TestFixture::kInline + 1}) {
    Census census;
    typename TestFixture::template Map<Probe> map;
    for (uint32_t v = 0; v < size; ++v)
      map.emplace({v}, census, v);
    const uint32_t version = map.version();
    EXPECT_THROW(map.emplace({500}, census, Probe::kThrows), std::runtime_error);
    EXPECT_EQ(map.version(), version);
    EXPECT_EQ(map.size(), size);
    EXPECT_FALSE(map.contains({500}));
    if (size == 0) {
      EXPECT_EQ(map.allocatedBytes(), 0u);
    }
    uint32_t visits = 0;
    for (auto it = map.begin(); it != map.end(); ++it)
      ++visits;
    EXPECT_EQ(visits, size) << "the slot that was to hold the value is not iterated";
    EXPECT_TRUE(map.emplace({500}, census, 500u).second);
    EXPECT_EQ(census.destroyed, 0);
  }
}

// A value's destructor runs after its removal is complete and may change the table: here each
// destroyed value checks that its key is gone, then inserts one key and erases another.
TYPED_TEST(KeyedTableTest, AValueDestructorSeesItsRemovalAndMayChangeTheTable) {
  for (const uint32_t size : TestFixture::sizes()) {
    Census census;
    typename TestFixture::template Map<Probe> map;
    std::vector<uint32_t> seenSizes;
    for (uint32_t v = 0; v < size; ++v) {
      map.emplace({v}, census, v, [&map, &census, &seenSizes, v] {
        EXPECT_FALSE(map.contains({v}));
        seenSizes.push_back(static_cast<uint32_t>(map.size()));
        map.emplace({v + 100}, census, v + 100);
        map.erase({v + 1});
      });
    }
    const uint32_t version = map.version();
    EXPECT_TRUE(map.erase({0}));
    EXPECT_NE(map.version(), version);
    ASSERT_FALSE(seenSizes.empty());
    EXPECT_EQ(seenSizes.front(), size - 1) << "the size already reflects the removal";
    EXPECT_TRUE(map.contains({100}));
    EXPECT_EQ(map.contains({1}), false);
    std::set<uint32_t> keys;
    for (auto it = map.begin(); it != map.end(); ++it) {
      EXPECT_TRUE(keys.insert(it.key().value).second);
      EXPECT_EQ(it.value().id(), it.key().value);
    }
    EXPECT_EQ(keys.size(), map.size());
  }
}

// Removing the last other element from a destructor empties the table while the erase that ran
// it is still under way: the slot being destroyed must survive that (checked by the sanitizers).
TYPED_TEST(KeyedTableTest, ADestructorThatEmptiesTheTableDoesNotPullItsOwnSlot) {
  Census census;
  bool laterDestroyed = false;
  {
    typename TestFixture::template Map<Probe> map;
    map.emplace({1}, census, 1u, [&] { map.erase({2}); });
    map.emplace({2}, census, 2u, [&] { laterDestroyed = true; });
    map.emplace({3}, census, 3u, [&] { map.erase({1}); });
    EXPECT_TRUE(map.erase({3}));
    EXPECT_TRUE(laterDestroyed);
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.allocatedBytes(), 0u);
    map.emplace({4}, census, 4u);
  }
  EXPECT_EQ(census.constructed, 4);
  EXPECT_EQ(census.destroyed, 4);
}

}  // namespace
