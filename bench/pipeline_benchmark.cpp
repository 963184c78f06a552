// The whole pipeline, driven through its owning agent over the synthetic topologies of
// `Sim::Topology` ("small", "medium", "large": the argument `profile` is their index), in the
// stage variants this process's feature toggles choose. The toggles are read once per process,
// so each variant needs its own run; `scripts/bench` runs both and writes docs/PERFORMANCE.md.
//
// Cases, each per profile:
// - BM_UnorderedMapInsertFindErase: the calibration unit "u", one insert, one find and one erase
//   on a std::unordered_map<uint64_t, uint64_t> of 100,000 entries, measured first and last
//   (argument `at` 0 and 1) in every process;
// - BM_AuditFullRecomputation: the baseline, `Quill::auditPipeline` recomputing every stage
//   (resolution included) from the inputs of the fully built topology;
// - BM_PipelinePeerLabelChurn: one peer binding removed, then added back (2 changes);
// - BM_PipelineLocalLabelChange: one FEC's local label changed, then changed back (2 changes);
// - BM_PipelineLinkFlap: one peer's loopback route loses one of its links, then regains it
//   (2 changes); `fecs_moved` is the average number of FECs whose via moves on each change;
// - BM_PipelinePeerDownUp: everything of one peer withdrawn, then restored;
// - BM_PipelineColdStart: the agent's reactors created over the filled inputs (`start()`);
// - BM_PipelineIncrementalBuild: the whole topology applied change by change to a running agent;
// - BM_PipelineMemory: tracked bytes of the inputs and of each stage, created one at a time;
// - BM_NexthopStagesLinkFlap, BM_NexthopStagesPeerDownUp: the link flap and the peer's address
//   and route changes through the resolution reactors and stages 1 to 4 alone, where the two
//   variants differ;
// - BM_Baseline<Case> (pipeline_baseline.cpp): the same changes, cold start, build and memory for
//   the framework-free baseline (bench/baseline/), in the same process, so that the ratio of a
//   case to its twin does not depend on the machine. The baseline's LFIB is checked equal to the
//   agent's after the build and around one change of each kind; its cases are skipped when it is
//   not.
// The counter `changes` is the number of input changes per iteration; `pairs` the (FEC, router)
// pairs concerned (of the whole topology, or of the peer that changed); `u_ns` the unit measured
// right after the case (see `Yardstick`).
//
// The changing cases run on one fully built agent (or baseline) per profile, kept while that
// profile's cases run; each iteration leaves the state as it found it (each change is undone in
// the same iteration) and moves on to another peer, link or FEC, so iterations sample the whole
// topology. Cold start, incremental build and memory build agents of their own, outside the timed
// region, and time their work manually (CPU time of this thread). Everything else reports Google
// Benchmark's CPU time. Nothing here asserts on time; what is checked is the output (LFIB size,
// audit, that a flap moves only the FECs of the link that went and puts them back).
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/PipelineBench.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TrackingAllocator.h"
#include "quill/audit/PipelineAudit.h"
#include "quill/core/Toggles.h"
#include "sim/Agent.h"
#include "sim/Topology.h"

namespace PipelineBench {

namespace {
// Topologies this large report their construction on stderr.
constexpr uint64_t kProgressChanges = 200000;
}  // namespace

const Sim::Topology& topologyOf(int64_t profile) {
  static const std::vector<Sim::Topology> topologies = [] {
    std::vector<Sim::Topology> all;
    for (const Sim::Topology::Shape& shape : Sim::Topology::profiles())
      all.emplace_back(shape);
    return all;
  }();
  return topologies.at(static_cast<std::size_t>(profile));
}

std::ostream* progressFor(const Sim::Topology& topology) {
  return topology.changes() >= kProgressChanges ? &std::cerr : nullptr;
}

double threadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::vector<double> bindingsPerPeer(const Sim::Topology& topology) {
  std::vector<double> counts;
  for (uint32_t peer = 0; peer < topology.shape().peers; ++peer)
    counts.push_back(static_cast<double>(topology.peerFecs(peer).size()));
  return counts;
}

Baseline::BaselineLfib::Capacity capacityOf(const Sim::Topology& topology) {
  const Sim::Topology::Shape& shape = topology.shape();
  const uint32_t links = shape.peers * shape.linksPerPeer;
  return {.routers = shape.peers,
          .fecs = shape.fecs,
          .pairs = static_cast<uint32_t>(topology.pairs()),
          .routes = shape.peers,
          .vias = links,
          .intfs = links};
}

}  // namespace PipelineBench

