// quill_change_counts PROFILE KIND [N]: one kind of change made N times to an agent running the
// whole pipeline over a synthetic topology of `Sim::Topology`, for counting instructions under
// callgrind (`scripts/icount`). Wall-clock time on a shared machine varies by tens of percent;
// instruction counts repeat, so they can tell a code change's effect from the machine's mood.
//
// Each kind runs inside one function of its own, named quillMeasured<Kind>, kept out of line
// and called once, so that `valgrind --tool=callgrind --toggle-collect='quillMeasured<Kind>*'`
// counts those changes and nothing else: neither the topology's construction nor the checks.
// The changes are those of the pipeline benchmark's cases, in the same order:
//   peer-label         a peer binding removed, then added back (2 changes per iteration)
//   local-label        a FEC's local label changed, then changed back (2 changes)
//   link-flap          one link of a peer's loopback route goes, then comes back (2 changes)
//   peer-down-up       everything of one peer withdrawn, then restored
//   cold-start         `start()` over an agent whose inputs hold the whole topology (once)
//   incremental-build  the whole topology applied change by change to a running agent (once)
// The changing kinds cover every peer or a few hundred FECs unless N says otherwise, and leave
// the agent as they found it: the program fails (exit status 1) unless the LFIB has one branch
// per (FEC, router) pair at the end.
//
// It prints one JSON object: what it did and the divisor its unit calls for (`per`, `units`):
//   {"kind":"link-flap","profile":"medium","function":"quillMeasuredLinkFlap","iterations":64,
//    "changes":128,"pairs":40000,"fecs_moved":...,"per":"moved FEC","units":...,...}
// `quill_change_counts --list` prints each kind and its function, one pair a line.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/Agent.h"
#include "sim/Topology.h"

// The measured functions: global, with external linkage and never inlined, so that each keeps
// its own symbol for callgrind to toggle on.

[[gnu::noinline]] void quillMeasuredPeerLabel(Sim::Agent& agent, const Sim::Topology& topology,
                                              uint64_t iterations) {
  const Sim::Topology::Shape& shape = topology.shape();
  for (uint64_t i = 0; i < iterations; ++i) {
    const uint32_t f = static_cast<uint32_t>(i % shape.fecs);
    const uint32_t peer =
        topology.fecPeer(f, static_cast<uint32_t>(i / shape.fecs) % shape.peersPerFec);
    const Mpls::FwdEqvClass fec = topology.fec(f);
    const Vela::MplsLabel label = topology.peerLabel(f, peer);
    agent.peerBindingDel(topology.routerId(peer), fec, label);
    agent.peerBindingIs(topology.routerId(peer), fec, label);
  }
}

[[gnu::noinline]] void quillMeasuredLocalLabel(Sim::Agent& agent, const Sim::Topology& topology,
                                               uint64_t iterations) {
  for (uint64_t i = 0; i < iterations; ++i) {
    const uint32_t f = static_cast<uint32_t>(i % topology.shape().fecs);
    topology.localLabelIs(agent, f, true);
    topology.localLabelIs(agent, f, false);
  }
}

[[gnu::noinline]] void quillMeasuredLinkFlap(Sim::Agent& agent, const Sim::Topology& topology,
                                             uint64_t iterations) {
  const Sim::Topology::Shape& shape = topology.shape();
  for (uint64_t i = 0; i < iterations; ++i) {
    const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
    const uint32_t link = static_cast<uint32_t>(i / shape.peers) % shape.linksPerPeer;
    topology.linkDown(agent, peer, link);
    topology.linkUp(agent, peer);
  }
}

[[gnu::noinline]] void quillMeasuredPeerDownUp(Sim::Agent& agent, const Sim::Topology& topology,
                                               uint64_t iterations) {
  for (uint64_t i = 0; i < iterations; ++i) {
    const uint32_t peer = static_cast<uint32_t>(i % topology.shape().peers);
    topology.peerDown(agent, peer);
    topology.peerUp(agent, peer);
  }
}

