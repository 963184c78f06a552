#include "sim/Topology.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "quill/audit/PipelineAudit.h"

namespace {

using Sim::Topology;

// Every LFIB branch as "LOCAL-LABEL VIA PEER-LABEL FEC ROUTER", one per justifying pair.
std::set<std::string> lfibLines(const Sim::Agent& agent) {
  std::set<std::string> lines;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
    for (const auto [viaLabel, branch] : entry.forwardingInfoColl()) {
      for (const Mpls::FecRouter& pair : branch.fecRouterColl()) {
        lines.insert(label.valueToStrep() + " " + viaLabel.via().valueToStrep() + " " +
                     viaLabel.label().valueToStrep() + " " + pair.fwdEqvClass().valueToStrep() +
                     " " + pair.routerId().valueToStrep());
      }
    }
  }
  return lines;
}

// The via chosen for each (FEC, router), as text.
std::map<std::string, std::string> chosenVias(const Sim::Agent& agent) {
  std::map<std::string, std::string> chosen;
  for (const auto [fec, info] : agent.colls().fecRouterNexthop->fecRouterNexthopColl()) {
    for (const auto [routerId, routerInfo] : info.routerNexthopInfoColl()) {
      for (const Mpls::FibVia& via : routerInfo.viaColl())
        chosen[fec.valueToStrep() + " " + routerId.valueToStrep()] = via.valueToStrep();
    }
  }
  return chosen;
}

// Empty when the audit finds every stage, resolution included, as its rule says.
std::string auditDifferences(const Sim::Agent& agent) {
  const Quill::ResolutionTables tables{agent.nexthopConfig().ptr(), agent.nexthopStatus().ptr(),
                                       agent.forwardingStatus().ptr()};
  const Quill::AuditReport report = Quill::auditPipeline(*agent.manager(), &tables);
  return report.ok() ? "" : report.text();
}

class TopologyTest : public ::testing::Test {
 protected:
  TopologyTest() : topology(*Topology::profile("small")) { topology.apply(agent); }

  Topology topology;
  Sim::Agent agent;
};

TEST(TopologyShapeTest, EveryFecHasDistinctPeersAndPeersShareTheFecsEvenly) {
  for (const Topology::Shape& shape : Topology::profiles()) {
    const Topology topology(shape);
    std::vector<std::set<uint32_t>> fecsOfPeer(shape.peers);
    for (uint32_t f = 0; f < shape.fecs; ++f) {
      std::set<uint32_t> peers;
      for (uint32_t j = 0; j < shape.peersPerFec; ++j) {
        const uint32_t peer = topology.fecPeer(f, j);
        ASSERT_LT(peer, shape.peers);
        peers.insert(peer);
        fecsOfPeer[peer].insert(f);
      }
      ASSERT_EQ(peers.size(), shape.peersPerFec) << shape.name << " FEC " << f;
    }
    uint64_t total = 0;
    const uint64_t mean = topology.pairs() / shape.peers;
    for (uint32_t peer = 0; peer < shape.peers; ++peer) {
      const std::vector<uint32_t> fecs = topology.peerFecs(peer);
      ASSERT_EQ(std::set<uint32_t>(fecs.begin(), fecs.end()), fecsOfPeer[peer])
          << shape.name << " peer " << peer;
      EXPECT_LE(fecs.size(), mean + shape.peersPerFec) << shape.name << " peer " << peer;
      EXPECT_GE(fecs.size() + shape.peersPerFec, mean) << shape.name << " peer " << peer;
      total += fecs.size();
    }
    EXPECT_EQ(total, topology.pairs()) << shape.name;
  }
  EXPECT_EQ(Topology(*Topology::profile("large")).pairs(), 400000u);
}

TEST(TopologyShapeTest, ShapesThatCannotBeLaidOutAreRefused) {
  EXPECT_THROW(Topology({"x", 4, 4, 10, 5}), std::invalid_argument);
  EXPECT_THROW(Topology({"x", 0, 4, 10, 1}), std::invalid_argument);
  EXPECT_THROW(Topology({"x", 70000, 1, 10, 1}), std::invalid_argument);
  EXPECT_THROW(Topology({"x", 4, 4, 400001, 1}), std::invalid_argument);
  EXPECT_NO_THROW(Topology({"x", 4, 4, 400000, 4}));
}

