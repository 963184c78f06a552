#include "quill/flux/IntfToRouterNexthopInfoSm.h"

namespace Mpls {

using Quill::Flux::Presence;

IntfToRouterNexthopInfoSm::~IntfToRouterNexthopInfoSm() {
  handleDelete();
  routerNexthopSm0Del();
}

void IntfToRouterNexthopInfoSm::createInputStateMachines() {
  routerNexthopSm0Is(routerNexthopColl());
}

const Vox::Ptr<IntfToRouterNexthopInfoSm::RouterNexthopSm0>&
IntfToRouterNexthopInfoSm::routerNexthopSm0Is(
    const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopColl) {
  const RouterNexthopSm0::Config config{
      {"RouterNexthopSm0", "handleRouterNexthop", "routerNexthop", &traceHandle()},
      {{"ViaSm1", "handleVia", "via", &traceHandle()}, true}};
  return inputSmIs(
      "routerNexthopSm0", routerNexthopSm0_, routerNexthopColl, this,
      [this](const RouterNexthopSm0::Keys& keys, Presence present) {
        eventToPipeline0(std::get<0>(keys), std::get<1>(keys), present);
      },
      config, [this] { inputSmScanState()->routerNexthopSm0Is(true); });
}

void IntfToRouterNexthopInfoSm::eventToPipeline0(const RouterId& routerId, const FibVia& via,
                                                 Presence present) {
  const Pipeline0KeyType key(via.intfId(), routerId, via);
  notePipeline0(key);
  if (present) {
    intfRouterColl()->intfRouterNexthopIs(via.intfId())->routerNexthopInfoIs(routerId)->viaIs(via);
  } else {
    removeOutputElement(key);
  }
}

void IntfToRouterNexthopInfoSm::removeOutputElement(const Pipeline0KeyType& key) {
  const Vela::IntfId intfId = key.get<0>();
  const auto intf = intfRouterColl()->intfRouterNexthop(intfId);
  const auto router = intf ? intf->routerNexthopInfo(key.get<1>()) : nullptr;
  if (!router) return;
  router->viaDel(key.get<2>());
  if (router->vias() == 0) intf->routerNexthopInfoDel(key.get<1>());
  if (intf->routerNexthopInfos() == 0) intfRouterColl()->intfRouterNexthopDel(intfId);
}

}  // namespace Mpls
