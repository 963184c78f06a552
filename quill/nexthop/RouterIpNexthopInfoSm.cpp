#include "quill/nexthop/RouterIpNexthopInfoSm.h"

#include <cstdio>
#include <sstream>

namespace Mpls {

void RouterIpNexthopInfoSm::processIntfRouterNexthop(Vela::IntfId intfId, const RouterId& routerId,
                                                     const FibVia& via) {
  QUILL_TRACE_FUNC(intfId, routerId, via);
  if (!(via.intfId() == intfId)) [[unlikely]] {
    std::ostringstream message;
    message << "Failed("
            << "via.intfId() == intfId"
            << ") " << via.intfId() << " != " << intfId;
    std::fprintf(stderr, "%s\n", message.str().c_str());
    VOX_ASSERT(false, "!\"via.intfId() == intfId\"");
  }
  const Vela::IpGenAddr& hop = via.hop();
  const auto intf = intfRouterNexthopInfoColl()->intfRouterNexthop(intfId);
  const auto router = intf ? intf->routerNexthopInfo(routerId) : nullptr;
  if (router && router->via(via) && mplsIntfColl()->intfId(intfId)) {
    routerIpNexthopInfoColl()->routerIpNexthopIs(routerId)->ipNexthopInfoIs(hop)->viaIs(via);
    return;
  }
  const auto routerOut = routerIpNexthopInfoColl()->routerIpNexthop(routerId);
  if (!routerOut) return;
  const auto hopOut = routerOut->ipNexthopInfo(hop);
  if (!hopOut) return;
  hopOut->viaDel(via);
  if (hopOut->vias() == 0) routerOut->ipNexthopInfoDel(hop);
  if (routerOut->ipNexthopInfos() == 0) routerIpNexthopInfoColl()->routerIpNexthopDel(routerId);
}

void RouterIpNexthopInfoSm::handleIntfRouterNexthop(Vela::IntfId intfId, const RouterId& routerId,
                                                    const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(intfId, routerId, via);
  // The output never holds vias of non-MPLS interfaces, so their changes need no work.
  if (mplsIntfColl()->intfId(intfId)) processIntfRouterNexthop(intfId, routerId, via);
}

void RouterIpNexthopInfoSm::handleIntfId(Vela::IntfId intfId) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(intfId);
  const auto intf = intfRouterNexthopInfoColl()->intfRouterNexthop(intfId);
  if (!intf) return;
  for (const auto [routerId, router] : intf->routerNexthopInfoColl()) {
    for (const FibVia& via : router.viaColl())
      processIntfRouterNexthop(intfId, routerId, via);
  }
}

void RouterIpNexthopInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Rebuilt from nothing rather than reconciled.
  routerIpNexthopInfoColl()->routerIpNexthopDelAll();
  for (const auto [intfId, intf] : intfRouterNexthopInfoColl()->intfRouterNexthopColl()) {
    for (const auto [routerId, router] : intf.routerNexthopInfoColl()) {
      for (const FibVia& via : router.viaColl())
        handleIntfRouterNexthop(intfId, routerId, via);
    }
  }
  for (const Vela::IntfId& intfId : mplsIntfColl()->intfIdColl())
    handleIntfId(intfId);
}

}  // namespace Mpls
