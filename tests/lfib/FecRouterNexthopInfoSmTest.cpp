#include "quill/lfib/FecRouterNexthopInfoSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <unordered_map>

#include "tests/support/Contents.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FecRouterNexthopInfoSm;
using Mpls::FibVia;
using Mpls::FwdEqvClass;
using Mpls::RouterId;
using QuillTest::v;

using Hasher = Mpls::ConsistentHash<FibVia, FwdEqvClass>;

FwdEqvClass fec(uint32_t lspId) {
  return FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), lspId);
}
FibVia via(uint32_t n) {
  return FibVia(Vela::IpGenAddr(Vela::IpAddr(0x0a010100u + n)),
                Vela::IntfId(Vela::IntfId::Kind::ethernet, 1 + n % 4));
}

// Two distinct vias whose ring positions collide, found once by search. A via's hash is its
// address hash XOR its interface hash and every later step is a bijection, so vias that differ in
// the address alone never collide: the search varies both.
std::pair<FibVia, FibVia> collidingVias() {
  static const auto pair = [] {
    std::unordered_map<uint64_t, FibVia> seen;
    for (uint32_t n = 0; n < (1u << 24); ++n) {
      const FibVia candidate(Vela::IpGenAddr(Vela::IpAddr(0x0b000000u + n / 8)),
                             Vela::IntfId(Vela::IntfId::Kind::ethernet, 1 + n % 8));
      auto [it, inserted] = seen.emplace(Mpls::nodeHash(candidate), candidate);
      if (!inserted)
        return std::make_pair(std::min(it->second, candidate), std::max(it->second, candidate));
    }
    throw std::logic_error("no colliding vias found");
  }();
  return pair;
}

class FecRouterNexthopInfoSmTest : public ::testing::Test {
 protected:
  static constexpr uint32_t kFecs = 400;
  const RouterId router = v<RouterId>("2.2.2.2:0");

  void bindAll(const RouterId& r) {
    for (uint32_t i = 0; i < kFecs; ++i)
      tables->bindingTableIs(r)->bindingIs(fec(i))->mplsLabelIs(Vela::MplsLabel(1000 + i));
  }
  void viaIs(const RouterId& r, const FibVia& via) { vias->routerNexthopIs(r)->viaIs(via); }
  void viaDel(const RouterId& r, const FibVia& via) { vias->routerNexthop(r)->viaDel(via); }
  // The chosen via of every FEC towards `r` ("" where none).
  std::map<uint32_t, std::string> choices(const RouterId& r) const {
    std::map<uint32_t, std::string> out;
    for (uint32_t i = 0; i < kFecs; ++i) {
      const auto entry = this->out->fecRouterNexthop(fec(i));
      const auto chosen = entry ? entry->routerNexthopInfo(r) : nullptr;
      if (!chosen) continue;
      EXPECT_EQ(chosen->vias(), 1u);
      for (const FibVia& via : chosen->viaColl())
        out[i] = via.valueToStrep();
    }
    return out;
  }
  void start() { sm = FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs(tables, vias, out); }

  Vox::Ptr<Mpls::LabelBindingTableColl> tables = Vox::create<Mpls::LabelBindingTableColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> vias = Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::FecRouterNexthopInfoColl> out = Vox::create<Mpls::FecRouterNexthopInfoColl>();
  Vox::Ptr<FecRouterNexthopInfoSm> sm;
};

// Counts the changes to the chosen vias it watches and the fewest vias an entry was seen holding.
struct ViaCounter : Mpls::RouterNexthopInfo::NotifieeConst {
  void onAttribute(const Vox::AttributeInfo&, const void*) override {
    ++changes;
    fewest = std::min(fewest, notifier()->vias());
  }
  int changes = 0;
  std::size_t fewest = 1;
};

// Where FECs move when a via comes or goes, and that a restart moves none, is
// PipelinePropertyTest's (ViaChoicesMoveOnlyWhereTheyMust) and the ring's
// (ConsistentHashCircleChurnTest), and which (FEC, router) pairs have a choice as bindings and
// whole peer tables come and go is the audit's; here, the ends: nothing before the first via, an
// even share between two, each choice notifying only when it changes, and the router's FECs and
// its ring gone with the last.
TEST_F(FecRouterNexthopInfoSmTest, ChoicesFromTheFirstViaToTheLast) {
  start();
  bindAll(router);
  EXPECT_TRUE(choices(router).empty()) << "bindings without vias choose nothing";
  viaIs(router, via(0));
  const auto one = choices(router);
  ASSERT_EQ(one.size(), kFecs);
  std::vector<std::unique_ptr<ViaCounter>> counters;
  for (const auto& [i, chosen] : one) {
    EXPECT_EQ(chosen, via(0).valueToStrep());
    counters.push_back(std::make_unique<ViaCounter>());
    counters.back()->notifierIs(out->fecRouterNexthop(fec(i))->routerNexthopInfo(router));
    counters.back()->hasNotificationActiveIs(true);
  }
  const auto changes = [&] {
    int total = 0;
    for (const auto& counter : counters) {
      total += counter->changes;
      // The new via is set before the old one goes, so a reader never finds the entry without one.
      EXPECT_EQ(counter->fewest, 1u);
    }
    return total;
  };
  viaIs(router, via(1));  // equal weights: an even share each
  int moved = 0;
  for (const auto& [i, chosen] : choices(router))
    moved += chosen == via(1).valueToStrep();
  EXPECT_GT(moved, int(kFecs) / 4);
  EXPECT_LT(moved, int(kFecs) * 3 / 4);
  EXPECT_EQ(changes(), 2 * moved);  // one add and one remove per FEC that moved, none otherwise
  sm->handleRouterNexthop(router, via(1));  // reported again: counted as a collision, no change
  EXPECT_EQ(changes(), 2 * moved);
  EXPECT_EQ(sm->fecViaConsistentHashColl()->consistentHash(router)->ch()->collisions(), 1u);
  viaDel(router, via(0));
  viaDel(router, via(1));
  EXPECT_EQ(out->fecRouterNexthops(), 0u);
  EXPECT_EQ(sm->fecViaConsistentHashColl()->consistentHash(router), nullptr);
}

