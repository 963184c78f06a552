#include "sim/Soak.h"

#include <unistd.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <random>
#include <stdexcept>

#include "platform/vox/TrackingAllocator.h"
#include "quill/core/Toggles.h"
#include "sim/RandomWorld.h"
#include "sim/Topology.h"

namespace Sim {

namespace {

constexpr uint64_t kFnvOffset = 0xcbf29ce484222325ull;
constexpr uint64_t kFnvPrime = 0x100000001b3ull;

void mix(uint64_t& hash, std::string_view text) {
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= kFnvPrime;
  }
  hash ^= 0xff;  // a separator, so that "ab"+"c" and "a"+"bc" differ
  hash *= kFnvPrime;
}

void mix(uint64_t& hash, uint64_t value) {
  for (int byte = 0; byte < 8; ++byte) {
    hash ^= (value >> (8 * byte)) & 0xff;
    hash *= kFnvPrime;
  }
}

MemorySample sample(uint64_t step) {
#if defined(__GLIBC__)
  // The allocator keeps the pages it was given back, as its own cache, up to the largest
  // transient use so far (an audit's recomputation, a restart's second set of reactors): a
  // high-water mark that creeps up by a page now and then. Handing free pages back first makes
  // the resident size what is in use, fragmentation included.
  malloc_trim(0);
#endif
  return {step, Vox::Memory::totalLiveBytes(), residentBytes()};
}

double ratio(int64_t last, int64_t first) {
  if (first == 0) return last == 0 ? 0.0 : 1.0;
  return static_cast<double>(last) / static_cast<double>(first) - 1.0;
}

void requirePositive(uint64_t value, const char* what) {
  if (value == 0) throw std::invalid_argument(std::string(what) + " must be positive");
}

// Writes a line every tenth of `total` steps.
class Progress {
 public:
  // The first line goes out before the run: a stream's first write sets up buffers and number
  // formatting that stay, which a sample taken after it would count as growth.
  Progress(std::ostream* out, std::string_view name, uint64_t total)
      : out_(out), name_(name), total_(total), start_(std::chrono::steady_clock::now()) {
    if (out_) *out_ << name_ << ": 0% (0/" << total_ << "), 0 s" << std::endl;
  }

  void at(uint64_t step, const SoakResult& result) {
    const uint64_t tenth = step * 10 / total_;
    if (!out_ || tenth == reported_) return;
    reported_ = tenth;
    *out_ << name_ << ": " << tenth * 10 << "% (" << step << "/" << total_ << "), "
          << static_cast<int>(seconds()) << " s, audits " << result.audits.audits()
          << ", differences " << result.audits.differences();
    if (!result.samples.empty()) {
      const MemorySample& last = result.samples.back();
      *out_ << ", tracked " << last.trackedBytes << " B, resident " << last.residentBytes / 1024
            << " KiB";
    }
    *out_ << std::endl;
  }
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::ostream* out_;
  std::string name_;
  uint64_t total_;
  std::chrono::steady_clock::time_point start_;
  uint64_t reported_ = 0;
};

void finish(SoakResult& result, const Agent& agent, const Progress& progress) {
  result.lfibEntries = agent.colls().lfib->labelForwardings();
  mix(result.fingerprint, result.lfibEntries);
  // The labels in any order: a table's iteration order is its layout's business.
  uint64_t labels = 0;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
    uint64_t hash = kFnvOffset;
    mix(hash, label.valueToStrep());
    labels += hash;
  }
  mix(result.fingerprint, labels);
  result.seconds = progress.seconds();
}

// Makes a topology's changes on the agent, counting them.
class CountingSink : public RelaySink {
 public:
  explicit CountingSink(Agent& agent) : agent_(agent) {}
  uint64_t changes = 0;

  void relay(const Change& change) override {
    ++changes;
    change(sink_);
  }
  void peerTableDrop(const Mpls::RouterId& id) override {
    // The drop's own changes are its bindings, one by one: counted as the agent makes them.
    const auto table = agent_.colls().peerTables->bindingTable(id);
    if (table) {
      for (auto it = table->bindingColl().begin(); it != table->bindingColl().end(); ++it)
        changes += it.member()->mplsLabels();
    }
    sink_.peerTableDrop(id);
  }

