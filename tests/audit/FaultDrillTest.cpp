// An observer of a stage's output that throws in the middle of a cascade stops the cascade
// halfway: some stages have seen the change and some have not. Whatever state that leaves, a
// restart rebuilds every stage from the inputs, and the audit finds every table consistent again.
// Each case arms a throwing observer on one stage's output, makes a change that cascades through
// every stage (the observer must throw, or the case tests nothing), disarms it, makes further
// changes over the half-updated state, restarts and audits.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "sim/Soak.h"
#include "sim/Topology.h"

namespace {

struct Injected : std::runtime_error {
  Injected() : std::runtime_error("injected fault") {}
};

// Counts the notifications of one collection (entries added and removed) and throws on the
// `throwAt`-th one after arming, once.
struct Fault {
  virtual ~Fault() = default;
  void notified() {
    if (++count != throwAt) return;
    throwAt = 0;
    throw Injected();
  }
  int count = 0;
  int throwAt = 0;
};

// A fault hooked on one of the agent's collections, whatever its type.
template <class Coll>
struct Thrower : Fault, Coll::NotifieeConst {
  explicit Thrower(const Vox::Ptr<Coll>& coll) {
    this->notifierIs(Vox::Ptr<const Coll>(coll));
    this->hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo&, const void*) override { notified(); }
};
template <class Coll>
std::shared_ptr<Fault> faultOn(const Vox::Ptr<Coll>& coll) {
  return std::make_shared<Thrower<Coll>>(coll);
}

using Colls = const Mpls::PipelineCollections&;
struct Stage {
  const char* name;
  std::shared_ptr<Fault> (*hook)(Colls);
};

const Stage kStages[] = {
    {"inversion", [](Colls c) { return faultOn(c.ipAddrRouterId); }},
    {"routerNexthop", [](Colls c) { return faultOn(c.routerNexthop); }},
    {"intfRouterNexthop", [](Colls c) { return faultOn(c.intfRouterNexthop); }},
    {"routerIpNexthop", [](Colls c) { return faultOn(c.routerIpNexthop); }},
    {"filteredNexthop", [](Colls c) { return faultOn(c.filteredNexthop); }},
    {"fecRouterNexthop", [](Colls c) { return faultOn(c.fecRouterNexthop); }},
    {"lfib", [](Colls c) { return faultOn(c.lfib); }},
};

// Which of the stage's notifications in the cascade throws.
enum class When { first, last };
using DrillParam = std::tuple<std::size_t, bool, When>;  // stage, peer up (else down), when

class FaultDrillTest : public ::testing::TestWithParam<DrillParam> {
 protected:
  // Four peers over two links each and twelve FECs, each bound by one peer, so that a peer going
  // down or up adds or removes whole entries in every stage's output.
  const Sim::Topology topology{Sim::Topology::Shape{"drill", 4, 2, 12, 1}};
  static constexpr uint32_t kPeer = 1;
  Sim::Agent agent;
};

TEST_P(FaultDrillTest, ARestartAfterAThrowMidCascadeLeavesEveryTableConsistent) {
  const auto [stage, up, when] = GetParam();
  topology.apply(agent);
  ASSERT_TRUE(Sim::auditAgent(agent).ok());
  const uint64_t fullLfib = agent.colls().lfib->labelForwardings();
  ASSERT_EQ(fullLfib, 12u);
  // The drilled change is peer(up); peer(!up) undoes it.
  const auto peer = [&](bool toUp) {
    toUp ? topology.peerUp(agent, kPeer) : topology.peerDown(agent, kPeer);
  };
  if (up) peer(false);

  // A dry run counts the stage's notifications in the cascade, to throw at the first or last.
  const auto fault = kStages[stage].hook(agent.colls());
  peer(up);
  const int notifications = fault->count;
  ASSERT_GT(notifications, 0) << "the cascade never reaches this stage's output";
  peer(!up);

  fault->count = 0;
  fault->throwAt = when == When::first ? 1 : notifications;
  EXPECT_THROW(peer(up), Injected);
  // The throw left the rest of the change unmade too: the host retries it whole.
  peer(up);

  // More changes over whatever the fault left, then the restart.
  topology.linkDown(agent, 2, 1);
  topology.linkUp(agent, 2);
  agent.restart();
  const auto report = Sim::auditAgent(agent);
  EXPECT_TRUE(report.ok()) << report.text();

  // The restarted pipeline carries on: back to the full topology and the full LFIB.
  if (!up) peer(true);
  const auto after = Sim::auditAgent(agent);
  EXPECT_TRUE(after.ok()) << after.text();
  EXPECT_EQ(agent.colls().lfib->labelForwardings(), fullLfib);
}

std::string drillName(const ::testing::TestParamInfo<DrillParam>& param) {
  const auto [stage, up, when] = param.param;
  return std::string(kStages[stage].name) + (up ? "_peerUp" : "_peerDown") +
         (when == When::first ? "_first" : "_last");
}

INSTANTIATE_TEST_SUITE_P(EveryStage, FaultDrillTest,
                         ::testing::Combine(::testing::Range<std::size_t>(0, std::size(kStages)),
                                            ::testing::Bool(),
                                            ::testing::Values(When::first, When::last)),
                         drillName);

}  // namespace