namespace {

using namespace PipelineBench;

int64_t peakRssKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;  // KiB on Linux
}

std::string modeName() {
  const std::array<bool, 4> toggles = {
      Mpls::toggleMplsFluxInversionEnabled(), Mpls::toggleMplsFluxConcatEnabled(),
      Mpls::toggleMplsFluxIntfRouterSmEnabled(), Mpls::toggleMplsFluxRouterIpNexthopEnabled()};
  int on = 0;
  for (const bool toggle : toggles)
    on += toggle ? 1 : 0;
  if (on == 4) return "compiled";
  if (on == 0) return "hand-written";
  return "mixed";
}

uint64_t lfibBranches(const Sim::Agent& agent) {
  uint64_t branches = 0;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl())
    branches += entry.forwardingInfos();
  return branches;
}

// The via chosen for (FEC f, peer), or the default via when there is none.
Mpls::FibVia chosenVia(const Sim::Agent& agent, const Sim::Topology& topology, uint32_t f,
                       uint32_t peer) {
  const auto entry = agent.colls().fecRouterNexthop->fecRouterNexthop(topology.fec(f));
  const auto info = entry ? entry->routerNexthopInfo(topology.routerId(peer)) : nullptr;
  if (!info) return Mpls::FibVia();
  for (const Mpls::FibVia& via : info->viaColl())
    return via;
  return Mpls::FibVia();
}

Mpls::FibVia linkVia(const Sim::Topology& topology, uint32_t peer, uint32_t link) {
  return Mpls::FibVia(Vela::IpGenAddr(topology.linkAddr(peer, link)),
                      topology.linkIntf(peer, link));
}

// ---- calibration --------------------------------------------------------------------------

// The SplitMix64 generator's n-th output.
uint64_t splitmix64(uint64_t n) {
  return Vox::splitMix64(n + 0x9e3779b97f4a7c15ull);
}

// A sliding window of 100,000 pseudo-random keys: each iteration inserts the key after the
// window, finds a random key inside it and erases the oldest, so every operation lands on a
// random bucket of a map that keeps its size.
void BM_UnorderedMapInsertFindErase(benchmark::State& state) {
  constexpr uint64_t kEntries = 100000;
  std::unordered_map<uint64_t, uint64_t> map;
  for (uint64_t n = 0; n < kEntries; ++n)
    map.emplace(splitmix64(n), n);
  uint64_t oldest = 0;
  for (auto _ : state) {
    map.emplace(splitmix64(oldest + kEntries), oldest);
    const uint64_t probe = oldest + 1 + splitmix64(~oldest) % kEntries;
    benchmark::DoNotOptimize(map.find(splitmix64(probe)));
    map.erase(splitmix64(oldest));
    ++oldest;
  }
  state.counters["entries"] = static_cast<double>(map.size());
}

// The same triple as a case's own yardstick, measured right after the case so that it sees the
// same machine: the best of three rounds of 100,000 triples on one map kept for the process. (On
// a shared machine the speed of a cache-missing loop drifts by tens of percent within minutes.)
class Yardstick {
 public:
  Yardstick() {
    for (uint64_t n = 0; n < kEntries; ++n)
      map_.emplace(splitmix64(n), n);
  }
  double nsPerTriple(uint64_t triples) {
    const double start = threadCpuSeconds();
    for (uint64_t n = 0; n < triples; ++n) {
      map_.emplace(splitmix64(oldest_ + kEntries), oldest_);
      const uint64_t probe = oldest_ + 1 + splitmix64(~oldest_) % kEntries;
      benchmark::DoNotOptimize(map_.find(splitmix64(probe)));
      map_.erase(splitmix64(oldest_));
      ++oldest_;
    }
    return (threadCpuSeconds() - start) * 1e9 / static_cast<double>(triples);
  }