 private:
  Agent& agent_;
  AgentSink sink_{agent_};
};

// Where a router next-hop collection records why it holds each via, it records exactly one
// non-empty set of addresses per via (a variant that records none is left alone).
void auditJustifications(Quill::StageAuditor& auditor, const Mpls::RouterNexthopInfoColl& coll) {
  for (const auto [routerId, info] : coll.routerNexthopColl()) {
    if (info.nexthopIpInfos() == 0) continue;
    for (const Mpls::FibVia& via : info.viaColl()) {
      const auto justification = info.nexthopIpInfo(via);
      if (!justification || justification->destIps() == 0)
        auditor.complain("unjustified " + Quill::textOf(routerId) + " " + Quill::textOf(via));
    }
    if (info.nexthopIpInfos() != info.vias())
      auditor.complain(Quill::textOf(routerId) + " justifies vias it does not hold");
  }
}

std::string percent(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%+.2f%%", value * 100);
  return text;
}

}  // namespace

Quill::AuditReport auditAgent(const Agent& agent) {
  const Quill::ResolutionTables tables{agent.nexthopConfig().ptr(), agent.nexthopStatus().ptr(),
                                       agent.forwardingStatus().ptr()};
  return Quill::auditPipeline(*agent.manager(), &tables);
}

void auditShapes(const Agent& agent, Quill::AuditReport& report) {
  const Mpls::PipelineCollections& c = agent.colls();
  using Quill::textOf;
  std::vector<std::string> stageLabels;
  Mpls::P2mpLfibGenSmManager::forEachStageRow(
      [&]<class Stage>() { stageLabels.push_back(Stage::label()); });
  const auto stage = [&](std::size_t number) {
    return Quill::StageAuditor(report, stageLabels.at(number - 1));
  };
  Quill::StageAuditor resolution(report, "resolution");
  const auto empty = [](Quill::StageAuditor& auditor, std::size_t size, const std::string& entry) {
    if (size == 0) auditor.complain("empty entry " + entry);
  };
  for (const auto [addr, vias] : c.ipNexthop->ipNexthopColl())
    empty(resolution, vias.vias(), textOf(addr));
  auto inversion = stage(1);
  for (const auto [addr, routers] : c.ipAddrRouterId->ipAddrRouterIdColl())
    empty(inversion, routers.routerIds(), textOf(addr));
  auto routerNexthops = stage(2);
  for (const auto [routerId, vias] : c.routerNexthop->routerNexthopColl())
    empty(routerNexthops, vias.vias(), textOf(routerId));
  auditJustifications(routerNexthops, *c.routerNexthop);
  auto grouping = stage(3);
  for (const auto [intf, routers] : c.intfRouterNexthop->intfRouterNexthopColl()) {
    empty(grouping, routers.routerNexthopInfos(), textOf(intf));
    for (const auto [routerId, vias] : routers.routerNexthopInfoColl())
      empty(grouping, vias.vias(), textOf(intf) + " " + textOf(routerId));
  }
  auto mplsFilter = stage(4);
  for (const auto [routerId, hops] : c.routerIpNexthop->routerIpNexthopColl()) {
    empty(mplsFilter, hops.ipNexthopInfos(), textOf(routerId));
    for (const auto [hop, vias] : hops.ipNexthopInfoColl())
      empty(mplsFilter, vias.vias(), textOf(routerId) + " " + textOf(hop));
  }
  auto addressFilter = stage(5);
  for (const auto [routerId, vias] : c.filteredNexthop->routerNexthopColl()) {
    empty(addressFilter, vias.vias(), textOf(routerId));
    if (vias.vias() != 0 && vias.nexthopIpInfos() == 0)
      addressFilter.complain("no justifications for " + textOf(routerId));
  }
  auditJustifications(addressFilter, *c.filteredNexthop);
  auto fecNexthops = stage(6);
  for (const auto [fec, routers] : c.fecRouterNexthop->fecRouterNexthopColl())
    empty(fecNexthops, routers.routerNexthopInfos(), textOf(fec));
  auto lfib = stage(7);
  for (const auto [label, branches] : c.lfib->labelForwardingColl()) {
    empty(lfib, branches.forwardingInfos(), textOf(label));
    for (const auto [branch, justifications] : branches.forwardingInfoColl())
      empty(lfib, justifications.fecRouters(), textOf(label) + " " + textOf(branch));
  }
}

