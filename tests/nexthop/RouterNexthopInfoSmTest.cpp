#include "quill/nexthop/RouterNexthopInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Contents.h"
#include "tests/support/JustifiedVias.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;
using Vela::IpGenAddr;

class RouterNexthopInfoSmTest : public ::testing::Test {
 protected:
  void advertise(const char* addr, const char* router) {
    routers->ipAddrRouterIdIs(v<IpGenAddr>(addr))->routerIdIs(v<RouterId>(router));
  }
  void withdraw(const char* addr, const char* router) {
    routers->ipAddrRouterId(v<IpGenAddr>(addr))->routerIdDel(v<RouterId>(router));
  }
  void resolve(const char* addr, const char* via) {
    vias->ipNexthopIs(v<IpGenAddr>(addr))->viaIs(v<FibVia>(via));
  }
  void unresolve(const char* addr, const char* via) {
    vias->ipNexthop(v<IpGenAddr>(addr))->viaDel(v<FibVia>(via));
  }
  Lines output() const { return QuillTest::justifiedVias(*out); }
  void start() { sm = Mpls::RouterNexthopInfoSm::RouterNexthopInfoSmIs(routers, vias, out); }

  Vox::Ptr<Mpls::IpAddrRouterIdInfoColl> routers = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  Vox::Ptr<Mpls::IpNexthopInfoColl> vias = Vox::create<Mpls::IpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> out = Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoSm> sm;
};

TEST_F(RouterNexthopInfoSmTest, AViaStaysWhileAnyAddressOfTheRouterJustifiesIt) {
  start();
  advertise("10.0.0.1", "2.2.2.2:0");
  advertise("10.0.0.2", "2.2.2.2:0");
  resolve("10.0.0.1", "10.1.1.2-Ethernet1");
  resolve("10.0.0.2", "10.1.1.2-Ethernet1");
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.0.0.1",
                             "2.2.2.2:0 10.1.1.2-Ethernet1 10.0.0.2"}));
  unresolve("10.0.0.1", "10.1.1.2-Ethernet1");
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.0.0.2"}));
  unresolve("10.0.0.2", "10.1.1.2-Ethernet1");
  EXPECT_EQ(out->routerNexthops(), 0u);
}

TEST_F(RouterNexthopInfoSmTest, SharedAddressesAndRouterWithdrawals) {
  start();
  advertise("10.0.0.1", "2.2.2.2:0");
  advertise("10.0.0.1", "3.3.3.3:0");
  advertise("10.0.0.2", "2.2.2.2:0");
  resolve("10.0.0.1", "10.1.1.2-Ethernet1");
  resolve("10.0.0.2", "10.1.2.2-Ethernet2");
  EXPECT_EQ(output(),
            (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.0.0.1", "2.2.2.2:0 10.1.2.2-Ethernet2 10.0.0.2",
                   "3.3.3.3:0 10.1.1.2-Ethernet1 10.0.0.1"}));
  // The router leaves one address: it loses exactly the vias only that address supplied.
  withdraw("10.0.0.1", "2.2.2.2:0");
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.2.2-Ethernet2 10.0.0.2",
                             "3.3.3.3:0 10.1.1.2-Ethernet1 10.0.0.1"}));
  // A triple the inputs do not form removes nothing that another address backs.
  sm->processRouterNexthopIp(v<RouterId>("2.2.2.2:0"), v<FibVia>("10.1.2.2-Ethernet2"),
                             v<IpGenAddr>("10.0.0.1"));
  EXPECT_EQ(out->routerNexthops(), 2u);
}

TEST_F(RouterNexthopInfoSmTest, InitializationRebuildsAndWholeEntityRemovalWaitsForIt) {
  advertise("10.0.0.1", "2.2.2.2:0");
  resolve("10.0.0.1", "10.1.1.2-Ethernet1");
  out->routerNexthopIs(v<RouterId>("9.9.9.9:0"))->viaIs(v<FibVia>("10.9.9.9-Ethernet9"));
  start();
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.0.0.1"}));
  vias->ipNexthopDel(v<IpGenAddr>("10.0.0.1"));  // removed whole, its via still listed
  EXPECT_EQ(out->routerNexthops(), 1u);
  sm->handleInitialized();
  EXPECT_EQ(out->routerNexthops(), 0u);
}

using RouterNexthopInfoSmDeathTest = RouterNexthopInfoSmTest;

TEST_F(RouterNexthopInfoSmDeathTest, BrokenInvariantsAreFatal) {
  start();
  advertise("10.0.0.1", "2.2.2.2:0");
  // An output entry whose vias and justifications disagree (written behind the reactor's back).
  out->routerNexthopIs(v<RouterId>("2.2.2.2:0"))->viaIs(v<FibVia>("10.9.9.9-Ethernet9"));
  EXPECT_DEATH(resolve("10.0.0.1", "10.1.1.2-Ethernet1"),
               "routerNexthopInfo->nexthopIpInfos\\(\\) == routerNexthopInfo->vias\\(\\)");
  sm->handleDelete();
  EXPECT_DEATH(advertise("10.0.0.1", "3.3.3.3:0"), "initialized\\(\\)");
  EXPECT_DEATH(resolve("10.0.0.1", "10.1.1.3-Ethernet1"), "initialized\\(\\)");
}

}  // namespace
