#include "bench/baseline/IndexTable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>

namespace {

using Baseline::IndexTable;

// Random inserts and erases of keys whose hashes crowd a few home slots (and wrap around the
// end of the table), checked against a std::map after every step: erasing from the middle of a
// probe run must keep every other key findable.
class IndexTableChurnTest : public ::testing::TestWithParam<uint32_t> {};

TEST_P(IndexTableChurnTest, FindsExactlyTheKeysInsertedAndNotErased) {
  const uint32_t homes = GetParam();  // distinct low hash bits: fewer means longer runs
  const uint32_t seed = 7 + homes;
  std::mt19937 random(seed);
  Baseline::ByteCount bytes;
  IndexTable index(bytes);
  std::map<uint32_t, uint32_t> reference;  // key -> record
  // Key k hashes to a value whose low bits take one of `homes` values near the table's end.
  const auto hashOf = [&](uint32_t key) { return (key * 0x10000u) | (15 - key % homes); };
  for (int step = 0; step < 3000; ++step) {
    const uint32_t key = random() % 40;
    const auto matches = [&](uint32_t k) { return [k](uint32_t record) { return record == k; }; };
    if (reference.contains(key)) {
      index.erase(hashOf(key), key);
      reference.erase(key);
    } else {
      index.insert(hashOf(key), key);
      reference.emplace(key, key);
    }
    ASSERT_EQ(index.size(), reference.size()) << "seed " << seed << " step " << step;
    for (uint32_t k = 0; k < 40; ++k) {
      const uint32_t expected = reference.contains(k) ? k : IndexTable::kNone;
      ASSERT_EQ(index.find(hashOf(k), matches(k)), expected)
          << "seed " << seed << " step " << step << " key " << k;
    }
  }
  EXPECT_GT(bytes.live, 0);
}

INSTANTIATE_TEST_SUITE_P(CrowdedHomes, IndexTableChurnTest, ::testing::Values(1u, 3u, 16u));

}  // namespace
