#pragma once
// The framework's hash table: keyed sets and keyed maps.
//
// A `KeyedTable<Key, Value>` maps keys to values (a set is a table whose value is `Vox::Empty`).
// Keys are hashed with their own hash (`hash(0)`, or `hash()` for the few unseeded types) followed
// by `HashHelper::KeyAndRhashLegacy`, and matched with `==`. Iteration order is the table's own
// and carries no meaning.
//
// Storage: elements live in slots that never move. Slot indices run over consecutive segments:
// the first `InlineSlots` slots (default 1, may be 0) live inside the table object itself, and
// heap segments follow whose sizes double the heap capacity each time (1, 1, 2, 4, ... slots for
// up to one inline slot), up to segments of about 8 KiB, after which every segment has that
// size: a small table holds no more than twice its peak size, and a large one wastes at most one
// partly used segment instead of half its storage. Most tables of the pipeline hold a single
// element, so a table that never needed more than its inline slots allocates nothing: it has no
// bucket array, and a lookup scans the inline slots, comparing the stored hash before the key.
// Handing out the first heap slot builds a bucket array of slot indices over every slot, and from
// then on each bucket chains its slots. A removed element's slot goes to a free list and is reused
// by a later insert. The header is two raw pointers (the array of heap segment pointers and the
// bucket array, both tracked allocations), 32-bit counts and the bucket count's log2.
//
// Values are constructed in their slot (`emplace`, or `insert` from a value), so they need not be
// default-constructible, copyable or movable; a slot holds a value only while its element is
// present. A value is destroyed in place when its element is removed and when the table is
// destroyed.
//
// Iterator and reference guarantees (what stages rely on), and why they hold:
// - An iterator stays valid when the element it stands on is removed, by anyone: incrementing it
//   moves to the next element still present. Dereferencing it before incrementing is not allowed.
//   An iterator is a slot index; every live iterator pins the table, and a pinned table never
//   releases a slot, so the index keeps naming the same slot, inline or on the heap; a removed
//   element's slot is marked empty, and incrementing skips empty slots.
// - Inserting during iteration is allowed. Elements present for the whole iteration are visited
//   exactly once; an element inserted during it may or may not be visited. Growing never moves a
//   slot or changes its index (spilling from the inline slots to the heap adds segments after
//   them and only builds buckets), so the iterator, whose index only increases, passes every old
//   element once; a new element takes a free slot or the next index, either side of the iterator.
// - A reference to an element's key or value stays valid until that element is removed (inserts
//   never move elements: inline slots move only with the table object, which can be neither
//   copied nor moved). While any iterator of the table is alive, the storage of a removed element
//   is not released either, so a loop body may still read the key it was given: a removed slot
//   keeps its key until the slot is reused.
// - Every insert and every removal changes `version()`; nothing else does.
// - `erase` unlinks the element and updates `size()` and `version()` first, then destroys the
//   value in place, and only then returns the slot to the free list. The table is therefore
//   consistent while the value's destructor runs, and that destructor may insert into or erase
//   from the same table: its slot cannot be handed out again, and the erase pins the table so
//   that emptying it cannot release the slot's segment under the running destructor.
// - A value's constructor may use the table too (the slot is pinned and neither live nor free
//   while it runs), except to insert the very key being inserted.
//
// Storage is released, all but the inline slots, when the table becomes empty with nothing
// pinning it (no iterator alive, no erase or emplace under way).
//
// Complexity: insert, lookup and erase are O(1) on average; iteration is O(slots handed out),
// which is the table's peak size since it last became empty.
#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/vox/Hash.h"
#include "platform/vox/TrackingAllocator.h"

namespace Vox {

// The value type of a set.
struct Empty {
  bool operator==(const Empty&) const = default;
};

// The end of any table iteration.
struct IterEnd {};

namespace KeyedTableDetail {

// A value without state (a set's `Empty`) is given no byte of its slot.
template <class V>
inline constexpr bool kStateless =
    std::conjunction_v<std::is_empty<V>, std::is_trivially_default_constructible<V>,
                       std::is_trivially_destructible<V>>;

// Raw storage for one value: the table constructs and destroys the value explicitly.
template <class V, bool Stateless = kStateless<V>>
class ValueCell {
 public:
  ValueCell() noexcept {}
  ValueCell(const ValueCell&) = delete;
  ValueCell& operator=(const ValueCell&) = delete;
  ~ValueCell() {}

