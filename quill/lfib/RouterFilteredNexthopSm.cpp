#include "quill/lfib/RouterFilteredNexthopSm.h"

#include "quill/core/TraceFormat.h"
#include "quill/model/RouterViaJustification.h"

namespace Mpls {

using Quill::TraceRouterId;

void RouterFilteredNexthopSm::processRouterIpVia(const RouterId& routerId,
                                                 const Vela::IpGenAddr& ipAddr, const FibVia& via) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(TraceRouterId{routerId}, ipAddr, via);
  const auto nexthops = routerIpNexthopInfoColl()->routerIpNexthop(routerId);
  const auto hop = nexthops ? nexthops->ipNexthopInfo(ipAddr) : nullptr;
  const auto addrs = routerIpAddrInfoColl()->routerIpAddr(routerId);
  const auto noCheck = [](const RouterNexthopInfo&) {};
  if (hop && hop->via(via) && addrs && addrs->ipAddr(ipAddr)) {
    justifyRouterVia(*routerNexthopInfoColl(), routerId, via, ipAddr, noCheck);
  } else {
    withdrawRouterViaJustification(*routerNexthopInfoColl(), routerId, via, ipAddr, noCheck);
  }
}

void RouterFilteredNexthopSm::handleRouterIpAddr(const RouterId& routerId,
                                                 const Vela::IpGenAddr& ipAddr) {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC(TraceRouterId{routerId}, ipAddr);
  const auto nexthops = routerIpNexthopInfoColl()->routerIpNexthop(routerId);
  if (!nexthops) return;
  const auto hop = nexthops->ipNexthopInfo(ipAddr);
  if (!hop) return;
  for (const FibVia& via : hop->viaColl())
    processRouterIpVia(routerId, ipAddr, via);
}

void RouterFilteredNexthopSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  routerNexthopInfoColl()->routerNexthopDelAll();
  for (const auto [routerId, nexthops] : routerIpNexthopInfoColl()->routerIpNexthopColl()) {
    for (const auto [ipAddr, hop] : nexthops.ipNexthopInfoColl()) {
      for (const FibVia& via : hop.viaColl())
        processRouterIpVia(routerId, ipAddr, via);
    }
  }
  // Re-evaluates what the first pass settled; part of the scan all the same.
  for (const auto [routerId, addrs] : routerIpAddrInfoColl()->routerIpAddrColl()) {
    for (const Vela::IpGenAddr& ipAddr : addrs.ipAddrColl())
      handleRouterIpAddr(routerId, ipAddr);
  }
}

}  // namespace Mpls
