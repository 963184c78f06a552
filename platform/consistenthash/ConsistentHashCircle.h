#pragma once
// A weighted consistent-hash ring: maps 64-bit keys to nodes so that adding or removing one node
// moves only the keys that node gains or loses.
//
// A node is identified by a 64-bit hash and placed on the ring as a number of points:
//
//   points(weight) = min(kPointsPerWeight * weight, kMaxPointsPerNode)
//
// so a node's expected share of the keys is its point count over the ring's. Point i of node h
// (i = 0 .. points - 1) sits at
//
//   position(h, i) = mix(fmix64(h + kOriginSalt) + (i + 1) * kGamma)
//
// where fmix64 is Murmur3's 64-bit finaliser and mix is SplitMix64's output function (kGamma is
// SplitMix64's increment): each node owns its own SplitMix64 stream, seeded from its hash alone.
// Both steps are bijections with full avalanche, so node hashes that differ only in a few low bits
// (the library's node hashes use only the lower 32 bits) still scatter their points over the whole
// 64-bit space, and a node's points never coincide with each other. Because point i does not
// depend on the weight, raising a node's weight only adds points (keys move only to that node) and
// lowering it only removes points (keys move only away from it).
//
// Why two points per unit of weight: a node with k points has a share that strays from its mean by
// about 1/sqrt(k). The library gives every via weight 1000; over 100 sets of 4 such vias and
// 100,000 FEC keys, 2000 points kept the largest share within 5.2% of the mean (median 2.2%),
// where 1000 points let one set in twenty exceed 6% and the worst reach 11%.
//
// A key is owned by the first point at or after it, wrapping around past the largest position to
// the first point. Points are kept sorted by (position, node hash), so two nodes that land on the
// same position resolve to the lower node hash, and the ring depends only on which nodes it holds
// with which weights, never on the order of the calls that put them there.
//
// Invariant: every node on the ring has at least one point; `empty()`, `nodeCount() == 0` and
// `pointCount() == 0` are the same statement.
//
// Memory: 12 bytes per point (an 8-byte position and a 4-byte index into the node table, in two
// arrays sized exactly), so a node of weight 1000 costs 24 KB, plus 16 bytes per node; all counted
// under `Vox::MemoryKind::kConsistentHash`. Keeping the positions in an array of their own makes
// the search touch only them.
//
// Example (positions from the rule above; weight 1 is two points):
//
//   ConsistentHash::ConsistentHashCircle ring;
//   ring.addHash(1, 1);  // points 0x85173e5dae7bc84b, 0xc1a26765cbc4e843
//   ring.addHash(2, 1);  // points 0x1ce094e58c59aee8, 0x42eedc991c4eae97
//   ring.getHash(0x1000000000000000);  // 2: the first point at or after the key is 0x1ce0...
//   ring.getHash(0x5000000000000000);  // 1: 0x8517...
//   ring.getHash(0xd000000000000000);  // 2: past the last point, wraps around to 0x1ce0...
//   ring.addHash(3, 1);  // points 0x8ae02e7ed7226ed6, 0xfde080017a7ce3d2: the keys in
//                        // (0x8517..., 0x8ae0...] go from 1 to 3, those in
//                        // (0xc1a2..., 0xfde0...] from 2 to 3; nothing else moves
//   ring.addHash(2, 2);  // 2 keeps its points and gains 0x454e20ac34785883, 0x7bd8012fce95c1ea:
//                        // the keys in (0x42ee..., 0x7bd8...] go from 1 to 2
//   ring.delHash(1);     // 1's keys, (0x7bd8..., 0x8517...] and (0x8ae0..., 0xc1a2...], go to 3
//
// Not thread-safe: one owner, one thread.
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/vox/TrackingAllocator.h"

