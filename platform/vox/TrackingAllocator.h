#pragma once
// Memory accounting per kind of container.
//
// Every container of the framework (keyed sets and maps, entity collections, notifiee lists) and
// every framework object allocates through this accounting, so that a benchmark can report how
// many bytes each kind holds at any moment (`Vox::Memory::liveBytes(kind)`) without an external
// profiler. The counters are process-wide and updated with relaxed atomics; reading them while
// other threads allocate gives a momentary, not a consistent, figure.
//
// `Vox::TrackingAllocator<T, Kind>` is a standard allocator that counts into `Kind`'s counter and
// otherwise behaves like `std::allocator<T>`; allocators of the same kind compare equal.
//
// Framework objects (`Vox::TrackedObject<Kind>`: entities and reactors) come from `ObjectPool`,
// fixed-size blocks carved from larger chunks, one pool per 8-byte size class, so that the many
// small per-key objects cost their own size and nothing more. The kind counters still count the
// objects' exact bytes; the chunks are a separate figure (`Memory::pooledBytes`). A build without
// pooling (CMake option QUILL_OBJECT_POOL=OFF), and any AddressSanitizer build, which must see
// every freed object to report a use after free, allocates each object with operator new.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>

// Pooling is a build-wide choice (every translation unit must agree): on unless the build
// defines VOX_OBJECT_POOL=0.
#ifndef VOX_OBJECT_POOL
#define VOX_OBJECT_POOL 1
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VOX_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VOX_ADDRESS_SANITIZER 1
#endif
#endif

namespace Vox {

enum class MemoryKind : uint8_t {
  kKeyedSet,        // slots and buckets of keyed sets
  kKeyedMap,        // slots and buckets of keyed maps and entity collections
  kEntity,          // entity objects themselves
  kReactor,         // reactors and per-key reactors
  kNotifieeList,    // entities' observer lists
  kConsistentHash,  // hash rings and their node tables
  kFlux,            // compiled pipeline runtime state
  kOther,
  kCount
};

// Fixed-size blocks for framework objects, one size class per 8 bytes up to kLargestBlock.
// Blocks come from 64 KiB chunks, each serving one class at a time: a class hands out the blocks
// of one chunk (freed ones first, then never-used ones in address order) before moving to
// another, and a freed block returns to its own chunk, so that objects created together stay
// close. A chunk whose blocks are all free goes back to a spare list that every class draws
// from; chunks are never given back to the system, so the pool's footprint is its peak. A block
// is aligned to the largest power of two, up to 16, that divides its size, which covers every
// type that needs no more than operator new's default alignment (a type's size is a multiple of
// its alignment). With thread-safe pointers, objects may be created and freed on different
// threads, so each class takes a lock.
class ObjectPool {
 public:
#if VOX_OBJECT_POOL && !VOX_ADDRESS_SANITIZER
  static constexpr bool kEnabled = true;
#else
  static constexpr bool kEnabled = false;
#endif
  static constexpr std::size_t kGranule = 8;
  static constexpr std::size_t kLargestBlock = 512;  // larger objects go to operator new
  static constexpr std::size_t kChunkBytes = 64 * 1024;

  static void* allocate(std::size_t bytes);
  static void deallocate(void* p, std::size_t bytes) noexcept;
  // Bytes held in chunks, used or free.
  static int64_t chunkBytes();
};

class Memory {
 public:
  static int64_t liveBytes(MemoryKind kind) {
    return counter(kind).load(std::memory_order_relaxed);
  }
  static int64_t totalLiveBytes();
  static std::string_view kindName(MemoryKind kind);

  static void* allocate(std::size_t bytes, MemoryKind kind) {
    void* p = ::operator new(bytes);
    counter(kind).fetch_add(static_cast<int64_t>(bytes), std::memory_order_relaxed);
    return p;
  }
  static void deallocate(void* p, std::size_t bytes, MemoryKind kind) noexcept {
    counter(kind).fetch_sub(static_cast<int64_t>(bytes), std::memory_order_relaxed);
    ::operator delete(p);
  }

  // A framework object of `bytes` (its exact size), counted under `kind`.
  static void* allocateObject(std::size_t bytes, MemoryKind kind) {
    if constexpr (ObjectPool::kEnabled) {
      void* p = ObjectPool::allocate(bytes);
      counter(kind).fetch_add(static_cast<int64_t>(bytes), std::memory_order_relaxed);
      return p;
    } else {
      return allocate(bytes, kind);
    }
  }
  static void deallocateObject(void* p, std::size_t bytes, MemoryKind kind) noexcept {
    if constexpr (ObjectPool::kEnabled) {
      counter(kind).fetch_sub(static_cast<int64_t>(bytes), std::memory_order_relaxed);
      ObjectPool::deallocate(p, bytes);
    } else {
      deallocate(p, bytes, kind);
    }
  }

  // What the object pool holds in chunks (zero without pooling): the price of the objects'
  // exact counts above, to be added to them for the process's real use.
  static int64_t pooledBytes() { return ObjectPool::chunkBytes(); }

 private:
  static std::atomic<int64_t>& counter(MemoryKind kind);
};

template <class T, MemoryKind Kind>
class TrackingAllocator {
 public:
  using value_type = T;
  template <class U>
  struct rebind {
    using other = TrackingAllocator<U, Kind>;
  };

  TrackingAllocator() noexcept = default;
  template <class U>
  TrackingAllocator(const TrackingAllocator<U, Kind>&) noexcept {}  // NOLINT: rebinding copy

  T* allocate(std::size_t n) { return static_cast<T*>(Memory::allocate(n * sizeof(T), Kind)); }
  void deallocate(T* p, std::size_t n) noexcept { Memory::deallocate(p, n * sizeof(T), Kind); }

  template <class U>
  bool operator==(const TrackingAllocator<U, Kind>&) const noexcept {
    return true;
  }
};

// Class-level allocation functions that take an object from the pool and count its bytes under
// `Kind`. A class inherits them to have its instances accounted (entities and reactors do); its
// destructor must be virtual, so that `bytes` on deletion is the most derived object's size.
template <MemoryKind Kind>
struct TrackedObject {
  static void* operator new(std::size_t bytes) { return Memory::allocateObject(bytes, Kind); }
  static void operator delete(void* p, std::size_t bytes) noexcept {
    Memory::deallocateObject(p, bytes, Kind);
  }
};

}  // namespace Vox
