#include "quill/resolve/IpAddrRouterIdInfoSm.h"

namespace Mpls {

void IpAddrRouterIdInfoSm::handleRouterIpAddr(const RouterId& routerId,
                                              const Vela::IpGenAddr& ipAddr) {
  if (!initialized()) return;
  QUILL_TRACE_FUNC(routerId, ipAddr);
  // Without an input collection no router is present, so the sweep withdraws every pair.
  const auto router =
      routerIpAddrInfoColl() ? routerIpAddrInfoColl()->routerIpAddr(routerId) : nullptr;
  if (router && router->ipAddr(ipAddr)) {
    VOX_TRACE(traceHandle(), 9, "Adding ipAddr to routerId " << ipAddr << routerId << " ");
    ipAddrRouterIdInfoColl()->ipAddrRouterIdIs(ipAddr)->routerIdIs(routerId);
    return;
  }
  const auto entry = ipAddrRouterIdInfoColl()->ipAddrRouterId(ipAddr);
  if (!entry) return;
  entry->routerIdDel(routerId);
  if (entry->routerIds() == 0) {
    // No blank before the address, unlike the "Adding" record: kept as operators know it.
    VOX_TRACE(traceHandle(), 9, "Deleting ipAddr to routerId" << ipAddr);
    ipAddrRouterIdInfoColl()->ipAddrRouterIdDel(ipAddr);
  }
}

void IpAddrRouterIdInfoSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Forward pass: every pair the input holds.
  if (routerIpAddrInfoColl()) {
    for (const auto [routerId, router] : routerIpAddrInfoColl()->routerIpAddrColl()) {
      for (const Vela::IpGenAddr& ipAddr : router.ipAddrColl())
        handleRouterIpAddr(routerId, ipAddr);
    }
  }
  // Sweep: every pair the output holds, so that pairs no longer backed (left by an earlier
  // instance) go, and addresses whose last router goes are deleted.
  for (const auto [ipAddr, entry] : ipAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
    for (const RouterId& routerId : entry.routerIdColl())
      handleRouterIpAddr(routerId, ipAddr);
  }
}

}  // namespace Mpls