 private:
  static constexpr uint64_t kEntries = 100000;
  std::unordered_map<uint64_t, uint64_t> map_;
  uint64_t oldest_ = 0;
};

double unitNs() {
  static Yardstick yardstick;
  double best = yardstick.nsPerTriple(100000);
  for (int round = 1; round < 3; ++round)
    best = std::min(best, yardstick.nsPerTriple(100000));
  return best;
}

}  // namespace

namespace PipelineBench {

SharedWorld& sharedWorld() {
  static SharedWorld world;
  return world;
}

Sim::Agent* sharedAgent(benchmark::State& state, int64_t profile) {
  SharedWorld& world = sharedWorld();
  if (world.profile != profile) {
    releaseWorlds();
    const Sim::Topology& topology = topologyOf(profile);
    world.agent = std::make_unique<Sim::Agent>();
    topology.apply(*world.agent, progressFor(topology));
    recordAgentLfib(*world.agent, topology);
    world.profile = profile;
  }
  if (lfibBranches(*world.agent) != topologyOf(profile).pairs()) {
    state.SkipWithError("the LFIB does not have one branch per (FEC, router) pair");
    return nullptr;
  }
  return world.agent.get();
}

void setCommonCounters(benchmark::State& state, const Sim::Topology& topology) {
  state.SetLabel(topology.shape().name);
  const Sim::Topology::Shape& shape = topology.shape();
  state.counters["topology_peers"] = shape.peers;
  state.counters["topology_links"] =
      static_cast<double>(uint64_t{shape.peers} * shape.linksPerPeer);
  state.counters["topology_fecs"] = shape.fecs;
  state.counters["topology_pairs"] = static_cast<double>(topology.pairs());
  state.counters["peak_rss_kib"] = static_cast<double>(peakRssKiB());
  state.counters["u_ns"] = unitNs();
}

}  // namespace PipelineBench

