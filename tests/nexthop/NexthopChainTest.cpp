// From peers' transport addresses, through next-hop resolution by the simulated resolution
// service, to the MPLS-filtered next-hops per router and next-hop address.
#include <gtest/gtest.h>

#include "sim/Agent.h"
#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::Lines;
using QuillTest::v;

class NexthopChainTest : public ::testing::Test {
 protected:
  void transport(const char* router, const char* addr, bool add = true) {
    const auto id = v<Mpls::RouterId>(router);
    if (add) {
      agent.colls().transportAddrs->routerIpAddrIs(id)->ipAddrIs(v<Vela::IpGenAddr>(addr));
    } else {
      agent.colls().transportAddrs->routerIpAddr(id)->ipAddrDel(v<Vela::IpGenAddr>(addr));
    }
  }
  void route(const char* prefix, std::vector<std::pair<const char*, const char*>> hops) {
    std::vector<Sim::RouteVia> vias;
    for (auto [hop, intf] : hops)
      vias.push_back({v<Vela::IpAddr>(hop), v<Vela::IntfId>(intf)});
    agent.resolution().routeIs(v<Vela::IpPrefix>(prefix), vias);
  }
  void mpls(const char* intf, bool enabled = true) {
    if (enabled) {
      agent.colls().mplsIntfs->intfIdIs(v<Vela::IntfId>(intf));
    } else {
      agent.colls().mplsIntfs->intfIdDel(v<Vela::IntfId>(intf));
    }
  }
  Lines nexthops() const {
    return QuillTest::contents(agent.colls().routerIpNexthop->routerIpNexthopColl(),
                               &Mpls::RouterIpNexthopInfo::ipNexthopInfoColl,
                               &Mpls::IpNexthopInfo::viaColl);
  }

  Sim::Agent agent;
};

TEST_F(NexthopChainTest, TransportAddressesBecomeMplsNexthopsAndFollowEveryChange) {
  // 2.2.2.2 is a loopback behind two parallel links; 3.3.3.3 sits on a connected subnet.
  route("2.2.2.2/32", {{"10.1.1.2", "Ethernet1"}, {"10.1.2.2", "Ethernet2"}});
  agent.resolution().connectedRouteIs(v<Vela::IpPrefix>("10.1.3.0/24"),
                                      v<Vela::IntfId>("Ethernet3"));
  mpls("Ethernet1");
  mpls("Ethernet3");
  transport("2.2.2.2:0", "2.2.2.2");
  transport("3.3.3.3:0", "10.1.3.3");
  EXPECT_EQ(nexthops(), (Lines{"2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1",
                               "3.3.3.3:0 10.1.3.3 10.1.3.3-Ethernet3"}));

  mpls("Ethernet2");         // the second link joins MPLS
  mpls("Ethernet1", false);  // the first leaves
  EXPECT_EQ(nexthops(), (Lines{"2.2.2.2:0 10.1.2.2 10.1.2.2-Ethernet2",
                               "3.3.3.3:0 10.1.3.3 10.1.3.3-Ethernet3"}));

  route("2.2.2.2/32", {{"10.1.1.2", "Ethernet1"}});  // the second link fails
  EXPECT_EQ(nexthops(), (Lines{"3.3.3.3:0 10.1.3.3 10.1.3.3-Ethernet3"}));
  route("2.2.2.2/32", {{"10.1.1.2", "Ethernet1"}, {"10.1.2.2", "Ethernet2"}});  // and recovers
  EXPECT_EQ(nexthops(), (Lines{"2.2.2.2:0 10.1.2.2 10.1.2.2-Ethernet2",
                               "3.3.3.3:0 10.1.3.3 10.1.3.3-Ethernet3"}));

  transport("3.3.3.3:0", "10.1.3.3", false);  // the peer withdraws its transport address
  EXPECT_EQ(nexthops(), (Lines{"2.2.2.2:0 10.1.2.2 10.1.2.2-Ethernet2"}));
  EXPECT_TRUE(agent.nexthopBacklog()->backlogColl().empty());
}

TEST_F(NexthopChainTest, AnAgentRestartRebuildsTheSameNexthops) {
  route("2.2.2.2/32", {{"10.1.1.2", "Ethernet1"}, {"10.1.2.2", "Ethernet2"}});
  mpls("Ethernet1");
  mpls("Ethernet2");
  transport("2.2.2.2:0", "2.2.2.2");
  const Lines before = nexthops();
  agent.stop();
  route("2.2.2.2/32", {{"10.1.2.2", "Ethernet2"}});  // while nothing runs
  agent.start();
  EXPECT_EQ(nexthops(), (Lines{"2.2.2.2:0 10.1.2.2 10.1.2.2-Ethernet2"}));
  EXPECT_EQ(before.size(), 2u);
}

}  // namespace
