#include "quill/resolve/IraNexthopConfigSm.h"

namespace Mpls {

void IraNexthopConfigSm::handleIpAddr(const Vela::IpGenAddr& ipAddr) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(ipAddr);
  if (ipAddrRouterIdInfoColl_ && ipAddrRouterIdInfoColl_->ipAddrRouterId(ipAddr)) {
    VOX_TRACE(traceHandle(), 9, "Adding nexthopConfig for " << ipAddr);
    nexthopConfig_->nexthopIs(Routing::NexthopConfigEntry(ipAddr));
  } else {
    // Issued even when no request exists: deleting an absent request is harmless.
    VOX_TRACE(traceHandle(), 9, "Deleting nexthopConfig for " << ipAddr);
    nexthopConfig_->nexthopDel(ipAddr);
  }
}

void IraNexthopConfigSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  if (ipAddrRouterIdInfoColl_) {
    for (const auto [ipAddr, entry] : ipAddrRouterIdInfoColl_->ipAddrRouterIdColl()) {
      handleIpAddr(ipAddr);
    }
  }
  // Withdraws requests for addresses the input no longer holds (an earlier instance's).
  for (auto it = nexthopConfig_->nexthopColl().begin(); it != nexthopConfig_->nexthopColl().end();
       ++it) {
    handleIpAddr(it.key());
  }
}

}  // namespace Mpls
