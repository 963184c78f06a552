#include "platform/consistenthash/ConsistentHashCircle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "platform/vox/TrackingAllocator.h"

namespace {

using ConsistentHash::ConsistentHashCircle;
using Weights = std::map<uint64_t, uint64_t>;  // node hash -> weight

constexpr uint64_t kMax = std::numeric_limits<uint64_t>::max();

ConsistentHashCircle ringOf(const Weights& nodes) {
  ConsistentHashCircle ring;
  for (const auto& [hash, weight] : nodes)
    ring.addHash(hash, weight);
  return ring;
}

std::vector<uint64_t> randomKeys(std::size_t count, uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<uint64_t> keys(count);
  for (auto& key : keys)
    key = random();
  return keys;
}

std::vector<uint64_t> ownersOf(const ConsistentHashCircle& ring,
                               const std::vector<uint64_t>& keys) {
  std::vector<uint64_t> owners;
  for (const uint64_t key : keys)
    owners.push_back(ring.getHash(key));
  return owners;
}

std::vector<ConsistentHashCircle::Point> pointsOf(const ConsistentHashCircle& ring) {
  std::vector<ConsistentHashCircle::Point> points;
  for (std::size_t i = 0; i < ring.pointCount(); ++i)
    points.push_back(ring.point(i));
  return points;
}

// Node sets that stress the point derivation: hashes that differ in a low bit only, hashes in the
// lower 32 bits only (as the library's are), full 64-bit hashes, and mixed weights.
const Weights kRings[] = {
    {{7, 1}},
    {{0, 3}, {1, 3}},
    {{1, 1000}, {2, 1000}, {3, 1000}, {4, 1000}},
    {{0x8f3a11c2, 1000}, {0x0000ffff, 250}, {0xffffffff, 40}},
    {{0xdeadbeefcafef00d, 5}, {kMax, 17}, {0x10, 1}, {0x20, 2000}},
};

// Point ownership and lookup agree with the definition read literally: the first point at or after
// the key, else the first point. Keys sit on, just before and just after every point, and at both
// ends of the key space, so every boundary and the wrap-around are exercised.
TEST(ConsistentHashCircleTest, GetHashIsFirstPointAtOrAfterKeyWrappingAround) {
  for (const Weights& nodes : kRings) {
    const auto ring = ringOf(nodes);
    const auto points = pointsOf(ring);
    ASSERT_TRUE(std::is_sorted(points.begin(), points.end(), [](const auto& a, const auto& b) {
      return a.position != b.position ? a.position < b.position : a.node < b.node;
    }));
    std::vector<uint64_t> keys = randomKeys(200, nodes.size());
    keys.insert(keys.end(), {0, 1, kMax - 1, kMax});
    for (const auto& p : points)
      keys.insert(keys.end(), {p.position - 1, p.position, p.position + 1});
    for (const uint64_t key : keys) {
      const auto at = std::find_if(points.begin(), points.end(),
                                   [&](const auto& p) { return p.position >= key; });
      const uint64_t expected = at == points.end() ? points.front().node : at->node;
      ASSERT_EQ(ring.getHash(key), expected) << std::hex << "key 0x" << key;
    }
  }
}

// The node whose stream origin, fmix64(hash + kOriginSalt), is `origin`: Murmur3's fmix64 undone
// step by step (x ^= x >> 33 is its own inverse, and odd multipliers have inverses mod 2^64).
uint64_t nodeWithOrigin(uint64_t origin) {
  const auto inverse = [](uint64_t odd) {
    uint64_t x = odd;  // Newton's iteration doubles the correct low bits: 3, 6, ..., 96
    for (int i = 0; i < 5; ++i)
      x *= 2 - odd * x;
    return x;
  };
  uint64_t z = origin;
  z ^= z >> 33;
  z *= inverse(0xc4ceb9fe1a85ec53);
  z ^= z >> 33;
  z *= inverse(0xff51afd7ed558ccd);
  z ^= z >> 33;
  return z - ConsistentHashCircle::kOriginSalt;
}

// Two nodes whose streams are one step apart share all but one point each: every shared position
// goes to the lower hash, whichever came first, and the other takes them over when it leaves.
TEST(ConsistentHashCircleTest, SharedPositionsGoToTheLowerNodeHash) {
  const uint64_t origin = 0x0123456789abcdef;
  for (const bool lowerFirst : {true, false}) {
    SCOPED_TRACE(testing::Message() << "lower first: " << lowerFirst);
    const uint64_t a = nodeWithOrigin(origin);
    const uint64_t b = nodeWithOrigin(origin + ConsistentHashCircle::kGamma);
    ASSERT_EQ(ConsistentHashCircle::pointPosition(b, 0), ConsistentHashCircle::pointPosition(a, 1));
    const uint64_t lower = std::min(a, b);
    const uint64_t higher = std::max(a, b);
    ConsistentHashCircle ring;
    ring.addHash(lowerFirst ? lower : higher, 50);
    ring.addHash(lowerFirst ? higher : lower, 50);
    ASSERT_EQ(ring.pointCount(), 200u);
    for (uint64_t i = 1; i < 100; ++i)
      ASSERT_EQ(ring.getHash(ConsistentHashCircle::pointPosition(a, i)), lower) << "point " << i;
    EXPECT_EQ(pointsOf(ring), pointsOf(ringOf({{a, 50}, {b, 50}})));
    ring.delHash(lower);
    for (uint64_t i = 1; i < 100; ++i)
      ASSERT_EQ(ring.getHash(ConsistentHashCircle::pointPosition(a, i)), higher);
  }
}

class ConsistentHashCircleChurnTest : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    for (int n = 0; n < GetParam(); ++n)
      nodes_[0x0a010100u + 17u * n] = 1000;
    ring_ = ringOf(nodes_);
  }

  // Applies `change` and checks that every key that changed owner moved to `node` (`towards`) or
  // away from it; returns how many moved.
  template <class Change>
  std::size_t expectMovesOnly(uint64_t node, bool towards, Change change) {
    const auto before = ownersOf(ring_, keys_);
    change();
    std::size_t moved = 0;
    for (std::size_t i = 0; i < keys_.size() && !ring_.empty(); ++i) {
      const uint64_t after = ring_.getHash(keys_[i]);
      if (after == before[i]) continue;
      ++moved;
      EXPECT_EQ(towards ? after : before[i], node) << "key " << keys_[i];
      if (testing::Test::HasFailure()) break;
    }
    return moved;
  }

  Weights nodes_;
  ConsistentHashCircle ring_;
  const std::vector<uint64_t> keys_ = randomKeys(20000, 7);
};

