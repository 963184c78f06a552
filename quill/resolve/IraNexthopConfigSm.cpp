#include "quill/resolve/IraNexthopConfigSm.h"

namespace Mpls {

IraNexthopConfigSm::IraNexthopConfigSm(
    const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
    const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig)
    : ipAddrRouterIdInfoColl_(ipAddrRouterIdInfoColl), nexthopConfig_(nexthopConfig) {
  if (ipAddrRouterIdInfoColl_) voxIpAddrRouterIdInfoColl_.notifierIs(ipAddrRouterIdInfoColl_);
  handleInitialized();
}

IraNexthopConfigSm::~IraNexthopConfigSm() {
  handleDelete();
}

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

void IraNexthopConfigSm::handleDelete() {
  leaveInitialized();
}

}  // namespace Mpls
