#pragma once
// An open-addressing index from keys to record numbers, for records kept in the user's own pools.
//
// A slot is 8 bytes: the key's 32-bit hash and its record number. Probing is linear from
// `hash & mask`; a lookup compares the stored hash first and asks the caller whether the record
// matches only when the hashes are equal, so a miss rarely touches a record. Erasure shifts the
// rest of the probe run back instead of leaving tombstones, so runs stay as short under churn as
// after a fresh build. The table doubles before it would pass half full; `reserve` sizes it ahead
// so that a build of known size never rehashes. Hashes must be well mixed in their low bits.
//
//   Baseline::IndexTable index(bytes);
//   index.reserve(1000);
//   index.insert(hashOf(key), 7);
//   index.find(hashOf(key), [&](uint32_t record) { return pool[record].key == key; });  // 7
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "bench/baseline/CountedAllocator.h"

namespace Baseline {

class IndexTable {
 public:
  static constexpr uint32_t kNone = UINT32_MAX;

  explicit IndexTable(ByteCount& bytes) : slots_(CountedAllocator<Slot>(bytes)) {}

  // Room for `entries` without rehashing.
  void reserve(std::size_t entries) {
    const std::size_t wanted = std::bit_ceil(std::max<std::size_t>(16, 2 * entries));
    if (wanted > slots_.size()) rehash(wanted);
  }

  // The record stored under `hash` for which `matches(record)` holds, or kNone.
  template <class Matches>
  uint32_t find(uint32_t hash, Matches&& matches) const {
    if (slots_.empty()) return kNone;
    for (uint32_t i = hash & mask_;; i = (i + 1) & mask_) {
      const Slot& slot = slots_[i];
      if (slot.record == kNone) return kNone;
      if (slot.hash == hash && matches(slot.record)) return slot.record;
    }
  }

  // Precondition: no record of the same key is stored.
  void insert(uint32_t hash, uint32_t record) {
    if (2 * (size_ + 1) > slots_.size()) rehash(std::max<std::size_t>(16, 2 * slots_.size()));
    place(hash, record);
    ++size_;
  }

  // Precondition: `record` is stored under `hash`.
  void erase(uint32_t hash, uint32_t record) {
    uint32_t hole = hash & mask_;
    while (slots_[hole].record != record)
      hole = (hole + 1) & mask_;
    for (uint32_t next = (hole + 1) & mask_; slots_[next].record != kNone;
         next = (next + 1) & mask_) {
      // The entry at `next` may fill the hole when the hole lies on its probe path, between its
      // home slot and where it sits.
      const uint32_t home = slots_[next].hash & mask_;
      if (((next - home) & mask_) >= ((next - hole) & mask_)) {
        slots_[hole] = slots_[next];
        hole = next;
      }
    }
    slots_[hole].record = kNone;
    --size_;
  }

  std::size_t size() const { return size_; }

 private:
  struct Slot {
    uint32_t hash = 0;
    uint32_t record = kNone;
  };

  void place(uint32_t hash, uint32_t record) {
    uint32_t i = hash & mask_;
    while (slots_[i].record != kNone)
      i = (i + 1) & mask_;
    slots_[i] = Slot{hash, record};
  }

  void rehash(std::size_t capacity) {
    CountedVector<Slot> old(capacity, Slot{}, slots_.get_allocator());
    old.swap(slots_);
    mask_ = static_cast<uint32_t>(capacity - 1);
    for (const Slot& slot : old) {
      if (slot.record != kNone) place(slot.hash, slot.record);
    }
  }

  CountedVector<Slot> slots_;
  uint32_t mask_ = 0;
  std::size_t size_ = 0;
};

}  // namespace Baseline
