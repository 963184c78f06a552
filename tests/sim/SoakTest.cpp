// The soak's bookkeeping: the memory comparison between the first and last tenths, the audit
// tally that turns differences into a failure, the full world it measures at, and short runs of
// both drivers, which must pass and repeat exactly under the same seed.
#include "sim/Soak.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

#include "sim/RandomWorld.h"

namespace {

using Sim::MemorySample;

// Samples over a run of 100 steps, and the growth expected of them (if they are compared).
struct GrowthCase {
  const char* name;
  std::vector<MemorySample> samples;
  bool compared;
  double tracked, resident;
};

const GrowthCase kGrowthCases[] = {
    {"flat", {{10, 100, 1000}, {50, 500, 5000}, {100, 100, 1000}}, true, 0, 0},
    // The middle of the run is not compared, and the largest of each tenth counts.
    {"largestOfEachTenth",
     {{5, 100, 1000}, {10, 200, 900}, {91, 202, 1100}, {95, 150, 10}},
     true,
     0.01,
     0.1},
    {"shrinks", {{10, 200, 1000}, {100, 100, 500}}, true, -0.5, -0.5},
    // Tenths are steps / 10 long: step 10 is in the first, step 90 not yet in the last.
    {"tenthBoundaries", {{10, 100, 1}, {11, 999, 1}, {90, 999, 1}, {91, 100, 1}}, true, 0, 0},
    // From zero, a figure that appears grows by 100% and one that stays zero by nothing.
    {"fromZero", {{1, 0, 0}, {100, 8, 0}}, true, 1.0, 0},
    {"noFirstTenth", {{50, 1, 1}, {100, 1, 1}}, false, 0, 0},
    {"noLastTenth", {{10, 1, 1}, {50, 1, 1}}, false, 0, 0},
    {"noSample", {}, false, 0, 0},
};

class MemoryGrowthTest : public ::testing::TestWithParam<GrowthCase> {};

TEST_P(MemoryGrowthTest, ComparesTheLargestSamplesOfTheFirstAndLastTenths) {
  const GrowthCase& c = GetParam();
  const auto growth = Sim::memoryGrowth(c.samples, 100);
  ASSERT_EQ(growth.has_value(), c.compared);
  if (!growth) return;
  EXPECT_NEAR(growth->tracked, c.tracked, 1e-12);
  EXPECT_NEAR(growth->resident, c.resident, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Cases, MemoryGrowthTest, ::testing::ValuesIn(kGrowthCases),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(SoakResultTest, PassesOnlyWithoutDifferencesAndWithinTheLimit) {
  Sim::SoakResult result(false);
  result.steps = 100;
  result.samples = {{10, 1000, 100000}, {100, 1005, 102000}};
  EXPECT_TRUE(result.passed(0.01, false));
  EXPECT_FALSE(result.passed(0.01, true)) << "resident size grew by 2%";
  EXPECT_TRUE(result.passed(0.03, true));
  EXPECT_FALSE(result.passed(0.004, false)) << "tracked bytes grew by 0.5%";
  result.samples.pop_back();
  EXPECT_FALSE(result.passed(1.0, false)) << "no sample in the last tenth";
}

// An agent with one LFIB branch, whose LFIB stage output can be corrupted behind its back.
class AuditTallyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    world.fill();
    ASSERT_TRUE(Sim::auditAgent(agent).ok());
  }
  void corrupt() {
    agent.manager()->hasNotificationActiveIs(false);
    agent.colls().lfib->labelForwardingDel(Vela::MplsLabel(100));
    agent.manager()->hasNotificationActiveIs(true);
  }
  Sim::Agent agent;
  Sim::RandomWorld world{agent};
};

// A difference fails a strict tally, which says where it was found; a tally that allows stale
// entries counts none and restarts the agent, which must clear them.
TEST_F(AuditTallyTest, ADifferenceFailsWithWhereItWasFoundUnlessARestartMayClearIt) {
  Sim::AuditTally tally(false);
  tally.audit(agent, "first");
  corrupt();
  tally.audit(agent, "second");
  EXPECT_EQ(tally.audits(), 2u);
  EXPECT_GT(tally.differences(), 0u);
  EXPECT_EQ(tally.firstFailure().rfind("second:\n", 0), 0u) << tally.firstFailure();
  EXPECT_NE(tally.firstFailure().find("\n  stage 7 (LFIB): missing 100 "), std::string::npos)
      << tally.firstFailure();
  EXPECT_EQ(tally.staleCleared(), 0u);
  EXPECT_FALSE(Sim::auditAgent(agent).ok()) << "a strict tally leaves the agent as it is";

  Sim::AuditTally lenient(true);
  lenient.audit(agent, "here");
  EXPECT_EQ(lenient.differences(), 0u);
  EXPECT_GT(lenient.staleCleared(), 0u);
  EXPECT_TRUE(Sim::auditAgent(agent).ok()) << "the tally restarted the agent";
}

// The LFIB as label -> number of branches: what the world's size shows downstream.
std::map<std::string, std::size_t> lfibShape(const Sim::Agent& agent) {
  std::map<std::string, std::size_t> shape;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl())
    shape[label.valueToStrep()] = entry.forwardingInfos();
  return shape;
}

