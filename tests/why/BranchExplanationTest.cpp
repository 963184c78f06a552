// The explanation of one (FEC, peer) pair over a running agent, in both stage variants: each way of
// breaking exactly one input of a working world is named as the first failing condition, with the
// input that would repair it. A present branch explained link by link, the ring's choice among
// parallel links and a label's branches are pinned by the golden runs (examples/why-missing.scn,
// tests/tools/scenarios/why.scn); the reason over random worlds by WhyPropertyTest.
#include "quill/why/BranchExplanation.h"

#include <gtest/gtest.h>

#include <functional>

#include "sim/Agent.h"
#include "sim/Soak.h"
#include "tests/support/Values.h"

namespace {

using Quill::WhyMissing;
using QuillTest::v;

const auto kFec = v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a");
const auto kPeer = v<Mpls::RouterId>("2.2.2.2:0");
const auto kAddress = v<Vela::IpGenAddr>("2.2.2.2");
const auto kHop = v<Vela::IpGenAddr>("10.0.12.2");
const auto kIntf = v<Vela::IntfId>("Ethernet1");
const auto kPrefix = v<Vela::IpPrefix>("2.2.2.2/32");
const Vela::MplsLabel kLocal(100);
const Vela::MplsLabel kOut(200);

struct Break {
  const char* name;
  std::function<void(Sim::Agent&)> apply;
  WhyMissing expected;
  const char* remedyMentions;  // the input that would repair it
  friend void PrintTo(const Break& b, std::ostream* os) { *os << b.name; }
};

// One peer, directly attached over an MPLS interface, with labels on both sides.
class BrokenInputTest : public ::testing::TestWithParam<Break> {
 protected:
  BrokenInputTest() {
    const auto& colls = agent.colls();
    colls.mplsIntfs->intfIdIs(kIntf);
    agent.resolution().routeIs(kPrefix, {{kHop, kIntf}});
    colls.transportAddrs->routerIpAddrIs(kPeer)->ipAddrIs(kAddress);
    colls.intfAddrs->routerIpAddrIs(kPeer)->ipAddrIs(kHop);
    colls.localTable->bindingIs(kFec)->mplsLabelIs(kLocal);
    agent.peerBindingIs(kPeer, kFec, kOut);
  }
  Quill::BranchExplanation why() const {
    return Quill::explainBranch(*agent.manager(), kFec, kPeer);
  }

  Sim::Agent agent;
};

TEST_P(BrokenInputTest, NamesTheFirstFailingConditionAndItsRemedy) {
  GetParam().apply(agent);
  if (!Sim::allStagesCompiled()) {
    // A hand-written stage keeps what an entity removed whole contributed, until it restarts.
    const auto kept = this->why();
    EXPECT_TRUE(!kept.present() || kept.stale()) << GetParam().name;
    agent.restart();
  }
  const auto why = this->why();
  EXPECT_FALSE(why.present());
  EXPECT_TRUE(why.branches.empty());
  EXPECT_EQ(why.missing, GetParam().expected)
      << Quill::whyMissingName(why.missing) << ": " << why.reason();
  EXPECT_NE(why.remedy().find(GetParam().remedyMentions), std::string::npos) << why.remedy();
  EXPECT_FALSE(why.reason().empty());
  EXPECT_TRUE(agent.colls().lfib->labelForwardings() == 0);
}

INSTANTIATE_TEST_SUITE_P(
    OneInputBroken, BrokenInputTest,
    ::testing::Values(
        Break{"LocalLabel", [](Sim::Agent& a) { a.colls().localTable->bindingDel(kFec); },
              WhyMissing::kNoLocalLabel, "local label bound to p2mp/1.1.1.1/0100040000002a"},
        Break{"PeerBinding", [](Sim::Agent& a) { a.peerBindingDel(kPeer, kFec, kOut); },
              WhyMissing::kNoPeerBinding, "binding for p2mp/1.1.1.1/0100040000002a from 2.2.2.2:0"},
        Break{"PeerFilters",
              [](Sim::Agent& a) {
                a.peerBindingDel(kPeer, kFec, kOut);  // a filtered FEC has no binding
                a.colls().peerTables->bindingTableIs(kPeer)->filteredFecIs(kFec, true);
              },
              WhyMissing::kFecFiltered, "stop filtering"},
        Break{"TransportAddress",
              [](Sim::Agent& a) {
                a.colls().transportAddrs->routerIpAddr(kPeer)->ipAddrDel(kAddress);
              },
              WhyMissing::kNoTransportAddress, "transport address of 2.2.2.2:0"},
        Break{"Route", [](Sim::Agent& a) { a.resolution().routeDel(kPrefix); },
              WhyMissing::kAddressUnresolved, "route to 2.2.2.2"},
        Break{"MplsInterface", [](Sim::Agent& a) { a.colls().mplsIntfs->intfIdDel(kIntf); },
              WhyMissing::kNoMplsInterface, "MPLS enabled on Ethernet1"},
        Break{"RouteThroughAnotherRouter",
              [](Sim::Agent& a) {
                a.resolution().routeIs(kPrefix, {{v<Vela::IpGenAddr>("10.0.12.9"), kIntf}});
              },
              WhyMissing::kNotDirect, "advertising 10.0.12.9 as an interface address"},
        Break{"PeerLabel",
              [](Sim::Agent& a) {
                a.colls().fecRouterLabel->fecRouterLabel(kFec)->routerLabelInfoDel(kPeer);
              },
              WhyMissing::kNoPeerLabel, "label from 2.2.2.2:0"}),
    [](const auto& param) { return std::string(param.param.name); });

}  // namespace