TEST_F(FecRouterNexthopInfoSmTest, CollidingViasShareAPositionAndTheLesserWins) {
  const auto [lesser, greater] = collidingVias();
  const auto pointsOf = [](const FibVia& via, uint64_t weight) {
    Hasher single;
    single.addNode(via, weight);
    return single.pointCount();
  };
  Hasher hasher;
  hasher.addNode(greater, 1000);
  hasher.addNode(lesser, 1000);
  EXPECT_EQ(hasher.nodes().size(), 1u);
  EXPECT_EQ(hasher.pointCount(), Hasher().pointCount() + pointsOf(lesser, 1000));
  EXPECT_EQ(hasher.collisions(), 1u);
  for (uint32_t i = 0; i < 50; ++i)
    EXPECT_EQ(hasher.getNode(fec(i)), lesser);
  // Whichever of the two goes, the survivor is put back at the shared position with its own
  // weight (not the leaver's) and answers every key.
  const struct {
    FibVia gone, survivor;
    uint64_t survivorWeight;
  } cases[] = {{lesser, greater, 400}, {greater, lesser, 1000}};
  for (const auto& c : cases) {
    Hasher pair;
    pair.addNode(greater, 400);
    pair.addNode(lesser, 1000);
    pair.delNode(c.gone);
    EXPECT_EQ(pair.getNodeCount(), 1u);
    EXPECT_EQ(pair.pointCount(), pointsOf(c.survivor, c.survivorWeight)) << c.survivor;
    for (uint32_t i = 0; i < 50; ++i)
      EXPECT_EQ(pair.getNode(fec(i)), c.survivor);
  }
}

// Function records trace a router id as its fields joined by "_" and a via as hop and interface
// joined by "-", so that a record splits into blank-separated arguments.
TEST_F(FecRouterNexthopInfoSmTest, FunctionRecordsUseTheTraceFormsOfRouterAndVia) {
  start();
  QuillTest::TraceCapture trace("QuillFecRouterNexthopInfoSm/8");
  const auto peer = v<RouterId>("2.2.2.2:7");
  tables->bindingTableIs(peer)->bindingIs(fec(0))->mplsLabelIs(Vela::MplsLabel(100));
  viaIs(peer, v<FibVia>("10.1.1.2-Ethernet1"));
  using ::testing::Contains;
  using ::testing::HasSubstr;
  const auto messages = trace.messages();
  EXPECT_THAT(messages,
              Contains(HasSubstr("::handleRouterNexthop() 2.2.2.2_7 10.1.1.2-Ethernet1")));
  EXPECT_THAT(messages, Contains(HasSubstr("::handleRouterFec() 2.2.2.2_7 ")));
  EXPECT_THAT(messages, Not(Contains(HasSubstr("2.2.2.2:7"))));
}

// A hasher whose tables can be corrupted, to reach its consistency checks.
struct CorruptibleHasher : Hasher {
  void forgetWeight(const FibVia& via) { nodeWeights_.erase(via); }
};

using FecRouterNexthopInfoSmDeathTest = FecRouterNexthopInfoSmTest;

TEST_F(FecRouterNexthopInfoSmDeathTest, HasherInconsistenciesAreFatal) {
  EXPECT_DEATH(Hasher().getNode(fec(0)),
               "getNodeCount\\(\\) > 0 && \"Can only call getNode on non-empty hasher\"");
  const auto [lesser, greater] = collidingVias();
  CorruptibleHasher corrupt;
  corrupt.addNode(lesser, 1000);
  corrupt.addNode(greater, 1000);
  corrupt.forgetWeight(greater);
  EXPECT_DEATH(
      corrupt.delNode(lesser),
      "nodeWeights.find\\( iterNode \\) != nodeWeights.end\\(\\) && \"Inconsistency between "
      "nodeWeights and nodes hashmaps.\"");
  Hasher rogue;
  rogue.addNode(via(0), 1000);
  rogue.delHash(Mpls::nodeHash(via(0)));  // the ring loses the position behind the hasher's back
  rogue.addHash(12345, 1000);
  EXPECT_DEATH(
      rogue.getNode(fec(0)),
      "nodesForHash != nodes.end\\(\\) && \"Node not found for hash. Inconsistency between "
      "circle and hasher\"");
}

TEST_F(FecRouterNexthopInfoSmDeathTest, ReactorMisuseIsFatal) {
  start();
  viaIs(router, via(0));
  // A ring emptied while the router still lists vias.
  sm->fecViaConsistentHashColl()->consistentHash(router)->ch()->delNode(via(0));
  EXPECT_DEATH(sm->handleRouterNexthop(router, via(7)), "!routerNexthop->vias\\(\\)");
  sm->handleDelete();
  EXPECT_DEATH(viaIs(router, via(1)), "initialized\\(\\)");
  EXPECT_DEATH(tables->bindingTableIs(router)->bindingIs(fec(1)), "initialized\\(\\)");
}

}  // namespace
