#include "quill/pipeline/StageRules.h"

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace Mpls {

using Quill::textOf;

namespace {

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

}  // namespace

// Stage 1: an address lists exactly the routers that advertised it.
void auditInversion(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
  std::set<std::tuple<Vela::IpGenAddr, RouterId>> expected, actual;
  for (const auto& [routerId, addr] : routerAddrs(*manager.p2mpRouterTransportIpAddrInfoColl()))
    expected.emplace(addr, routerId);
  for (const auto [addr, entry] : manager.p2mpIpAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
    for (const RouterId& routerId : entry.routerIdColl())
      actual.emplace(addr, routerId);
  }
  auditor.compare(expected, actual);
}

// Stage 2: a router has every via of every address it advertised.
void auditRouterNexthops(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
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
  auditor.compare(expected, routerVias(out));
  // Only the hand-written variant records justifications; where recorded they must be right.
  const auto recorded = justifications(out);
  if (!recorded.empty()) auditor.compare(supports, recorded, "justifications");
}

// Stage 3: each router's vias regrouped under their own interfaces.
void auditInterfaceGrouping(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
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
  auditor.compare(expected, actual);
}

// Stage 4: vias on MPLS interfaces, per router and hop address.
void auditMplsFilter(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
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
  auditor.compare(expected, mplsVias(*manager.p2mpRouterIpNexthopInfoColl()));
}

// Stage 5: vias listed under one of the router's own interface addresses.
void auditAddressFilter(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
  const auto& intfAddrs = *manager.p2mpRouterIntfIpAddrInfoColl();
  std::set<std::tuple<RouterId, FibVia, Vela::IpGenAddr>> expected;
  for (const auto& [routerId, hop, via] : mplsVias(*manager.p2mpRouterIpNexthopInfoColl())) {
    const auto addrs = intfAddrs.routerIpAddr(routerId);
    if (addrs && addrs->ipAddr(hop)) expected.emplace(routerId, via, hop);
  }
  const auto& out = *manager.p2mpRouterFilteredNexthopColl();
  auditor.compare(expected, justifications(out));
  std::set<RouterVia> expectedVias;
  for (const auto& [routerId, via, hop] : expected)
    expectedVias.emplace(routerId, via);
  auditor.compare(expectedVias, routerVias(out), "vias");
}

// Stage 6: one via per bound FEC and router with vias, the router's ring's choice.
void auditFecNexthops(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
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
        auditor.complain(pair + " has " + std::to_string(chosen.vias()) + " vias");
        continue;
      }
      const FibVia& via = *chosen.viaColl().begin();
      const auto vias = filtered.routerNexthop(routerId);
      if (!vias || !vias->via(via)) {
        auditor.complain(pair + " uses " + textOf(via) + ", not a via of the router");
      }
      const auto ring = sm ? sm->fecViaConsistentHashColl()->consistentHash(routerId) : nullptr;
      if (!ring || ring->ch()->getNodeCount() == 0) {
        auditor.complain(pair + " has no hash ring");
      } else if (!(ring->ch()->getNode(fec) == via)) {
        auditor.complain(pair + " uses " + textOf(via) + ", the ring says " +
                         textOf(ring->ch()->getNode(fec)));
      }
    }
  }
  auditor.compare(expected, actual);
}

// Stage 7: local label x chosen via x peer label, per (FEC, router).
void auditLfib(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
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
  auditor.compare(expected, actual);
}

}  // namespace Mpls
