#include "quill/resolve/IraNexthopConfigSm.h"

namespace Mpls {

void IraNexthopConfigSm::handleIpAddr(const Vela::IpGenAddr& ipAddr) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(ipAddr);
  if (ipAddrRouterIdInfoColl() && ipAddrRouterIdInfoColl()->ipAddrRouterId(ipAddr)) {
    VOX_TRACE(traceHandle(), 9, "Adding nexthopConfig for " << ipAddr);
    nexthopConfig()->nexthopIs(Routing::NexthopConfigEntry(ipAddr));
  } else {
    // Issued even when no request exists: deleting an absent request is harmless.
    VOX_TRACE(traceHandle(), 9, "Deleting nexthopConfig for " << ipAddr);
    nexthopConfig()->nexthopDel(ipAddr);
  }
}

void IraNexthopConfigSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  if (ipAddrRouterIdInfoColl()) {
    for (const auto [ipAddr, entry] : ipAddrRouterIdInfoColl()->ipAddrRouterIdColl()) {
      handleIpAddr(ipAddr);
    }
  }
  // Withdraws requests for addresses the input no longer holds (an earlier instance's).
  for (auto it = nexthopConfig()->nexthopColl().begin(); it != nexthopConfig()->nexthopColl().end();
       ++it) {
    handleIpAddr(it.key());
  }
}

}  // namespace Mpls
