// The framework-free baseline's cases of the pipeline benchmark: the twins of the library's
// changing, cold-start, build and memory cases (pipeline_benchmark.cpp), over the same
// topologies and in the same process, so that the ratio of a case to its twin is the library's
// cost over the baseline's on the same machine at the same moment.
//
// The changing cases share one baseline per profile, as the library's share one agent; cold
// start, build and memory build baselines of their own. The baseline's LFIB is checked equal to
// the agent's, as a set of (local label, via, peer label), after the build and after each of a
// sequence of changes of every kind (`checkSteps`), and every case checks its own baseline after
// its timed work; a case is skipped with an error when they differ. The two are never held at
// once (the baseline would count in the library's peak resident size): the agent's LFIB is
// remembered as an order-independent digest at each step when the shared agent is built.
#include <functional>
#include <map>
#include <string>

#include "bench/PipelineBench.h"
#include "platform/vox/Hash.h"

namespace PipelineBench {

namespace {

// A set of branches in 24 bytes: the count and two sums of different 64-bit hashes of each
// branch, so that two sets agree only if they are equal (up to a chance of about 2^-128).
struct Digest {
  uint64_t count = 0;
  uint64_t first = 0;
  uint64_t second = 0;
  bool operator==(const Digest&) const = default;

  void add(Vela::MplsLabel localLabel, const Mpls::FibVia& via, Vela::MplsLabel peerLabel) {
    ++count;
    first += hash(0x243f6a8885a308d3ull, localLabel, via, peerLabel);
    second += hash(0x13198a2e03707344ull, localLabel, via, peerLabel);
  }

