#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "platform/vox/Entity.h"
#include "platform/vox/TrackingAllocator.h"
#include "tests/support/TestEntities.h"

namespace {

using Vox::ObjectPool;

std::size_t blockOf(std::size_t bytes) {
  return (bytes + ObjectPool::kGranule - 1) / ObjectPool::kGranule * ObjectPool::kGranule;
}

// Fills every word of a block with `value`, so that a block handed out twice, or overlapping
// another, shows up as a word that does not match.
void sign(void* p, std::size_t bytes, uint64_t value) {
  auto* words = static_cast<uint64_t*>(p);
  std::fill(words, words + bytes / sizeof(uint64_t), value);
}
bool signedWith(const void* p, std::size_t bytes, uint64_t value) {
  const auto* words = static_cast<const uint64_t*>(p);
  return std::all_of(words, words + bytes / sizeof(uint64_t),
                     [value](uint64_t w) { return w == value; });
}

// One size of each kind of class: the smallest, sizes between granules, a 16-byte multiple, a
// typical entity and per-key reactor, and the largest pooled size.
class ObjectPoolSizeTest : public ::testing::TestWithParam<std::size_t> {};

TEST_P(ObjectPoolSizeTest, AFreedBlockGoesToTheNextRequestOfItsSizeClassOnly) {
  const std::size_t bytes = GetParam();
  const std::size_t block = blockOf(bytes);
  void* first = ObjectPool::allocate(bytes);
  void* second = ObjectPool::allocate(bytes);
  EXPECT_NE(first, second);
  // A block is aligned to the largest power of two up to 16 that divides its size.
  const std::uintptr_t alignment = block % 16 == 0 ? 16 : 8;
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % alignment, 0u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second) % alignment, 0u);

  ObjectPool::deallocate(first, bytes);
  void* larger = ObjectPool::allocate(block + 1);  // the next class up
  EXPECT_NE(larger, first);
  const int64_t chunks = ObjectPool::chunkBytes();
  void* sameClass = ObjectPool::allocate(block);  // another size that rounds to the same block
  EXPECT_EQ(sameClass, first);
  EXPECT_EQ(ObjectPool::chunkBytes() - chunks, 0) << "reuse needs no new chunk";
  for (auto [p, size] : {std::pair{second, bytes}, {sameClass, block}, {larger, block + 1}})
    ObjectPool::deallocate(p, size);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ObjectPoolSizeTest,
                         ::testing::Values(1, 8, 20, 24, 32, 168, 200, ObjectPool::kLargestBlock));

// Blocks of three classes, the largest spanning two chunks: all distinct, all reused once freed
// (no new chunk), and after a teardown handed out in address order again within each chunk
// rather than in the order they were freed.
TEST(ObjectPoolTest, ManyBlocksStayDistinctAndComeBackInAddressOrderAfterATeardown) {
  const std::size_t sizes[] = {24, 40, 168};
  constexpr std::size_t kPerSize = 500;
  struct Block {
    void* p;
    std::size_t bytes;
  };
  std::vector<Block> blocks;
  const auto allocateAll = [&] {
    blocks.clear();
    for (std::size_t i = 0; i < kPerSize; ++i) {
      for (std::size_t bytes : sizes)
        blocks.push_back({ObjectPool::allocate(bytes), bytes});
    }
    for (std::size_t i = 0; i < blocks.size(); ++i)
      sign(blocks[i].p, blocks[i].bytes, i + 1);
    for (std::size_t i = 0; i < blocks.size(); ++i)
      ASSERT_TRUE(signedWith(blocks[i].p, blocks[i].bytes, i + 1)) << "block " << i;
  };
  const auto freeAllShuffled = [&] {
    std::vector<Block> order = blocks;
    std::shuffle(order.begin(), order.end(), std::mt19937(5));
    for (const Block& b : order)
      ObjectPool::deallocate(b.p, b.bytes);
  };
  allocateAll();
  freeAllShuffled();
  const int64_t chunks = ObjectPool::chunkBytes();
  allocateAll();
  EXPECT_EQ(ObjectPool::chunkBytes(), chunks);
  for (std::size_t bytes : sizes) {
    std::size_t backwards = 0;
    std::set<std::uintptr_t> chunksUsed;
    std::uintptr_t last = 0;
    for (const Block& b : blocks) {
      if (b.bytes != bytes) continue;
      const auto address = reinterpret_cast<std::uintptr_t>(b.p);
      backwards += address < last ? 1 : 0;
      last = address;
      chunksUsed.insert(address / ObjectPool::kChunkBytes);
    }
    EXPECT_LT(backwards, chunksUsed.size()) << bytes << "-byte blocks";
  }
  freeAllShuffled();
}

