#pragma once
// Writing a `RouterNexthopInfoColl` whose vias are justified by addresses: each via V of router R
// carries the set of addresses A that justify it (`nexthopIpInfo[V].destIp`), and V stays in R's
// `via` set while that set is non-empty. The stages that keep justifications write through these
// two functions, so that vias and justifications change together.
//
// `afterViaChange(router)` runs after R's `via` set changed, before an emptied entry goes, so a
// caller can check its invariant there.
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

// A justifies V for R: creates what is missing. Every step is idempotent.
template <class AfterViaChange>
void justifyRouterVia(RouterNexthopInfoColl& coll, const RouterId& routerId, const FibVia& via,
                      const Vela::IpGenAddr& ipAddr, AfterViaChange afterViaChange) {
  const auto router = coll.routerNexthopIs(routerId);
  router->nexthopIpInfoIs(via)->destIpIs(ipAddr);
  router->viaIs(via);
  afterViaChange(*router);
}

// A no longer justifies V for R: V goes with its last justification, R's entry with its last via.
template <class AfterViaChange>
void withdrawRouterViaJustification(RouterNexthopInfoColl& coll, const RouterId& routerId,
                                    const FibVia& via, const Vela::IpGenAddr& ipAddr,
                                    AfterViaChange afterViaChange) {
  const auto router = coll.routerNexthop(routerId);
  if (!router) return;
  const auto justification = router->nexthopIpInfo(via);
  if (!justification) return;
  justification->destIpDel(ipAddr);
  if (justification->destIps() != 0) return;  // other addresses still justify the via
  router->nexthopIpInfoDel(via);
  router->viaDel(via);
  afterViaChange(*router);
  if (router->vias() == 0) coll.routerNexthopDel(routerId);
}

}  // namespace Mpls