namespace {

// ---- the full recomputation -----------------------------------------------------------------

void BM_AuditFullRecomputation(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Sim::Agent* agent = sharedAgent(state, state.range(0));
  if (!agent) return;
  const Quill::ResolutionTables tables{agent->nexthopConfig().ptr(), agent->nexthopStatus().ptr(),
                                       agent->forwardingStatus().ptr()};
  std::size_t elements = 0;
  for (auto _ : state) {
    const Quill::AuditReport report = Quill::auditPipeline(*agent->manager(), &tables);
    elements = report.elementsChecked;
    if (!report.ok()) {
      state.SkipWithError("the audit found differences");
      return;
    }
  }
  setCommonCounters(state, topology);
  state.counters["elements"] = static_cast<double>(elements);
}

// ---- single changes on the shared agent -----------------------------------------------------

void BM_PipelinePeerLabelChurn(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Sim::Agent* agent = sharedAgent(state, state.range(0));
  if (!agent) return;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t f = static_cast<uint32_t>(i % shape.fecs);
    const uint32_t peer =
        topology.fecPeer(f, static_cast<uint32_t>(i / shape.fecs) % shape.peersPerFec);
    const Mpls::FwdEqvClass fec = topology.fec(f);
    const Vela::MplsLabel label = topology.peerLabel(f, peer);
    agent->peerBindingDel(topology.routerId(peer), fec, label);
    agent->peerBindingIs(topology.routerId(peer), fec, label);
    ++i;
  }
  if (lfibBranches(*agent) != topology.pairs()) state.SkipWithError("LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
}

void BM_PipelineLocalLabelChange(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Sim::Agent* agent = sharedAgent(state, state.range(0));
  if (!agent) return;
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t f = static_cast<uint32_t>(i % topology.shape().fecs);
    topology.localLabelIs(*agent, f, true);
    topology.localLabelIs(*agent, f, false);
    ++i;
  }
  if (lfibBranches(*agent) != topology.pairs()) state.SkipWithError("LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
}

// Counts, per peer and link, the FECs on that link, and checks one flap: it moves only FECs
// that were on the link that went, and every FEC returns to its via when the link comes back.
void prepareFlaps(Sim::Agent& agent, const Sim::Topology& topology, SharedWorld& world) {
  if (!world.fecsOnLink.empty()) return;
  const Sim::Topology::Shape& shape = topology.shape();
  world.fecsOnLink.assign(shape.peers, std::vector<uint32_t>(shape.linksPerPeer, 0));
  for (uint32_t peer = 0; peer < shape.peers; ++peer) {
    for (const uint32_t f : topology.peerFecs(peer)) {
      const Mpls::FibVia via = chosenVia(agent, topology, f, peer);
      for (uint32_t link = 0; link < shape.linksPerPeer; ++link) {
        if (via == linkVia(topology, peer, link)) ++world.fecsOnLink[peer][link];
      }
    }
  }
  const uint32_t peer = 0;
  const uint32_t link = 0;
  const std::vector<uint32_t> fecs = topology.peerFecs(peer);
  std::vector<Mpls::FibVia> before;
  for (const uint32_t f : fecs)
    before.push_back(chosenVia(agent, topology, f, peer));
  topology.linkDown(agent, peer, link);
  world.strayMoves = 0;
  for (std::size_t n = 0; n < fecs.size(); ++n) {
    const bool moved = !(chosenVia(agent, topology, fecs[n], peer) == before[n]);
    if (moved && !(before[n] == linkVia(topology, peer, link))) ++world.strayMoves;
  }
  topology.linkUp(agent, peer);
  world.unrestored = 0;
  for (std::size_t n = 0; n < fecs.size(); ++n) {
    if (!(chosenVia(agent, topology, fecs[n], peer) == before[n])) ++world.unrestored;
  }
}

void BM_PipelineLinkFlap(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Sim::Agent* agent = sharedAgent(state, state.range(0));
  if (!agent) return;
  SharedWorld& world = sharedWorld();
  prepareFlaps(*agent, topology, world);
  if (world.strayMoves != 0 || world.unrestored != 0) {
    state.SkipWithError("a flap moved FECs of other links or did not restore them");
    return;
  }
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    const uint32_t link = static_cast<uint32_t>(i / shape.peers) % shape.linksPerPeer;
    topology.linkDown(*agent, peer, link);
    topology.linkUp(*agent, peer);
    ++i;
  }
  // Averages over the flaps made, outside the timed region.
  const std::vector<double> bindings = bindingsPerPeer(topology);
  double moved = 0;
  double bound = 0;
  for (uint64_t n = 0; n < i; ++n) {
    const uint32_t peer = static_cast<uint32_t>(n % shape.peers);
    const uint32_t link = static_cast<uint32_t>(n / shape.peers) % shape.linksPerPeer;
    moved += world.fecsOnLink[peer][link];
    bound += bindings[peer];
  }
  if (lfibBranches(*agent) != topology.pairs()) state.SkipWithError("LFIB not restored");
  setCommonCounters(state, topology);
  state.counters["changes"] = 2;
  state.counters["fecs_moved"] = i ? moved / static_cast<double>(i) : 0;
  state.counters["pairs"] = i ? bound / static_cast<double>(i) : 0;
  state.counters["stray_moves"] = static_cast<double>(world.strayMoves);
}

void BM_PipelinePeerDownUp(benchmark::State& state) {
  const Sim::Topology& topology = topologyOf(state.range(0));
  Sim::Agent* agent = sharedAgent(state, state.range(0));
  if (!agent) return;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    topology.peerDown(*agent, peer);
    topology.peerUp(*agent, peer);
    ++i;
  }
  const std::vector<double> bindings = bindingsPerPeer(topology);
  double pairs = 0;
  for (uint64_t n = 0; n < i; ++n)
    pairs += bindings[n % shape.peers];
  if (lfibBranches(*agent) != topology.pairs()) state.SkipWithError("LFIB not restored");
  setCommonCounters(state, topology);
  const double meanPairs = i ? pairs / static_cast<double>(i) : 0;
  state.counters["pairs"] = meanPairs;
  // Down: each binding, the transport and interface addresses, the route; up: the same back.
  state.counters["changes"] = 2 * (meanPairs + 2 + shape.linksPerPeer);
}

