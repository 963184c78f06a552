#pragma once
// The framework's hash table: keyed sets and keyed maps.
//
// A `KeyedTable<Key, Value>` maps keys to values (a set is a table whose value is `Vox::Empty`).
// Keys are hashed with their own hash (`hash(0)`, or `hash()` for the few unseeded types) followed
// by `HashHelper::KeyAndRhashLegacy`, and matched with `==`. Iteration order is the table's own
// and carries no meaning.
//
// Storage: elements live in slots that never move. Slots are handed out from segments whose sizes
// double (2, 2, 4, 8, ...), so a table of n elements makes O(log n) allocations and small tables
// stay small. A bucket array of slot indices chains the slots of each bucket. A removed element's
// slot goes to a free list and is reused by a later insert.
//
// Iterator and reference guarantees (what stages rely on):
// - An iterator stays valid when the element it stands on is removed, by anyone: incrementing it
//   moves to the next element still present. Dereferencing it before incrementing is not allowed.
// - Inserting during iteration is allowed. Elements present for the whole iteration are visited
//   exactly once; an element inserted during it may or may not be visited.
// - A reference to an element's key or value stays valid until that element is removed (inserts
//   never move elements). While any iterator of the table is alive, the storage of a removed
//   element is not released either, so a loop body may still read the key it was given.
// - Every insert and every removal changes `version()`; nothing else does.
//
// Complexity: insert, lookup and erase are O(1) on average; iteration is O(slots handed out),
// which is the table's peak size since it last became empty.
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/vox/Hash.h"
#include "platform/vox/TrackingAllocator.h"

namespace Vox {

// The value type of a set.
struct Empty {
  bool operator==(const Empty&) const = default;
};

// The end of any table iteration.
struct IterEnd {};

template <class Key, class Value, MemoryKind Kind = MemoryKind::kKeyedMap>
class KeyedTable {
  struct Slot {
    Key key{};
    [[no_unique_address]] Value value{};
    uint32_t hash = 0;
    int32_t next = -1;  // next slot of the bucket chain, or of the free list
    bool live = false;
  };

 public:
  using key_type = Key;
  using mapped_type = Value;