TEST(ObjectPoolTest, ObjectsLargerThanTheLargestBlockNeedNoChunk) {
  const int64_t chunks = ObjectPool::chunkBytes();
  void* large = ObjectPool::allocate(ObjectPool::kLargestBlock + 1);
  sign(large, ObjectPool::kLargestBlock, 7);
  EXPECT_EQ(ObjectPool::chunkBytes(), chunks);
  ObjectPool::deallocate(large, ObjectPool::kLargestBlock + 1);
}

TEST(ObjectPoolTest, EntitiesCountTheirExactBytesAndReuseTheirBlocks) {
  using QuillTest::TestColl;
  using QuillTest::TestItem;
  const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kEntity);
  const int64_t pooled = Vox::Memory::pooledBytes();
  Vox::Ptr<TestColl> coll = Vox::create<TestColl>();
  Vox::Ptr<TestItem> item = coll->itemIs({1});
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kEntity) - before,
            static_cast<int64_t>(sizeof(TestColl) + sizeof(TestItem)));
  const TestItem* itemAddress = item.ptr();
  item = nullptr;
  coll->itemDel({1});
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kEntity) - before,
            static_cast<int64_t>(sizeof(TestColl)));
  Vox::Ptr<TestItem> again = coll->itemIs({2});
  if (ObjectPool::kEnabled) {
    EXPECT_EQ(again.ptr(), itemAddress) << "the freed block is the first one reused";
  } else {
    EXPECT_EQ(Vox::Memory::pooledBytes(), pooled) << "entities bypass the pool";
  }
  again = nullptr;
  coll = nullptr;
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kEntity), before);
}

// Only meaningful in the thread-safe-pointer build, where objects may be freed on another thread
// than the one that created them; the plain build keeps each object on one thread.
TEST(ObjectPoolTest, BlocksFreedOnAnotherThreadInThreadSafeMode) {
  if (!Vox::PtrInterface::kThreadSafe) GTEST_SKIP() << "objects stay on one thread";
  struct Block {
    void* p;
    std::size_t bytes;
    uint64_t signature;
  };
  std::mutex handoverMutex;
  std::vector<Block> handover;  // blocks any thread may free
  std::vector<int> corrupted(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      const std::size_t sizes[] = {24, 48, 168};
      for (uint64_t i = 0; i < 20000; ++i) {
        const std::size_t bytes = sizes[random() % 3];
        Block mine{ObjectPool::allocate(bytes), bytes, (uint64_t(t) << 32) | i};
        sign(mine.p, mine.bytes, mine.signature);
        Block theirs{};
        {
          const std::lock_guard lock(handoverMutex);
          handover.push_back(mine);
          const std::size_t pick = random() % handover.size();
          theirs = handover[pick];
          handover[pick] = handover.back();
          handover.pop_back();
        }
        if (!signedWith(theirs.p, theirs.bytes, theirs.signature)) ++corrupted[t];
        ObjectPool::deallocate(theirs.p, theirs.bytes);
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  for (const Block& b : handover) {
    EXPECT_TRUE(signedWith(b.p, b.bytes, b.signature));
    ObjectPool::deallocate(b.p, b.bytes);
  }
  EXPECT_EQ(corrupted, std::vector<int>(4, 0));
}

}  // namespace
