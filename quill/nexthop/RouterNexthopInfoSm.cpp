#include "quill/nexthop/RouterNexthopInfoSm.h"

#include "quill/model/RouterViaJustification.h"

namespace Mpls {

namespace {
void assertViasMatchJustifications(const RouterNexthopInfo& routerNexthopInfo) {
  VOX_ASSERT(routerNexthopInfo.nexthopIpInfos() == routerNexthopInfo.vias(),
             "routerNexthopInfo->nexthopIpInfos() == routerNexthopInfo->vias()");
}
}  // namespace

void RouterNexthopInfoSm::processRouterNexthopIp(const RouterId& routerId, const FibVia& via,
                                                 const Vela::IpGenAddr& ipAddr) {
  QUILL_TRACE_FUNC(routerId, via, ipAddr);
  const auto routers = ipAddrRouterIdInfoColl()->ipAddrRouterId(ipAddr);
  const auto vias = ipNexthopInfoColl()->ipNexthop(ipAddr);
  if (routers && routers->routerId(routerId) && vias && vias->via(via)) {
    justifyRouterVia(*routerNexthopInfoColl(), routerId, via, ipAddr,
                     assertViasMatchJustifications);
  } else {
    withdrawRouterViaJustification(*routerNexthopInfoColl(), routerId, via, ipAddr,
                                   assertViasMatchJustifications);
  }
}

void RouterNexthopInfoSm::handleIpAddrRouterId(const Vela::IpGenAddr& ipAddr,
                                               const RouterId& routerId) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(ipAddr, routerId);
  const auto vias = ipNexthopInfoColl()->ipNexthop(ipAddr);
  if (!vias) return;
  for (const FibVia& via : vias->viaColl())
    processRouterNexthopIp(routerId, via, ipAddr);
}

void RouterNexthopInfoSm::handleIpAddrVia(const Vela::IpGenAddr& ipAddr, const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(ipAddr, via);
  const auto routers = ipAddrRouterIdInfoColl()->ipAddrRouterId(ipAddr);
  if (!routers) return;
  for (const RouterId& routerId : routers->routerIdColl()) {
    processRouterNexthopIp(routerId, via, ipAddr);
  }
}

void RouterNexthopInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Rebuilt from nothing rather than reconciled (the resolution stages sweep instead).
  routerNexthopInfoColl()->routerNexthopDelAll();
  for (const auto [ipAddr, routers] : ipAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
    for (const RouterId& routerId : routers.routerIdColl())
      handleIpAddrRouterId(ipAddr, routerId);
  }
  // Repeats what the first scan produced; every step is idempotent.
  for (const auto [ipAddr, vias] : ipNexthopInfoColl()->ipNexthopColl()) {
    for (const FibVia& via : vias.viaColl())
      handleIpAddrVia(ipAddr, via);
  }
}

}  // namespace Mpls