 private:
  static uint64_t hash(uint64_t seed, Vela::MplsLabel localLabel, const Mpls::FibVia& via,
                       Vela::MplsLabel peerLabel) {
    uint64_t h = Vox::fmix64(seed ^ localLabel.value());
    h = Vox::fmix64(h ^ via.hash());
    h = Vox::fmix64(h ^ via.hop().hash(0));
    return Vox::fmix64(h ^ peerLabel.value());
  }
};

// The agent's LFIB holds each (local label, via, peer label) once.
Digest digestOf(const Sim::Agent& agent) {
  Digest digest;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
    for (const auto [viaLabel, branch] : entry.forwardingInfoColl())
      digest.add(label, viaLabel.via(), viaLabel.label());
  }
  return digest;
}

Digest digestOf(const Baseline::BaselineLfib& baseline) {
  Digest digest;
  for (const Baseline::Branch& branch : baseline.branches())
    digest.add(branch.localLabel, branch.via, branch.peerLabel);
  return digest;
}

// Applies one change of each kind the cases make, and its undoing, to `sink`; calls `agrees`
// after the build (before any change) and after every step, naming it, and stops at the first
// false. Returns whether every call agreed.
bool checkSteps(const Sim::Topology& topology, Sim::TopologySink& sink,
                const std::function<bool(const char* after)>& agrees) {
  const Sim::Topology::Shape& shape = topology.shape();
  const uint32_t f = shape.fecs / 2;
  const uint32_t peer = topology.fecPeer(f, 0);
  const Mpls::RouterId router = topology.routerId(peer);
  if (!agrees("the build")) return false;
  sink.peerBindingDel(router, topology.fec(f), topology.peerLabel(f, peer));
  if (!agrees("a peer binding went")) return false;
  sink.peerBindingIs(router, topology.fec(f), topology.peerLabel(f, peer));
  if (!agrees("a peer binding came back")) return false;
  topology.localLabelIs(sink, f, true);
  if (!agrees("a local label changed")) return false;
  topology.localLabelIs(sink, f, false);
  if (!agrees("a local label changed back")) return false;
  topology.linkDown(sink, peer, shape.linksPerPeer / 2);
  if (!agrees("a link went down")) return false;
  topology.linkUp(sink, peer);
  if (!agrees("a link came back up")) return false;
  topology.peerDown(sink, peer);
  if (!agrees("a peer went down")) return false;
  topology.peerUp(sink, peer);
  return agrees("a peer came back up");
}

// The agent's LFIB at every step of `checkSteps`, per profile name.
std::map<std::string, std::vector<Digest>>& agentDigests() {
  static std::map<std::string, std::vector<Digest>> digests;
  return digests;
}

// Skips the case with `message`, kept alive until the case is reported.
void skip(benchmark::State& state, const std::string& message) {
  static std::string kept;
  kept = message;
  state.SkipWithError(kept.c_str());
}

// The agent's LFIB at every step for `profile`, building the shared agent if no case has yet;
// null (and the case skipped) when that agent's output is not the full LFIB.
const std::vector<Digest>* agentLfib(benchmark::State& state, int64_t profile) {
  const std::string& name = topologyOf(profile).shape().name;
  if (!agentDigests().contains(name) && !sharedAgent(state, profile)) return nullptr;
  return &agentDigests().at(name);
}

// The baseline of one profile, shared by the changing cases.
struct BaselineWorld {
  int64_t profile = -1;
  std::unique_ptr<Baseline::BaselineLfib> baseline;
  // The step after which its LFIB first differed from the agent's; empty when it never did.
  std::string disagreement;
};

BaselineWorld& baselineWorld() {
  static BaselineWorld world;
  return world;
}

// The shared baseline of `profile`, built and checked on first use; null (and the case skipped)
// unless it agreed with the agent at every step.
Baseline::BaselineLfib* sharedBaseline(benchmark::State& state, int64_t profile) {
  BaselineWorld& world = baselineWorld();
  if (world.profile != profile) {
    const std::vector<Digest>* steps = agentLfib(state, profile);
    if (!steps) return nullptr;
    releaseWorlds();
    const Sim::Topology& topology = topologyOf(profile);
    world.baseline = std::make_unique<Baseline::BaselineLfib>(capacityOf(topology));
    topology.apply(*world.baseline);
    std::size_t step = 0;
    checkSteps(topology, *world.baseline, [&](const char* after) {
      if (digestOf(*world.baseline) == steps->at(step++)) return true;
      world.disagreement = std::string("after ") + after;
      return false;
    });
    world.profile = profile;
  }
  if (!world.disagreement.empty()) {
    skip(state, "the baseline's LFIB differs from the agent's " + world.disagreement);
    return nullptr;
  }
  return world.baseline.get();
}

// Skips the case unless the baseline's LFIB is the agent's after the build.
void checkBuilt(benchmark::State& state, const Baseline::BaselineLfib& baseline,
                const std::vector<Digest>& agent, const char* what) {
  if (digestOf(baseline) != agent.front()) skip(state, what);
}

}  // namespace

void recordAgentLfib(Sim::Agent& agent, const Sim::Topology& topology) {
  std::vector<Digest>& steps = agentDigests()[topology.shape().name];
  steps.clear();
  Sim::AgentSink sink(agent);
  checkSteps(topology, sink, [&](const char*) {
    steps.push_back(digestOf(agent));
    return true;
  });
}

void releaseBaselineWorld() {
  baselineWorld() = BaselineWorld();
}

// ---- single changes on the shared baseline --------------------------------------------------

void BM_BaselinePeerLabelChurn(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Baseline::BaselineLfib* baseline = sharedBaseline(state, state.range(0));
  if (!baseline) return;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t f = static_cast<uint32_t>(i % shape.fecs);
    const uint32_t peer =
        topology.fecPeer(f, static_cast<uint32_t>(i / shape.fecs) % shape.peersPerFec);
    const Mpls::FwdEqvClass fec = topology.fec(f);
    const Vela::MplsLabel label = topology.peerLabel(f, peer);
    baseline->peerBindingDel(topology.routerId(peer), fec, label);
    baseline->peerBindingIs(topology.routerId(peer), fec, label);
    ++i;
  }
  checkBuilt(state, *baseline, agentDigests().at(topology.shape().name), "LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
}

