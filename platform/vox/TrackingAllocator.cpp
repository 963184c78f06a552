#include "platform/vox/TrackingAllocator.h"

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

}  // namespace Vox
