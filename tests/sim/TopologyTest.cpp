#include "sim/Topology.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>

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

class TopologyTest : public ::testing::Test {
 protected:
  TopologyTest() : topology(*Topology::profile("small")) { topology.apply(agent); }

  Topology topology;
  Sim::Agent agent;
};

TEST(TopologyShapeTest, EveryFecHasDistinctPeersAndPeersShareTheFecsEvenly) {
  for (const Topology::Shape& shape : Topology::profiles()) {
    SCOPED_TRACE(shape.name);
    const Topology topology(shape);
    std::vector<std::vector<uint32_t>> fecsOfPeer(shape.peers);
    for (uint32_t f = 0; f < shape.fecs; ++f) {
      std::set<uint32_t> peers;
      for (uint32_t j = 0; j < shape.peersPerFec; ++j) {
        const uint32_t peer = topology.fecPeer(f, j);
        ASSERT_LT(peer, shape.peers);
        peers.insert(peer);
        fecsOfPeer[peer].push_back(f);
      }
      ASSERT_EQ(peers.size(), shape.peersPerFec) << "FEC " << f;
    }
    const uint64_t mean = topology.pairs() / shape.peers;
    for (uint32_t peer = 0; peer < shape.peers; ++peer) {
      ASSERT_EQ(topology.peerFecs(peer), fecsOfPeer[peer]) << "peer " << peer;
      EXPECT_LE(fecsOfPeer[peer].size(), mean + shape.peersPerFec) << "peer " << peer;
      EXPECT_GE(fecsOfPeer[peer].size() + shape.peersPerFec, mean) << "peer " << peer;
    }
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

// Each change changes what it must, and is undone by its counterpart (that the agent follows
// its rules meanwhile is BaselineLfibTest's, against the baseline, and PipelinePropertyTest's).
TEST_F(TopologyTest, ChangesMoveOnlyWhatTheyMustAndTheirCounterpartsRestoreEverything) {
  const auto before = lfibLines(agent);
  const auto chosenBefore = chosenVias(agent);
  // A link goes down and up again: its trees come back to it (that only they moved, and only off
  // it, is PipelinePropertyTest's ViaChoicesMoveOnlyWhereTheyMust).
  topology.linkDown(agent, 5, 2);
  EXPECT_NE(chosenVias(agent), chosenBefore);
  topology.linkUp(agent, 5);
  EXPECT_EQ(chosenVias(agent), chosenBefore);
  EXPECT_EQ(lfibLines(agent), before);
  // A peer goes down: exactly its branches and its state go.
  const uint32_t peer = 7;
  topology.peerDown(agent, peer);
  const std::string router = " " + topology.routerId(peer).valueToStrep();
  std::set<std::string> expected;
  for (const std::string& line : before) {
    if (!line.ends_with(router)) expected.insert(line);
  }
  EXPECT_EQ(lfibLines(agent), expected);
  EXPECT_EQ(before.size() - expected.size(), topology.peerFecs(peer).size());
  EXPECT_FALSE(agent.colls().transportAddrs->routerIpAddr(topology.routerId(peer)));
  EXPECT_FALSE(agent.colls().intfAddrs->routerIpAddr(topology.routerId(peer)));
  EXPECT_FALSE(agent.colls().peerTables->bindingTable(topology.routerId(peer)));
  topology.peerUp(agent, peer);
  EXPECT_EQ(lfibLines(agent), before);
  // A local label changes: one entry moves whole.
  const uint32_t f = 123;
  topology.localLabelIs(agent, f, true);
  EXPECT_FALSE(agent.colls().lfib->labelForwarding(topology.localLabel(f)));
  const auto entry = agent.colls().lfib->labelForwarding(topology.alternateLocalLabel(f));
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->forwardingInfos(), topology.shape().peersPerFec);
  topology.localLabelIs(agent, f, false);
  EXPECT_EQ(lfibLines(agent), before);
}

}  // namespace
