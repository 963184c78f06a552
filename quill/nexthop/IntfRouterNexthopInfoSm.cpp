#include "quill/nexthop/IntfRouterNexthopInfoSm.h"

namespace Mpls {

void IntfRouterNexthopInfoSm::handleRouterNexthop(const RouterId& routerId, const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(routerId, via.hop(), via.intfId());
  const auto router = routerNexthopInfoColl()->routerNexthop(routerId);
  if (router && router->via(via)) {
    intfRouterNexthopInfoColl()
        ->intfRouterNexthopIs(via.intfId())
        ->routerNexthopInfoIs(routerId)
        ->viaIs(via);
    return;
  }
  const auto intf = intfRouterNexthopInfoColl()->intfRouterNexthop(via.intfId());
  if (!intf) return;
  const auto routerOnIntf = intf->routerNexthopInfo(routerId);
  if (!routerOnIntf) return;
  routerOnIntf->viaDel(via);
  if (routerOnIntf->vias() == 0) intf->routerNexthopInfoDel(routerId);
  if (intf->routerNexthopInfos() == 0)
    intfRouterNexthopInfoColl()->intfRouterNexthopDel(via.intfId());
}

void IntfRouterNexthopInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Rebuilt from nothing rather than reconciled.
  intfRouterNexthopInfoColl()->intfRouterNexthopDelAll();
  for (const auto [routerId, router] : routerNexthopInfoColl()->routerNexthopColl()) {
    for (const FibVia& via : router.viaColl())
      handleRouterNexthop(routerId, via);
  }
}

}  // namespace Mpls
