#include "quill/nexthop/IntfRouterNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;

class IntfRouterNexthopInfoSmTest : public ::testing::Test {
 protected:
  void add(const char* router, const char* via) {
    in->routerNexthopIs(v<RouterId>(router))->viaIs(v<FibVia>(via));
  }
  void del(const char* router, const char* via) {
    in->routerNexthop(v<RouterId>(router))->viaDel(v<FibVia>(via));
  }
  Lines output() const {
    return QuillTest::contents(out->intfRouterNexthopColl(),
                               &Mpls::IntfRouterNexthopInfo::routerNexthopInfoColl,
                               &Mpls::RouterNexthopInfo::viaColl);
  }
  void start() { sm = Mpls::IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(in, out); }

  Vox::Ptr<Mpls::RouterNexthopInfoColl> in = Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::IntfRouterNexthopInfoColl> out = Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::IntfRouterNexthopInfoSm> sm;
};

// What lands where is FluxEquivalenceTest's, against the compiled twin; here, what a comparison of
// contents cannot see: a repeated via changes nothing, and an emptied entry goes at once.
TEST_F(IntfRouterNexthopInfoSmTest, RepeatsChangeNothingAndEmptyEntriesGoAtOnce) {
  start();
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  add("2.2.2.2:0", "10.1.2.2-Ethernet2");
  add("3.3.3.3:0", "10.1.2.3-Ethernet2");
  EXPECT_EQ(output(), (Lines{"Ethernet1 2.2.2.2:0 10.1.1.2-Ethernet1",
                             "Ethernet2 2.2.2.2:0 10.1.2.2-Ethernet2",
                             "Ethernet2 3.3.3.3:0 10.1.2.3-Ethernet2"}));
  const uint32_t version = out->intfRouterNexthopColl().version();
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  EXPECT_EQ(out->intfRouterNexthopColl().version(), version);
  del("2.2.2.2:0", "10.1.1.2-Ethernet1");
  EXPECT_EQ(out->intfRouterNexthop(v<Vela::IntfId>("Ethernet1")), nullptr);
  del("2.2.2.2:0", "10.1.2.2-Ethernet2");
  EXPECT_EQ(out->intfRouterNexthop(v<Vela::IntfId>("Ethernet2"))->routerNexthopInfos(), 1u);
}

TEST_F(IntfRouterNexthopInfoSmTest, InitializationRebuildsFromTheInput) {
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  out->intfRouterNexthopIs(v<Vela::IntfId>("Ethernet9"))
      ->routerNexthopInfoIs(v<RouterId>("9.9.9.9:0"))
      ->viaIs(v<FibVia>("10.9.9.9-Ethernet9"));
  start();
  EXPECT_EQ(output(), (Lines{"Ethernet1 2.2.2.2:0 10.1.1.2-Ethernet1"}));
  in->routerNexthopDel(v<RouterId>("2.2.2.2:0"));  // whole: its via stays until rebuilt
  EXPECT_EQ(output().size(), 1u);
  sm->handleInitialized();
  EXPECT_TRUE(output().empty());
}

using IntfRouterNexthopInfoSmDeathTest = IntfRouterNexthopInfoSmTest;

TEST_F(IntfRouterNexthopInfoSmDeathTest, MisuseIsFatal) {
  start();
  add("2.2.2.2:0", "10.1.1.2-Ethernet1");
  sm->handleDelete();
  EXPECT_DEATH(add("2.2.2.2:0", "10.1.1.3-Ethernet1"), "initialized\\(\\)");
}

}  // namespace