// ---- whole builds on fresh agents -----------------------------------------------------------

void BM_PipelineColdStart(benchmark::State& state) {
  releaseWorlds();
  const Sim::Topology& topology = topologyOf(state.range(0));
  bool checked = false;
  for (auto _ : state) {
    auto agent = std::make_unique<Sim::Agent>();
    agent->stop();
    topology.apply(*agent, progressFor(topology));
    const double start = threadCpuSeconds();
    agent->start();
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked && lfibBranches(*agent) != topology.pairs()) {
      state.SkipWithError("the LFIB does not have one branch per (FEC, router) pair");
      return;
    }
    checked = true;
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
}

void BM_PipelineIncrementalBuild(benchmark::State& state) {
  releaseWorlds();
  const Sim::Topology& topology = topologyOf(state.range(0));
  bool checked = false;
  for (auto _ : state) {
    auto agent = std::make_unique<Sim::Agent>();
    const double start = threadCpuSeconds();
    topology.apply(*agent, progressFor(topology));
    state.SetIterationTime(threadCpuSeconds() - start);
    if (!checked && lfibBranches(*agent) != topology.pairs()) {
      state.SkipWithError("the LFIB does not have one branch per (FEC, router) pair");
      return;
    }
    checked = true;
  }
  setCommonCounters(state, topology);
  state.counters["changes"] = static_cast<double>(topology.changes());
  state.counters["pairs"] = static_cast<double>(topology.pairs());
}

// The reactors an agent and its manager create, created here one at a time over a stopped
// agent's collections so that the growth of the tracked bytes can be put down to each. The
// order is the pipeline's: the resolution reactors come right after the inversion, whose output
// they turn into requests (created before it, as the agent does, their growth would show under
// the inversion). Released as the manager and the agent release them.
class StageByStage {
 public:
  explicit StageByStage(Sim::Agent& agent) : agent_(agent) {}
  ~StageByStage() {
    for (Vox::Ptr<Vox::Reactor>& reactor : reactors_) {
      reactor->hasNotificationActiveIs(false);
      reactor = nullptr;
    }
  }

  // Creates the next reactor (or group) and returns its name; empty when all are created.
  std::string createNext() {
    const Mpls::PipelineCollections& c = agent_.colls();
    switch (next_++) {
      case 0:
        if (Mpls::toggleMplsFluxInversionEnabled()) {
          add(Mpls::IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(ro(c.transportAddrs),
                                                                     c.ipAddrRouterId));
        } else {
          add(Mpls::IpAddrRouterIdInfoSm::IpAddrRouterIdInfoSmIs(ro(c.transportAddrs),
                                                                 c.ipAddrRouterId));
        }
        return "1 inversion";
      case 1:
        add(Mpls::IraNexthopConfigSm::IraNexthopConfigSmIs(c.ipAddrRouterId,
                                                           agent_.nexthopConfig()));
        add(Mpls::iraNexthopStatusSmFactory(agent_.nexthopBacklog(), agent_.nexthopStatus(),
                                            agent_.forwardingStatus(), c.ipNexthop));
        return "resolution";
      case 2:
        if (Mpls::toggleMplsFluxConcatEnabled()) {
          add(Mpls::RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(
              ro(c.ipAddrRouterId), ro(c.ipNexthop), c.routerNexthop));
        } else {
          add(Mpls::RouterNexthopInfoSm::RouterNexthopInfoSmIs(ro(c.ipAddrRouterId),
                                                               ro(c.ipNexthop), c.routerNexthop));
        }
        return "2 router next-hops";
      case 3:
        if (Mpls::toggleMplsFluxIntfRouterSmEnabled()) {
          add(Mpls::IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(ro(c.routerNexthop),
                                                                           c.intfRouterNexthop));
        } else {
          add(Mpls::IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(ro(c.routerNexthop),
                                                                       c.intfRouterNexthop));
        }
        return "3 interface grouping";
      case 4:
        if (Mpls::toggleMplsFluxRouterIpNexthopEnabled()) {
          add(Mpls::RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(
              ro(c.intfRouterNexthop), ro(c.mplsIntfs), c.routerIpNexthop));
        } else {
          add(Mpls::RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(
              ro(c.intfRouterNexthop), ro(c.mplsIntfs), c.routerIpNexthop));
        }
        return "4 MPLS filter";
      case 5:
        add(Mpls::RouterFilteredNexthopSm::RouterFilteredNexthopSmIs(
            ro(c.routerIpNexthop), ro(c.intfAddrs), c.filteredNexthop));
        return "5 interface-address filter";
      case 6:
        add(Mpls::FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs(
            ro(c.peerTables), ro(c.filteredNexthop), c.fecRouterNexthop));
        return "6 FEC next-hops";
      case 7:
        add(Mpls::LabelForwardingInfoSm::LabelForwardingInfoSmIs(
            ro(c.localTable), ro(c.fecRouterLabel), ro(c.fecRouterNexthop), c.lfib));
        return "7 LFIB";
      case 8:
        add(Mpls::LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs(
            c.peerTables, agent_.notifiers()));
        return "label notifiers";
      default:
        return "";
    }
  }

