#pragma once
// A router's consistent-hash ring of vias, with the bookkeeping that makes colliding positions
// safe.
//
// `ConsistentHash<NodeType, KeyType>` is a `ConsistentHash::ConsistentHashCircle` whose nodes are
// values (vias) rather than bare positions. A node's position is `nodeHash(node)` and a key's
// point on the ring is `keyHash(key)` (RingHashes.h). Two nodes may land on the same position:
// `nodes` keeps every node of a position in node order, the ring holds the position once (with
// the largest weight seen for a node there), and a key that lands on it gets the least node, so
// colliding nodes behave as one until one of them goes.
//
//   ConsistentHash<FibVia, FwdEqvClass> hasher;
//   hasher.addNode(via1, 1000);
//   hasher.addNode(via2, 1000);
//   hasher.getNode(fec);        // via1 or via2, the same answer for the same vias and weights
//   hasher.delNode(via1);       // only the FECs that were on via1 move
//
// Invariants (fatal when broken, with the texts below): every node in `nodes` has a weight in
// `nodeWeights`; every position on the ring has its nodes in `nodes`; `getNode` needs a node.
// The collision counter counts additions that found their position occupied (including the same
// node reported twice) and is never decremented.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <set>
#include <unordered_map>

#include "platform/consistenthash/ConsistentHashCircle.h"
#include "platform/vox/Exception.h"
#include "platform/vox/TrackingAllocator.h"
#include "quill/lfib/RingHashes.h"

namespace Mpls {

template <class NodeType, class KeyType>
class ConsistentHash : public ::ConsistentHash::ConsistentHashCircle {
  template <class T>
  using Allocator = Vox::TrackingAllocator<T, Vox::MemoryKind::kConsistentHash>;
  struct NodeHash {
    std::size_t operator()(const NodeType& node) const { return nodeHash(node); }
  };

 public:
  using NodeSet = std::set<NodeType, std::less<NodeType>, Allocator<NodeType>>;
  using NodeMap =
      std::unordered_map<uint64_t, NodeSet, std::hash<uint64_t>, std::equal_to<uint64_t>,
                         Allocator<std::pair<const uint64_t, NodeSet>>>;
  using WeightMap = std::unordered_map<NodeType, uint64_t, NodeHash, std::equal_to<NodeType>,
                                       Allocator<std::pair<const NodeType, uint64_t>>>;

  void addNode(const NodeType& node, uint64_t weight) {
    const uint64_t position = nodeHash(node);
    NodeSet& atPosition = nodes_[position];
    if (!atPosition.empty()) ++collisions_;
    atPosition.insert(node);
    uint64_t& stored = nodeWeights_[node];  // 0 when new
    stored = std::max(stored, weight);
    addHash(position, stored);
  }

  void delNode(const NodeType& node) {
    const uint64_t position = nodeHash(node);
    NodeSet& atPosition = nodes_[position];
    atPosition.erase(node);
    nodeWeights_.erase(node);
    delHash(position);  // takes the position off whoever else shares it
    if (atPosition.empty()) {
      nodes_.erase(position);
      return;
    }
    for (const NodeType& survivor : atPosition) {
      const auto weight = nodeWeights_.find(survivor);
      VOX_ASSERT(weight != nodeWeights_.end(),
                 "nodeWeights.find( iterNode ) != nodeWeights.end() && \"Inconsistency between "
                 "nodeWeights and nodes hashmaps.\"");
      addHash(position, weight->second);
    }
  }

  NodeType getNode(const KeyType& key) const {
    VOX_ASSERT(getNodeCount() > 0,
               "getNodeCount() > 0 && \"Can only call getNode on non-empty hasher\"");
    const auto nodesForHash = nodes_.find(getHash(keyHash(key)));
    VOX_ASSERT(nodesForHash != nodes_.end(),
               "nodesForHash != nodes.end() && \"Node not found for hash. Inconsistency between "
               "circle and hasher\"");
    return *nodesForHash->second.begin();
  }

  std::size_t getNodeCount() const { return nodeWeights_.size(); }
  uint32_t collisions() const { return collisions_; }
  const NodeMap& nodes() const { return nodes_; }
  const WeightMap& nodeWeights() const { return nodeWeights_; }

  // Empties every table, the ring's included.
  void clear() {
    for (const auto& [position, atPosition] : nodes_)
      delHash(position);
    nodes_.clear();
    nodeWeights_.clear();
  }

 protected:
  NodeMap nodes_;
  WeightMap nodeWeights_;
  uint32_t collisions_ = 0;
};

}  // namespace Mpls
