#include "platform/vox/KeyedTable.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <unordered_set>
#include <vector>

#include "tests/support/TestEntities.h"

namespace {

using QuillTest::CollidingKey;
using QuillTest::TestKey;
using Set = Vox::KeyedSet<TestKey>;

std::multiset<uint32_t> contents(const Set& set) {
  std::multiset<uint32_t> out;
  for (const TestKey& key : set)
    out.insert(key.value);
  return out;
}

// A long random sequence of inserts and erases, checked against std::unordered_set after
// every step (membership, size) and periodically by full iteration.
TEST(KeyedTableTest, AgreesWithUnorderedSetOverRandomOperations) {
  std::mt19937 random(20261121);
  Set set;
  std::unordered_set<uint32_t> model;
  for (int step = 0; step < 20000; ++step) {
    const uint32_t value = random() % 500;
    if (random() % 3 == 0) {
      EXPECT_EQ(set.erase({value}), model.erase(value) == 1) << "step " << step;
    } else {
      EXPECT_EQ(set.insert({value}), model.insert(value).second) << "step " << step;
    }
    ASSERT_EQ(set.size(), model.size());
    if (step % 997 == 0) {
      EXPECT_EQ(contents(set), std::multiset<uint32_t>(model.begin(), model.end()));
    }
  }
}

TEST(KeyedTableTest, CollidingKeysStayDistinct) {
  Vox::KeyedSet<CollidingKey> set;
  for (uint32_t v = 0; v < 50; ++v)
    EXPECT_TRUE(set.insert({v}));
  for (uint32_t v = 0; v < 50; v += 2)
    EXPECT_TRUE(set.erase({v}));
  for (uint32_t v = 0; v < 50; ++v)
    EXPECT_EQ(set.contains({v}), v % 2 == 1) << v;
}

TEST(KeyedTableTest, VersionChangesOnEveryInsertAndRemoveOnly) {
  Set set;
  uint32_t version = set.version();
  set.insert({1});
  EXPECT_NE(set.version(), version);
  version = set.version();
  set.insert({1});  // already present
  set.erase({2});   // absent
  EXPECT_EQ(set.contains({1}), true);
  EXPECT_EQ(set.version(), version);
  set.erase({1});
  EXPECT_NE(set.version(), version);
}

class KeyedTableIterationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (uint32_t v = 0; v < 100; ++v)
      set.insert({v});
  }
  Set set;
};

TEST_F(KeyedTableIterationTest, RemovingTheCurrentElementVisitsEveryOtherOnce) {
  std::multiset<uint32_t> visited;
  for (auto it = set.begin(); it != set.end(); ++it) {
    const TestKey key = *it;
    visited.insert(key.value);
    if (key.value % 3 == 0) set.erase(key);
  }
  EXPECT_EQ(visited.size(), 100u);
  EXPECT_EQ(std::set<uint32_t>(visited.begin(), visited.end()).size(), 100u);
  EXPECT_EQ(set.size(), 100u - 34u);
}

TEST_F(KeyedTableIterationTest, RemovingEverythingFromInsideTheLoopEndsCleanly) {
  int visits = 0;
  for (const TestKey& key : set) {
    ++visits;
    const uint32_t value = key.value;  // the reference stays readable after its own removal
    set.erase(key);
    EXPECT_EQ(key.value, value);
  }
  EXPECT_EQ(visits, 100);
  EXPECT_TRUE(set.empty());
  set.insert({5});
  EXPECT_EQ(contents(set), std::multiset<uint32_t>{5});
}

TEST_F(KeyedTableIterationTest, InsertsDuringIterationKeepExistingElementsExactlyOnce) {
  std::multiset<uint32_t> visited;
  const TestKey* firstKey = &*set.begin();
  const uint32_t firstValue = firstKey->value;
  for (const TestKey& key : set) {
    visited.insert(key.value);
    if (key.value < 100) set.insert({key.value + 1000});  // grows the table many times over
  }
  EXPECT_EQ(firstKey->value, firstValue) << "elements must not move when the table grows";
  for (uint32_t v = 0; v < 100; ++v)
    EXPECT_EQ(visited.count(v), 1u) << v;
  EXPECT_EQ(set.size(), 200u);
}

TEST_F(KeyedTableIterationTest, ResumesFromAKey) {
  std::vector<uint32_t> order;
  for (const TestKey& key : set)
    order.push_back(key.value);
  std::vector<uint32_t> resumed;
  for (auto it = set.iteratorAt({order[40]}); it != set.end(); ++it)
    resumed.push_back(it->value);
  EXPECT_EQ(resumed, std::vector<uint32_t>(order.begin() + 40, order.end()));
  EXPECT_TRUE(set.iteratorAt({12345}) == set.end());
}

TEST(KeyedTableTest, ReleasesStorageWhenEmptiedAndCountsItsBytes) {
  const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet);
  {
    Set set;
    for (uint32_t v = 0; v < 1000; ++v)
      set.insert({v});
    EXPECT_GT(Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet), before);
    EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet) - before,
              static_cast<int64_t>(set.allocatedBytes()));
    for (uint32_t v = 0; v < 1000; ++v)
      set.erase({v});
    EXPECT_EQ(set.allocatedBytes(), 0u);
  }
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet), before);
}

}  // namespace