bool allStagesCompiled() {
  return Mpls::toggleMplsFluxInversionEnabled() && Mpls::toggleMplsFluxConcatEnabled() &&
         Mpls::toggleMplsFluxIntfRouterSmEnabled() && Mpls::toggleMplsFluxRouterIpNexthopEnabled();
}

int64_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  int64_t size = 0;
  int64_t resident = 0;
  if (!(statm >> size >> resident)) return 0;
  return resident * static_cast<int64_t>(sysconf(_SC_PAGESIZE));
}

std::optional<MemoryGrowth> memoryGrowth(const std::vector<MemorySample>& samples, uint64_t steps) {
  MemoryGrowth growth;
  const uint64_t tenth = steps / 10;
  for (const MemorySample& s : samples) {
    MemorySample* into = nullptr;
    if (s.step <= tenth) {
      ++growth.firstSamples;
      into = &growth.first;
    } else if (s.step > steps - tenth) {
      ++growth.lastSamples;
      into = &growth.last;
    } else {
      continue;
    }
    into->step = std::max(into->step, s.step);
    into->trackedBytes = std::max(into->trackedBytes, s.trackedBytes);
    into->residentBytes = std::max(into->residentBytes, s.residentBytes);
  }
  if (growth.firstSamples == 0 || growth.lastSamples == 0) return std::nullopt;
  growth.tracked = ratio(growth.last.trackedBytes, growth.first.trackedBytes);
  growth.resident = ratio(growth.last.residentBytes, growth.first.residentBytes);
  return growth;
}

void AuditTally::audit(Agent& agent, std::string_view where) {
  const auto auditWhole = [&agent] {
    Quill::AuditReport report = auditAgent(agent);
    auditShapes(agent, report);
    return report;
  };
  ++audits_;
  Quill::AuditReport report = auditWhole();
  elements_ += report.elementsChecked;
  if (report.ok()) return;
  if (staleAllowed_) {
    agent.restart();
    const std::size_t stale = report.differences.size();
    report = auditWhole();
    if (report.ok()) {
      staleCleared_ += stale;
      return;
    }
  }
  differences_ += report.differences.size();
  if (firstFailure_.empty()) firstFailure_ = std::string(where) + ":\n" + report.text();
}

bool SoakResult::passed(double limit, bool checkResident) const {
  if (audits.differences() != 0) return false;
  const auto g = growth();
  if (!g) return false;
  return g->tracked <= limit && (!checkResident || g->resident <= limit);
}

SoakResult runRandomSoak(const RandomSoakOptions& options, std::ostream* progressOut) {
  requirePositive(options.changes, "changes");
  requirePositive(options.auditEvery, "audit interval");
  requirePositive(options.restartEvery, "restart interval");
  requirePositive(options.sampleEvery, "sample interval");
  SoakResult result(!allStagesCompiled());
  result.fingerprint = kFnvOffset;
  Progress progress(progressOut, "soak random", options.changes);
  std::mt19937_64 random(options.seed);
  Agent agent;
  RandomWorld world(agent);
  for (uint64_t step = 1; step <= options.changes; ++step) {
    const uint32_t choice = static_cast<uint32_t>(random());
    mix(result.fingerprint, world.apply(choice, random()));
    ++result.inputChanges;
    if (world.lastWasRestart()) ++result.restarts;
    if (step % options.restartEvery == 0) {
      agent.restart();
      ++result.restarts;
    }
    if (step % options.sampleEvery == 0) {
      result.inputChanges += world.fill();
      result.audits.audit(agent, "random soak, full world at change " + std::to_string(step));
      result.samples.push_back(sample(step));
    } else if (step % options.auditEvery == 0) {
      result.audits.audit(agent, "random soak, change " + std::to_string(step));
    }
    progress.at(step, result);
  }
  result.steps = options.changes;
  agent.restart();
  result.audits.audit(agent, "random soak, after the final restart");
  finish(result, agent, progress);
  return result;
}

