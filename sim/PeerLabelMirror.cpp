#include "sim/PeerLabelMirror.h"

namespace Sim {

PeerLabelMirror::PeerLabelMirror(const Vox::Ptr<const Mpls::LabelBindingTableColl>& peerTables,
                                 const Vox::Ptr<Mpls::FecRouterLabelInfoColl>& fecRouterLabel)
    : peerTables_(peerTables), fecRouterLabel_(fecRouterLabel) {
  observer_.notifierIs(peerTables_);
  hasNotificationActiveIs(true);
  initializedIs(true);
  // Creation scans ran while nothing referenced the mirror; catch up now.
  for (const auto [routerId, table] : peerTables_->bindingTableColl()) {
    for (const auto [fec, binding] : table.bindingColl()) {
      for (const Vela::MplsLabel& label : binding.mplsLabelColl())
        mirror(fec, routerId, label);
    }
  }
}

void PeerLabelMirror::mirror(const Mpls::FwdEqvClass& fec, const Mpls::RouterId& routerId,
                             Vela::MplsLabel label) {
  const auto table = peerTables_->bindingTable(routerId);
  const auto binding = table ? table->binding(fec) : nullptr;
  if (binding && binding->mplsLabel(label)) {
    fecRouterLabel_->fecRouterLabelIs(fec)->routerLabelInfoIs(routerId)->routerLabelIs(label);
    return;
  }
  const auto perFec = fecRouterLabel_->fecRouterLabel(fec);
  const auto perRouter = perFec ? perFec->routerLabelInfo(routerId) : nullptr;
  if (!perRouter) return;
  perRouter->routerLabelDel(label);
  if (perRouter->routerLabels() == 0) perFec->routerLabelInfoDel(routerId);
  if (perFec->routerLabelInfos() == 0) fecRouterLabel_->fecRouterLabelDel(fec);
}

}  // namespace Sim
