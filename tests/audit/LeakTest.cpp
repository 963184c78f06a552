// Everything an agent creates goes when the agent goes, restarts and all: the framework's
// allocation accounting returns to where it started. A reference cycle between reactors and
// their nested reactors (or entities kept alive by their observers) would leave bytes behind
// even where a leak checker still finds them reachable.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "platform/vox/TrackingAllocator.h"
#include "sim/Agent.h"
#include "sim/RandomWorld.h"

namespace {

TEST(LeakTest, ARestartHeavyAgentLeavesNothingBehind) {
  constexpr auto kKinds = static_cast<std::size_t>(Vox::MemoryKind::kCount);
  std::array<int64_t, kKinds> before{};
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    before[kind] = Vox::Memory::liveBytes(static_cast<Vox::MemoryKind>(kind));
  }
  const int64_t totalBefore = Vox::Memory::totalLiveBytes();
  {
    Sim::Agent agent;
    Sim::RandomWorld world(agent);
    std::mt19937_64 random(77);
    for (int step = 0; step < 3000; ++step) {
      world.apply(static_cast<uint32_t>(random()), random());
      if (step % 50 == 0) agent.restart();
    }
    EXPECT_GT(Vox::Memory::totalLiveBytes(), totalBefore);
  }
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    const auto memoryKind = static_cast<Vox::MemoryKind>(kind);
    EXPECT_EQ(Vox::Memory::liveBytes(memoryKind), before[kind])
        << Vox::Memory::kindName(memoryKind);
  }
}

}  // namespace
