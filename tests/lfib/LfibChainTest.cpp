// From peer addresses, routes, MPLS interfaces and label bindings to the LFIB, through every
// stage and the simulated resolution service, the way the owning agent runs them.
#include <gtest/gtest.h>

#include <map>

#include "sim/Agent.h"
#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FwdEqvClass;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;

class LfibChainTest : public ::testing::Test {
 protected:
  static constexpr uint32_t kFecs = 60;
  const RouterId peerA = v<RouterId>("2.2.2.2:0");  // reached over two parallel links
  const RouterId peerB = v<RouterId>("3.3.3.3:0");  // on a connected subnet

  static FwdEqvClass fec(uint32_t i) {
    return FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), i);
  }

  void SetUp() override {
    auto& resolution = agent.resolution();
    resolution.routeIs(v<Vela::IpPrefix>("2.2.2.2/32"), {link1, link2});
    resolution.connectedRouteIs(v<Vela::IpPrefix>("10.1.3.0/24"), v<Vela::IntfId>("Ethernet3"));
    for (const char* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      agent.colls().mplsIntfs->intfIdIs(v<Vela::IntfId>(intf));
    }
    agent.colls().transportAddrs->routerIpAddrIs(peerA)->ipAddrIs(v<Vela::IpGenAddr>("2.2.2.2"));
    agent.colls().transportAddrs->routerIpAddrIs(peerB)->ipAddrIs(v<Vela::IpGenAddr>("10.1.3.3"));
    for (const char* addr : {"10.1.1.2", "10.1.2.2"}) {
      agent.colls().intfAddrs->routerIpAddrIs(peerA)->ipAddrIs(v<Vela::IpGenAddr>(addr));
    }
    agent.colls().intfAddrs->routerIpAddrIs(peerB)->ipAddrIs(v<Vela::IpGenAddr>("10.1.3.3"));
    for (uint32_t i = 0; i < kFecs; ++i) {
      agent.colls().localTable->bindingIs(fec(i))->mplsLabelIs(Vela::MplsLabel(100 + i));
      agent.peerBindingIs(peerA, fec(i), Vela::MplsLabel(2000 + i));
      agent.peerBindingIs(peerB, fec(i), Vela::MplsLabel(3000 + i));
    }
  }

  // "local-label via peer-label fec router" per justified branch.
  Lines lfib() const {
    Lines lines;
    for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
      for (const auto [viaLabel, branch] : entry.forwardingInfoColl()) {
        for (const Mpls::FecRouter& fecRouter : branch.fecRouterColl()) {
          lines.insert(
              label.valueToStrep() + " " + viaLabel.via().valueToStrep() + " " +
              viaLabel.label().valueToStrep() + " " +
              std::to_string(static_cast<unsigned char>(fecRouter.fwdEqvClass().opaque().back())) +
              " " + fecRouter.routerId().valueToStrep());
        }
      }
    }
    return lines;
  }
  // The via chosen towards peer A, per FEC.
  std::map<uint32_t, std::string> choicesA() const {
    std::map<uint32_t, std::string> choices;
    for (uint32_t i = 0; i < kFecs; ++i) {
      const auto entry = agent.colls().fecRouterNexthop->fecRouterNexthop(fec(i));
      const auto chosen = entry ? entry->routerNexthopInfo(peerA) : nullptr;
      if (!chosen) continue;
      for (const Mpls::FibVia& via : chosen->viaColl())
        choices[i] = via.valueToStrep();
    }
    return choices;
  }

  const Sim::RouteVia link1{v<Vela::IpAddr>("10.1.1.2"), v<Vela::IntfId>("Ethernet1")};
  const Sim::RouteVia link2{v<Vela::IpAddr>("10.1.2.2"), v<Vela::IntfId>("Ethernet2")};
  Sim::Agent agent;
};

TEST_F(LfibChainTest, EveryLocalLabelReplicatesToEachPeerOverOneChosenLink) {
  const auto choices = choicesA();
  ASSERT_EQ(choices.size(), kFecs);
  Lines expected;
  int onLink1 = 0;
  for (uint32_t i = 0; i < kFecs; ++i) {
    const std::string local = std::to_string(100 + i);
    expected.insert(local + " " + choices.at(i) + " " + std::to_string(2000 + i) + " " +
                    std::to_string(i) + " 2.2.2.2:0");
    expected.insert(local + " 10.1.3.3-Ethernet3 " + std::to_string(3000 + i) + " " +
                    std::to_string(i) + " 3.3.3.3:0");
    onLink1 += choices.at(i) == "10.1.1.2-Ethernet1";
  }
  EXPECT_EQ(lfib(), expected);
  EXPECT_GT(onLink1, 10);  // both links carry a fair share
  EXPECT_LT(onLink1, 50);
}

TEST_F(LfibChainTest, ALinkFailureMovesOnlyItsFecsAndRecoveryRestoresThem) {
  const auto before = choicesA();
  agent.resolution().routeIs(v<Vela::IpPrefix>("2.2.2.2/32"), {link1});
  const auto during = choicesA();
  for (const auto& [i, via] : during) {
    EXPECT_EQ(via, "10.1.1.2-Ethernet1");
    if (before.at(i) == "10.1.1.2-Ethernet1") {
      EXPECT_EQ(via, before.at(i)) << "FEC " << i << " moved needlessly";
    }
  }
  agent.resolution().routeIs(v<Vela::IpPrefix>("2.2.2.2/32"), {link1, link2});
  EXPECT_EQ(choicesA(), before);
}

TEST_F(LfibChainTest, WithdrawalsEmptyTheLfibStepByStep) {
  agent.colls().mplsIntfs->intfIdDel(v<Vela::IntfId>("Ethernet3"));  // peer B unreachable over MPLS
  for (const std::string& line : lfib())
    EXPECT_EQ(line.find("3.3.3.3:0"), std::string::npos) << line;
  agent.peerTableDrop(peerA);  // peer A withdraws all its labels
  EXPECT_TRUE(lfib().empty());
  EXPECT_EQ(agent.colls().fecRouterLabel->fecRouterLabels(), kFecs);  // B's labels remain
}

TEST_F(LfibChainTest, ARestartRebuildsTheSameLfib) {
  const Lines before = lfib();
  agent.restart();
  EXPECT_EQ(lfib(), before);
  EXPECT_EQ(agent.notifiers()->notifierSms(), 2u);
}

}  // namespace
