#include "quill/lfib/RouterFilteredNexthopSm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/Contents.h"
#include "tests/support/JustifiedVias.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;
using Vela::IpGenAddr;

class RouterFilteredNexthopSmTest : public ::testing::Test {
 protected:
  // Lists (or with `add` false unlists) `via` for `router` under `ip`, by default the via's own
  // hop address as the MPLS filter does. Removals find or create the member's owners.
  void hop(const std::string& router, const std::string& via, std::string ip = "",
           bool add = true) {
    const auto parsed = v<FibVia>(via);
    const auto info = hops->routerIpNexthopIs(v<RouterId>(router))
                          ->ipNexthopInfoIs(ip.empty() ? parsed.hop() : v<IpGenAddr>(ip));
    add ? info->viaIs(parsed) : info->viaDel(parsed);
  }
  void addr(const std::string& router, const std::string& ipAddr, bool add = true) {
    const auto info = addrs->routerIpAddrIs(v<RouterId>(router));
    add ? info->ipAddrIs(v<IpGenAddr>(ipAddr)) : info->ipAddrDel(v<IpGenAddr>(ipAddr));
  }
  Lines output() const { return QuillTest::justifiedVias(*out); }
  void start() { sm = Mpls::routerFilteredNexthopSmFactory(hops, addrs, out); }

  Vox::Ptr<Mpls::RouterIpNexthopInfoColl> hops = Vox::create<Mpls::RouterIpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterIpAddrInfoColl> addrs = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> out = Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterFilteredNexthopSm> sm;
};

// Entries removed whole, with their members still in them, withdraw what they justified at once:
// a router's hops, and one hop address of a router, which no stage upstream removes whole (a
// router's interface addresses removed whole are the random worlds', PipelinePropertyTest).
TEST_F(RouterFilteredNexthopSmTest, WholeHopEntriesWithdrawTheirViasAtOnce) {
  const RouterId r2 = v<RouterId>("2.2.2.2:0");
  const auto fill = [&] {
    addr("2.2.2.2:0", "10.1.1.2");
    addr("2.2.2.2:0", "10.1.2.2");
    hop("2.2.2.2:0", "10.1.1.2-Ethernet1");
    hop("2.2.2.2:0", "10.1.2.2-Ethernet2");
  };
  const Lines both{"2.2.2.2:0 10.1.1.2-Ethernet1 10.1.1.2",
                   "2.2.2.2:0 10.1.2.2-Ethernet2 10.1.2.2"};
  start();
  fill();
  EXPECT_EQ(output(), both);
  hops->routerIpNexthopDel(r2);
  EXPECT_EQ(out->routerNexthops(), 0u);
  fill();
  EXPECT_EQ(output(), both);
  hops->routerIpNexthop(r2)->ipNexthopInfoDel(v<IpGenAddr>("10.1.1.2"));
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.2.2-Ethernet2 10.1.2.2"}));
}

// Function records trace a router id as its fields joined by "_" and a via as hop and interface
// joined by "-", so that a record splits into blank-separated arguments.
TEST_F(RouterFilteredNexthopSmTest, FunctionRecordsUseTheTraceFormsOfRouterAndVia) {
  start();
  QuillTest::TraceCapture trace("QuillRouterFilteredNexthopSm/8");
  addr("2.2.2.2:7", "10.1.1.2");
  hop("2.2.2.2:7", "10.1.1.2-Ethernet1");
  EXPECT_EQ(trace.messages(),
            (std::vector<std::string>{
                "Mpls::RouterFilteredNexthopSm::handleRouterIpAddr() 2.2.2.2_7 10.1.1.2",
                "Mpls::RouterFilteredNexthopSm::processRouterIpVia() 2.2.2.2_7 10.1.1.2 "
                "10.1.1.2-Ethernet1"}));
}

TEST_F(RouterFilteredNexthopSmTest, InitializationRebuildsAndWholeRemovalsWaitWhileDeleted) {
  addr("2.2.2.2:0", "10.1.1.2");
  hop("2.2.2.2:0", "10.1.1.2-Ethernet1");
  hop("2.2.2.2:0", "10.1.9.9-Ethernet9");
  start();
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.1.1.2"}));
  sm->handleDelete();
  addrs->routerIpAddrDel(v<RouterId>("2.2.2.2:0"));  // no handler may run, none asserts
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1 10.1.1.2"}));
  sm->handleInitialized();
  EXPECT_TRUE(output().empty());
}

using RouterFilteredNexthopSmDeathTest = RouterFilteredNexthopSmTest;

TEST_F(RouterFilteredNexthopSmDeathTest, ChangesAfterDeleteAreFatal) {
  start();
  hop("2.2.2.2:0", "10.1.1.2-Ethernet1");
  sm->handleDelete();
  EXPECT_DEATH(hop("2.2.2.2:0", "10.1.1.2-Ethernet2"), "fatal assertion failed: initialized\\(\\)");
  // No next-hop under this address: only the address handler itself can object.
  EXPECT_DEATH(addr("2.2.2.2:0", "10.1.9.9"), "fatal assertion failed: initialized\\(\\)");
}

}  // namespace
