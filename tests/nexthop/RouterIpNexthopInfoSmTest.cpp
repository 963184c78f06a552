// Which vias pass as MPLS interfaces come and go, and the rebuild from both inputs at
// initialization, are the hand-written run's of PipelinePropertyTest and
// ViaChoicesMoveOnlyWhereTheyMust; here, the fatal checks.
#include "quill/nexthop/RouterIpNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::v;
using Vela::IntfId;

TEST(RouterIpNexthopInfoSmDeathTest, MisuseIsFatal) {
  const auto in = Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  const auto mplsIntfs = Vox::create<Mpls::MplsIntfColl>();
  const auto sm = Mpls::RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(
      in, mplsIntfs, Vox::create<Mpls::RouterIpNexthopInfoColl>());
  EXPECT_DEATH(sm->processIntfRouterNexthop(v<IntfId>("Ethernet2"), v<RouterId>("2.2.2.2:0"),
                                            v<FibVia>("10.1.1.2-Ethernet1")),
               "Failed\\(via.intfId\\(\\) == intfId\\) Ethernet1 != Ethernet2\n.*"
               "fatal assertion failed: !\"via.intfId\\(\\) == intfId\"");
  // Listed under the via's own interface, as interface grouping lists it.
  const auto router = in->intfRouterNexthopIs(v<IntfId>("Ethernet1"))
                          ->routerNexthopInfoIs(v<RouterId>("2.2.2.2:0"));
  router->viaIs(v<FibVia>("10.1.1.2-Ethernet1"));
  sm->handleDelete();
  EXPECT_DEATH(mplsIntfs->intfIdIs(v<IntfId>("Ethernet1")), "initialized\\(\\)");
  EXPECT_DEATH(router->viaIs(v<FibVia>("10.1.1.3-Ethernet1")), "initialized\\(\\)");
}

}  // namespace
