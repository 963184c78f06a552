// Long random sequences of input changes through the whole agent, audited against every stage's
// rule. The suite runs twice (see tests/CMakeLists.txt): with the compiled stages, which must
// agree with the rules after every change, and with the hand-written ones, which may keep what an
// input entity removed whole contributed until their next initialization, so they are audited
// after every restart. Either keeps the shape of its outputs (Sim::auditShapes) after every
// change.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <span>

#include "sim/RandomWorld.h"
#include "sim/Soak.h"

namespace {

TEST(PipelinePropertyTest, EveryStageFollowsItsRuleThroughRandomChanges) {
  const bool auditEveryChange = Sim::allStagesCompiled();
  std::size_t audits = 0;
  std::size_t elements = 0;
  std::size_t branchesByFamily[2] = {};  // audited LFIB branches over IPv4, IPv6 next hops
  std::size_t sharedBranches = 0;        // ... and those that several FECs justify
  std::size_t wholeRemovals = 0;         // entities removed with what they held
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    std::mt19937_64 random(seed);
    Sim::Agent agent;
    Sim::RandomWorld world(agent);
    std::vector<std::string> history;
    for (int step = 0; step < 500; ++step) {
      history.push_back(world.apply(static_cast<uint32_t>(random()), random()));
      wholeRemovals += history.back().ends_with(" removed whole");
      Quill::AuditReport report;
      if (auditEveryChange || world.lastWasRestart()) {
        report = Sim::auditAgent(agent);
        ++audits;
        elements += report.elementsChecked;
        for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
          for (const auto [branch, info] : entry.forwardingInfoColl()) {
            ++branchesByFamily[branch.via().hop().isV6()];
            sharedBranches += info.fecRouters() > 1;
          }
        }
      }
      Sim::auditShapes(agent, report);  // which every variant keeps after every change
      if (!report.ok()) {
        std::string trail;
        const std::size_t shown = std::min<std::size_t>(history.size(), 12);
        for (const std::string& change : std::span(history).last(shown))
          trail += "  " + change + "\n";
        FAIL() << "seed " << seed << " step " << step << ", last changes:\n"
               << trail << report.text();
      }
    }
    agent.restart();  // every sequence ends with an audit after a restart
    auto report = Sim::auditAgent(agent);
    Sim::auditShapes(agent, report);
    ASSERT_TRUE(report.ok()) << "seed " << seed << " after the final restart: " << report.text();
  }
  EXPECT_GT(audits, 12u);
  EXPECT_GT(elements, 1000u) << "the sequences built a non-trivial LFIB";
  EXPECT_GT(std::min(branchesByFamily[0], branchesByFamily[1]), audits / 4)
      << "both families' next hops reached the LFIB";
  EXPECT_GT(sharedBranches, audits / 40) << "FECs sharing labels shared branches";
  EXPECT_GT(wholeRemovals, 400u) << "entities removed whole, with what they held";
}

// When a router's filtered vias change by one via, FECs move only onto an added via, or only off
// a removed one; a restart, which rebuilds every ring, moves none. (The hand-written stages may
// still hold choices for entities removed whole, which the audit calls stale: a restart drops
// those, and only those.)
TEST(PipelinePropertyTest, ViaChoicesMoveOnlyWhereTheyMust) {
  using Choices = std::map<std::pair<std::string, std::string>, Mpls::FibVia>;
  const auto choicesOf = [](const Sim::Agent& agent) {
    Choices choices;
    for (const auto [fec, entry] : agent.colls().fecRouterNexthop->fecRouterNexthopColl()) {
      for (const auto [routerId, chosen] : entry.routerNexthopInfoColl()) {
        choices.emplace(std::pair(fec.valueToStrep(), routerId.valueToStrep()),
                        *chosen.viaColl().begin());
      }
    }
    return choices;
  };
  const auto viasOf = [](const Sim::Agent& agent) {
    std::map<std::string, std::set<std::string>> vias;
    for (const auto [routerId, info] : agent.colls().filteredNexthop->routerNexthopColl()) {
      for (const auto& via : info.viaColl())
        vias[routerId.valueToStrep()].insert(via.valueToStrep());
    }
    return vias;
  };
  int checked = 0, restarts = 0;
  for (uint32_t seed = 100; seed < 106; ++seed) {
    std::mt19937_64 random(seed);
    Sim::Agent agent;
    Sim::RandomWorld world(agent);
    for (int step = 0; step < 400; ++step) {
      const auto choicesBefore = choicesOf(agent);
      const auto viasBefore = viasOf(agent);
      const bool staleBefore = !Sim::allStagesCompiled() && !Sim::auditAgent(agent).ok();
      const std::string change = world.apply(static_cast<uint32_t>(random()), random());
      const auto choicesAfter = choicesOf(agent);
      if (world.lastWasRestart()) {
        ++restarts;
        Choices kept;
        for (const auto& [pair, via] : choicesBefore) {
          if (choicesAfter.contains(pair)) kept.emplace(pair, via);
        }
        EXPECT_EQ(choicesAfter, kept) << "a restart chose anew";
        if (!staleBefore) {
          EXPECT_EQ(choicesAfter, choicesBefore) << "a restart dropped a choice";
        }
        continue;
      }
      const auto viasAfter = viasOf(agent);
      for (const auto& [pair, via] : choicesAfter) {
        const auto before = choicesBefore.find(pair);
        if (before == choicesBefore.end() || before->second == via) continue;
        const auto& oldVias =
            viasBefore.count(pair.second) ? viasBefore.at(pair.second) : std::set<std::string>{};
        const auto& newVias = viasAfter.at(pair.second);
        std::vector<std::string> added, removed;
        std::set_difference(newVias.begin(), newVias.end(), oldVias.begin(), oldVias.end(),
                            std::back_inserter(added));
        std::set_difference(oldVias.begin(), oldVias.end(), newVias.begin(), newVias.end(),
                            std::back_inserter(removed));
        if (added.size() + removed.size() != 1) continue;  // several vias changed at once
        ++checked;
        if (added.size() == 1) {
          EXPECT_EQ(via.valueToStrep(), added[0])
              << change << ": " << pair.first << " moved elsewhere";
        } else {
          EXPECT_EQ(before->second.valueToStrep(), removed[0])
              << change << ": " << pair.first << " left a via that stayed";
        }
      }
    }
  }
  EXPECT_GT(checked, 10);
  EXPECT_GT(restarts, 5);
}

}  // namespace
