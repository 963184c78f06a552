#include "platform/consistenthash/ConsistentHashCircle.h"

#include <algorithm>
#include <cstdint>

#include "platform/vox/Exception.h"

namespace ConsistentHash {

namespace {

// Keeps hash 0 (a plausible node hash) from seeding its stream at fmix64's fixed point 0.
constexpr unsigned long long kOriginSalt = 0x243f6a8885a308d3ull;
// SplitMix64's increment (2^64 / golden ratio, odd): consecutive points of one stream are as far
// apart as a Weyl sequence allows before mixing.
constexpr unsigned long long kGamma = 0x9e3779b97f4a7c15ull;

// Murmur3's 64-bit finaliser.
constexpr unsigned long long fmix64(unsigned long long z) {
  z ^= z >> 33;
  z *= 0xff51afd7ed558ccdull;
  z ^= z >> 33;
  z *= 0xc4ceb9fe1a85ec53ull;
  z ^= z >> 33;
  return z;
}

// SplitMix64's output function.
constexpr unsigned long long splitMix64(unsigned long long z) {
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  return z ^ (z >> 31);
}

unsigned long long pointsFor(unsigned long long weight) {
  return weight >= ConsistentHashCircle::kMaxPointsPerNode / ConsistentHashCircle::kPointsPerWeight
             ? ConsistentHashCircle::kMaxPointsPerNode
             : weight * ConsistentHashCircle::kPointsPerWeight;
}

// The first node whose hash is not below `hash`, in a node table sorted by hash.
template <class Nodes>
auto lowerBound(Nodes& nodes, unsigned long long hash) {
  return std::lower_bound(nodes.begin(), nodes.end(), hash,
                          [](const auto& node, unsigned long long h) { return node.hash < h; });
}

}  // namespace

unsigned long long ConsistentHashCircle::pointPosition(unsigned long long hash,
                                                       unsigned long long index) {
  return splitMix64(fmix64(hash + kOriginSalt) + (index + 1) * kGamma);
}

void ConsistentHashCircle::addHash(unsigned long long hash, unsigned long long weight) {
  if (weight == 0) {
    delHash(hash);
    return;
  }
  const auto node = lowerBound(nodes_, hash);
  const auto index = static_cast<uint32_t>(node - nodes_.begin());
  Change change = Change::kReweighted;
  if (node != nodes_.end() && node->hash == hash) {
    if (node->weight == weight) return;
    node->weight = weight;
  } else {
    VOX_ASSERT(nodes_.size() < UINT32_MAX, "nodeCount() < UINT32_MAX");
    nodes_.insert(node, Node{hash, weight});
    change = Change::kInserted;
  }

  const unsigned long long count = pointsFor(weight);
  Vector<unsigned long long> added;
  added.reserve(count);
  for (unsigned long long i = 0; i < count; ++i)
    added.push_back(pointPosition(hash, i));
  std::sort(added.begin(), added.end());
  rebuildPoints(index, change, added);
}

void ConsistentHashCircle::delHash(unsigned long long hash) {
  const auto node = lowerBound(nodes_, hash);
  if (node == nodes_.end() || node->hash != hash) return;
  const auto index = static_cast<uint32_t>(node - nodes_.begin());
  nodes_.erase(node);
  rebuildPoints(index, Change::kErased, {});
}

unsigned long long ConsistentHashCircle::getHash(unsigned long long key) const {
  VOX_ASSERT(!positions_.empty(), "!empty() && \"getHash on an empty ring\"");
  const auto at = std::lower_bound(positions_.begin(), positions_.end(), key);
  return nodes_[at == positions_.end() ? owners_.front() : owners_[at - positions_.begin()]].hash;
}

unsigned long long ConsistentHashCircle::weight(unsigned long long hash) const {
  const auto node = lowerBound(nodes_, hash);
  return node != nodes_.end() && node->hash == hash ? node->weight : 0;
}

ConsistentHashCircle::Point ConsistentHashCircle::point(std::size_t index) const {
  VOX_ASSERT(index < positions_.size(), "index < pointCount()");
  return Point{positions_[index], nodes_[owners_[index]].hash};
}

void ConsistentHashCircle::rebuildPoints(uint32_t node, Change change,
                                         const Vector<unsigned long long>& added) {
  // Old owner index -> new one, or kGone for the points of a node that is erased or reweighted.
  constexpr uint32_t kGone = UINT32_MAX;
  const auto renumber = [&](uint32_t owner) -> uint32_t {
    switch (change) {
      case Change::kInserted:
        return owner + (owner >= node);
      case Change::kReweighted:
        return owner == node ? kGone : owner;
      case Change::kErased:
        return owner == node ? kGone : owner - (owner > node);
    }
    return owner;
  };

  // Fresh arrays of exactly the new size: a ring is rebuilt rarely and read often, so no spare
  // capacity is kept around, and a node's memory goes when the node goes.
  std::size_t kept = 0;
  for (const uint32_t owner : owners_)
    kept += renumber(owner) != kGone;
  Vector<unsigned long long> positions;
  Vector<uint32_t> owners;
  positions.reserve(kept + added.size());
  owners.reserve(kept + added.size());

  // Merge by (position, owner index); index order is hash order, so this is (position, node
  // hash), the order the old arrays are already in.
  auto next = added.begin();
  for (std::size_t i = 0; i < positions_.size(); ++i) {
    const uint32_t owner = renumber(owners_[i]);
    if (owner == kGone) continue;
    while (next != added.end() &&
           (*next < positions_[i] || (*next == positions_[i] && node < owner))) {
      positions.push_back(*next++);
      owners.push_back(node);
    }
    positions.push_back(positions_[i]);
    owners.push_back(owner);
  }
  for (; next != added.end(); ++next) {
    positions.push_back(*next);
    owners.push_back(node);
  }
  positions_.swap(positions);
  owners_.swap(owners);
}

}  // namespace ConsistentHash