[[gnu::noinline]] void quillMeasuredColdStart(Sim::Agent& agent, const Sim::Topology&, uint64_t) {
  agent.start();
}

[[gnu::noinline]] void quillMeasuredIncrementalBuild(Sim::Agent& agent,
                                                     const Sim::Topology& topology, uint64_t) {
  topology.apply(agent);
}

namespace {

using Measured = void (*)(Sim::Agent&, const Sim::Topology&, uint64_t);

struct Kind {
  std::string_view name;
  std::string_view function;
  Measured run;
  bool once;  // cold start and incremental build: one whole build, N must be 1
};

constexpr Kind kKinds[] = {
    {"peer-label", "quillMeasuredPeerLabel", quillMeasuredPeerLabel, false},
    {"local-label", "quillMeasuredLocalLabel", quillMeasuredLocalLabel, false},
    {"link-flap", "quillMeasuredLinkFlap", quillMeasuredLinkFlap, false},
    {"peer-down-up", "quillMeasuredPeerDownUp", quillMeasuredPeerDownUp, false},
    {"cold-start", "quillMeasuredColdStart", quillMeasuredColdStart, true},
    {"incremental-build", "quillMeasuredIncrementalBuild", quillMeasuredIncrementalBuild, true},
};

const Kind* kindNamed(std::string_view name) {
  for (const Kind& kind : kKinds) {
    if (kind.name == name) return &kind;
  }
  return nullptr;
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

// The FECs of `peer` whose via is `link`: those a flap of that link moves (to the peer's other
// links, by the consistent-hash ring) and moves back.
uint64_t fecsOnLink(const Sim::Agent& agent, const Sim::Topology& topology, uint32_t peer,
                    uint32_t link) {
  const Mpls::FibVia linkVia(Vela::IpGenAddr(topology.linkAddr(peer, link)),
                             topology.linkIntf(peer, link));
  uint64_t count = 0;
  for (const uint32_t f : topology.peerFecs(peer)) {
    if (chosenVia(agent, topology, f, peer) == linkVia) ++count;
  }
  return count;
}

// What one run does, known before it starts: its counts depend on the topology alone (and, for
// flaps, on where the ring put each FEC).
struct Plan {
  uint64_t iterations = 0;
  uint64_t changes = 0;
  uint64_t pairs = 0;
  uint64_t fecsMoved = 0;
  std::string_view per;
  uint64_t units = 0;
};

Plan planFor(const Kind& kind, const Sim::Topology& topology, const Sim::Agent& agent,
             uint64_t iterations) {
  const Sim::Topology::Shape& shape = topology.shape();
  Plan plan;
  plan.iterations = iterations;
  if (kind.run == quillMeasuredPeerLabel) {
    plan.changes = 2 * iterations;
    plan.pairs = iterations;  // each iteration touches one (FEC, router) pair
    plan.per = "change";
    plan.units = plan.changes;
  } else if (kind.run == quillMeasuredLocalLabel) {
    plan.changes = 2 * iterations;
    plan.pairs = iterations * shape.peersPerFec;  // every branch of the FEC's LFIB entry
    plan.per = "change";
    plan.units = plan.changes;
  } else if (kind.run == quillMeasuredLinkFlap) {
    for (uint64_t i = 0; i < iterations; ++i) {
      const uint32_t peer = static_cast<uint32_t>(i % shape.peers);
      const uint32_t link = static_cast<uint32_t>(i / shape.peers) % shape.linksPerPeer;
      plan.pairs += topology.peerFecs(peer).size();
      plan.fecsMoved += fecsOnLink(agent, topology, peer, link);
    }
    plan.changes = 2 * iterations;
    plan.per = "moved FEC";
    plan.units = plan.fecsMoved;
  } else if (kind.run == quillMeasuredPeerDownUp) {
    for (uint64_t i = 0; i < iterations; ++i) {
      const uint64_t bindings = topology.peerFecs(static_cast<uint32_t>(i % shape.peers)).size();
      plan.pairs += bindings;
      // Down: each binding, the transport and interface addresses, the route; up: the same back.
      plan.changes += 2 * (bindings + 2 + shape.linksPerPeer);
    }
    plan.per = "pair";
    plan.units = plan.pairs;
  } else if (kind.run == quillMeasuredColdStart) {
    plan.pairs = topology.pairs();  // no input changes: the reactors start over filled inputs
    plan.per = "pair";
    plan.units = plan.pairs;
  } else {
    plan.changes = topology.changes();
    plan.pairs = topology.pairs();
    plan.per = "change";
    plan.units = plan.changes;
  }
  return plan;
}

int usage() {
  std::cerr << "usage: quill_change_counts PROFILE KIND [N]   (or --list)\n  PROFILE:";
  for (const Sim::Topology::Shape& shape : Sim::Topology::profiles())
    std::cerr << ' ' << shape.name;
  std::cerr << "\n  KIND:";
  for (const Kind& kind : kKinds)
    std::cerr << ' ' << kind.name;
  std::cerr << "\n  N: iterations of a changing kind (default: every peer, or 400 FECs)\n";
  return 2;
}

std::optional<uint64_t> parseCount(const char* text) {
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text, &end, 10);
  if (*text < '1' || *text > '9' || *end != '\0') return std::nullopt;
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "--list") {
    for (const Kind& kind : kKinds)
      std::cout << kind.name << ' ' << kind.function << '\n';
    return 0;
  }
  if (argc < 3 || argc > 4) return usage();
  const std::optional<Sim::Topology::Shape> shape = Sim::Topology::profile(argv[1]);
  const Kind* kind = kindNamed(argv[2]);
  std::optional<uint64_t> iterations = argc == 4 ? parseCount(argv[3]) : std::nullopt;
  if (!shape || !kind || (argc == 4 && (!iterations || (kind->once && *iterations != 1))))
    return usage();
  const Sim::Topology topology(*shape);
  if (!iterations) {
    const bool perPeer = kind->run == quillMeasuredLinkFlap || kind->run == quillMeasuredPeerDownUp;
    // 400 FECs with their first peer reach every peer of the profiles that have up to 400.
    iterations = kind->once ? 1 : perPeer ? shape->peers : std::min<uint64_t>(shape->fecs, 400);
  }

