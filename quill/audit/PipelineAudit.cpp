#include "quill/audit/PipelineAudit.h"

#include <set>
#include <sstream>
#include <tuple>

namespace Quill {

namespace {

using namespace Mpls;

template <class T>
std::string textOf(const T& value) {
  return value.valueToStrep();
}

// Blank-separated text forms of a tuple's fields.
template <class Tuple>
std::string elementText(const Tuple& element) {
  std::string text;
  std::apply(
      [&](const auto&... field) { ((text += (text.empty() ? "" : " ") + textOf(field)), ...); },
      element);
  return text;
}

class Auditor {
 public:
  explicit Auditor(AuditReport& report) : report_(report) {}

  // Compares what the rule yields with what the stage holds.
  template <class Element>
  void compare(const char* stage, const std::set<Element>& expected,
               const std::set<Element>& actual) {
    report_.elementsChecked += expected.size() + actual.size();
    for (const Element& element : expected) {
      if (!actual.contains(element)) complain(stage, "missing " + elementText(element));
    }
    for (const Element& element : actual) {
      if (!expected.contains(element)) complain(stage, "unexpected " + elementText(element));
    }
  }
  void complain(const char* stage, const std::string& what) {
    report_.differences.push_back(std::string(stage) + ": " + what);
  }

 private:
  AuditReport& report_;
};

using RouterAddr = std::tuple<RouterId, Vela::IpGenAddr>;
using RouterVia = std::tuple<RouterId, FibVia>;

// (router, address) of a router-to-addresses collection.
std::set<RouterAddr> routerAddrs(const RouterIpAddrInfoColl& coll) {
  std::set<RouterAddr> out;
  for (const auto [routerId, info] : coll.routerIpAddrColl()) {
    for (const auto& addr : info.ipAddrColl())
      out.emplace(routerId, addr);
  }
  return out;
}

std::set<RouterVia> routerVias(const RouterNexthopInfoColl& coll) {
  std::set<RouterVia> out;
  for (const auto [routerId, info] : coll.routerNexthopColl()) {
    for (const FibVia& via : info.viaColl())
      out.emplace(routerId, via);
  }
  return out;
}

// (router, via, address) of the justifications a router next-hop collection records.
std::set<std::tuple<RouterId, FibVia, Vela::IpGenAddr>> justifications(
    const RouterNexthopInfoColl& coll) {
  std::set<std::tuple<RouterId, FibVia, Vela::IpGenAddr>> out;
  for (const auto [routerId, info] : coll.routerNexthopColl()) {
    for (const auto [via, justification] : info.nexthopIpInfoColl()) {
      for (const auto& addr : justification.destIpColl())
        out.emplace(routerId, via, addr);
    }
  }
  return out;
}

void auditResolution(Auditor& auditor, const P2mpLfibGenSmManager& manager,
                     const ResolutionTables& tables) {
  const auto& inverted = *manager.p2mpIpAddrRouterIdInfoColl();
  if (tables.nexthopConfig) {
    std::set<std::tuple<Vela::IpGenAddr>> expected, actual;
    for (const auto [addr, entry] : inverted.ipAddrRouterIdColl())
      expected.emplace(addr);
    for (const auto [addr, entry] : tables.nexthopConfig->nexthopColl())
      actual.emplace(addr);
    auditor.compare("resolution requests", expected, actual);
  }
  if (tables.nexthopStatus && tables.forwardingStatus) {
    std::set<std::tuple<Vela::IpGenAddr, FibVia>> expected, actual;
    for (const auto [addr, status] : tables.nexthopStatus->nexthopColl()) {
      const Brisk::Fib::Fec& fec = tables.forwardingStatus->fecOrEmpty(status.fecId());
      const uint32_t count = std::min<uint32_t>(fec.viaCount(), Brisk::Fib::ViaIndex::max + 1);
      for (uint32_t i = 0; i < count; ++i) {
        const auto fecVia = fec.via(Brisk::Fib::ViaIndex(i));
        const bool connected = status.routeType() == Routing::RouteType::connected;
        expected.emplace(addr, FibVia(connected ? addr : fecVia.hop, fecVia.intfId));
      }
    }
    for (const auto [addr, info] : manager.p2mpIpNexthopInfoColl()->ipNexthopColl()) {
      for (const FibVia& via : info.viaColl())
        actual.emplace(addr, via);
    }
    auditor.compare("resolution results", expected, actual);
  }
}

// One rule per stage: recomputes the stage's output from the live collections it reads and
// compares it with the live output. Each reads its inputs as they are, so a difference is
// reported at the stage that made it, not at every stage downstream.

// Stage 1: an address lists exactly the routers that advertised it.
void auditInversion(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  std::set<std::tuple<Vela::IpGenAddr, RouterId>> expected, actual;
  for (const auto& [routerId, addr] : routerAddrs(*manager.p2mpRouterTransportIpAddrInfoColl()))
    expected.emplace(addr, routerId);
  for (const auto [addr, entry] : manager.p2mpIpAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
    for (const RouterId& routerId : entry.routerIdColl())
      actual.emplace(addr, routerId);
  }
  auditor.compare(stage, expected, actual);
}

// Stage 2: a router has every via of every address it advertised.
void auditRouterNexthops(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  const auto& viasByAddr = *manager.p2mpIpNexthopInfoColl();
  std::set<std::tuple<RouterId, FibVia, Vela::IpGenAddr>> supports;
  for (const auto [addr, routers] : manager.p2mpIpAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
    const auto vias = viasByAddr.ipNexthop(addr);
    if (!vias) continue;
    for (const RouterId& routerId : routers.routerIdColl()) {
      for (const FibVia& via : vias->viaColl())
        supports.emplace(routerId, via, addr);
    }
  }
  std::set<RouterVia> expected;
  for (const auto& [routerId, via, addr] : supports)
    expected.emplace(routerId, via);
  const auto& out = *manager.p2mpRouterNexthopInfoColl();
  auditor.compare(stage, expected, routerVias(out));
  // Only the hand-written variant records justifications; where recorded they must be right.
  const auto recorded = justifications(out);
  if (!recorded.empty())
    auditor.compare((std::string(stage) + " justifications").c_str(), supports, recorded);
}

// Stage 3: each router's vias regrouped under their own interfaces.
void auditInterfaceGrouping(Auditor& auditor, const char* stage,
                            const P2mpLfibGenSmManager& manager) {
  std::set<std::tuple<Vela::IntfId, RouterId, FibVia>> expected, actual;
  for (const auto& [routerId, via] : routerVias(*manager.p2mpRouterNexthopInfoColl()))
    expected.emplace(via.intfId(), routerId, via);
  for (const auto [intf, entry] :
       manager.p2mpIntfRouterNexthopInfoColl()->intfRouterNexthopColl()) {
    for (const auto [routerId, router] : entry.routerNexthopInfoColl()) {
      for (const FibVia& via : router.viaColl())
        actual.emplace(intf, routerId, via);
    }
  }
  auditor.compare(stage, expected, actual);
}

using RouterHopVia = std::tuple<RouterId, Vela::IpGenAddr, FibVia>;

// (router, hop address, via) of the MPLS filter's output.
std::set<RouterHopVia> mplsVias(const RouterIpNexthopInfoColl& coll) {
  std::set<RouterHopVia> out;
  for (const auto [routerId, router] : coll.routerIpNexthopColl()) {
    for (const auto [hop, vias] : router.ipNexthopInfoColl()) {
      for (const FibVia& via : vias.viaColl())
        out.emplace(routerId, hop, via);
    }
  }
  return out;
}

// Stage 4: vias on MPLS interfaces, per router and hop address.
void auditMplsFilter(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  const auto& mpls = *manager.p2mpMplsIntfColl();
  std::set<RouterHopVia> expected;
  for (const auto [intf, entry] :
       manager.p2mpIntfRouterNexthopInfoColl()->intfRouterNexthopColl()) {
    if (!mpls.intfId(intf)) continue;
    for (const auto [routerId, router] : entry.routerNexthopInfoColl()) {
      for (const FibVia& via : router.viaColl())
        expected.emplace(routerId, via.hop(), via);
    }
  }
  auditor.compare(stage, expected, mplsVias(*manager.p2mpRouterIpNexthopInfoColl()));
}

// Stage 5: vias listed under one of the router's own interface addresses.
void auditAddressFilter(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  const auto& intfAddrs = *manager.p2mpRouterIntfIpAddrInfoColl();
  std::set<std::tuple<RouterId, FibVia, Vela::IpGenAddr>> expected;
  for (const auto& [routerId, hop, via] : mplsVias(*manager.p2mpRouterIpNexthopInfoColl())) {
    const auto addrs = intfAddrs.routerIpAddr(routerId);
    if (addrs && addrs->ipAddr(hop)) expected.emplace(routerId, via, hop);
  }
  const auto& out = *manager.p2mpRouterFilteredNexthopColl();
  auditor.compare(stage, expected, justifications(out));
  std::set<RouterVia> expectedVias;
  for (const auto& [routerId, via, hop] : expected)
    expectedVias.emplace(routerId, via);
  auditor.compare((std::string(stage) + " vias").c_str(), expectedVias, routerVias(out));
}

// Stage 6: one via per bound FEC and router with vias, the router's ring's choice.
void auditFecNexthops(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  const auto& filtered = *manager.p2mpRouterFilteredNexthopColl();
  const auto& out = *manager.p2mpFecRouterNexthopInfoColl();
  std::set<std::tuple<FwdEqvClass, RouterId>> expected, actual;
  for (const auto [routerId, table] : manager.p2mpPeerLabelBindingTableColl()->bindingTableColl()) {
    const auto vias = filtered.routerNexthop(routerId);
    if (!vias || vias->vias() == 0) continue;
    for (const auto [fec, binding] : table.bindingColl())
      expected.emplace(fec, routerId);
  }
  const auto sm = manager.fecRouterNexthopInfoSm();
  for (const auto [fec, entry] : out.fecRouterNexthopColl()) {
    for (const auto [routerId, chosen] : entry.routerNexthopInfoColl()) {
      actual.emplace(fec, routerId);
      const std::string pair = textOf(fec) + " " + textOf(routerId);
      if (chosen.vias() != 1) {
        auditor.complain(stage, pair + " has " + std::to_string(chosen.vias()) + " vias");
        continue;
      }
      const FibVia& via = *chosen.viaColl().begin();
      const auto vias = filtered.routerNexthop(routerId);
      if (!vias || !vias->via(via)) {
        auditor.complain(stage, pair + " uses " + textOf(via) + ", not a via of the router");
      }
      const auto ring = sm ? sm->fecViaConsistentHashColl()->consistentHash(routerId) : nullptr;
      if (!ring || ring->ch()->getNodeCount() == 0) {
        auditor.complain(stage, pair + " has no hash ring");
      } else if (!(ring->ch()->getNode(fec) == via)) {
        auditor.complain(stage, pair + " uses " + textOf(via) + ", the ring says " +
                                    textOf(ring->ch()->getNode(fec)));
      }
    }
  }
  auditor.compare(stage, expected, actual);
}

// Stage 7: local label x chosen via x peer label, per (FEC, router).
void auditLfib(Auditor& auditor, const char* stage, const P2mpLfibGenSmManager& manager) {
  using Branch = std::tuple<Vela::MplsLabel, FibVia, Vela::MplsLabel, FwdEqvClass, RouterId>;
  std::set<Branch> expected, actual;
  const auto& local = *manager.p2mpLocalLabelBindingTable();
  const auto& peers = *manager.p2mpFecRouterLabelInfoColl();
  for (const auto [fec, chosenByRouter] :
       manager.p2mpFecRouterNexthopInfoColl()->fecRouterNexthopColl()) {
    const auto locals = local.binding(fec);
    const auto peerFec = peers.fecRouterLabel(fec);
    if (!locals || !peerFec) continue;
    for (const auto [routerId, chosen] : chosenByRouter.routerNexthopInfoColl()) {
      const auto peer = peerFec->routerLabelInfo(routerId);
      if (!peer) continue;
      for (const auto& localLabel : locals->mplsLabelColl()) {
        for (const FibVia& via : chosen.viaColl()) {
          for (const auto& peerLabel : peer->routerLabelColl())
            expected.emplace(localLabel, via, peerLabel, fec, routerId);
        }
      }
    }
  }
  for (const auto [label, entry] : manager.p2mpLabelForwardingInfoColl()->labelForwardingColl()) {
    for (const auto [viaLabel, branch] : entry.forwardingInfoColl()) {
      for (const FecRouter& fecRouter : branch.fecRouterColl()) {
        actual.emplace(label, viaLabel.via(), viaLabel.label(), fecRouter.fwdEqvClass(),
                       fecRouter.routerId());
      }
    }
  }
  auditor.compare(stage, expected, actual);
}

// The stages' rules in pipeline order, each under the name its differences carry.
struct StageRule {
  const char* stage;
  void (*audit)(Auditor&, const char*, const P2mpLfibGenSmManager&);
};
constexpr StageRule kStageRules[] = {
    {"stage 1 (inversion)", auditInversion},
    {"stage 2 (router next-hops)", auditRouterNexthops},
    {"stage 3 (interface grouping)", auditInterfaceGrouping},
    {"stage 4 (MPLS filter)", auditMplsFilter},
    {"stage 5 (interface-address filter)", auditAddressFilter},
    {"stage 6 (FEC next-hops)", auditFecNexthops},
    {"stage 7 (LFIB)", auditLfib},
};

}  // namespace

std::string AuditReport::text() const {
  if (ok()) return "audit: ok\n";
  std::ostringstream out;
  out << "audit: " << differences.size() << " difference" << (differences.size() == 1 ? "" : "s")
      << "\n";
  for (const std::string& difference : differences)
    out << "  " << difference << "\n";
  return out.str();
}

AuditReport auditPipeline(const P2mpLfibGenSmManager& manager, const ResolutionTables* resolution) {
  AuditReport report;
  Auditor auditor(report);
  if (resolution) auditResolution(auditor, manager, *resolution);
  for (const StageRule& rule : kStageRules)
    rule.audit(auditor, rule.stage, manager);
  return report;
}

}  // namespace Quill
