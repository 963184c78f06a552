#include "platform/consistenthash/ConsistentHashCircle.h"

#include <algorithm>
#include <cstdint>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"

namespace ConsistentHash {

namespace {

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
  return Vox::splitMix64(Vox::fmix64(hash + kOriginSalt) + (index + 1) * kGamma);
}

void ConsistentHashCircle::addHash(unsigned long long hash, unsigned long long weight) {
  if (weight == 0) {
    delHash(hash);
    return;
  }
  const auto node = lowerBound(nodes_, hash);
  const auto index = static_cast<uint32_t>(node - nodes_.begin());
  Change change = Change::kReweighted;
  std::size_t dropped = 0;
  if (node != nodes_.end() && node->hash == hash) {
    if (node->weight == weight) return;
    dropped = pointsFor(node->weight);
    node->weight = weight;
  } else {
    VOX_ASSERT(nodes_.size() < UINT32_MAX, "nodeCount() < UINT32_MAX");
    nodes_.insert(node, Node{hash, weight});
    change = Change::kInserted;
  }

  Vector<unsigned long long> added(pointsFor(weight));
  for (std::size_t i = 0; i < added.size(); ++i)
    added[i] = pointPosition(hash, i);
  std::sort(added.begin(), added.end());
  rebuildPoints(index, change, dropped, added);
}

void ConsistentHashCircle::delHash(unsigned long long hash) {
  const auto node = lowerBound(nodes_, hash);
  if (node == nodes_.end() || node->hash != hash) return;
  const auto index = static_cast<uint32_t>(node - nodes_.begin());
  const std::size_t dropped = pointsFor(node->weight);
  nodes_.erase(node);
  rebuildPoints(index, Change::kErased, dropped, {});
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

void ConsistentHashCircle::rebuildPoints(uint32_t node, Change change, std::size_t dropped,
                                         const Vector<unsigned long long>& added) {
  // Old owner indices: `node`'s points go unless it was just inserted, and the indices from
  // `shiftFrom` on move by `shift` (wrapping unsigned arithmetic, so -1 is UINT32_MAX).
  const uint32_t gone = change == Change::kInserted ? UINT32_MAX : node;
  const uint32_t shiftFrom = change == Change::kInserted ? node : node + 1;
  const uint32_t shift = change == Change::kInserted ? 1u : change == Change::kErased ? ~0u : 0u;

  // Fresh arrays of exactly the new size: a ring is rebuilt rarely and read often, so no spare
  // capacity is kept around, and a node's memory goes when the node goes.
  const std::size_t size = positions_.size() - dropped + added.size();
  Vector<unsigned long long> positions(size);
  Vector<uint32_t> owners(size);

  // Merge by (position, owner index); index order is hash order, so this is (position, node
  // hash), the order the old arrays are already in.
  std::size_t out = 0;
  auto next = added.begin();
  for (std::size_t i = 0; i < positions_.size(); ++i) {
    uint32_t owner = owners_[i];
    if (owner == gone) continue;
    if (owner >= shiftFrom) owner += shift;
    const unsigned long long position = positions_[i];
    for (; next != added.end() && (*next < position || (*next == position && node < owner));
         ++next, ++out) {
      positions[out] = *next;
      owners[out] = node;
    }
    positions[out] = position;
    owners[out++] = owner;
  }
  for (; next != added.end(); ++next, ++out) {
    positions[out] = *next;
    owners[out] = node;
  }
  positions_.swap(positions);
  owners_.swap(owners);
}

}  // namespace ConsistentHash
