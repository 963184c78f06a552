#pragma once
// A standard allocator that adds every byte it hands out to a counter owned by the user, so that a
// structure built on it can say exactly how many bytes it holds. Allocators sharing a counter
// compare equal, so containers can swap storage.
//
//   Baseline::ByteCount bytes;
//   std::vector<int, Baseline::CountedAllocator<int>> v{Baseline::CountedAllocator<int>(bytes)};
//   v.reserve(10);  // bytes.live == 40
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace Baseline {

struct ByteCount {
  int64_t live = 0;
};

template <class T>
class CountedAllocator {
 public:
  using value_type = T;

  explicit CountedAllocator(ByteCount& count) noexcept : count_(&count) {}
  template <class U>
  CountedAllocator(const CountedAllocator<U>& other) noexcept  // NOLINT: rebinding copy
      : count_(other.count()) {}

  T* allocate(std::size_t n) {
    count_->live += static_cast<int64_t>(n * sizeof(T));
    return static_cast<T*>(::operator new(n * sizeof(T)));
  }
  void deallocate(T* p, std::size_t n) noexcept {
    count_->live -= static_cast<int64_t>(n * sizeof(T));
    ::operator delete(p);
  }

  ByteCount* count() const noexcept { return count_; }
  template <class U>
  bool operator==(const CountedAllocator<U>& other) const noexcept {
    return count_ == other.count();
  }

 private:
  ByteCount* count_;
};

template <class T>
using CountedVector = std::vector<T, CountedAllocator<T>>;

}  // namespace Baseline