// A node's first points do not depend on its weight, so adding, reweighting or removing a node
// moves keys only between that node and the others, in the direction of the change.
TEST_P(ConsistentHashCircleChurnTest, ChangingANodeMovesOnlyItsKeys) {
  const uint64_t added = 0x0b000001;
  EXPECT_GT(expectMovesOnly(added, true, [&] { ring_.addHash(added, 1000); }), 0u);
  for (const uint64_t weight : {3000u, 1000u, 200u, 1000u}) {
    SCOPED_TRACE(testing::Message() << "weight " << ring_.weight(added) << " -> " << weight);
    const bool towards = weight > ring_.weight(added);
    expectMovesOnly(added, towards, [&] { ring_.addHash(added, weight); });
    EXPECT_EQ(ring_.weight(added), weight);
  }
  expectMovesOnly(added, false, [&] { ring_.delHash(added); });
  EXPECT_EQ(pointsOf(ring_), pointsOf(ringOf(nodes_)));
  const uint64_t victim = nodes_.begin()->first;
  expectMovesOnly(victim, false, [&] { ring_.delHash(victim); });
}

INSTANTIATE_TEST_SUITE_P(ConsistentHashNodeCounts, ConsistentHashCircleChurnTest,
                         testing::Values(1, 2, 5, 16));

