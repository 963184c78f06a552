#include "platform/vox/TrackingAllocator.h"

#include <algorithm>
#include <array>
#if VOX_THREAD_SAFE_PTR
#include <mutex>
#endif

namespace Vox {

std::atomic<int64_t>& Memory::counter(MemoryKind kind) {
  static std::array<std::atomic<int64_t>, static_cast<std::size_t>(MemoryKind::kCount)> counters{};
  return counters[static_cast<std::size_t>(kind)];
}

int64_t Memory::totalLiveBytes() {
  int64_t total = 0;
  for (std::size_t k = 0; k < static_cast<std::size_t>(MemoryKind::kCount); ++k) {
    total += liveBytes(static_cast<MemoryKind>(k));
  }
  return total;
}

std::string_view Memory::kindName(MemoryKind kind) {
  switch (kind) {
    case MemoryKind::kKeyedSet:
      return "keyed-set";
    case MemoryKind::kKeyedMap:
      return "keyed-map";
    case MemoryKind::kEntity:
      return "entity";
    case MemoryKind::kReactor:
      return "reactor";
    case MemoryKind::kNotifieeList:
      return "notifiee-list";
    case MemoryKind::kConsistentHash:
      return "consistent-hash";
    case MemoryKind::kFlux:
      return "flux";
    case MemoryKind::kOther:
    case MemoryKind::kCount:
      break;
  }
  return "other";
}

namespace {

// Chunks are aligned to their size, so a block finds its chunk by masking its address. They are
// carved from arenas taken from operator new; an arena is never given back, and a chunk whose
// blocks are all free goes to a spare list shared by every size class.
constexpr std::size_t kChunkBytes = ObjectPool::kChunkBytes;
constexpr std::size_t kChunksPerArena = 32;

struct FreeBlock {
  FreeBlock* next;
};

// The head of a chunk; its blocks follow. A size class allocates from one chunk at a time (its
// current one) and returns blocks to the chunk they came from, so objects created together stay
// together, and a chunk emptied in a teardown is handed out afresh, in address order.
struct alignas(64) Chunk {
  FreeBlock* free = nullptr;  // returned blocks
  char* unused = nullptr;     // blocks from here on were never handed out
  char* end = nullptr;        // the end of the last whole block
  Chunk* prev = nullptr;      // the class's chunks with room, current one excepted
  Chunk* next = nullptr;      // (spare chunks are linked through `next` too)
  uint32_t live = 0;          // blocks handed out
  bool listed = false;        // on the class's list of chunks with room

  bool full() const { return !free && unused == end; }
  void reset(std::size_t block) {
    free = nullptr;
    unused = reinterpret_cast<char*>(this + 1);
    end = unused + (kChunkBytes - sizeof(Chunk)) / block * block;
    live = 0;
  }
};
static_assert(sizeof(Chunk) == 64, "blocks start 64 bytes into their chunk");
static_assert(ObjectPool::kLargestBlock * 64 <= kChunkBytes - sizeof(Chunk));

Chunk* chunkOf(void* block) {
  return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(block) & ~(kChunkBytes - 1));
}

struct SizeClass {
  Chunk* current = nullptr;
  Chunk* withRoom = nullptr;
#if VOX_THREAD_SAFE_PTR
  std::mutex mutex;
#endif

