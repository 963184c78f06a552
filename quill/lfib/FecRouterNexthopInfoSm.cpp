#include "quill/lfib/FecRouterNexthopInfoSm.h"

#include "quill/core/TraceFormat.h"

namespace Mpls {

using Quill::TraceRouterId;

void FecRouterNexthopInfoSm::handleRouterNexthop(const RouterId& routerId, const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(TraceRouterId{routerId}, via);
  const auto ring = fecViaConsistentHashColl_->consistentHashIs(routerId);
  ConsistentHashInfo::Hasher& hasher = *ring->ch();
  const auto routerNexthop = routerNexthopInfoColl()->routerNexthop(routerId);
  if (routerNexthop && routerNexthop->via(via)) {
    hasher.addNode(via, kViaWeight);
  } else {
    hasher.delNode(via);
    if (hasher.getNodeCount() == 0) {
      VOX_ASSERT(!routerNexthop || !routerNexthop->vias(), "!routerNexthop->vias()");
      fecViaConsistentHashColl_->consistentHashDel(routerId);
    }
  }
  // Every FEC of the router may land elsewhere on the changed ring.
  if (const auto table = labelBindingTableColl()->bindingTable(routerId))
    handleRouterFecInfo(routerId, *table);
}

void FecRouterNexthopInfoSm::handleRouterFecInfo(const RouterId& routerId,
                                                 const LabelBindingTable& fecs) {
  VOX_ASSERT(initialized(), "initialized()");
  // One look-up of the router for all of its FECs: choosing writes only this stage's output, so
  // the router's table, vias and ring stay as read for the whole loop. `fecs` may be a table
  // already removed from its collection, whose FECs are then withdrawn.
  const RouterState router = routerState(routerId);
  for (const auto [fec, binding] : fecs.bindingColl())
    chooseVia(routerId, fec, router);
}

void FecRouterNexthopInfoSm::handleRouterFec(const RouterId& routerId, const FwdEqvClass& fec) {
  VOX_ASSERT(initialized(), "initialized()");
  chooseVia(routerId, fec, routerState(routerId));
}

FecRouterNexthopInfoSm::RouterState FecRouterNexthopInfoSm::routerState(
    const RouterId& routerId) const {
  return {labelBindingTableColl()->bindingTable(routerId),
          routerNexthopInfoColl()->routerNexthop(routerId),
          fecViaConsistentHashColl_->consistentHash(routerId)};
}

void FecRouterNexthopInfoSm::chooseVia(const RouterId& routerId, const FwdEqvClass& fec,
                                       const RouterState& router) {
  VOX_TRACE_FUNC(traceHandle(), "Mpls::FecRouterNexthopInfoSm::handleRouterFec",
                 TraceRouterId{routerId}, fec);
  if (router.table && router.table->binding(fec) && router.vias && router.vias->vias() != 0 &&
      router.ring) {
    const auto chosen =
        fecRouterNexthopInfoColl()->fecRouterNexthopIs(fec)->routerNexthopInfoIs(routerId);
    const FibVia via = router.ring->ch()->getNode(fec);
    chosen->viaIs(via);  // before the old via goes: the entry is never without one
    for (const FibVia& previous : chosen->viaColl()) {
      if (!(previous == via)) chosen->viaDel(previous);
    }
    return;
  }
  const auto entry = fecRouterNexthopInfoColl()->fecRouterNexthop(fec);
  if (!entry) return;
  entry->routerNexthopInfoDel(routerId);
  if (entry->routerNexthopInfos() == 0) fecRouterNexthopInfoColl()->fecRouterNexthopDel(fec);
}

void FecRouterNexthopInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  fecViaConsistentHashCollIs("");
  fecRouterNexthopInfoColl()->fecRouterNexthopDelAll();
  // Each via re-chooses all of its router's FECs; the last choice, on the full ring, stays.
  for (const auto [routerId, routerNexthop] : routerNexthopInfoColl()->routerNexthopColl()) {
    for (const FibVia& via : routerNexthop.viaColl())
      handleRouterNexthop(routerId, via);
  }
}

}  // namespace Mpls