TEST(RandomWorldFillTest, BringsAnyHistoryToTheSameFullWorld) {
  Sim::Agent fresh;
  Sim::RandomWorld freshWorld(fresh);
  const std::size_t changes = freshWorld.fill();
  EXPECT_GT(changes, 50u);
  const auto full = lfibShape(fresh);
  ASSERT_EQ(full.size(), 9u) << "six FECs' own local labels, and one for each pair of them";

  for (uint32_t seed = 1; seed <= 5; ++seed) {
    Sim::Agent agent;
    Sim::RandomWorld world(agent);
    std::mt19937_64 random(seed);
    for (int step = 0; step < 300; ++step)
      world.apply(static_cast<uint32_t>(random()), random());
    EXPECT_EQ(world.fill(), changes);
    EXPECT_EQ(lfibShape(agent), full) << "seed " << seed;
  }
}

TEST(SoakRunTest, ARandomSoakPassesAndRepeatsUnderItsSeed) {
  Sim::RandomSoakOptions options{
      .changes = 4000, .auditEvery = 200, .restartEvery = 1500, .sampleEvery = 400};
  const Sim::SoakResult first = Sim::runRandomSoak(options, nullptr);
  EXPECT_TRUE(first.passed(0.01, false)) << first.audits.firstFailure();
  EXPECT_EQ(first.samples.size(), 10u);
  EXPECT_EQ(first.audits.audits(), 4000u / 200 + 1);
  EXPECT_GE(first.restarts, 2u);
  EXPECT_GT(first.inputChanges, first.steps);  // the fills
  EXPECT_EQ(first.lfibEntries, 9u) << "the last sample filled the world";

  const Sim::SoakResult again = Sim::runRandomSoak(options, nullptr);
  EXPECT_EQ(again.fingerprint, first.fingerprint);
  EXPECT_EQ(again.restarts, first.restarts);
  EXPECT_EQ(again.audits.elementsChecked(), first.audits.elementsChecked());

  options.seed = 2;
  EXPECT_NE(Sim::runRandomSoak(options, nullptr).fingerprint, first.fingerprint);
}

TEST(SoakRunTest, AChurnDrillPassesAndEndsOnTheFullTopology) {
  const Sim::ChurnOptions options{.profile = "small",
                                  .flaps = 100,
                                  .peerCycles = 10,
                                  .auditEvery = 50,
                                  .restartEvery = 60,
                                  .sampleEvery = 10};
  const Sim::SoakResult result = Sim::runChurnDrill(options, nullptr);
  // So short a run is still filling its tables' capacities: a looser limit.
  EXPECT_TRUE(result.passed(0.05, false)) << result.audits.firstFailure();
  EXPECT_EQ(result.peerCycles, 10u);
  EXPECT_EQ(result.restarts, 1u);
  EXPECT_EQ(result.audits.audits(), 1u + 2 + 1);  // the full topology, two in the run, the end
  EXPECT_EQ(result.lfibEntries, 1000u);
  EXPECT_EQ(Sim::runChurnDrill(options, nullptr).fingerprint, result.fingerprint);
}

TEST(SoakRunTest, RejectsEmptyRunsAndUnknownProfiles) {
  EXPECT_THROW(Sim::runRandomSoak({.changes = 0}, nullptr), std::invalid_argument);
  EXPECT_THROW(Sim::runChurnDrill({.profile = "huge"}, nullptr), std::invalid_argument);
  EXPECT_THROW(Sim::runChurnDrill({.profile = "small", .sampleEvery = 0}, nullptr),
               std::invalid_argument);
}

}  // namespace