  void link(Chunk* chunk) {
    chunk->prev = nullptr;
    chunk->next = withRoom;
    if (withRoom) withRoom->prev = chunk;
    withRoom = chunk;
    chunk->listed = true;
  }
  void unlink(Chunk* chunk) {
    (chunk->prev ? chunk->prev->next : withRoom) = chunk->next;
    if (chunk->next) chunk->next->prev = chunk->prev;
    chunk->listed = false;
  }
};

// Chunks not serving any class: the spare list, then the rest of the newest arena.
struct ChunkSource {
  Chunk* spare = nullptr;
  char* arenaNext = nullptr;
  char* arenaEnd = nullptr;
#if VOX_THREAD_SAFE_PTR
  std::mutex mutex;
#endif
};

constexpr std::size_t kSizeClasses = ObjectPool::kLargestBlock / ObjectPool::kGranule;
constinit std::array<SizeClass, kSizeClasses> sizeClasses{};
constinit ChunkSource chunkSource{};
constinit std::atomic<int64_t> chunkBytesHeld{0};

std::size_t blockBytes(std::size_t bytes) {
  return std::max<std::size_t>(1, (bytes + ObjectPool::kGranule - 1) / ObjectPool::kGranule) *
         ObjectPool::kGranule;
}

SizeClass& sizeClassOf(std::size_t block) {
  return sizeClasses[block / ObjectPool::kGranule - 1];
}

Chunk* takeChunk() {
  ChunkSource& source = chunkSource;
#if VOX_THREAD_SAFE_PTR
  const std::lock_guard lock(source.mutex);
#endif
  if (Chunk* chunk = source.spare) {
    source.spare = chunk->next;
    return chunk;
  }
  if (source.arenaNext == source.arenaEnd) {
    // One chunk more than the arena holds, to align the first one.
    const std::uintptr_t raw =
        reinterpret_cast<std::uintptr_t>(::operator new((kChunksPerArena + 1) * kChunkBytes));
    source.arenaNext = reinterpret_cast<char*>((raw + kChunkBytes - 1) & ~(kChunkBytes - 1));
    source.arenaEnd = source.arenaNext + kChunksPerArena * kChunkBytes;
  }
  auto* chunk = new (source.arenaNext) Chunk;
  source.arenaNext += kChunkBytes;
  chunkBytesHeld.fetch_add(kChunkBytes, std::memory_order_relaxed);
  return chunk;
}

void giveBackChunk(Chunk* chunk) {
  ChunkSource& source = chunkSource;
#if VOX_THREAD_SAFE_PTR
  const std::lock_guard lock(source.mutex);
#endif
  chunk->next = source.spare;
  source.spare = chunk;
}

}  // namespace

void* ObjectPool::allocate(std::size_t bytes) {
  if (bytes > kLargestBlock) return ::operator new(bytes);
  const std::size_t block = blockBytes(bytes);
  SizeClass& c = sizeClassOf(block);
#if VOX_THREAD_SAFE_PTR
  const std::lock_guard lock(c.mutex);
#endif
  Chunk* chunk = c.current;
  if (!chunk || chunk->full()) {
    if (c.withRoom) {
      chunk = c.withRoom;
      c.unlink(chunk);
    } else {
      chunk = takeChunk();
      chunk->reset(block);
    }
    c.current = chunk;
  }
  ++chunk->live;
  if (FreeBlock* reused = chunk->free) {
    chunk->free = reused->next;
    return reused;
  }
  void* fresh = chunk->unused;
  chunk->unused += block;
  return fresh;
}

void ObjectPool::deallocate(void* p, std::size_t bytes) noexcept {
  if (bytes > kLargestBlock) {
    ::operator delete(p);
    return;
  }
  const std::size_t block = blockBytes(bytes);
  SizeClass& c = sizeClassOf(block);
  Chunk* chunk = chunkOf(p);
#if VOX_THREAD_SAFE_PTR
  const std::lock_guard lock(c.mutex);
#endif
  const bool wasFull = chunk->full();
  chunk->free = new (p) FreeBlock{chunk->free};
  if (--chunk->live > 0) {
    if (wasFull && chunk != c.current) c.link(chunk);
    return;
  }
  // Empty: the current chunk starts over from its first block; any other leaves the class.
  if (chunk == c.current) {
    chunk->reset(block);
    return;
  }
  if (chunk->listed) c.unlink(chunk);
  giveBackChunk(chunk);
}

int64_t ObjectPool::chunkBytes() {
  return chunkBytesHeld.load(std::memory_order_relaxed);
}

}  // namespace Vox
