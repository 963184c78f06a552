#include "platform/vox/Ptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

struct Counted : Vox::PtrInterface {
  explicit Counted(int* destroyed) : destroyed_(destroyed) {}
  ~Counted() override { ++*destroyed_; }
  int* destroyed_;
};
struct Derived : Counted {
  using Counted::Counted;
};

// Copies, moves and conversions to const and to a base share one count; the last reference
// deletes.
TEST(PtrTest, CopiesAndConversionsShareOneCountAndTheLastReferenceDeletes) {
  int destroyed = 0;
  {
    Vox::Ptr<Derived> derived(new Derived(&destroyed));
    Vox::Ptr<Counted> base = derived;
    Vox::Ptr<const Counted> readOnly = base;
    static_assert(!std::is_convertible_v<Vox::Ptr<const Counted>, Vox::Ptr<Counted>>);
    EXPECT_EQ(readOnly->references(), 3u);
    EXPECT_TRUE(readOnly == derived);
    Vox::Ptr<Counted> moved = std::move(base);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(moved->references(), 3u);
    derived = nullptr;
    readOnly = nullptr;
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(moved->references(), 1u);
  }
  EXPECT_EQ(destroyed, 1);
}

// A copied object starts a count of its own; release hands the reference to the caller.
TEST(PtrTest, ACopiedObjectCountsAloneAndReleaseHandsTheReferenceOver) {
  int destroyed = 0;
  Vox::Ptr<Counted> original(new Counted(&destroyed));
  Vox::Ptr<Counted> copy(new Counted(*original));
  EXPECT_EQ(copy->references(), 1u);
  EXPECT_EQ(original->references(), 1u);
  Counted* raw = copy.release();
  EXPECT_EQ(raw->references(), 1u);
  raw->deleteRef();
  EXPECT_EQ(destroyed, 1);
}

// Only meaningful in the thread-safe-pointer build, where counts are atomic; the plain build
// shares pointers within one thread only.
TEST(PtrTest, ConcurrentCopiesKeepTheCountExactInThreadSafeMode) {
  if (!Vox::PtrInterface::kThreadSafe) GTEST_SKIP() << "plain reference counts";
  int destroyed = 0;
  Vox::Ptr<Counted> shared(new Counted(&destroyed));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&shared] {
      for (int i = 0; i < 100000; ++i)
        Vox::Ptr<Counted> copy = shared;
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(shared->references(), 1u);
  shared = nullptr;
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