  Sim::Agent agent;
  if (kind->run == quillMeasuredColdStart) agent.stop();
  if (kind->run != quillMeasuredIncrementalBuild) topology.apply(agent);
  if (kind->run != quillMeasuredColdStart && kind->run != quillMeasuredIncrementalBuild &&
      lfibBranches(agent) != topology.pairs()) {
    std::cerr << "quill_change_counts: the built LFIB does not have one branch per pair\n";
    return 1;
  }
  const Plan plan = planFor(*kind, topology, agent, *iterations);

  kind->run(agent, topology, plan.iterations);

  const uint64_t branches = lfibBranches(agent);
  std::cout << "{\"kind\":\"" << kind->name << "\",\"profile\":\"" << shape->name
            << "\",\"function\":\"" << kind->function << "\",\"iterations\":" << plan.iterations
            << ",\"changes\":" << plan.changes << ",\"pairs\":" << plan.pairs
            << ",\"fecs_moved\":" << plan.fecsMoved << ",\"per\":\"" << plan.per
            << "\",\"units\":" << plan.units << ",\"lfib_branches\":" << branches << "}"
            << std::endl;
  if (branches != topology.pairs()) {
    std::cerr << "quill_change_counts: the LFIB has " << branches << " branches after "
              << kind->name << ", not one per (FEC, router) pair (" << topology.pairs() << ")\n";
    return 1;
  }
  return 0;
}