 private:
  template <class T>
  static Vox::Ptr<const T> ro(const Vox::Ptr<T>& coll) {
    return Vox::Ptr<const T>(coll);
  }
  template <class Sm>
  void add(const Vox::Ptr<Sm>& reactor) {
    reactor->hasNotificationActiveIs(true);
    reactors_.emplace_back(reactor);
  }

  Sim::Agent& agent_;
  int next_ = 0;
  std::vector<Vox::Ptr<Vox::Reactor>> reactors_;
};

// A stopped agent over a profile's peers and links (with a single FEC), in which only the
// resolution reactors and stages 1 to 4 run: the part of the pipeline where the two variants
// differ, which the full cases drown in the cost of the later stages. One at a time, like the
// shared agent, and never beside it.
struct NexthopWorld {
  int64_t profile = -1;
  std::unique_ptr<Sim::Topology> topology;
  std::unique_ptr<Sim::Agent> agent;
  std::unique_ptr<StageByStage> stages;
};

NexthopWorld& nexthopWorld() {
  static NexthopWorld world;
  return world;
}

void releaseNexthopWorld() {
  NexthopWorld& world = nexthopWorld();
  world.stages.reset();  // before the collections they watch
  world.agent.reset();
  world.topology.reset();
  world.profile = -1;
}

}  // namespace

void PipelineBench::releaseWorlds() {
  sharedWorld() = SharedWorld();
  releaseNexthopWorld();
  releaseBaselineWorld();
}

namespace {

// The stages-1-to-4 world of `profile`; null (and the case skipped) when stage 4's output does
// not hold every link of every peer.
NexthopWorld* nexthopStages(benchmark::State& state, int64_t profile) {
  NexthopWorld& world = nexthopWorld();
  if (world.profile != profile) {
    releaseWorlds();
    Sim::Topology::Shape shape = topologyOf(profile).shape();
    shape.fecs = 1;
    world.topology = std::make_unique<Sim::Topology>(shape);
    world.agent = std::make_unique<Sim::Agent>();
    world.agent->stop();
    world.topology->apply(*world.agent);
    world.stages = std::make_unique<StageByStage>(*world.agent);
    // The inversion, the resolution reactors, then stages 2 to 4.
    for (std::string name = world.stages->createNext(); !name.empty() && name != "4 MPLS filter";
         name = world.stages->createNext()) {
    }
    world.profile = profile;
  }
  uint64_t vias = 0;
  for (const auto [routerId, info] : world.agent->colls().routerIpNexthop->routerIpNexthopColl())
    vias += info.ipNexthopInfos();
  const Sim::Topology::Shape& shape = world.topology->shape();
  if (vias != uint64_t{shape.peers} * shape.linksPerPeer) {
    state.SkipWithError("stage 4 does not hold one via per link");
    return nullptr;
  }
  return &world;
}

void BM_NexthopStagesLinkFlap(benchmark::State& state) {
  NexthopWorld* world = nexthopStages(state, state.range(0));
  if (!world) return;
  const Sim::Topology& topology = *world->topology;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    const uint32_t link = static_cast<uint32_t>(i / shape.peers) % shape.linksPerPeer;
    topology.linkDown(*world->agent, peer, link);
    topology.linkUp(*world->agent, peer);
    ++i;
  }
  setCommonCounters(state, topologyOf(state.range(0)));
  state.counters["changes"] = 2;
}

