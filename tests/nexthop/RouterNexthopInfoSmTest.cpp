// Which vias a router gets, and from which of its addresses, over routers sharing addresses and
// addresses sharing vias, and that initialization rebuilds, are the hand-written run's of
// PipelinePropertyTest (audited after every restart) and of the tests that follow via choices and
// faults through it. Here, the fatal checks.
#include "quill/nexthop/RouterNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::v;
using Vela::IpGenAddr;

TEST(RouterNexthopInfoSmDeathTest, BrokenInvariantsAreFatal) {
  const auto routers = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  const auto vias = Vox::create<Mpls::IpNexthopInfoColl>();
  const auto out = Vox::create<Mpls::RouterNexthopInfoColl>();
  const auto sm = Mpls::RouterNexthopInfoSm::RouterNexthopInfoSmIs(routers, vias, out);
  const auto address = routers->ipAddrRouterIdIs(v<IpGenAddr>("10.0.0.1"));
  address->routerIdIs(v<RouterId>("2.2.2.2:0"));
  const auto resolved = vias->ipNexthopIs(v<IpGenAddr>("10.0.0.1"));
  // An output entry whose vias and justifications disagree (written behind the reactor's back).
  out->routerNexthopIs(v<RouterId>("2.2.2.2:0"))->viaIs(v<FibVia>("10.9.9.9-Ethernet9"));
  EXPECT_DEATH(resolved->viaIs(v<FibVia>("10.1.1.2-Ethernet1")),
               "routerNexthopInfo->nexthopIpInfos\\(\\) == routerNexthopInfo->vias\\(\\)");
  sm->handleDelete();
  EXPECT_DEATH(address->routerIdIs(v<RouterId>("3.3.3.3:0")), "initialized\\(\\)");
  EXPECT_DEATH(resolved->viaIs(v<FibVia>("10.1.1.3-Ethernet1")), "initialized\\(\\)");
}

}  // namespace
