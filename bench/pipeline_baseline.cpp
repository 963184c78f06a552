// The framework-free baseline's cases of the pipeline benchmark: the twins of the library's
// changing, cold-start, build and memory cases (pipeline_benchmark.cpp), over the same
// topologies and in the same process, so that the ratio of a case to its twin is the library's
// cost over the baseline's on the same machine at the same moment.
//
// The changing cases use the baseline of the shared world, fed the same changes as the shared
// agent; cold start, build and memory build baselines of their own. Before any case of a profile
// runs, `checkAgreement` has compared the baseline's LFIB with the agent's after the build and
// around one change of every kind, and remembered a digest of the agent's LFIB; every case skips
// with an error when they differed, and checks its own baseline against that digest after its
// timed work.
#include <algorithm>
#include <map>
#include <string>

#include "bench/PipelineBench.h"
#include "bench/baseline/LfibAgreement.h"
#include "platform/vox/Hash.h"

namespace PipelineBench {

namespace {

// An order-independent summary of a set of branches: two sums of different 64-bit hashes of each
// branch, and the count.
struct Digest {
  uint64_t count = 0;
  uint64_t first = 0;
  uint64_t second = 0;
  bool operator==(const Digest&) const = default;
};

uint64_t branchHash(const Baseline::Branch& branch, uint64_t seed) {
  uint64_t h = Vox::fmix64(seed ^ branch.localLabel.value());
  h = Vox::fmix64(h ^ branch.via.hash());
  h = Vox::fmix64(h ^ branch.via.hop().hash(0));
  return Vox::fmix64(h ^ branch.peerLabel.value());
}

Digest digestOf(const std::vector<Baseline::Branch>& branches) {
  Digest digest;
  for (const Baseline::Branch& branch : branches) {
    ++digest.count;
    digest.first += branchHash(branch, 0x243f6a8885a308d3ull);
    digest.second += branchHash(branch, 0x13198a2e03707344ull);
  }
  return digest;
}

// The agent's full LFIB, per profile name, as `checkAgreement` saw it after the build.
std::map<std::string, Digest>& quillDigests() {
  static std::map<std::string, Digest> digests;
  return digests;
}

// Skips the case with `message`, kept alive until the case is reported.
void skip(benchmark::State& state, const std::string& message) {
  static std::string kept;
  kept = message;
  state.SkipWithError(kept.c_str());
}

// The shared world's baseline of `profile`; null (and the case skipped) unless it agreed with the
// agent.
Baseline::BaselineLfib* sharedBaseline(benchmark::State& state, int64_t profile) {
  if (!sharedAgent(state, profile)) return nullptr;
  const SharedWorld& world = sharedWorld();
  if (!world.disagreement.empty()) {
    skip(state, "the baseline's LFIB differs from the agent's " + world.disagreement);
    return nullptr;
  }
  return world.baseline.get();
}

// The agent's LFIB digest of `profile`, building the shared world once if no case has yet.
const Digest* quillDigest(benchmark::State& state, int64_t profile) {
  const std::string& name = topologyOf(profile).shape().name;
  if (!quillDigests().contains(name)) {
    if (!sharedBaseline(state, profile)) return nullptr;
    releaseShared();
  }
  return &quillDigests().at(name);
}

// Skips the case unless the baseline's LFIB is the agent's full one.
void checkComplete(benchmark::State& state, const Baseline::BaselineLfib& baseline,
                   const Digest& expected, const char* what) {
  if (digestOf(baseline.branches()) != expected) skip(state, what);
}

}  // namespace

std::string checkAgreement(Sim::Agent& agent, Baseline::BaselineLfib& baseline,
                           const Sim::Topology& topology) {
  const std::vector<Baseline::Branch> built = Baseline::quillBranches(agent);
  quillDigests()[topology.shape().name] = digestOf(built);
  std::string difference = Baseline::branchDifference(built, baseline.branches());
  if (!difference.empty()) return "after the build: " + difference;

  Sim::AgentSink agentSink(agent);
  Baseline::BothSinks both(agentSink, baseline);
  const auto differs = [&](const char* after) {
    difference = Baseline::lfibDifference(agent, baseline);
    if (!difference.empty()) difference = std::string("after ") + after + ": " + difference;
    return !difference.empty();
  };
  const Sim::Topology::Shape& shape = topology.shape();
  const uint32_t f = shape.fecs / 2;
  const uint32_t peer = topology.fecPeer(f, 0);
  const Mpls::RouterId router = topology.routerId(peer);
  both.peerBindingDel(router, topology.fec(f), topology.peerLabel(f, peer));
  if (differs("a peer binding went")) return difference;
  both.peerBindingIs(router, topology.fec(f), topology.peerLabel(f, peer));
  if (differs("a peer binding came back")) return difference;
  topology.localLabelIs(both, f, true);
  if (differs("a local label changed")) return difference;
  topology.localLabelIs(both, f, false);
  if (differs("a local label changed back")) return difference;
  topology.linkDown(both, peer, shape.linksPerPeer / 2);
  if (differs("a link went down")) return difference;
  topology.linkUp(both, peer);
  if (differs("a link came back up")) return difference;
  topology.peerDown(both, peer);
  if (differs("a peer went down")) return difference;
  topology.peerUp(both, peer);
  if (differs("a peer came back up")) return difference;
  return "";
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
  checkComplete(state, *baseline, quillDigests().at(topology.shape().name), "LFIB not restored");
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
  checkComplete(state, *baseline, quillDigests().at(topology.shape().name), "LFIB not restored");
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
  checkComplete(state, *baseline, quillDigests().at(topology.shape().name), "LFIB not restored");
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
  checkComplete(state, *baseline, quillDigests().at(topology.shape().name), "LFIB not restored");
  setCommonCounters(state, topology);
  const double meanPairs = i ? pairs / static_cast<double>(i) : 0;
  state.counters["pairs"] = meanPairs;
  state.counters["changes"] = 2 * (meanPairs + 2 + shape.linksPerPeer);
}

// ---- whole builds on fresh baselines --------------------------------------------------------

void BM_BaselineColdStart(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  const Digest* expected = quillDigest(state, state.range(0));
  if (!expected) return;
  releaseShared();
  releaseNexthop();
  bool checked = false;
  for (auto _ : state) {
    auto baseline = std::make_unique<Baseline::BaselineLfib>(capacityOf(topology));
    baseline->stop();
    topology.apply(*baseline);
    const double start = threadCpuSeconds();
    baseline->start();
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked) checkComplete(state, *baseline, *expected, "the cold start's LFIB differs");
    checked = true;
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
}

void BM_BaselineIncrementalBuild(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  const Digest* expected = quillDigest(state, state.range(0));
  if (!expected) return;
  releaseShared();
  releaseNexthop();
  bool checked = false;
  for (auto _ : state) {
    auto baseline = std::make_unique<Baseline::BaselineLfib>(capacityOf(topology));
    const double start = threadCpuSeconds();
    topology.apply(*baseline);
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked) checkComplete(state, *baseline, *expected, "the build's LFIB differs");
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
  const Digest* expected = quillDigest(state, state.range(0));
  if (!expected) return;
  releaseShared();
  releaseNexthop();
  int64_t bytes = 0;
  int64_t ringBytes = 0;
  for (auto _ : state) {
    const double start = threadCpuSeconds();
    Baseline::BaselineLfib baseline(capacityOf(topology));
    topology.apply(baseline);
    state.SetIterationTime(threadCpuSeconds() - start);
    bytes = baseline.bytes();
    ringBytes = baseline.ringBytes();
    checkComplete(state, baseline, *expected, "the build's LFIB differs");
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
  state.counters["B_baseline"] = static_cast<double>(bytes);
  state.counters["B_baseline_rings"] = static_cast<double>(ringBytes);
}

}  // namespace PipelineBench
