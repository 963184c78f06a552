#include "bench/baseline/BaselineLfib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "platform/vox/TrackingAllocator.h"
#include "sim/Agent.h"
#include "sim/Soak.h"
#include "sim/Topology.h"

namespace {

using Baseline::BaselineLfib;
using Baseline::Branch;
using Sim::Topology;

// Passes every change to two sinks, the first first: an agent and a baseline see the same changes
// in the same order.
class BothSinks : public Sim::RelaySink {
 public:
  BothSinks(TopologySink& first, TopologySink& second) : first_(first), second_(second) {}
  void relay(const Change& change) override {
    change(first_);
    change(second_);
  }

 private:
  TopologySink& first_;
  TopologySink& second_;
};

// "N only in WHERE, such as B; " for the branches of `from` missing in `other`.
std::string onlyIn(const char* where, const std::vector<Branch>& from,
                   const std::vector<Branch>& other) {
  std::vector<Branch> missing;
  std::set_difference(from.begin(), from.end(), other.begin(), other.end(),
                      std::back_inserter(missing));
  if (missing.empty()) return "";
  const Branch& first = missing.front();
  return std::to_string(missing.size()) + " only in " + where + ", such as " +
         first.localLabel.valueToStrep() + " " + first.via.valueToStrep() + " " +
         first.peerLabel.valueToStrep() + "; ";
}

using Choice = std::tuple<Mpls::FwdEqvClass, Mpls::RouterId, Mpls::FibVia>;

// The agent's LFIB branches and chosen vias, each sorted, as the baseline lists its own.
std::vector<Branch> quillBranches(const Sim::Agent& agent) {
  std::vector<Branch> out;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
    for (const auto [viaLabel, branch] : entry.forwardingInfoColl())
      out.push_back({label, viaLabel.via(), viaLabel.label()});
  }
  std::sort(out.begin(), out.end());
  return out;
}
std::vector<Choice> quillChoices(const Sim::Agent& agent) {
  std::vector<Choice> out;
  for (const auto [fec, entry] : agent.colls().fecRouterNexthop->fecRouterNexthopColl()) {
    for (const auto [routerId, chosen] : entry.routerNexthopInfoColl()) {
      for (const Mpls::FibVia& via : chosen.viaColl())
        out.emplace_back(fec, routerId, via);
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}
std::vector<Choice> baselineChoices(const BaselineLfib& baseline) {
  std::vector<Choice> out;
  baseline.forEachChoice([&](const Mpls::FwdEqvClass& fec, const Mpls::RouterId& routerId,
                             const Mpls::FibVia& via) { out.emplace_back(fec, routerId, via); });
  std::sort(out.begin(), out.end());
  return out;
}

BaselineLfib::Capacity smallCapacity() {
  return {.routers = 16, .fecs = 1000, .pairs = 4000, .routes = 16, .vias = 64, .intfs = 64};
}

// The small topology applied to an agent and to a baseline through one sink, so that both see
// every change in the same order.
class BaselineLfibTest : public ::testing::Test {
 protected:
  BaselineLfibTest()
      : topology(*Topology::profile("small")),
        baseline(smallCapacity()),
        agentSink(agent),
        both(agentSink, baseline) {
    topology.apply(both);
  }

  // Empty when the baseline's LFIB and chosen vias are the agent's.
  std::string disagreement() const { return disagreement(agent, baseline); }
  static std::string disagreement(const Sim::Agent& agent, const BaselineLfib& baseline) {
    const auto quill = quillBranches(agent);
    const std::string lfib = onlyIn("Quill", quill, baseline.branches()) +
                             onlyIn("the baseline", baseline.branches(), quill);
    if (!lfib.empty()) return lfib;
    return quillChoices(agent) == baselineChoices(baseline) ? "" : "the chosen vias differ";
  }

  Topology topology;
  Sim::Agent agent;
  BaselineLfib baseline;
  Sim::AgentSink agentSink;
  BothSinks both;
};

// One change of each kind the random sequence below does not make, and (`undo`) the change that
// undoes it (peers, local labels, links, MPLS interfaces and peer bindings are its own).
struct ChangeCase {
  const char* name;
  std::function<void(const Topology&, Sim::TopologySink&, bool undo)> change;
};
// A failing case names itself rather than printing its bytes.
void PrintTo(const ChangeCase& c, std::ostream* os) {
  *os << c.name;
}

class BaselineChangeTest : public BaselineLfibTest,
                           public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(BaselineChangeTest, AgreesWithTheAgentAfterTheChangeAndAfterItsUndoing) {
  const std::vector<Baseline::Branch> before = baseline.branches();
  GetParam().change(topology, both, false);
  EXPECT_EQ(disagreement(), "");
  EXPECT_NE(baseline.branches(), before) << "the change changed nothing";
  GetParam().change(topology, both, true);
  EXPECT_EQ(disagreement(), "");
  EXPECT_EQ(baseline.branches(), before);
}

constexpr uint32_t kPeer = 5;
constexpr uint32_t kFec = 123;

std::vector<ChangeCase> changeCases() {
  using Sink = Sim::TopologySink;
  return {
      {"LocalBindingWithdrawn",
       [](const Topology& t, Sink& s, bool undo) {
         (s.*(undo ? &Sink::localLabelIs : &Sink::localLabelDel))(t.fec(kFec), t.localLabel(kFec));
       }},
      {"InterfaceAddress",
       [](const Topology& t, Sink& s, bool undo) {
         (s.*(undo ? &Sink::intfAddrIs : &Sink::intfAddrDel))(t.routerId(kPeer),
                                                              t.linkAddr(kPeer, 3));
       }},
      {"TransportAddress",
       [](const Topology& t, Sink& s, bool undo) {
         (s.*(undo ? &Sink::transportAddrIs : &Sink::transportAddrDel))(t.routerId(kPeer),
                                                                        t.loopback(kPeer));
       }},
      // A shorter route takes over the loopback when its own route goes, over another
      // peer's links: the peer's interface addresses keep none of those vias.
      {"CoveringRoute", [](const Topology& t, Sink& s, bool undo) {
         const auto covering = Vela::IpPrefix::sequenceToValue("2.0.0.0/8");
         s.routeIs(undo ? t.loopbackPrefix(kPeer) : covering, t.loopbackRoute(undo ? kPeer : 1));
         s.routeDel(undo ? covering : t.loopbackPrefix(kPeer));
       }}};
}

INSTANTIATE_TEST_SUITE_P(EveryKind, BaselineChangeTest, ::testing::ValuesIn(changeCases()),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(BaselineLfibTest, RandomChangesKeepTheBaselineEqualToTheAgent) {
  const uint32_t seed = 20241123;
  std::mt19937 random(seed);
  const Topology::Shape& shape = topology.shape();
  std::vector<bool> peerUp(shape.peers, true);
  std::vector<bool> alternate(shape.fecs, false);
  std::vector<bool> intfOff(shape.peers * shape.linksPerPeer, false);
  for (int step = 0; step < 200; ++step) {
    const uint32_t peer = random() % shape.peers;
    const uint32_t link = random() % shape.linksPerPeer;
    const uint32_t f = random() % shape.fecs;
    const uint32_t kind = random() % 5;
    if (kind == 0) {
      peerUp[peer] ? topology.peerDown(both, peer) : topology.peerUp(both, peer);
      peerUp[peer] = !peerUp[peer];
    } else if (kind == 1) {
      alternate[f] = !alternate[f];
      topology.localLabelIs(both, f, alternate[f]);
    } else if (kind == 2 && peerUp[peer]) {
      // A link down (the route without it) or, one time in two, up again.
      random() % 2 ? topology.linkDown(both, peer, link) : topology.linkUp(both, peer);
    } else if (kind == 3) {
      const uint32_t intf = peer * shape.linksPerPeer + link;
      intfOff[intf] ? both.mplsIntfIs(topology.linkIntf(peer, link))
                    : both.mplsIntfDel(topology.linkIntf(peer, link));
      intfOff[intf] = !intfOff[intf];
    } else if (kind == 4) {
      const uint32_t j = random() % shape.peersPerFec;
      const uint32_t bound = topology.fecPeer(f, j);
      if (peerUp[bound]) {
        both.peerBindingDel(topology.routerId(bound), topology.fec(f),
                            topology.peerLabel(f, bound));
        ASSERT_EQ(disagreement(), "") << "seed " << seed << " step " << step << " (unbound)";
        both.peerBindingIs(topology.routerId(bound), topology.fec(f), topology.peerLabel(f, bound));
      }
    }
    ASSERT_EQ(disagreement(), "") << "seed " << seed << " step " << step << " kind " << kind;
  }
}

// Changes made while nothing runs reach the output at the next start, whether the agent starts
// over empty tables (cold, with a cold baseline) or over what it built before it stopped (warm).
TEST_F(BaselineLfibTest, ColdAndWarmStartsOverTheSameInputsGiveTheSameLfib) {
  EXPECT_EQ(baseline.branches().size(), topology.pairs());
  EXPECT_EQ(disagreement(), "");
  const std::vector<Branch> built = baseline.branches();
  Sim::Agent coldAgent;
  BaselineLfib cold(smallCapacity());
  Sim::AgentSink coldAgentSink(coldAgent);
  BothSinks coldBoth(coldAgentSink, cold);
  coldAgent.stop();
  cold.stop();
  std::ostringstream progress;
  topology.apply(coldBoth, &progress);
  EXPECT_NE(progress.str().find("100% (" + std::to_string(topology.changes())), std::string::npos)
      << progress.str();
  EXPECT_TRUE(cold.branches().empty());
  EXPECT_EQ(coldAgent.colls().lfib->labelForwardings(), 0u);
  agent.stop();
  for (Sim::TopologySink* stopped : std::initializer_list<Sim::TopologySink*>{&coldBoth, &both})
    topology.linkDown(*stopped, kPeer, 0);
  for (Sim::Agent* started : {&coldAgent, &agent}) {
    started->start();
    EXPECT_TRUE(Sim::auditAgent(*started).ok()) << Sim::auditAgent(*started).text();
  }
  cold.start();
  EXPECT_NE(baseline.branches(), built);
  EXPECT_EQ(disagreement(coldAgent, cold), "");
  EXPECT_EQ(disagreement(), "");
  EXPECT_EQ(disagreement(coldAgent, baseline), "") << "cold and warm agents differ";
}

TEST_F(BaselineLfibTest, BindingsLdpNeverMakesAreRefusedAndChangeNothing) {
  const std::vector<Baseline::Branch> before = baseline.branches();
  const uint32_t peer = topology.fecPeer(kFec, 0);
  EXPECT_THROW(
      baseline.peerBindingIs(topology.routerId(peer), topology.fec(kFec), Vela::MplsLabel(17)),
      std::invalid_argument);
  EXPECT_THROW(baseline.localLabelIs(topology.fec(kFec), Vela::MplsLabel(17)),
               std::invalid_argument);
  EXPECT_THROW(baseline.localLabelIs(topology.fec(kFec + 1), topology.localLabel(kFec)),
               std::invalid_argument);
  EXPECT_EQ(baseline.branches(), before);
  EXPECT_EQ(disagreement(), "");
}

TEST(BaselineLfibMemoryTest, RingBytesAreThoseThePlatformCountedAndGoWithTheBaseline) {
  const Topology topology(*Topology::profile("small"));
  const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash);
  {
    BaselineLfib baseline(smallCapacity());
    const auto platformCount = [&] {
      return Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - before;
    };
    topology.apply(baseline);
    EXPECT_GT(baseline.ringBytes(), 0);
    EXPECT_EQ(baseline.ringBytes(), platformCount());
    topology.peerDown(baseline, 0);
    topology.linkDown(baseline, 1, 0);
    EXPECT_EQ(baseline.ringBytes(), platformCount());
    baseline.stop();
    EXPECT_EQ(baseline.ringBytes(), platformCount());
    baseline.start();
    EXPECT_EQ(baseline.ringBytes(), platformCount());
  }
  EXPECT_EQ(Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash), before);
}

}  // namespace
