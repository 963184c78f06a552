#include "quill/pipeline/P2mpLfibGenSmManager.h"

#include "platform/rapidlog/Rapidlog.h"

namespace Mpls {

P2mpLfibGenSmManager::P2mpLfibGenSmManager(
    const Vox::Ptr<const LabelBindingTable>& p2mpLocalLabelBindingTable,
    const Vox::Ptr<const LabelBindingTableColl>& p2mpPeerLabelBindingTableColl,
    const Vox::Ptr<const FecRouterLabelInfoColl>& p2mpFecRouterLabelInfoColl,
    const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterTransportIpAddrInfoColl,
    const Vox::Ptr<IpAddrRouterIdInfoColl>& p2mpIpAddrRouterIdInfoColl,
    const Vox::Ptr<const IpNexthopInfoColl>& p2mpIpNexthopInfoColl,
    const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterNexthopInfoColl,
    const Vox::Ptr<IntfRouterNexthopInfoColl>& p2mpIntfRouterNexthopInfoColl,
    const Vox::Ptr<const MplsIntfColl>& p2mpMplsIntfColl,
    const Vox::Ptr<RouterIpNexthopInfoColl>& p2mpRouterIpNexthopInfoColl,
    const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterIntfIpAddrInfoColl,
    const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterFilteredNexthopColl,
    const Vox::Ptr<FecRouterNexthopInfoColl>& p2mpFecRouterNexthopInfoColl,
    const Vox::Ptr<LabelForwardingInfoColl>& p2mpLabelForwardingInfoColl)
    : p2mpLocalLabelBindingTable_(p2mpLocalLabelBindingTable),
      p2mpPeerLabelBindingTableColl_(p2mpPeerLabelBindingTableColl),
      p2mpFecRouterLabelInfoColl_(p2mpFecRouterLabelInfoColl),
      p2mpRouterTransportIpAddrInfoColl_(p2mpRouterTransportIpAddrInfoColl),
      p2mpIpAddrRouterIdInfoColl_(p2mpIpAddrRouterIdInfoColl),
      p2mpIpNexthopInfoColl_(p2mpIpNexthopInfoColl),
      p2mpRouterNexthopInfoColl_(p2mpRouterNexthopInfoColl),
      p2mpIntfRouterNexthopInfoColl_(p2mpIntfRouterNexthopInfoColl),
      p2mpMplsIntfColl_(p2mpMplsIntfColl),
      p2mpRouterIpNexthopInfoColl_(p2mpRouterIpNexthopInfoColl),
      p2mpRouterIntfIpAddrInfoColl_(p2mpRouterIntfIpAddrInfoColl),
      p2mpRouterFilteredNexthopColl_(p2mpRouterFilteredNexthopColl),
      p2mpFecRouterNexthopInfoColl_(p2mpFecRouterNexthopInfoColl),
      p2mpLabelForwardingInfoColl_(p2mpLabelForwardingInfoColl) {
  handleInitialized();
}

P2mpLfibGenSmManager::~P2mpLfibGenSmManager() {
  handleDelete();
  voxDoZombieReactors(true);
  forEachRow([this]<class Row>() { stageDel<typename Row::Reactor>(); });
  // The collections are released by the members' destruction, in reverse declaration order.
}

void P2mpLfibGenSmManager::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Upstream first; of a stage's two variants, the one its toggle picks.
  forEachRow([this]<class Row>() {
    if (Row::chosen()) Row::createIn(*this);
  });
}

void P2mpLfibGenSmManager::handleDelete() {
  leaveInitialized();
}

void P2mpLfibGenSmManager::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return;
  StageReactor::hasNotificationActiveIs(active);
  forEachStage([active](auto& stage) { stage.hasNotificationActiveIs(active); });
}

}  // namespace Mpls
