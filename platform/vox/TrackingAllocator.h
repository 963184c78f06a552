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
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>

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

// Class-level allocation functions that count an object's bytes under `Kind`. A class inherits
// them to have its instances accounted (entities and reactors do).
template <MemoryKind Kind>
struct TrackedObject {
  static void* operator new(std::size_t bytes) { return Memory::allocate(bytes, Kind); }
  static void operator delete(void* p, std::size_t bytes) noexcept {
    Memory::deallocate(p, bytes, Kind);
  }
};

}  // namespace Vox
