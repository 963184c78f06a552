// What lands where is the hand-written run's of PipelinePropertyTest, and that an emptied entry
// goes at once is Sim::auditShapes' (there, after every change); here, what only a death test
// sees.
#include "quill/nexthop/IntfRouterNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Values.h"

namespace {

using QuillTest::v;

TEST(IntfRouterNexthopInfoSmDeathTest, MisuseIsFatal) {
  const auto in = Vox::create<Mpls::RouterNexthopInfoColl>();
  const auto router = in->routerNexthopIs(v<Mpls::RouterId>("2.2.2.2:0"));
  router->viaIs(v<Mpls::FibVia>("10.1.1.2-Ethernet1"));
  const auto sm = Mpls::IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(
      in, Vox::create<Mpls::IntfRouterNexthopInfoColl>());
  sm->handleDelete();
  EXPECT_DEATH(router->viaIs(v<Mpls::FibVia>("10.1.1.3-Ethernet1")), "initialized\\(\\)");
}

}  // namespace