TEST_F(TopologyTest, FullOutputHasOneBranchPerPairOverThePeersOwnLinks) {
  EXPECT_EQ(auditDifferences(agent), "");
  const auto& lfib = agent.colls().lfib;
  EXPECT_EQ(lfib->labelForwardings(), topology.shape().fecs);
  uint64_t branches = 0;
  for (uint32_t f = 0; f < topology.shape().fecs; ++f) {
    const auto entry = lfib->labelForwarding(topology.localLabel(f));
    ASSERT_TRUE(entry) << f;
    ASSERT_EQ(entry->forwardingInfos(), topology.shape().peersPerFec) << f;
    for (uint32_t j = 0; j < topology.shape().peersPerFec; ++j) {
      const uint32_t peer = topology.fecPeer(f, j);
      int found = 0;
      for (const auto [viaLabel, branch] : entry->forwardingInfoColl()) {
        if (!branch.fecRouter(Mpls::FecRouter(topology.fec(f), topology.routerId(peer)))) continue;
        ++found;
        EXPECT_EQ(viaLabel.label(), topology.peerLabel(f, peer));
        bool ownLink = false;
        for (uint32_t link = 0; link < topology.shape().linksPerPeer; ++link) {
          ownLink |= viaLabel.via() == Mpls::FibVia(Vela::IpGenAddr(topology.linkAddr(peer, link)),
                                                    topology.linkIntf(peer, link));
        }
        EXPECT_TRUE(ownLink) << viaLabel.valueToStrep();
      }
      EXPECT_EQ(found, 1) << "FEC " << f << " peer " << peer;
    }
    branches += entry->forwardingInfos();
  }
  EXPECT_EQ(branches, topology.pairs());
  // Every link carries some trees: the interface-address filter kept all of them.
  std::set<std::string> usedVias;
  for (const auto& [pair, via] : chosenVias(agent))
    usedVias.insert(via);
  EXPECT_EQ(usedVias.size(), uint64_t{topology.shape().peers} * topology.shape().linksPerPeer);
}

TEST_F(TopologyTest, ColdStartOverTheSameInputsGivesTheSameOutput) {
  Sim::Agent cold;
  cold.stop();
  std::ostringstream progress;
  topology.apply(cold, &progress);
  EXPECT_EQ(cold.colls().lfib->labelForwardings(), 0u);
  cold.start();
  EXPECT_EQ(auditDifferences(cold), "");
  EXPECT_EQ(lfibLines(cold), lfibLines(agent));
  EXPECT_NE(progress.str().find("100% (" + std::to_string(topology.changes())), std::string::npos)
      << progress.str();
}

TEST_F(TopologyTest, LinkFlapMovesOnlyTheTreesOnThatLinkAndRestoresEverything) {
  const auto lfibBefore = lfibLines(agent);
  const auto before = chosenVias(agent);
  const uint32_t peer = 5;
  const uint32_t link = 2;
  const std::string downVia =
      Mpls::FibVia(Vela::IpGenAddr(topology.linkAddr(peer, link)), topology.linkIntf(peer, link))
          .valueToStrep();
  topology.linkDown(agent, peer, link);
  EXPECT_EQ(auditDifferences(agent), "");
  const auto during = chosenVias(agent);
  ASSERT_EQ(during.size(), before.size());
  int moved = 0;
  for (const auto& [pair, via] : before) {
    EXPECT_NE(during.at(pair), downVia) << pair;
    if (during.at(pair) != via) {
      ++moved;
      EXPECT_EQ(via, downVia) << pair << " moved although its link stayed";
    }
  }
  EXPECT_GT(moved, 0);
  topology.linkUp(agent, peer);
  EXPECT_EQ(chosenVias(agent), before);
  EXPECT_EQ(lfibLines(agent), lfibBefore);
}

TEST_F(TopologyTest, PeerDownWithdrawsExactlyThatPeersBranchesAndPeerUpRestoresThem) {
  const auto before = lfibLines(agent);
  const uint32_t peer = 7;
  topology.peerDown(agent, peer);
  EXPECT_EQ(auditDifferences(agent), "");
  const auto during = lfibLines(agent);
  const std::string router = " " + topology.routerId(peer).valueToStrep();
  std::set<std::string> expected;
  for (const std::string& line : before) {
    if (!line.ends_with(router)) expected.insert(line);
  }
  EXPECT_EQ(during, expected);
  EXPECT_EQ(before.size() - during.size(), topology.peerFecs(peer).size());
  EXPECT_FALSE(agent.colls().transportAddrs->routerIpAddr(topology.routerId(peer)));
  EXPECT_FALSE(agent.colls().intfAddrs->routerIpAddr(topology.routerId(peer)));
  EXPECT_FALSE(agent.colls().peerTables->bindingTable(topology.routerId(peer)));
  topology.peerUp(agent, peer);
  EXPECT_EQ(lfibLines(agent), before);
}

TEST_F(TopologyTest, LocalLabelChangeMovesOneEntryAndChangingBackRestoresIt) {
  const auto before = lfibLines(agent);
  const uint32_t f = 123;
  topology.localLabelIs(agent, f, true);
  EXPECT_FALSE(agent.colls().lfib->labelForwarding(topology.localLabel(f)));
  const auto moved = agent.colls().lfib->labelForwarding(topology.alternateLocalLabel(f));
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->forwardingInfos(), topology.shape().peersPerFec);
  EXPECT_EQ(auditDifferences(agent), "");
  topology.localLabelIs(agent, f, false);
  EXPECT_EQ(lfibLines(agent), before);
}

}  // namespace
