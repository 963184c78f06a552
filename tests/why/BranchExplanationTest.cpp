// The explanation of one (FEC, peer) pair over a running agent: a working world explains its
// branch link by link, and each way of breaking exactly one input is named as the first failing
// condition, with the input that would repair it.
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
const auto kOther = v<Mpls::RouterId>("3.3.3.3:0");
const auto kAddress = v<Vela::IpGenAddr>("2.2.2.2");
const auto kHop = v<Vela::IpGenAddr>("10.0.12.2");
const auto kIntf = v<Vela::IntfId>("Ethernet1");
const auto kVia = Mpls::FibVia(kHop, kIntf);
const auto kPrefix = v<Vela::IpPrefix>("2.2.2.2/32");
const Vela::MplsLabel kLocal(100);
const Vela::MplsLabel kOut(200);

// One peer, directly attached over an MPLS interface, with labels on both sides.
class BranchExplanationTest : public ::testing::Test {
 protected:
  BranchExplanationTest() {
    const auto& colls = agent.colls();
    colls.mplsIntfs->intfIdIs(kIntf);
    agent.resolution().routeIs(kPrefix, {{kHop, kIntf}});
    colls.transportAddrs->routerIpAddrIs(kPeer)->ipAddrIs(kAddress);
    colls.intfAddrs->routerIpAddrIs(kPeer)->ipAddrIs(kHop);
    colls.localTable->bindingIs(kFec)->mplsLabelIs(kLocal);
    agent.peerBindingIs(kPeer, kFec, kOut);
  }
  Quill::BranchExplanation why(const Mpls::RouterId& peer = kPeer) const {
    return Quill::explainBranch(*agent.manager(), kFec, peer);
  }

  Sim::Agent agent;
};

TEST_F(BranchExplanationTest, APresentBranchIsExplainedLinkByLink) {
  const auto why = this->why();
  ASSERT_TRUE(why.present()) << why.reason();
  EXPECT_EQ(why.missing, WhyMissing::kNone);
  ASSERT_EQ(why.branches.size(), 1u);
  EXPECT_EQ(why.branches[0].localLabel, kLocal);
  EXPECT_EQ(why.branches[0].via, kVia);
  EXPECT_EQ(why.branches[0].peerLabel, kOut);
  EXPECT_EQ(why.addressesResolvingTo(kVia), std::vector{kAddress});
  EXPECT_EQ(why.chosenDirectBy, std::vector{kHop});
  ASSERT_TRUE(why.ring);
  EXPECT_EQ(why.ring->chosen, kVia);
  EXPECT_EQ(why.reason(), "");
}

// Over parallel links the ring's answer is the chosen via, owned by one of its members.
TEST_F(BranchExplanationTest, TheRingSaysWhichParallelViaCarriesTheFec) {
  const auto hop2 = v<Vela::IpGenAddr>("10.0.21.2");
  const auto intf2 = v<Vela::IntfId>("Ethernet2");
  agent.colls().mplsIntfs->intfIdIs(intf2);
  agent.colls().intfAddrs->routerIpAddr(kPeer)->ipAddrIs(hop2);
  agent.resolution().routeIs(kPrefix, {{kHop, kIntf}, {hop2, intf2}});
  const auto why = this->why();
  ASSERT_TRUE(why.present());
  ASSERT_TRUE(why.ring && why.chosenVia);
  EXPECT_EQ(why.ring->members.size(), 2u);
  EXPECT_EQ(why.directVias.size(), 2u);
  EXPECT_EQ(why.ring->chosen, *why.chosenVia);
  EXPECT_EQ(why.branches.at(0).via, *why.chosenVia);
  const auto owner = std::find_if(why.ring->members.begin(), why.ring->members.end(),
                                  [&](const auto& m) { return m.position == why.ring->owner; });
  ASSERT_NE(owner, why.ring->members.end());
  EXPECT_EQ(owner->via, *why.chosenVia);
}

struct Break {
  const char* name;
  std::function<void(Sim::Agent&)> apply;
  WhyMissing expected;
  const char* remedyMentions;  // the input that would repair it
};

class BrokenInputTest : public BranchExplanationTest,
                        public ::testing::WithParamInterface<Break> {};

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

// A label's explanation lists its branches with their justifications, and the peers its FECs
// reach part of the way without a branch.
TEST_F(BranchExplanationTest, ALabelListsItsBranchesAndThePeersItMisses) {
  agent.peerBindingIs(kOther, kFec, Vela::MplsLabel(300));  // no address: never reachable
  const auto why = Quill::explainLabel(*agent.manager(), kLocal);
  ASSERT_EQ(why.branches.size(), 1u);
  ASSERT_EQ(why.branches[0].justifications.size(), 1u);
  EXPECT_EQ(why.branches[0].justifications[0].peer, kPeer);
  ASSERT_EQ(why.absent.size(), 1u);
  EXPECT_EQ(why.absent[0].peer, kOther);
  EXPECT_EQ(why.absent[0].missing, WhyMissing::kNoTransportAddress);
  EXPECT_TRUE(Quill::explainLabel(*agent.manager(), Vela::MplsLabel(999)).branches.empty());
}

}  // namespace