  KeyedTable() = default;
  KeyedTable(const KeyedTable&) = delete;
  KeyedTable& operator=(const KeyedTable&) = delete;
  ~KeyedTable() { releaseStorage(); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  uint32_t version() const { return version_; }

  bool contains(const Key& key) const { return findIndex(key) >= 0; }

  // The value stored for `key`, or null.
  const Value* find(const Key& key) const {
    const int32_t i = findIndex(key);
    return i < 0 ? nullptr : &slot(i).value;
  }
  Value* find(const Key& key) {
    const int32_t i = findIndex(key);
    return i < 0 ? nullptr : &slot(i).value;
  }

  // Inserts `key` with `value` unless present. Returns the stored value and whether it was
  // inserted; an existing element keeps its value.
  template <class V = Value>
  std::pair<Value*, bool> insert(const Key& key, V&& value = V{}) {
    const uint32_t h = HashHelper::KeyAndRhashLegacy(::Vox::hashOfKey(key));
    if (const int32_t i = findIndex(key, h); i >= 0) return {&slot(i).value, false};
    if (size_ + 1 > bucketCount()) growBuckets();
    const int32_t i = allocateSlot();
    Slot& s = slot(i);
    s.key = key;
    s.value = std::forward<V>(value);
    s.hash = h;
    s.live = true;
    int32_t& head = buckets_[h & (bucketCount() - 1)];
    s.next = head;
    head = i;
    ++size_;
    ++version_;
    return {&s.value, true};
  }

  // Removes `key` if present; returns whether it was. The removed value is destroyed after the
  // table is consistent again, so its destructor may use the table.
  bool erase(const Key& key) {
    const uint32_t h = HashHelper::KeyAndRhashLegacy(::Vox::hashOfKey(key));
    if (bucketCount() == 0) return false;
    int32_t* link = &buckets_[h & (bucketCount() - 1)];
    while (*link >= 0) {
      Slot& s = slot(*link);
      if (s.hash == h && s.key == key) {
        const int32_t i = *link;
        *link = s.next;
        [[maybe_unused]] Value removed = std::move(s.value);
        s.value = Value{};
        s.live = false;
        s.next = freeHead_;
        freeHead_ = i;
        --size_;
        ++version_;
        if (size_ == 0 && liveIterators_ == 0) releaseStorage();
        return true;
      }
      link = &s.next;
    }
    return false;
  }

  template <bool Const>
  class Iterator {
    using Table = std::conditional_t<Const, const KeyedTable, KeyedTable>;

   public:
    Iterator() = default;
    Iterator(Table* table, uint32_t index) : table_(table), index_(index) {
      ++table_->liveIterators_;
      skipDead();
    }
    Iterator(const Iterator& other) : table_(other.table_), index_(other.index_) {
      if (table_) ++table_->liveIterators_;
    }
    Iterator& operator=(const Iterator& other) {
      Iterator copy(other);
      std::swap(table_, copy.table_);
      std::swap(index_, copy.index_);
      return *this;
    }
    ~Iterator() {
      if (table_ && --table_->liveIterators_ == 0 && table_->size_ == 0) {
        // An empty table's storage holds nothing observable; releasing it is not a mutation.
        const_cast<KeyedTable*>(table_)->releaseStorage();
      }
    }

    const Key& key() const { return current().key; }
    auto& value() const { return current().value; }

    Iterator& operator++() {
      ++index_;
      skipDead();
      return *this;
    }
    bool operator==(IterEnd) const { return !table_ || index_ >= table_->slotCount_; }

   private:
    auto& current() const {
      assert(table_ && index_ < table_->slotCount_ && table_->slot(index_).live &&
             "dereferencing a table iterator whose element is gone");
      return table_->slot(index_);
    }
    void skipDead() {
      while (index_ < table_->slotCount_ && !table_->slot(index_).live)
        ++index_;
    }

    Table* table_ = nullptr;
    uint32_t index_ = 0;
  };
  using iterator = Iterator<false>;
  using const_iterator = Iterator<true>;

  iterator begin() { return iterator(this, 0); }
  const_iterator begin() const { return const_iterator(this, 0); }
  IterEnd end() const { return {}; }

  // An iterator standing on `key`, or at the end if absent (to resume an interrupted scan).
  const_iterator iteratorAt(const Key& key) const {
    const int32_t i = findIndex(key);
    return const_iterator(this, i < 0 ? slotCount_ : static_cast<uint32_t>(i));
  }

  // Bytes this table holds beyond its own object.
  std::size_t allocatedBytes() const {
    std::size_t bytes =
        segments_.capacity() * sizeof(Slot*) + buckets_.capacity() * sizeof(int32_t);
    for (std::size_t s = 0; s < segments_.size(); ++s)
      bytes += segmentSize(s) * sizeof(Slot);
    return bytes;
  }

 private:
  using SlotAllocator = TrackingAllocator<Slot, Kind>;

  static std::size_t segmentOf(uint32_t index) {
    return index < 2 ? 0 : static_cast<std::size_t>(std::bit_width(index)) - 1;
  }
  static uint32_t segmentBase(std::size_t segment) { return segment == 0 ? 0 : 1u << segment; }
  static uint32_t segmentSize(std::size_t segment) { return segment == 0 ? 2 : 1u << segment; }

  Slot& slot(uint32_t index) const {
    const std::size_t s = segmentOf(index);
    return segments_[s][index - segmentBase(s)];
  }
  Slot& slot(int32_t index) const { return slot(static_cast<uint32_t>(index)); }

  std::size_t bucketCount() const { return buckets_.size(); }

  int32_t findIndex(const Key& key) const {
    return findIndex(key, HashHelper::KeyAndRhashLegacy(::Vox::hashOfKey(key)));
  }
  int32_t findIndex(const Key& key, uint32_t h) const {
    if (size_ == 0) return -1;
    for (int32_t i = buckets_[h & (bucketCount() - 1)]; i >= 0;) {
      const Slot& s = slot(i);
      if (s.hash == h && s.key == key) return i;
      i = s.next;
    }
    return -1;
  }

  int32_t allocateSlot() {
    if (freeHead_ >= 0) {
      const int32_t i = freeHead_;
      freeHead_ = slot(i).next;
      return i;
    }
    const uint32_t i = slotCount_;
    const std::size_t s = segmentOf(i);
    if (s == segments_.size()) {
      SlotAllocator alloc;
      Slot* segment = alloc.allocate(segmentSize(s));
      std::uninitialized_default_construct_n(segment, segmentSize(s));
      segments_.push_back(segment);
    }
    ++slotCount_;
    return static_cast<int32_t>(i);
  }

  void growBuckets() {
    const std::size_t count = bucketCount() == 0 ? 2 : bucketCount() * 2;
    buckets_.assign(count, -1);
    for (uint32_t i = 0; i < slotCount_; ++i) {
      Slot& s = slot(i);
      if (!s.live) continue;
      int32_t& head = buckets_[s.hash & (count - 1)];
      s.next = head;
      head = static_cast<int32_t>(i);
    }
  }

  void releaseStorage() {
    SlotAllocator alloc;
    for (std::size_t s = 0; s < segments_.size(); ++s) {
      std::destroy_n(segments_[s], segmentSize(s));
      alloc.deallocate(segments_[s], segmentSize(s));
    }
    segments_.clear();
    segments_.shrink_to_fit();
    buckets_.clear();
    buckets_.shrink_to_fit();
    slotCount_ = 0;
    freeHead_ = -1;
  }

  std::vector<Slot*, TrackingAllocator<Slot*, Kind>> segments_;
  std::vector<int32_t, TrackingAllocator<int32_t, Kind>> buckets_;
  uint32_t size_ = 0;
  uint32_t slotCount_ = 0;  // slots handed out so far; iteration runs over these
  int32_t freeHead_ = -1;
  uint32_t version_ = 0;
  mutable uint32_t liveIterators_ = 0;
};

// A keyed set: iteration yields the keys.
template <class Key, MemoryKind Kind = MemoryKind::kKeyedSet>
class KeyedSet {
  using Table = KeyedTable<Key, Empty, Kind>;

 public:
  class const_iterator {
   public:
    explicit const_iterator(typename Table::const_iterator it) : it_(std::move(it)) {}
    const Key& operator*() const { return it_.key(); }
    const Key* operator->() const { return &it_.key(); }
    const_iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(IterEnd end) const { return it_ == end; }

   private:
    typename Table::const_iterator it_;
  };

  std::size_t size() const { return table_.size(); }
  bool empty() const { return table_.empty(); }
  uint32_t version() const { return table_.version(); }
  bool contains(const Key& key) const { return table_.contains(key); }
  // Returns whether the key was absent (and is now inserted).
  bool insert(const Key& key) { return table_.insert(key).second; }
  // Returns whether the key was present (and is now removed).
  bool erase(const Key& key) { return table_.erase(key); }

  const_iterator begin() const { return const_iterator(table_.begin()); }
  IterEnd end() const { return {}; }
  const_iterator iteratorAt(const Key& key) const { return const_iterator(table_.iteratorAt(key)); }
  std::size_t allocatedBytes() const { return table_.allocatedBytes(); }

 private:
  Table table_;
};

}  // namespace Vox