namespace ConsistentHash {

class ConsistentHashCircle {
 public:
  static constexpr unsigned long long kPointsPerWeight = 2;
  // Keeps hash 0 (a plausible node hash) from seeding its stream at fmix64's fixed point 0.
  static constexpr unsigned long long kOriginSalt = 0x243f6a8885a308d3ull;
  // SplitMix64's increment (2^64 / golden ratio, odd): successive points of one stream are a Weyl
  // sequence before mixing, so they never repeat.
  static constexpr unsigned long long kGamma = 0x9e3779b97f4a7c15ull;
  // Points a single node may hold (384 KB of them): weights above 16384 all get this many, so
  // shares are proportional to weights only up to there.
  static constexpr unsigned long long kMaxPointsPerNode = 1ull << 15;

  // One point of the ring.
  struct Point {
    unsigned long long position;
    unsigned long long node;
    bool operator==(const Point&) const = default;
  };

  ConsistentHashCircle() = default;

  // Puts node `hash` on the ring with `points(weight)` points. A node already on the ring gets the
  // new weight instead of its old one (the same weight changes nothing). Weight 0 gives the node
  // no share of the ring at all, so it takes the node off like `delHash`.
  // Complexity: O(pointCount() + points(weight) log points(weight)).
  void addHash(unsigned long long hash, unsigned long long weight);

  // Takes node `hash` off the ring; nothing happens if it is not there.
  // Complexity: O(pointCount()).
  void delHash(unsigned long long hash);

  // The node that owns `key`: the owner of the first point at or after `key`, or of the first
  // point of the ring when `key` is past the last one.
  // Precondition (fatal otherwise): !empty(). Complexity: O(log pointCount()).
  unsigned long long getHash(unsigned long long key) const;

  std::size_t nodeCount() const { return nodes_.size(); }
  std::size_t pointCount() const { return positions_.size(); }
  bool empty() const { return nodes_.empty(); }

  // The weight node `hash` was added with, or 0 if it is not on the ring. O(log nodeCount()).
  unsigned long long weight(unsigned long long hash) const;

  // The `index`-th point in ring order (ascending position, then node hash), for diagnostics.
  // Precondition (fatal otherwise): index < pointCount().
  Point point(std::size_t index) const;

  // Where point `index` of node `hash` sits; the rule in the comment at the top of this file.
  static unsigned long long pointPosition(unsigned long long hash, unsigned long long index);

 private:
  struct Node {
    unsigned long long hash;
    unsigned long long weight;
  };
  // Sizing an array leaves its elements uninitialized: every array here is written in full right
  // after it is sized, and a ring of thousands of points would otherwise be zeroed first at every
  // rebuild, which costs about as much as the merge that fills it.
  template <class T>
  struct Allocator : Vox::TrackingAllocator<T, Vox::MemoryKind::kConsistentHash> {
    template <class U>
    struct rebind {
      using other = Allocator<U>;
    };
    Allocator() noexcept = default;
    template <class U>
    Allocator(const Allocator<U>&) noexcept {}  // NOLINT: rebinding copy
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
      if constexpr (sizeof...(Args) == 0) {
        ::new (static_cast<void*>(p)) U;
      } else {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
      }
    }
  };
  template <class T>
  using Vector = std::vector<T, Allocator<T>>;

  // What happened to `nodes_[node]` before the point arrays are rebuilt.
  enum class Change { kInserted, kReweighted, kErased };

  // Rebuilds the point arrays after `change` to `nodes_[node]`: drops the node's `dropped` old
  // points, renumbers the other owners to match `nodes_`, and merges in `added` (ascending
  // positions, all owned by `node`).
  void rebuildPoints(uint32_t node, Change change, std::size_t dropped,
                     const Vector<unsigned long long>& added);

  Vector<Node> nodes_;                    // sorted by hash
  Vector<unsigned long long> positions_;  // ascending; the array `getHash` searches
  Vector<uint32_t> owners_;               // nodes_[owners_[i]] owns positions_[i]
};

}  // namespace ConsistentHash
