#pragma once
// What the two files of the pipeline benchmark share: the topologies, the worlds the changing
// cases run on, the counters every case reports, and the framework-free baseline's cases
// (pipeline_baseline.cpp), registered with the library's in pipeline_benchmark.cpp.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "bench/baseline/BaselineLfib.h"
#include "sim/Agent.h"
#include "sim/Topology.h"

namespace PipelineBench {

const Sim::Topology& topologyOf(int64_t profile);
// Where a topology this large reports its construction; null for small ones.
std::ostream* progressFor(const Sim::Topology& topology);
// CPU time of this thread, in seconds.
double threadCpuSeconds();
// How many FECs each peer binds.
std::vector<double> bindingsPerPeer(const Sim::Topology& topology);
// The profile's name as the label, its shape, the peak resident size and the unit "u".
void setCommonCounters(benchmark::State& state, const Sim::Topology& topology);
// The baseline's tables sized for the whole topology.
Baseline::BaselineLfib::Capacity capacityOf(const Sim::Topology& topology);

// The fully built agent of one profile, shared by the cases that undo their changes. The process
// holds one world at a time (this one, the baseline's, or that of stages 1 to 4 alone): asking for
// another profile or another world drops the one held first, so that no case runs, and no peak
// resident size is reached, beside a world another case left.
struct SharedWorld {
  int64_t profile = -1;
  std::unique_ptr<Sim::Agent> agent;
  // Per peer, how many of its FECs each link carries: the FECs a flap of that link moves.
  std::vector<std::vector<uint32_t>> fecsOnLink;
  // From one checked flap: FECs that moved although they were not on the link that went, and
  // FECs whose via was not restored when it came back.
  int64_t strayMoves = -1;
  int64_t unrestored = -1;
};

SharedWorld& sharedWorld();
// Drops every world: the shared agent, the shared baseline, stages 1 to 4 alone.
void releaseWorlds();
// The shared agent of `profile`, built on first use; null (and the case skipped) when its
// output is not the full LFIB.
Sim::Agent* sharedAgent(benchmark::State& state, int64_t profile);

// Applies one change of each kind to a freshly built agent and undoes it, remembering its LFIB
// after the build and after every step, for the baseline to be checked against the same steps
// later without the two ever held at once (pipeline_baseline.cpp).
void recordAgentLfib(Sim::Agent& agent, const Sim::Topology& topology);
void releaseBaselineWorld();

// The baseline's twins of the library's cases (pipeline_baseline.cpp).
void BM_BaselinePeerLabelChurn(benchmark::State& state);
void BM_BaselineLocalLabelChange(benchmark::State& state);
void BM_BaselineLinkFlap(benchmark::State& state);
void BM_BaselinePeerDownUp(benchmark::State& state);
void BM_BaselineColdStart(benchmark::State& state);
void BM_BaselineIncrementalBuild(benchmark::State& state);
void BM_BaselineMemory(benchmark::State& state);

}  // namespace PipelineBench
