// The explanation over random worlds: it says a branch is present exactly when the LFIB has one
// for the pair, and for every absent branch the condition it names is the first, in pipeline
// order, that the input collections fail, checked here from the inputs alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "quill/why/BranchExplanation.h"
#include "sim/RandomWorld.h"
#include "sim/Soak.h"

namespace {

using Quill::WhyMissing;

// The input conditions of a branch, in pipeline order, read straight from the inputs.
std::vector<std::pair<WhyMissing, bool>> conditions(const Mpls::PipelineCollections& in,
                                                    const Mpls::FwdEqvClass& fec,
                                                    const Mpls::RouterId& peer) {
  const auto local = in.localTable->binding(fec);
  const auto table = in.peerTables->bindingTable(peer);
  const bool bound = table && table->binding(fec);
  const auto transport = in.transportAddrs->routerIpAddr(peer);
  const auto intfAddrs = in.intfAddrs->routerIpAddr(peer);
  bool resolves = false, mpls = false, direct = false;
  if (transport) {
    for (const auto& address : transport->ipAddrColl()) {
      const auto nexthop = in.ipNexthop->ipNexthop(address);
      if (!nexthop) continue;
      for (const auto& via : nexthop->viaColl()) {
        resolves = true;
        const bool enabled = in.mplsIntfs->intfId(via.intfId());
        mpls = mpls || enabled;
        direct = direct || (enabled && intfAddrs && intfAddrs->ipAddr(via.hop()));
      }
    }
  }
  const auto labels = in.fecRouterLabel->fecRouterLabel(fec);
  const auto peerLabels = labels ? labels->routerLabelInfo(peer) : nullptr;
  return {
      {WhyMissing::kNoLocalLabel, local && local->mplsLabels() != 0},
      {table && table->filteredFec(fec) ? WhyMissing::kFecFiltered : WhyMissing::kNoPeerBinding,
       bound},
      {WhyMissing::kNoTransportAddress, transport && transport->ipAddrs() != 0},
      {WhyMissing::kAddressUnresolved, resolves},
      {WhyMissing::kNoMplsInterface, mpls},
      {WhyMissing::kNotDirect, direct},
      {WhyMissing::kNoPeerLabel, peerLabels && peerLabels->routerLabels() != 0},
  };
}

TEST(WhyPropertyTest, PresenceIsTheLfibsAndEveryReasonHoldsInTheInputs) {
  // The hand-written stages may keep what an entity removed whole contributed until they
  // restart: their branches are compared with the inputs only right after a restart.
  const bool inputsRuleEveryChange = Sim::allStagesCompiled();
  std::set<WhyMissing> reasonsSeen;
  std::size_t present = 0, absent = 0;
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    std::mt19937_64 random(seed);
    Sim::Agent agent;
    Sim::RandomWorld world(agent);
    const auto& in = agent.colls();
    for (int step = 0; step < 250; ++step) {
      const std::string change = world.apply(static_cast<uint32_t>(random()), random());
      const bool inputsRule = inputsRuleEveryChange || world.lastWasRestart();
      // The universe: every FEC and peer any collection names, and one nobody knows.
      std::set<Mpls::FwdEqvClass> fecs{
          Mpls::FwdEqvClass::p2mpLspId(Vela::IpGenAddr(Vela::IpAddr(0x01010101)), 99)};
      std::set<Mpls::RouterId> peers{Mpls::RouterId(0x09090909, 0)};
      std::set<Mpls::FecRouter> inLfib;
      for (const auto [fec, binding] : in.localTable->bindingColl())
        fecs.insert(fec);
      for (const auto [fec, perFec] : in.fecRouterLabel->fecRouterLabelColl()) {
        fecs.insert(fec);
        for (const auto [peer, labels] : perFec.routerLabelInfoColl())
          peers.insert(peer);
      }
      for (const auto [peer, table] : in.peerTables->bindingTableColl())
        peers.insert(peer);
      for (const auto [peer, addresses] : in.transportAddrs->routerIpAddrColl())
        peers.insert(peer);
      for (const auto [label, entry] : in.lfib->labelForwardingColl()) {
        for (const auto [branch, info] : entry.forwardingInfoColl()) {
          for (const auto& pair : info.fecRouterColl())
            inLfib.insert(pair);
        }
      }
      for (const auto& fec : fecs) {
        for (const auto& peer : peers) {
          const auto why = Quill::explainBranch(*agent.manager(), fec, peer);
          const std::string where = "seed " + std::to_string(seed) + " step " +
                                    std::to_string(step) + " after " + change + ": " +
                                    fec.valueToStrep() + " " + peer.valueToStrep();
          ASSERT_EQ(why.present(), inLfib.count(Mpls::FecRouter(fec, peer)) == 1) << where;
          const auto all = conditions(in, fec, peer);
          const auto failing = std::ranges::find_if(all, [](const auto& c) { return !c.second; });
          const WhyMissing first = failing == all.end() ? WhyMissing::kNone : failing->first;
          ASSERT_EQ(why.failing, first) << where << ": " << why.reasonFor(why.failing);
          if (why.present()) {
            ++present;
            ASSERT_TRUE(!inputsRule || first == WhyMissing::kNone) << where;
            continue;
          }
          ++absent;
          reasonsSeen.insert(why.missing);
          ASSERT_EQ(why.missing, first) << where << ": " << why.reason();
        }
      }
    }
  }
  EXPECT_GT(present, 100u);
  EXPECT_GT(absent, 100u);
  // No pair is ever out of the LFIB with every input in place, and most reasons occur.
  EXPECT_EQ(reasonsSeen.count(WhyMissing::kNotDerived), 0u);
  EXPECT_GE(reasonsSeen.size(), 6u);
}

}  // namespace