  template <class... Args>
  void construct(Args&&... args) {
    ::new (static_cast<void*>(std::addressof(value_))) V(std::forward<Args>(args)...);
  }
  void destroy() noexcept { value_.~V(); }
  V& get() noexcept { return value_; }
  const V& get() const noexcept { return value_; }

 private:
  union {
    V value_;
  };
};

template <class V>
class ValueCell<V, true> {
 public:
  template <class... Args>
  void construct(Args&&... args) {
    ::new (static_cast<void*>(std::addressof(value_))) V(std::forward<Args>(args)...);
  }
  void destroy() noexcept {}
  V& get() noexcept { return value_; }
  const V& get() const noexcept { return value_; }

 private:
  [[no_unique_address]] V value_;
};

struct NoInlineSlots {};

// A slot's key and value. By default the slot stores its key; with a `KeyOf` (a function object
// giving a value's key) the key is read from the value, so that a table of entities keyed by
// their own key does not store it twice.
template <class Key, class Value, class KeyOf>
struct SlotContent {
  [[no_unique_address]] ValueCell<Value> value;
  const Key& key() const { return KeyOf{}(value.get()); }
  void keyIs(const Key& key) { (void)key; }
};
template <class Key, class Value>
struct SlotContent<Key, Value, void> {
  Key key_{};
  [[no_unique_address]] ValueCell<Value> value;
  const Key& key() const { return key_; }
  void keyIs(const Key& key) { key_ = key; }
};

}  // namespace KeyedTableDetail

template <class Key, class Value, MemoryKind Kind = MemoryKind::kKeyedMap, uint32_t InlineSlots = 1,
          class KeyOf = void>
class KeyedTable {
  // A slot holds an element while its tag is non-zero: the key's hash with kLive set. Bucket
  // indices never reach that bit, and comparing tags before keys compares the hashes (so a
  // dead slot's key, which a `KeyOf` could no longer read, is never compared).
  static constexpr uint32_t kLive = 0x80000000u;
  struct Slot : KeyedTableDetail::SlotContent<Key, Value, KeyOf> {
    uint32_t tag = 0;
    int32_t next = -1;  // next slot of the bucket chain, or of the free list
    bool live() const { return tag != 0; }
  };

  // Heap segments (counted from 0 after the inline slots) hold kFirstHeap, kFirstHeap,
  // 2 kFirstHeap, ... slots up to kFullSegment slots; from segment kFirstFull on, every segment
  // holds kFullSegment slots, so that the heap capacity is a multiple of kFullSegment.
  static constexpr uint32_t kFirstHeap = std::max<uint32_t>(1, std::bit_ceil(InlineSlots));
  static constexpr int kFirstHeapLog2 = std::countr_zero(kFirstHeap);
  static constexpr std::size_t kFullSegmentBytes = 8192;
  static constexpr uint32_t kFullSegment =
      std::max<uint32_t>(kFirstHeap, std::bit_floor(static_cast<uint32_t>(std::max<std::size_t>(
                                         1, kFullSegmentBytes / sizeof(Slot)))));
  static constexpr int kFullSegmentLog2 = std::countr_zero(kFullSegment);
  static constexpr uint32_t kFirstFull = kFullSegmentLog2 - kFirstHeapLog2 + 1;

 public:
  using key_type = Key;
  using mapped_type = Value;

