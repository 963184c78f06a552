#include "quill/why/BranchExplanation.h"

#include <algorithm>
#include <set>

#include "platform/vox/Attribute.h"
#include "quill/lfib/RingHashes.h"

namespace Quill {

namespace {

using Mpls::FibVia;
using Mpls::FwdEqvClass;
using Mpls::RouterId;
using Vela::IpGenAddr;
using Vela::MplsLabel;

template <class T>
bool contains(const std::vector<T>& values, const T& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

template <class T>
std::string listed(const std::vector<T>& values, std::string_view separator = ", ") {
  std::string text;
  for (const T& value : values) {
    if (!text.empty()) text += separator;
    text += value.valueToStrep();
  }
  return text;
}

std::string viaText(const FibVia& via) {
  return via.hop().valueToStrep() + " over " + via.intfId().valueToStrep();
}

std::string viasText(const std::vector<FibVia>& vias) {
  std::string text;
  for (const FibVia& via : vias) {
    if (!text.empty()) text += ", ";
    text += viaText(via);
  }
  return text;
}

// The first input condition, in pipeline order, that `why` fails.
WhyMissing firstFailing(const BranchExplanation& why) {
  if (why.localLabels.empty()) return WhyMissing::kNoLocalLabel;
  if (!why.peerBinding)
    return why.fecFiltered ? WhyMissing::kFecFiltered : WhyMissing::kNoPeerBinding;
  if (why.transportAddresses.empty()) return WhyMissing::kNoTransportAddress;
  if (why.vias.empty()) return WhyMissing::kAddressUnresolved;
  if (why.mplsVias.empty()) return WhyMissing::kNoMplsInterface;
  if (why.directVias.empty()) return WhyMissing::kNotDirect;
  if (why.peerLabels.empty()) return WhyMissing::kNoPeerLabel;
  return WhyMissing::kNone;
}

// Every input holds but the LFIB has no branch: the first stage whose output does not carry the
// pair. Only a stage that has not caught up (or a broken one) gets here; `audit` says which.
std::string_view firstLaggingStage(const Mpls::P2mpLfibGenSmManager& manager,
                                   const BranchExplanation& why) {
  const RouterId& peer = why.peer;
  bool inverted = false;
  for (const ResolvedAddress& resolved : why.transportAddresses) {
    const auto routers = manager.p2mpIpAddrRouterIdInfoColl()->ipAddrRouterId(resolved.address);
    inverted = inverted || (!resolved.vias.empty() && routers && routers->routerId(peer));
  }
  if (!inverted) return "inversion";
  const auto routerVias = manager.p2mpRouterNexthopInfoColl()->routerNexthop(peer);
  const auto hasDirect = [&](auto&& carries) {
    return std::any_of(why.directVias.begin(), why.directVias.end(), carries);
  };
  if (!routerVias || !hasDirect([&](const FibVia& via) { return routerVias->via(via); }))
    return "router next-hops";
  if (!hasDirect([&](const FibVia& via) {
        const auto intf = manager.p2mpIntfRouterNexthopInfoColl()->intfRouterNexthop(via.intfId());
        const auto router = intf ? intf->routerNexthopInfo(peer) : nullptr;
        return router && router->via(via);
      })) {
    return "interface grouping";
  }
  const auto perHop = manager.p2mpRouterIpNexthopInfoColl()->routerIpNexthop(peer);
  if (!perHop || !hasDirect([&](const FibVia& via) {
        const auto hop = perHop->ipNexthopInfo(via.hop());
        return hop && hop->via(via);
      })) {
    return "MPLS filter";
  }
  const auto filtered = manager.p2mpRouterFilteredNexthopColl()->routerNexthop(peer);
  if (!filtered || !hasDirect([&](const FibVia& via) { return filtered->via(via); }))
    return "interface-address filter";
  if (!why.chosenVia) return "FEC next-hop selection";
  return "LFIB";
}

std::optional<RingChoice> ringOf(const Mpls::P2mpLfibGenSmManager& manager, const FwdEqvClass& fec,
                                 const RouterId& peer) {
  const auto& stage = manager.fecRouterNexthopInfoSm();
  if (!stage || !stage->fecViaConsistentHashColl()) return std::nullopt;
  const auto info = stage->fecViaConsistentHashColl()->consistentHash(peer);
  const auto* hasher = info ? info->ch() : nullptr;
  if (!hasher || hasher->getNodeCount() == 0) return std::nullopt;
  RingChoice ring;
  for (const auto& [via, weight] : hasher->nodeWeights())
    ring.members.push_back({via, Mpls::nodeHash(via)});
  std::sort(ring.members.begin(), ring.members.end(), [](const auto& a, const auto& b) {
    return a.position != b.position ? a.position < b.position : a.via < b.via;
  });
  ring.key = Mpls::keyHash(fec);
  ring.owner = hasher->getHash(ring.key);
  ring.chosen = hasher->getNode(fec);
  return ring;
}

}  // namespace

std::string_view whyMissingName(WhyMissing missing) {
  switch (missing) {
    case WhyMissing::kNone:
      return "none";
    case WhyMissing::kNoLocalLabel:
      return "no-local-label";
    case WhyMissing::kNoPeerBinding:
      return "no-peer-binding";
    case WhyMissing::kFecFiltered:
      return "fec-filtered";
    case WhyMissing::kNoTransportAddress:
      return "no-transport-address";
    case WhyMissing::kAddressUnresolved:
      return "address-unresolved";
    case WhyMissing::kNoMplsInterface:
      return "no-mpls-interface";
    case WhyMissing::kNotDirect:
      return "not-direct";
    case WhyMissing::kNoPeerLabel:
      return "no-peer-label";
    case WhyMissing::kNotDerived:
      return "not-derived";
  }
  return "none";
}

BranchExplanation explainBranch(const Mpls::P2mpLfibGenSmManager& manager, const FwdEqvClass& fec,
                                const RouterId& peer) {
  BranchExplanation why;
  why.fec = fec;
  why.peer = peer;

  if (const auto binding = manager.p2mpLocalLabelBindingTable()->binding(fec))
    why.localLabels = Vox::sortedKeys(binding->mplsLabelColl());

  if (const auto table = manager.p2mpPeerLabelBindingTableColl()->bindingTable(peer)) {
    why.peerTable = true;
    why.peerBinding = bool(table->binding(fec));
    why.fecFiltered = table->filteredFec(fec) != nullptr;
  }

  // The peer's routes: its transport addresses and what each resolves to.
  std::set<FibVia> vias;
  if (const auto addresses = manager.p2mpRouterTransportIpAddrInfoColl()->routerIpAddr(peer)) {
    for (const IpGenAddr& address : Vox::sortedKeys(addresses->ipAddrColl())) {
      ResolvedAddress resolved{address, {}};
      if (const auto nexthop = manager.p2mpIpNexthopInfoColl()->ipNexthop(address))
        resolved.vias = Vox::sortedKeys(nexthop->viaColl());
      vias.insert(resolved.vias.begin(), resolved.vias.end());
      why.transportAddresses.push_back(std::move(resolved));
    }
  }
  why.vias.assign(vias.begin(), vias.end());

  for (const FibVia& via : why.vias) {
    if (manager.p2mpMplsIntfColl()->intfId(via.intfId())) why.mplsVias.push_back(via);
  }

  if (const auto addresses = manager.p2mpRouterIntfIpAddrInfoColl()->routerIpAddr(peer))
    why.peerInterfaceAddresses = Vox::sortedKeys(addresses->ipAddrColl());
  for (const FibVia& via : why.mplsVias) {
    if (contains(why.peerInterfaceAddresses, via.hop())) why.directVias.push_back(via);
  }

  // The choice among the parallel vias, and what the filter stage recorded for it.
  if (const auto perFec = manager.p2mpFecRouterNexthopInfoColl()->fecRouterNexthop(fec)) {
    if (const auto chosen = perFec->routerNexthopInfo(peer); chosen && chosen->vias() != 0)
      why.chosenVia = *chosen->viaColl().begin();
  }
  if (why.chosenVia) {
    const auto filtered = manager.p2mpRouterFilteredNexthopColl()->routerNexthop(peer);
    const auto record = filtered ? filtered->nexthopIpInfo(*why.chosenVia) : nullptr;
    if (record) why.chosenDirectBy = Vox::sortedKeys(record->destIpColl());
  }
  why.ring = ringOf(manager, fec, peer);

  if (const auto perFec = manager.p2mpFecRouterLabelInfoColl()->fecRouterLabel(fec)) {
    if (const auto labels = perFec->routerLabelInfo(peer))
      why.peerLabels = Vox::sortedKeys(labels->routerLabelColl());
  }

  // The LFIB's word, looked up by key: stage 7 files (FEC, peer) under each local label of the
  // FEC, the chosen via and each peer label, and nowhere else.
  if (why.chosenVia) {
    const Mpls::FecRouter justification(fec, peer);
    for (const MplsLabel& local : why.localLabels) {
      const auto entry = manager.p2mpLabelForwardingInfoColl()->labelForwarding(local);
      if (!entry) continue;
      for (const MplsLabel& out : why.peerLabels) {
        const auto branch = entry->forwardingInfo(Mpls::ViaLabel(*why.chosenVia, out));
        if (branch && branch->fecRouter(justification))
          why.branches.push_back({local, *why.chosenVia, out});
      }
    }
  }

  why.failing = firstFailing(why);
  if (!why.present()) {
    why.missing = why.failing == WhyMissing::kNone ? WhyMissing::kNotDerived : why.failing;
    if (why.missing == WhyMissing::kNotDerived) why.laggingStage = firstLaggingStage(manager, why);
  }
  return why;
}

std::vector<IpGenAddr> BranchExplanation::addressesResolvingTo(const FibVia& via) const {
  std::vector<IpGenAddr> addresses;
  for (const ResolvedAddress& resolved : transportAddresses) {
    if (contains(resolved.vias, via)) addresses.push_back(resolved.address);
  }
  return addresses;
}

std::string BranchExplanation::reason() const {
  return reasonFor(missing);
}

std::string BranchExplanation::reasonFor(WhyMissing condition) const {
  const std::string fecText = fec.valueToStrep();
  const std::string peerText = peer.valueToStrep();
  switch (condition) {
    case WhyMissing::kNone:
      return "";
    case WhyMissing::kNoLocalLabel:
      return "no local label: the local label binding table binds no label to " + fecText;
    case WhyMissing::kNoPeerBinding:
      return peerTable ? "no binding from " + peerText + ": its label binding table has none for " +
                             fecText
                       : "no binding from " + peerText + ": it has no label binding table";
    case WhyMissing::kFecFiltered:
      return "no binding from " + peerText + ": its label binding table filters " + fecText;
    case WhyMissing::kNoTransportAddress:
      return "no transport address: " + peerText + " advertised none";
    case WhyMissing::kAddressUnresolved: {
      std::vector<IpGenAddr> addresses;
      for (const ResolvedAddress& resolved : transportAddresses)
        addresses.push_back(resolved.address);
      return "no transport address of " + peerText + " resolves: " + listed(addresses) +
             (addresses.size() == 1 ? " has" : " have") + " no next hop";
    }
    case WhyMissing::kNoMplsInterface:
      return "no via over an MPLS interface: " + peerText + " is reached via " + viasText(vias) +
             " only, not enabled for MPLS";
    case WhyMissing::kNotDirect: {
      std::vector<IpGenAddr> hops;
      for (const FibVia& via : mplsVias) {
        if (!contains(hops, via.hop())) hops.push_back(via.hop());
      }
      return "no via leads straight to " + peerText + ": next hop " + listed(hops, " or ") +
             (hops.size() == 1 ? " is" : " are") + " not among its interface addresses (" +
             (peerInterfaceAddresses.empty() ? std::string("none")
                                             : listed(peerInterfaceAddresses)) +
             "); the route leads through another router";
    }
    case WhyMissing::kNoPeerLabel:
      return "no peer label: the peer labels of " + fecText + " hold none from " + peerText;
    case WhyMissing::kNotDerived:
      return "every input holds, but the " + std::string(laggingStage) +
             " stage has not derived the pair";
  }
  return "";
}

std::string BranchExplanation::remedy() const {
  const std::string fecText = fec.valueToStrep();
  const std::string peerText = peer.valueToStrep();
  switch (missing) {
    case WhyMissing::kNone:
      return "";
    case WhyMissing::kNoLocalLabel:
      return "a local label bound to " + fecText;
    case WhyMissing::kNoPeerBinding:
      return "a label binding for " + fecText + " from " + peerText;
    case WhyMissing::kFecFiltered:
      return peerText + "'s table to stop filtering " + fecText + " and bind a label to it";
    case WhyMissing::kNoTransportAddress:
      return "a transport address of " + peerText;
    case WhyMissing::kAddressUnresolved: {
      std::vector<IpGenAddr> addresses;
      for (const ResolvedAddress& resolved : transportAddresses)
        addresses.push_back(resolved.address);
      return "a route to " + listed(addresses, " or ");
    }
    case WhyMissing::kNoMplsInterface: {
      std::vector<Vela::IntfId> intfs;
      for (const FibVia& via : vias) {
        if (!contains(intfs, via.intfId())) intfs.push_back(via.intfId());
      }
      return "MPLS enabled on " + listed(intfs, " or ");
    }
    case WhyMissing::kNotDirect: {
      std::vector<IpGenAddr> hops;
      for (const FibVia& via : mplsVias) {
        if (!contains(hops, via.hop())) hops.push_back(via.hop());
      }
      return peerText + " advertising " + listed(hops, " or ") +
             " as an interface address, or a route to its transport address through one of its "
             "interface addresses";
    }
    case WhyMissing::kNoPeerLabel:
      return "a label from " + peerText + " for " + fecText;
    case WhyMissing::kNotDerived:
      return "nothing: the stages have not caught up with their inputs (run the audit)";
  }
  return "";
}

LabelExplanation explainLabel(const Mpls::P2mpLfibGenSmManager& manager, MplsLabel label) {
  LabelExplanation why;
  why.label = label;
  const auto entry = manager.p2mpLabelForwardingInfoColl()->labelForwarding(label);
  if (!entry) return why;
  std::set<FwdEqvClass> fecs;
  std::set<Mpls::FecRouter> justified;
  for (const Mpls::ViaLabel& key : Vox::sortedKeys(entry->forwardingInfoColl())) {
    LabelExplanation::Branch branch{key.via(), key.label(), {}};
    for (const Mpls::FecRouter& pair :
         Vox::sortedKeys(entry->forwardingInfo(key)->fecRouterColl())) {
      fecs.insert(pair.fwdEqvClass());
      justified.insert(pair);
      branch.justifications.push_back(explainBranch(manager, pair.fwdEqvClass(), pair.routerId()));
    }
    why.branches.push_back(std::move(branch));
  }
  // The peers the label's FECs reach part of the way: a label from them, or a chosen via.
  for (const FwdEqvClass& fec : fecs) {
    std::set<RouterId> peers;
    if (const auto labels = manager.p2mpFecRouterLabelInfoColl()->fecRouterLabel(fec)) {
      for (auto it = labels->routerLabelInfoColl().begin();
           it != labels->routerLabelInfoColl().end(); ++it)
        peers.insert(it.key());
    }
    if (const auto chosen = manager.p2mpFecRouterNexthopInfoColl()->fecRouterNexthop(fec)) {
      for (auto it = chosen->routerNexthopInfoColl().begin();
           it != chosen->routerNexthopInfoColl().end(); ++it)
        peers.insert(it.key());
    }
    for (const RouterId& peer : peers) {
      if (justified.count(Mpls::FecRouter(fec, peer))) continue;
      BranchExplanation absent = explainBranch(manager, fec, peer);
      // Another of the FEC's local labels may carry it; only what this label lacks is absent.
      if (absent.present()) continue;
      why.absent.push_back(std::move(absent));
    }
  }
  return why;
}

}  // namespace Quill