void BM_NexthopStagesPeerDownUp(benchmark::State& state) {
  NexthopWorld* world = nexthopStages(state, state.range(0));
  if (!world) return;
  const Sim::Topology& topology = *world->topology;
  const Sim::Topology::Shape& shape = topology.shape();
  uint64_t i = 0;
  for (auto _ : state) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    topology.peerDown(*world->agent, peer);
    topology.peerUp(*world->agent, peer);
    ++i;
  }
  setCommonCounters(state, topologyOf(state.range(0)));
  // Down: the transport and interface addresses, the route (the single FEC's bindings aside);
  // up: the same back.
  state.counters["changes"] = 2 * (2 + shape.linksPerPeer);
}

// Counter names: "B_" and the part's name in lower case, blanks and dashes as underscores.
std::string counterName(const std::string& part) {
  std::string name = "B_";
  for (const char ch : part)
    name += (ch == ' ' || ch == '-') ? '_' : static_cast<char>(std::tolower(ch));
  return name;
}

using KindBytes = std::array<int64_t, static_cast<std::size_t>(Vox::MemoryKind::kCount)>;

KindBytes liveBytesByKind() {
  KindBytes bytes{};
  for (std::size_t kind = 0; kind < bytes.size(); ++kind)
    bytes[kind] = Vox::Memory::liveBytes(static_cast<Vox::MemoryKind>(kind));
  return bytes;
}

// Counters B_<part> (tracked bytes the part added) and K_<part>__<kind> (those of each kind that
// grew).
void BM_PipelineMemory(benchmark::State& state) {
  releaseWorlds();
  const Sim::Topology& topology = topologyOf(state.range(0));
  std::vector<std::pair<std::string, KindBytes>> parts;
  uint64_t branches = 0;
  for (auto _ : state) {
    parts.clear();
    const double start = threadCpuSeconds();
    auto agent = std::make_unique<Sim::Agent>();
    agent->stop();
    const auto addPart = [&parts](const std::string& name, const KindBytes& before) {
      KindBytes growth = liveBytesByKind();
      for (std::size_t kind = 0; kind < growth.size(); ++kind)
        growth[kind] -= before[kind];
      parts.emplace_back(name, growth);
    };
    KindBytes before = liveBytesByKind();
    topology.apply(*agent, progressFor(topology));
    addPart("inputs", before);
    {
      StageByStage stages(*agent);
      for (;;) {
        before = liveBytesByKind();
        const std::string name = stages.createNext();
        if (name.empty()) break;
        addPart(name, before);
      }
      branches = lfibBranches(*agent);
    }
    state.SetIterationTime(threadCpuSeconds() - start);
  }
  if (branches != topology.pairs()) {
    state.SkipWithError("the LFIB does not have one branch per (FEC, router) pair");
    return;
  }
  setCommonCounters(state, topology);
  state.counters["pairs"] = static_cast<double>(topology.pairs());
  state.counters["branches"] = static_cast<double>(branches);
  for (const auto& [name, growth] : parts) {
    int64_t total = 0;
    for (std::size_t kind = 0; kind < growth.size(); ++kind) {
      total += growth[kind];
      if (growth[kind] == 0) continue;
      const std::string kindName(Vox::Memory::kindName(static_cast<Vox::MemoryKind>(kind)));
      state.counters["K_" + counterName(name).substr(2) + "__" + kindName] =
          static_cast<double>(growth[kind]);
    }
    state.counters[counterName(name)] = static_cast<double>(total);
  }
}