void BM_BaselineLocalLabelChange(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Baseline::BaselineLfib* baseline = sharedBaseline(state, state.range(0));
  if (!baseline) return;
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t f = static_cast<uint32_t>(i % topology.shape().fecs);
    topology.localLabelIs(*baseline, f, true);
    topology.localLabelIs(*baseline, f, false);
    ++i;
  }
  checkBuilt(state, *baseline, agentDigests().at(topology.shape().name), "LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
}

void BM_BaselineLinkFlap(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Baseline::BaselineLfib* baseline = sharedBaseline(state, state.range(0));
  if (!baseline) return;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    const uint32_t link = static_cast<uint32_t>(i / shape.peers) % shape.linksPerPeer;
    topology.linkDown(*baseline, peer, link);
    topology.linkUp(*baseline, peer);
    ++i;
  }
  const std::vector<double> bindings = bindingsPerPeer(topology);
  double bound = 0;
  for (uint64_t n = 0; n < i; ++n)
    bound += bindings[n % shape.peers];
  checkBuilt(state, *baseline, agentDigests().at(topology.shape().name), "LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
  state.counters["pairs"] = i ? bound / static_cast<double>(i) : 0;
}

void BM_BaselinePeerDownUp(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Baseline::BaselineLfib* baseline = sharedBaseline(state, state.range(0));
  if (!baseline) return;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    topology.peerDown(*baseline, peer);
    topology.peerUp(*baseline, peer);
    ++i;
  }
  const std::vector<double> bindings = bindingsPerPeer(topology);
  double pairs = 0;
  for (uint64_t n = 0; n < i; ++n)
    pairs += bindings[n % shape.peers];
  checkBuilt(state, *baseline, agentDigests().at(topology.shape().name), "LFIB not restored");
  setCommonCounters(state, topology);
  const double meanPairs = i ? pairs / static_cast<double>(i) : 0;
  state.counters["pairs"] = meanPairs;
  state.counters["changes"] = 2 * (meanPairs + 2 + shape.linksPerPeer);
}

// ---- whole builds on fresh baselines --------------------------------------------------------

void BM_BaselineColdStart(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  const std::vector<Digest>* expected = agentLfib(state, state.range(0));
  if (!expected) return;
  releaseWorlds();
  bool checked = false;
  for (auto _ : state) {
    auto baseline = std::make_unique<Baseline::BaselineLfib>(capacityOf(topology));
    baseline->stop();
    topology.apply(*baseline);
    const double start = threadCpuSeconds();
    baseline->start();
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked) checkBuilt(state, *baseline, *expected, "the cold start's LFIB differs");
    checked = true;
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
}

void BM_BaselineIncrementalBuild(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  const std::vector<Digest>* expected = agentLfib(state, state.range(0));
  if (!expected) return;
  releaseWorlds();
  bool checked = false;
  for (auto _ : state) {
    auto baseline = std::make_unique<Baseline::BaselineLfib>(capacityOf(topology));
    const double start = threadCpuSeconds();
    topology.apply(*baseline);
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked) checkBuilt(state, *baseline, *expected, "the build's LFIB differs");
    checked = true;
  }
  setCommonCounters(state, topology);
  state.counters["changes"] = static_cast<double>(topology.changes());
  state.counters["pairs"] = static_cast<double>(topology.pairs());
}

// Counters B_baseline (every byte the built baseline holds, its tables sized for the topology)
// and B_baseline_rings (of which its rings).
void BM_BaselineMemory(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  const std::vector<Digest>* expected = agentLfib(state, state.range(0));
  if (!expected) return;
  releaseWorlds();
  int64_t bytes = 0;
  int64_t ringBytes = 0;
  for (auto _ : state) {
    const double start = threadCpuSeconds();
    Baseline::BaselineLfib baseline(capacityOf(topology));
    topology.apply(baseline);
    state.SetIterationTime(threadCpuSeconds() - start);
    bytes = baseline.bytes();
    ringBytes = baseline.ringBytes();
    checkBuilt(state, baseline, *expected, "the build's LFIB differs");
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
  state.counters["B_baseline"] = static_cast<double>(bytes);
  state.counters["B_baseline_rings"] = static_cast<double>(ringBytes);
}

}  // namespace PipelineBench
