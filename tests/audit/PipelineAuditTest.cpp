// The audit itself: silent on a consistent pipeline, and naming the stage and element of each
// corruption of a stage's output.
#include <gtest/gtest.h>

#include <functional>

#include "sim/Soak.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::v;

class PipelineAuditTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto& colls = agent.colls();
    agent.resolution().connectedRouteIs(v<Vela::IpPrefix>("10.1.1.0/24"),
                                        v<Vela::IntfId>("Ethernet1"));
    colls.mplsIntfs->intfIdIs(v<Vela::IntfId>("Ethernet1"));
    colls.transportAddrs->routerIpAddrIs(router)->ipAddrIs(v<Vela::IpGenAddr>("10.1.1.2"));
    colls.intfAddrs->routerIpAddrIs(router)->ipAddrIs(v<Vela::IpGenAddr>("10.1.1.2"));
    colls.localTable->bindingIs(fec)->mplsLabelIs(v<Vela::MplsLabel>("100"));
    agent.peerBindingIs(router, fec, v<Vela::MplsLabel>("200"));
  }
  Quill::AuditReport audit() const { return Sim::auditAgent(agent); }

  const Mpls::RouterId router = v<Mpls::RouterId>("2.2.2.2:0");
  const Mpls::FwdEqvClass fec = v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a");
  const Mpls::FibVia bogus = v<Mpls::FibVia>("10.9.9.9-Ethernet9");
  Sim::Agent agent;
};

// Clean on the consistent world, then each corruption of it reported with its stage and element.
TEST_F(PipelineAuditTest, CleanUntilACorruptionWhichIsReportedWithItsStageAndElement) {
  const auto clean = audit();
  EXPECT_EQ(clean.text(), "audit: ok\n");
  EXPECT_GT(clean.elementsChecked, 10u);
  ASSERT_EQ(agent.colls().lfib->labelForwardings(), 1u);
  const auto& colls = agent.colls();
  const struct {
    std::function<void()> corrupt;
    std::string expected;
  } cases[] = {
      {[&] {
         colls.ipAddrRouterId->ipAddrRouterIdIs(v<Vela::IpGenAddr>("10.7.7.7"))->routerIdIs(router);
       },
       "stage 1 (inversion): unexpected 10.7.7.7 2.2.2.2:0"},
      {[&] { agent.nexthopConfig()->nexthopDel(v<Vela::IpGenAddr>("10.1.1.2")); },
       "resolution requests: missing 10.1.1.2"},
      {[&] { colls.routerNexthop->routerNexthopIs(router)->viaIs(bogus); },
       "stage 2 (router next-hops): unexpected 2.2.2.2:0 10.9.9.9-Ethernet9"},
      {[&] { colls.intfRouterNexthop->intfRouterNexthopDel(v<Vela::IntfId>("Ethernet1")); },
       "stage 3 (interface grouping): missing Ethernet1 2.2.2.2:0 10.1.1.2-Ethernet1"},
      {[&] { colls.routerIpNexthop->routerIpNexthopDel(router); },
       "stage 4 (MPLS filter): missing 2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1"},
      {[&] { colls.filteredNexthop->routerNexthop(router)->viaIs(bogus); },
       "stage 5 (interface-address filter) vias: unexpected 2.2.2.2:0 10.9.9.9-Ethernet9"},
      {[&] {
         const auto chosen =
             colls.fecRouterNexthop->fecRouterNexthop(fec)->routerNexthopInfo(router);
         chosen->viaIs(bogus);
         chosen->viaDel(v<Mpls::FibVia>("10.1.1.2-Ethernet1"));
       },
       "stage 6 (FEC next-hops): p2mp/1.1.1.1/0100040000002a 2.2.2.2:0 uses 10.9.9.9-Ethernet9, "
       "not a via of the router"},
      {[&] { colls.lfib->labelForwardingDel(v<Vela::MplsLabel>("100")); },
       "stage 7 (LFIB): missing 100 10.1.1.2-Ethernet1 200 p2mp/1.1.1.1/0100040000002a 2.2.2.2:0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    // The corruption must not be repaired downstream.
    agent.manager()->hasNotificationActiveIs(false);
    c.corrupt();
    const auto report = audit();
    EXPECT_NE(std::find(report.differences.begin(), report.differences.end(), c.expected),
              report.differences.end())
        << report.text();
    agent.manager()->hasNotificationActiveIs(true);
    agent.restart();  // rebuilt from the inputs: clean again
    EXPECT_TRUE(audit().ok()) << audit().text();
  }
}

}  // namespace