TEST(ConsistentHashCircleTest, AbsentNodesAndZeroWeightsChangeNothingElse) {
  ConsistentHashCircle ring;
  ring.delHash(5);
  ring.addHash(5, 0);
  EXPECT_TRUE(ring.empty());
  EXPECT_EQ(ring.pointCount(), 0u);

  ring = ringOf({{1, 10}, {2, 20}});
  const auto points = pointsOf(ring);
  ring.delHash(3);
  ring.addHash(2, 20);
  EXPECT_EQ(pointsOf(ring), points);
  ring.addHash(2, 0);  // weight 0 is no share at all: the node goes
  EXPECT_EQ(ring.nodeCount(), 1u);
  EXPECT_EQ(pointsOf(ring), pointsOf(ringOf({{1, 10}})));

  ring.addHash(3, kMax);  // capped, not an attempt to allocate 2^65 points
  EXPECT_EQ(ring.pointCount(),
            10 * ConsistentHashCircle::kPointsPerWeight + ConsistentHashCircle::kMaxPointsPerNode);
}

// Consecutive small node hashes (the worst case for a weak mixer) still share uniformly spread
// keys evenly, and in proportion to weight. The bounds are several standard deviations wide.
TEST(ConsistentHashCircleTest, SharesFollowWeights) {
  Weights nodes;
  for (uint64_t n = 1; n <= 8; ++n)
    nodes[n] = n == 8 ? 2000 : 1000;
  const auto ring = ringOf(nodes);
  const auto keys = randomKeys(180000, 3);
  std::map<uint64_t, double> share;
  for (const uint64_t owner : ownersOf(ring, keys))
    share[owner] += 1.0 / keys.size();
  for (uint64_t n = 1; n <= 8; ++n) {
    const double expected = (n == 8 ? 2.0 : 1.0) / 9.0;
    EXPECT_NEAR(share[n] / expected, 1.0, 0.15) << "node " << n;
  }
}

// Where points sit must never change between releases: every FEC of every router would move. This
// is the example in the header, step by step.
TEST(ConsistentHashCircleTest, HeaderExampleHolds) {
  EXPECT_EQ(ConsistentHashCircle::pointPosition(3, 1), 0xfde080017a7ce3d2u);
  ConsistentHashCircle ring;
  ring.addHash(1, 1);
  ring.addHash(2, 1);
  const std::vector<uint64_t> keys = {0x1000000000000000, 0x5000000000000000, 0x8800000000000000,
                                      0x9000000000000000, 0xd000000000000000};
  EXPECT_EQ(ownersOf(ring, keys), (std::vector<uint64_t>{2, 1, 1, 1, 2}));
  ring.addHash(3, 1);
  EXPECT_EQ(ownersOf(ring, keys), (std::vector<uint64_t>{2, 1, 3, 1, 3}));
  ring.addHash(2, 2);
  EXPECT_EQ(ownersOf(ring, keys), (std::vector<uint64_t>{2, 2, 3, 1, 3}));
  ring.delHash(1);
  EXPECT_EQ(ownersOf(ring, keys), (std::vector<uint64_t>{2, 2, 3, 3, 3}));

  // Beyond the example: a digest of every point of two nodes of the weight the library passes.
  uint64_t digest = 0;
  for (const auto& p : pointsOf(ringOf({{1, 1000}, {0x80a08050, 1000}})))
    digest = digest * 31 + (p.position ^ p.node);
  EXPECT_EQ(digest, 0x0bc8db6de118ffadu) << std::hex << digest;
}

TEST(ConsistentHashCircleTest, MemoryIsAccountedAndReleased) {
  const int64_t baseline = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash);
  {
    auto ring = ringOf({{1, 1000}, {2, 1000}, {3, 1000}, {4, 1000}});
    const int64_t used = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - baseline;
    EXPECT_GE(used, 4 * 2000 * 12);
    EXPECT_LE(used, 4 * 32 * 1024);
    for (uint64_t n = 1; n <= 4; ++n)
      ring.delHash(n);
    EXPECT_LE(Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - baseline, 256);
  }
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash), baseline);
}

TEST(ConsistentHashCircleDeathTest, LookupOnEmptyRingAndPointPastTheEndAreFatal) {
  ConsistentHashCircle ring;
  EXPECT_DEATH(ring.getHash(1), "getHash on an empty ring");
  ring.addHash(1, 1);
  EXPECT_DEATH(ring.point(ring.pointCount()), "index < pointCount\\(\\)");
  ring.delHash(1);
  EXPECT_DEATH(ring.getHash(1), "getHash on an empty ring");
}

}  // namespace
