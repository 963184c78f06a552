#include "quill/nexthop/RouterIpNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;
using Vela::IntfId;

class RouterIpNexthopInfoSmTest : public ::testing::Test {
 protected:
  // Lists `via` for `router` under the via's own interface, as interface grouping does.
  void add(const char* router, const char* via) {
    const auto parsed = v<FibVia>(via);
    in->intfRouterNexthopIs(parsed.intfId())
        ->routerNexthopInfoIs(v<RouterId>(router))
        ->viaIs(parsed);
  }
  void mpls(const char* intf) { mplsIntfs->intfIdIs(v<IntfId>(intf)); }
  Lines output() const {
    return QuillTest::contents(out->routerIpNexthopColl(),
                               &Mpls::RouterIpNexthopInfo::ipNexthopInfoColl,
                               &Mpls::IpNexthopInfo::viaColl);
  }
  void start() { sm = Mpls::RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(in, mplsIntfs, out); }

  Vox::Ptr<Mpls::IntfRouterNexthopInfoColl> in = Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::MplsIntfColl> mplsIntfs = Vox::create<Mpls::MplsIntfColl>();
  Vox::Ptr<Mpls::RouterIpNexthopInfoColl> out = Vox::create<Mpls::RouterIpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterIpNexthopInfoSm> sm;
};

// Which vias pass as MPLS interfaces come and go is FluxEquivalenceTest's, against the compiled
// twin; here, the rebuild from both inputs over a stale output.
TEST_F(RouterIpNexthopInfoSmTest, InitializationRebuildsFromBothInputs) {
  mpls("Ethernet1");
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  add("2.2.2.2:0", "10.1.2.2-Ethernet2");
  out->routerIpNexthopIs(v<RouterId>("9.9.9.9:0"))
      ->ipNexthopInfoIs(v<Vela::IpGenAddr>("10.9.9.9"))
      ->viaIs(v<FibVia>("10.9.9.9-Ethernet1"));
  start();
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1"}));
}

using RouterIpNexthopInfoSmDeathTest = RouterIpNexthopInfoSmTest;

TEST_F(RouterIpNexthopInfoSmDeathTest, MisuseIsFatal) {
  start();
  EXPECT_DEATH(sm->processIntfRouterNexthop(v<IntfId>("Ethernet2"), v<RouterId>("2.2.2.2:0"),
                                            v<FibVia>("10.1.1.2-Ethernet1")),
               "Failed\\(via.intfId\\(\\) == intfId\\) Ethernet1 != Ethernet2\n.*"
               "fatal assertion failed: !\"via.intfId\\(\\) == intfId\"");
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  sm->handleDelete();
  EXPECT_DEATH(mpls("Ethernet1"), "initialized\\(\\)");
  EXPECT_DEATH(add("2.2.2.2:0", "10.1.1.3-Ethernet1"), "initialized\\(\\)");
}

}  // namespace
