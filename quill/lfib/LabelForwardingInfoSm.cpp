#include "quill/lfib/LabelForwardingInfoSm.h"

namespace Mpls {

void LabelForwardingInfoSm::processLabelForwardingInfo(Vela::MplsLabel localLabel,
                                                       const FibVia& via, Vela::MplsLabel peerLabel,
                                                       const FwdEqvClass& fec,
                                                       const RouterId& routerId) {
  QUILL_TRACE_FUNC(localLabel, via, peerLabel, fec, routerId);
  const auto local = fecLabelColl()->binding(fec);
  const auto peerFec = fecRouterLabelInfoColl()->fecRouterLabel(fec);
  const auto peer = peerFec ? peerFec->routerLabelInfo(routerId) : nullptr;
  const auto chosenFec = fecRouterNexthopInfoColl()->fecRouterNexthop(fec);
  const auto chosen = chosenFec ? chosenFec->routerNexthopInfo(routerId) : nullptr;
  const ViaLabel viaLabel(via, peerLabel);
  const FecRouter fecRouter(fec, routerId);
  if (local && local->mplsLabel(localLabel) && peer && peer->routerLabel(peerLabel) && chosen &&
      chosen->via(via)) {
    labelForwardingInfoColl()
        ->labelForwardingIs(localLabel)
        ->forwardingInfoIs(viaLabel)
        ->fecRouterIs(fecRouter);
    return;
  }
  const auto entry = labelForwardingInfoColl()->labelForwarding(localLabel);
  if (!entry) return;
  const auto branch = entry->forwardingInfo(viaLabel);
  if (!branch) return;
  branch->fecRouterDel(fecRouter);
  if (branch->fecRouters() != 0) return;  // other (FEC, router) pairs still justify it
  entry->forwardingInfoDel(viaLabel);
  if (entry->forwardingInfos() == 0) labelForwardingInfoColl()->labelForwardingDel(localLabel);
}

void LabelForwardingInfoSm::handleFecLabel(const FwdEqvClass& fec, Vela::MplsLabel localLabel) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(fec, localLabel);
  const auto peerFec = fecRouterLabelInfoColl()->fecRouterLabel(fec);
  const auto chosenFec = fecRouterNexthopInfoColl()->fecRouterNexthop(fec);
  if (!peerFec || !chosenFec) return;
  for (const auto [routerId, peer] : peerFec->routerLabelInfoColl()) {
    const auto chosen = chosenFec->routerNexthopInfo(routerId);
    if (!chosen) continue;
    for (const Vela::MplsLabel& peerLabel : peer.routerLabelColl()) {
      for (const FibVia& via : chosen->viaColl()) {
        processLabelForwardingInfo(localLabel, via, peerLabel, fec, routerId);
      }
    }
  }
}

void LabelForwardingInfoSm::handleFecRouterLabel(const FwdEqvClass& fec, const RouterId& routerId,
                                                 Vela::MplsLabel peerLabel) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(fec, routerId, peerLabel);
  const auto local = fecLabelColl()->binding(fec);
  const auto chosenFec = fecRouterNexthopInfoColl()->fecRouterNexthop(fec);
  const auto chosen = chosenFec ? chosenFec->routerNexthopInfo(routerId) : nullptr;
  if (!local || !chosen) return;
  for (const Vela::MplsLabel& localLabel : local->mplsLabelColl()) {
    for (const FibVia& via : chosen->viaColl()) {
      processLabelForwardingInfo(localLabel, via, peerLabel, fec, routerId);
    }
  }
}

void LabelForwardingInfoSm::handleFecRouterNexthop(const FwdEqvClass& fec, const RouterId& routerId,
                                                   const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(fec, routerId, via);
  const auto local = fecLabelColl()->binding(fec);
  const auto peerFec = fecRouterLabelInfoColl()->fecRouterLabel(fec);
  const auto peer = peerFec ? peerFec->routerLabelInfo(routerId) : nullptr;
  if (!local || !peer) return;
  for (const Vela::MplsLabel& localLabel : local->mplsLabelColl()) {
    for (const Vela::MplsLabel& peerLabel : peer->routerLabelColl()) {
      processLabelForwardingInfo(localLabel, via, peerLabel, fec, routerId);
    }
  }
}

void LabelForwardingInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  labelForwardingInfoColl()->labelForwardingDelAll();
  for (const auto [fec, labels] : fecLabelColl()->bindingColl()) {
    for (const Vela::MplsLabel& localLabel : labels.mplsLabelColl())
      handleFecLabel(fec, localLabel);
  }
  // The next two scans re-evaluate tuples the first settled; all three are part of the scan.
  for (const auto [fec, routers] : fecRouterLabelInfoColl()->fecRouterLabelColl()) {
    for (const auto [routerId, peer] : routers.routerLabelInfoColl()) {
      for (const Vela::MplsLabel& peerLabel : peer.routerLabelColl()) {
        handleFecRouterLabel(fec, routerId, peerLabel);
      }
    }
  }
  for (const auto [fec, routers] : fecRouterNexthopInfoColl()->fecRouterNexthopColl()) {
    for (const auto [routerId, chosen] : routers.routerNexthopInfoColl()) {
      for (const FibVia& via : chosen.viaColl())
        handleFecRouterNexthop(fec, routerId, via);
    }
  }
}

}  // namespace Mpls