SoakResult runChurnDrill(const ChurnOptions& options, std::ostream* progressOut) {
  requirePositive(options.flaps, "flaps");
  requirePositive(options.auditEvery, "audit interval");
  requirePositive(options.restartEvery, "restart interval");
  requirePositive(options.sampleEvery, "sample interval");
  const auto shape = Topology::profile(options.profile);
  if (!shape) throw std::invalid_argument("unknown topology profile '" + options.profile + "'");
  const Topology topology(*shape);
  SoakResult result(!allStagesCompiled());
  result.fingerprint = kFnvOffset;
  Progress progress(progressOut, "soak churn", options.flaps);
  std::mt19937_64 random(options.seed);
  Agent agent;
  CountingSink sink(agent);
  topology.apply(sink);
  result.audits.audit(agent, "churn drill, the full topology");
  const uint32_t peers = shape->peers;
  const uint32_t links = shape->linksPerPeer;
  for (uint64_t step = 1; step <= options.flaps; ++step) {
    const auto peer = static_cast<uint32_t>(random() % peers);
    const auto link = static_cast<uint32_t>(random() % links);
    topology.linkDown(sink, peer, link);
    topology.linkUp(sink, peer);
    mix(result.fingerprint, uint64_t{peer} << 32 | link);
    // The peer cycles spread evenly: as many done after this flap as its share says.
    while (result.peerCycles < step * options.peerCycles / options.flaps) {
      const auto cycled = static_cast<uint32_t>(random() % peers);
      topology.peerDown(sink, cycled);
      topology.peerUp(sink, cycled);
      ++result.peerCycles;
      mix(result.fingerprint, cycled);
    }
    if (step % options.restartEvery == 0) {
      agent.restart();
      ++result.restarts;
    }
    if (step % options.auditEvery == 0) {
      result.audits.audit(agent, "churn drill, flap " + std::to_string(step));
    }
    if (step % options.sampleEvery == 0) result.samples.push_back(sample(step));
    progress.at(step, result);
  }
  result.steps = options.flaps;
  result.inputChanges = sink.changes;
  agent.restart();
  result.audits.audit(agent, "churn drill, after the final restart");
  finish(result, agent, progress);
  return result;
}

void printSummary(std::ostream& out, std::string_view name, uint64_t seed, const SoakResult& result,
                  double limit, bool checkResident) {
  const auto g = result.growth();
  const bool pass = result.passed(limit, checkResident);
  out << name << ": variant " << (allStagesCompiled() ? "compiled" : "hand-written") << ", seed "
      << seed << "\n";
  out << "  steps " << result.steps << ", input changes " << result.inputChanges << ", restarts "
      << result.restarts << ", peer cycles " << result.peerCycles << "\n";
  out << "  audits " << result.audits.audits() << ", elements compared "
      << result.audits.elementsChecked() << ", differences " << result.audits.differences()
      << ", stale entries cleared by a restart " << result.audits.staleCleared() << "\n";
  char hex[24];
  std::snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(result.fingerprint));
  out << "  final LFIB entries " << result.lfibEntries << ", fingerprint " << hex << "\n";
  if (g) {
    out << "  memory at equal world size, largest of " << g->firstSamples
        << " samples in the first tenth -> largest of " << g->lastSamples << " in the last tenth\n";
    out << "    tracked bytes " << g->first.trackedBytes << " -> " << g->last.trackedBytes << " ("
        << percent(g->tracked) << ")\n";
    out << "    resident KiB " << g->first.residentBytes / 1024 << " -> "
        << g->last.residentBytes / 1024 << " (" << percent(g->resident) << ")"
        << (checkResident ? "" : " not checked") << " [varies]\n";
  } else {
    out << "  memory: too few samples to compare the first and last tenths\n";
  }
  const double rate = result.seconds > 0 ? static_cast<double>(result.steps) / result.seconds : 0;
  char timing[96];
  std::snprintf(timing, sizeof timing, "  time %.1f s, %.0f steps/s, %.0f input changes/s",
                result.seconds, rate,
                result.seconds > 0 ? static_cast<double>(result.inputChanges) / result.seconds : 0);
  out << timing << " [varies]\n";
  if (!result.audits.firstFailure().empty())
    out << "  first failure at " << result.audits.firstFailure();
  out << name << ": " << (pass ? "PASS" : "FAIL") << " (limit " << percent(limit) << ")\n";
}

}  // namespace Sim