  KeyedTable() = default;
  KeyedTable(const KeyedTable&) = delete;
  KeyedTable& operator=(const KeyedTable&) = delete;
  ~KeyedTable() {
    if constexpr (!std::is_trivially_destructible_v<Value>) {
      // Each value goes through the ordinary removal, so its destructor finds the table
      // consistent; repeat in case a destructor inserted behind the scan.
      while (size_ > 0) {
        for (uint32_t i = 0; i < slotCount_; ++i) {
          if (!slot(i).live()) continue;
          if (buckets_) unlink(i);
          retire(i);
        }
      }
    }
    releaseStorage();
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  uint32_t version() const { return version_; }

  bool contains(const Key& key) const { return findIndex(key) >= 0; }

  // The value stored for `key`, or null.
  const Value* find(const Key& key) const {
    const int32_t i = findIndex(key);
    return i < 0 ? nullptr : &slot(i).value.get();
  }
  Value* find(const Key& key) {
    const int32_t i = findIndex(key);
    return i < 0 ? nullptr : &slot(i).value.get();
  }

  // Inserts `key` with a value constructed in place from `args` unless `key` is present. Returns
  // the stored value and whether it was inserted; an existing element is left untouched and
  // `args` unused.
  template <class... Args>
  std::pair<Value*, bool> emplace(const Key& key, Args&&... args) {
    const uint32_t tag = tagOf(key);
    if (const int32_t i = findIndex(key, tag); i >= 0) return {&slot(i).value.get(), false};
    reserveBucketsForInsert();
    const int32_t i = allocateSlot();
    Slot& s = slot(i);
    s.keyIs(key);
    [[maybe_unused]] const uint32_t versionBefore = version_;
    pin();
    try {
      s.value.construct(std::forward<Args>(args)...);
    } catch (...) {
      pushFree(i);
      unpin();
      throw;
    }
    --pins_;  // the element is about to be linked, so the table is not left empty
    assert(s.key() == key && "a value keyed by itself must carry the key it is inserted under");
    assert((version_ == versionBefore || findIndex(key, tag) < 0) &&
           "a value's constructor inserted the key being inserted");
    link(i, tag);
    return {&s.value.get(), true};
  }

  // Inserts `key` with `value` unless present. Returns the stored value and whether it was
  // inserted; an existing element keeps its value.
  template <class V = Value>
  std::pair<Value*, bool> insert(const Key& key, V&& value = V{}) {
    return emplace(key, std::forward<V>(value));
  }

  // Removes `key` if present; returns whether it was. The removed value is destroyed after the
  // table is consistent again, so its destructor may use the table.
  bool erase(const Key& key) {
    return erase(key, [](const Value&) {});
  }
  // The same, first handing the value to `look(const Value&)` (to keep a copy of it, say), with
  // one lookup where a find and an erase would take two.
  template <class Look>
  bool erase(const Key& key, Look&& look) {
    if (size_ == 0) return false;
    const uint32_t tag = tagOf(key);
    if (!buckets_) {
      const int32_t i = scanInline(key, tag);
      if (i < 0) return false;
      look(std::as_const(slot(i).value.get()));
      retire(static_cast<uint32_t>(i));
      return true;
    }
    for (int32_t* link = &bucket(tag); *link >= 0; link = &slot(*link).next) {
      Slot& s = slot(*link);
      if (s.tag == tag && s.key() == key) {
        look(std::as_const(s.value.get()));
        const int32_t i = *link;
        *link = s.next;
        retire(static_cast<uint32_t>(i));
        return true;
      }
    }
    return false;
  }

  template <bool Const>
  class Iterator {
    using Table = std::conditional_t<Const, const KeyedTable, KeyedTable>;

   public:
    Iterator() = default;
    Iterator(Table* table, uint32_t index) : table_(table), index_(index) {
      table_->pin();
      skipDead();
    }
    Iterator(const Iterator& other) : table_(other.table_), index_(other.index_) {
      if (table_) table_->pin();
    }
    Iterator& operator=(const Iterator& other) {
      Iterator copy(other);
      std::swap(table_, copy.table_);
      std::swap(index_, copy.index_);
      return *this;
    }
    ~Iterator() {
      if (table_) const_cast<KeyedTable*>(table_)->unpin();
    }

    const Key& key() const { return current().key(); }
    auto& value() const { return current().value.get(); }

    Iterator& operator++() {
      ++index_;
      skipDead();
      return *this;
    }
    bool operator==(IterEnd) const { return !table_ || index_ >= table_->slotCount_; }

   private:
    auto& current() const {
      assert(table_ && index_ < table_->slotCount_ && table_->slot(index_).live() &&
             "dereferencing a table iterator whose element is gone");
      return table_->slot(index_);
    }
    void skipDead() {
      while (index_ < table_->slotCount_ && !table_->slot(index_).live())
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
    const uint32_t heap = heapSegmentCount();
    const std::size_t slots = heapSegmentBase(heap);
    return pointerCapacity(heap) * sizeof(Slot*) + bucketCount() * sizeof(int32_t) +
           slots * sizeof(Slot);
  }

 private:
  using SlotAllocator = TrackingAllocator<Slot, Kind>;
  using PointerAllocator = TrackingAllocator<Slot*, Kind>;
  using BucketAllocator = TrackingAllocator<int32_t, Kind>;

  // Heap segment of heap index `j` (a slot index less the inline slots), its first heap index and
  // its size.
  static uint32_t heapSegmentOf(uint32_t j) {
    if (j < kFullSegment) return static_cast<uint32_t>(std::bit_width(j >> kFirstHeapLog2));
    return kFirstFull - 1 + (j >> kFullSegmentLog2);
  }
  static uint32_t heapSegmentBase(uint32_t s) {
    if (s < kFirstFull) return s == 0 ? 0 : kFirstHeap << (s - 1);
    return (s - kFirstFull + 1) << kFullSegmentLog2;
  }
  static uint32_t heapSegmentSize(uint32_t s) {
    if (s < kFirstFull) return s == 0 ? kFirstHeap : kFirstHeap << (s - 1);
    return kFullSegment;
  }
  // The segment pointer array doubles as segments are added.
  static uint32_t pointerCapacity(uint32_t segments) {
    return segments == 0 ? 0 : std::bit_ceil(segments);
  }
  uint32_t heapSegmentCount() const {
    return slotCount_ <= InlineSlots ? 0 : heapSegmentOf(slotCount_ - 1 - InlineSlots) + 1;
  }

  const Slot& slot(uint32_t index) const {
    if constexpr (InlineSlots > 0) {
      if (index < InlineSlots) return inline_[index];
    }
    const uint32_t j = index - InlineSlots;
    const uint32_t s = heapSegmentOf(j);
    return segments_[s][j - heapSegmentBase(s)];
  }
  Slot& slot(uint32_t index) {
    return const_cast<Slot&>(static_cast<const KeyedTable*>(this)->slot(index));
  }
  const Slot& slot(int32_t index) const { return slot(static_cast<uint32_t>(index)); }
  Slot& slot(int32_t index) { return slot(static_cast<uint32_t>(index)); }

  static uint32_t tagOf(const Key& key) {
    return HashHelper::KeyAndRhashLegacy(::Vox::hashOfKey(key)) | kLive;
  }

  std::size_t bucketCount() const { return bucketLog2_ == 0 ? 0 : std::size_t{1} << bucketLog2_; }
  int32_t& bucket(uint32_t tag) const { return buckets_[tag & (bucketCount() - 1)]; }

  int32_t findIndex(const Key& key) const {
    if (size_ == 0) return -1;
    return findIndex(key, tagOf(key));
  }
  int32_t findIndex(const Key& key, uint32_t tag) const {
    if (size_ == 0) return -1;
    if (!buckets_) return scanInline(key, tag);
    for (int32_t i = bucket(tag); i >= 0;) {
      const Slot& s = slot(i);
      if (s.tag == tag && s.key() == key) return i;
      i = s.next;
    }
    return -1;
  }
  // Without buckets every slot handed out is inline.
  int32_t scanInline(const Key& key, uint32_t tag) const {
    if constexpr (InlineSlots > 0) {
      for (uint32_t i = 0; i < slotCount_; ++i) {
        const Slot& s = inline_[i];
        if (s.tag == tag && s.key() == key) return static_cast<int32_t>(i);
      }
    }
    return -1;
  }

  // Makes room in the buckets for one more element before anything else changes: grows them at
  // a load of one, and builds them when the next slot handed out will be the first heap slot.
  void reserveBucketsForInsert() {
    if (buckets_) {
      if (size_ + 1 > bucketCount()) rebuildBuckets(bucketLog2_ + 1);
    } else if (freeHead_ < 0 && slotCount_ >= InlineSlots) {
      rebuildBuckets(std::max(1u, static_cast<uint32_t>(std::bit_width(size_))));
    }
  }

  void rebuildBuckets(uint32_t log2) {
    const std::size_t count = std::size_t{1} << log2;
    int32_t* fresh = BucketAllocator().allocate(count);
    std::fill_n(fresh, count, -1);
    if (buckets_) BucketAllocator().deallocate(buckets_, bucketCount());
    buckets_ = fresh;
    bucketLog2_ = log2;
    for (uint32_t i = 0; i < slotCount_; ++i) {
      Slot& s = slot(i);
      if (!s.live()) continue;
      int32_t& head = bucket(s.tag);
      s.next = head;
      head = static_cast<int32_t>(i);
    }
  }

  // A slot that is neither live nor free: the caller constructs its value and links it.
  int32_t allocateSlot() {
    if (freeHead_ >= 0) {
      const int32_t i = freeHead_;
      freeHead_ = slot(i).next;
      return i;
    }
    const uint32_t i = slotCount_;
    if (i >= InlineSlots) {
      const uint32_t j = i - InlineSlots;
      const uint32_t s = heapSegmentOf(j);
      if (j == heapSegmentBase(s)) addHeapSegment(s);
    }
    ++slotCount_;
    return static_cast<int32_t>(i);
  }

  void addHeapSegment(uint32_t s) {
    SlotAllocator slots;
    Slot* segment = slots.allocate(heapSegmentSize(s));
    std::uninitialized_default_construct_n(segment, heapSegmentSize(s));
    if (pointerCapacity(s) == s) {
      Slot** grown;
      try {
        grown = PointerAllocator().allocate(pointerCapacity(s + 1));
      } catch (...) {
        std::destroy_n(segment, heapSegmentSize(s));
        slots.deallocate(segment, heapSegmentSize(s));
        throw;
      }
      std::copy_n(segments_, s, grown);
      if (segments_) PointerAllocator().deallocate(segments_, pointerCapacity(s));
      segments_ = grown;
    }
    segments_[s] = segment;
  }

  void link(int32_t i, uint32_t tag) {
    Slot& s = slot(i);
    s.tag = tag;
    if (buckets_) {
      int32_t& head = bucket(tag);
      s.next = head;
      head = i;
    }
    ++size_;
    ++version_;
  }

  // Takes live slot `i` out of its bucket chain.
  void unlink(uint32_t i) {
    int32_t* link = &bucket(slot(i).tag);
    while (*link != static_cast<int32_t>(i))
      link = &slot(*link).next;
    *link = slot(i).next;
  }

  // Removes the element of slot `i`, already out of its bucket chain: the table reflects the
  // removal before the value's destructor runs, and the slot is free only after it returned.
  void retire(uint32_t i) {
    Slot& s = slot(i);
    s.tag = 0;
    --size_;
    ++version_;
    if constexpr (std::is_trivially_destructible_v<Value>) {
      pushFree(static_cast<int32_t>(i));
      if (size_ == 0 && pins_ == 0) releaseStorage();
    } else {
      pin();
      s.value.destroy();
      pushFree(static_cast<int32_t>(i));
      unpin();
    }
  }

  void pushFree(int32_t i) {
    slot(i).next = freeHead_;
    freeHead_ = i;
  }

  void pin() const {
    assert(pins_ < kMaxPins && "too many iterators alive on one table");
    ++pins_;
  }
  void unpin() {
    // An empty table's storage holds nothing observable; releasing it is not a mutation.
    if (--pins_ == 0 && size_ == 0) releaseStorage();
  }

  void releaseStorage() {
    const uint32_t heap = heapSegmentCount();
    SlotAllocator slots;
    for (uint32_t s = 0; s < heap; ++s) {
      std::destroy_n(segments_[s], heapSegmentSize(s));
      slots.deallocate(segments_[s], heapSegmentSize(s));
    }
    if (segments_) PointerAllocator().deallocate(segments_, pointerCapacity(heap));
    if (buckets_) BucketAllocator().deallocate(buckets_, bucketCount());
    segments_ = nullptr;
    buckets_ = nullptr;
    bucketLog2_ = 0;
    slotCount_ = 0;
    freeHead_ = -1;
  }

  Slot** segments_ = nullptr;   // heap segments, pointerCapacity(heapSegmentCount()) entries
  int32_t* buckets_ = nullptr;  // bucket heads, 1 << bucketLog2_ of them; null while inline only
  uint32_t size_ = 0;
  uint32_t slotCount_ = 0;  // slots handed out so far; iteration runs over these
  int32_t freeHead_ = -1;
  uint32_t version_ = 0;
  // Live iterators plus erasures and insertions under way; storage is released only when none.
  static constexpr uint32_t kMaxPins = (1u << 27) - 1;
  mutable uint32_t pins_ : 27 = 0;
  uint32_t bucketLog2_ : 5 = 0;
  [[no_unique_address]] std::conditional_t<(InlineSlots > 0), std::array<Slot, InlineSlots>,
                                           KeyedTableDetail::NoInlineSlots>
      inline_;
};

// A keyed set: iteration yields the keys.
template <class Key, MemoryKind Kind = MemoryKind::kKeyedSet, uint32_t InlineSlots = 1>
class KeyedSet {
  using Table = KeyedTable<Key, Empty, Kind, InlineSlots>;

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
