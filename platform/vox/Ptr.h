#pragma once
// Intrusive counted pointers.
//
// Every framework object (entity, reactor, per-key reactor) derives from `Vox::PtrInterface`,
// which carries its reference count. `Vox::Ptr<T>` holds one counted reference; `Vox::Ptr<T const>`
// is the read-only form that stages receive for their inputs: through it only const members are
// reachable. A `Ptr<T>` converts implicitly to `Ptr<T const>` and to a pointer to any base.
//
// Counts are plain integers by default. A build configured with VOX_THREAD_SAFE_PTR (the CMake
// option QUILL_THREAD_SAFE_PTR) makes them atomic, so that objects may be shared across threads;
// nothing else about the framework becomes thread-safe.
//
// Invariants:
// - an object is deleted when its count drops from 1 to 0 (`onZeroReferences`);
// - copying an object never copies its count: a copy starts unreferenced;
// - a debug build checks that an object being destroyed holds no references (destroying a
//   referenced object through anything but its last `Ptr` is a bug).
#include <atomic>
#include <cassert>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

namespace Vox {

class PtrInterface {
 public:
#if VOX_THREAD_SAFE_PTR
  static constexpr bool kThreadSafe = true;
#else
  static constexpr bool kThreadSafe = false;
#endif

  PtrInterface() = default;
  PtrInterface(const PtrInterface&) : refs_(0) {}
  PtrInterface& operator=(const PtrInterface&) {
    return *this;
  }

  uint32_t references() const {
    return load();
  }

  void newRef() const {
#if VOX_THREAD_SAFE_PTR
    refs_.fetch_add(1, std::memory_order_relaxed);
#else
    ++refs_;
#endif
  }

  void deleteRef() const {
#if VOX_THREAD_SAFE_PTR
    if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) onZeroReferences();
#else
    if (--refs_ == 0) onZeroReferences();
#endif
  }

 protected:
  virtual ~PtrInterface() {
    assert(load() == 0 && "destroying an object that is still referenced");
  }

  // Called once the last reference is gone. Deletes the object.
  virtual void onZeroReferences() const {
    delete this;
  }

 private:
  uint32_t load() const {
#if VOX_THREAD_SAFE_PTR
    return refs_.load(std::memory_order_acquire);
#else
    return refs_;
#endif
  }

#if VOX_THREAD_SAFE_PTR
  mutable std::atomic<uint32_t> refs_{0};
#else
  mutable uint32_t refs_ = 0;
#endif
};

template <class T>
class Ptr {
 public:
  using element_type = T;

  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}  // NOLINT: implicit from nullptr
  Ptr(T* p) noexcept : p_(p) {               // NOLINT: implicit from a raw pointer, as `new T`
    if (p_) p_->newRef();
  }
  Ptr(const Ptr& other) noexcept : Ptr(other.p_) {}
  Ptr(Ptr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& other)
  noexcept : Ptr(other.ptr()) {}  // NOLINT: implicit upcast / to const
  template <class U>
  requires std::is_convertible_v<U*, T*> Ptr(Ptr<U>&& other)
  noexcept : p_(other.release()) {}  // NOLINT

  ~Ptr() {
    if (p_) p_->deleteRef();
  }

  Ptr& operator=(Ptr other) noexcept {
    std::swap(p_, other.p_);
    return *this;
  }

  T* ptr() const noexcept { return p_; }
  T* operator->() const noexcept {
    assert(p_ && "dereferencing a null Vox::Ptr");
    return p_;
  }
  T& operator*() const noexcept {
    assert(p_ && "dereferencing a null Vox::Ptr");
    return *p_;
  }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  // Gives up the reference without releasing it; the caller takes it over.
  T* release() noexcept { return std::exchange(p_, nullptr); }

  template <class U>
  bool operator==(const Ptr<U>& other) const noexcept {
    return p_ == other.ptr();
  }
  bool operator==(std::nullptr_t) const noexcept { return p_ == nullptr; }
  bool operator==(const T* other) const noexcept { return p_ == other; }

 private:
  T* p_ = nullptr;
};

// Static downcast of a counted pointer; the caller knows the dynamic type.
template <class To, class From>
Ptr<To> ptr_static_cast(const Ptr<From>& from) {
  return Ptr<To>(static_cast<To*>(from.ptr()));
}

}  // namespace Vox

template <class T>
struct std::hash<Vox::Ptr<T>> {
  std::size_t operator()(const Vox::Ptr<T>& p) const noexcept { return std::hash<T*>()(p.ptr()); }
};