// Profile-major order, so that one profile's shared agent serves all its cases before the next
// profile's is built, and the fresh-agent cases come last, after the shared one is dropped.
void registerAll() {
  // The calibration runs first and last (argument `at` 0 and 1): the unit is their mean, and
  // their difference shows how much the machine's speed drifted during the run.
  benchmark::RegisterBenchmark("BM_UnorderedMapInsertFindErase", BM_UnorderedMapInsertFindErase)
      ->ArgName("at")
      ->Arg(0);
  using Case = void (*)(benchmark::State&);
  struct Entry {
    const char* name;
    Case run;
    bool manual;
    benchmark::TimeUnit unit;
  };
  const Entry entries[] = {
      {"BM_NexthopStagesLinkFlap", BM_NexthopStagesLinkFlap, false, benchmark::kMicrosecond},
      {"BM_NexthopStagesPeerDownUp", BM_NexthopStagesPeerDownUp, false, benchmark::kMicrosecond},
      {"BM_AuditFullRecomputation", BM_AuditFullRecomputation, false, benchmark::kMillisecond},
      {"BM_PipelinePeerLabelChurn", BM_PipelinePeerLabelChurn, false, benchmark::kMicrosecond},
      {"BM_PipelineLocalLabelChange", BM_PipelineLocalLabelChange, false, benchmark::kMicrosecond},
      {"BM_PipelineLinkFlap", BM_PipelineLinkFlap, false, benchmark::kMicrosecond},
      {"BM_PipelinePeerDownUp", BM_PipelinePeerDownUp, false, benchmark::kMicrosecond},
      {"BM_BaselinePeerLabelChurn", BM_BaselinePeerLabelChurn, false, benchmark::kMicrosecond},
      {"BM_BaselineLocalLabelChange", BM_BaselineLocalLabelChange, false, benchmark::kMicrosecond},
      {"BM_BaselineLinkFlap", BM_BaselineLinkFlap, false, benchmark::kMicrosecond},
      {"BM_BaselinePeerDownUp", BM_BaselinePeerDownUp, false, benchmark::kMicrosecond},
      {"BM_PipelineColdStart", BM_PipelineColdStart, true, benchmark::kMillisecond},
      {"BM_BaselineColdStart", BM_BaselineColdStart, true, benchmark::kMillisecond},
      {"BM_PipelineIncrementalBuild", BM_PipelineIncrementalBuild, true, benchmark::kMillisecond},
      {"BM_BaselineIncrementalBuild", BM_BaselineIncrementalBuild, true, benchmark::kMillisecond},
      {"BM_PipelineMemory", BM_PipelineMemory, true, benchmark::kMillisecond},
      {"BM_BaselineMemory", BM_BaselineMemory, true, benchmark::kMillisecond},
  };
  for (int64_t profile = 0; profile < static_cast<int64_t>(Sim::Topology::profiles().size());
       ++profile) {
    for (const Entry& entry : entries) {
      auto* bench = benchmark::RegisterBenchmark(entry.name, entry.run);
      bench->ArgName("profile")->Arg(profile)->Unit(entry.unit);
      if (entry.manual) bench->UseManualTime();
      if (entry.run == BM_PipelineMemory || entry.run == BM_BaselineMemory) bench->Iterations(1);
    }
  }
  benchmark::RegisterBenchmark("BM_UnorderedMapInsertFindErase", BM_UnorderedMapInsertFindErase)
      ->ArgName("at")
      ->Arg(1);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  registerAll();
  benchmark::AddCustomContext("quill_mode", modeName());
#ifdef QUILL_BENCH_BUILD
  benchmark::AddCustomContext("quill_build", QUILL_BENCH_BUILD);
#endif
  benchmark::RunSpecifiedBenchmarks();
  releaseWorlds();
  benchmark::Shutdown();
  return 0;
}
