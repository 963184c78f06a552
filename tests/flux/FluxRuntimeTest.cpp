// The runtime pattern of compiled pipelines: key text forms, readiness, reconciliation of stale
// output, destruction, changes handed to a state machine by name, and the fatal checks on missed
// notifications and re-created children.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/vox/Trace.h"
#include "quill/flux/IntfToRouterNexthopInfoSm.h"
#include "quill/flux/IpAddrToRouterIdInfoSm.h"
#include "quill/flux/RouterIdToIpNexthopInfoSm.h"
#include "quill/flux/RouterIdToNexthopInfoSm.h"
#include "tests/support/Contents.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using namespace Mpls;
using QuillTest::Lines;
using QuillTest::v;

TEST(FluxKeyTest, TextFormsRoundTripAndNameEveryField) {
  const auto addr = v<Vela::IpGenAddr>("10.0.0.1");
  const auto router = v<RouterId>("2.2.2.2:0");
  const auto via = v<FibVia>("10.1.1.2-Port-Channel10");
  const std::string texts[] = {
      IpAddrToRouterIdInfoSm::Pipeline0KeyType(addr, router).valueToStrep(),
      RouterIdToNexthopInfoSm::Pipeline0KeyType(router, via).valueToStrep(),
      RouterIdToNexthopInfoSm::KeyType0(router, via).valueToStrep(),
      RouterIdToIpNexthopInfoSm::Pipeline0KeyType(router, via.hop(), via).valueToStrep(),
      IntfToRouterNexthopInfoSm::Pipeline0KeyType(via.intfId(), router, via).valueToStrep(),
  };
  const std::string expected[] = {
      "Value('Mpls::IpAddrToRouterIdInfoSm::Pipeline0KeyType', ** {'a0': 10.0.0.1, 'r1': "
      "2.2.2.2:0})",
      "Value('Mpls::RouterIdToNexthopInfoSm::Pipeline0KeyType', ** {'routerId0': 2.2.2.2:0, "
      "'fibVia1': "
      "10.1.1.2-Port-Channel10})",
      "Value('Mpls::RouterIdToNexthopInfoSm::KeyType0', ** {'attr0': 2.2.2.2:0, 'attr1': "
      "10.1.1.2-Port-Channel10})",
      "Value('Mpls::RouterIdToIpNexthopInfoSm::Pipeline0KeyType', ** {'rid0': 2.2.2.2:0, 'via1': "
      "10.1.1.2, 'via2': "
      "10.1.1.2-Port-Channel10})",
      "Value('Mpls::IntfToRouterNexthopInfoSm::Pipeline0KeyType', ** {'fibVia0': Port-Channel10, "
      "'routerNexthop1': "
      "2.2.2.2:0, 'fibVia2': 10.1.1.2-Port-Channel10})",
  };
  for (std::size_t i = 0; i < std::size(texts); ++i)
    EXPECT_EQ(texts[i], expected[i]);
  EXPECT_EQ(IntfToRouterNexthopInfoSm::Pipeline0KeyType::sequenceToValue(texts[4]).valueToStrep(),
            texts[4]);
  EXPECT_EQ(RouterIdToNexthopInfoSm::KeyType0::sequenceToValue(texts[2]),
            RouterIdToNexthopInfoSm::KeyType0(router, via));
  EXPECT_THROW(IpAddrToRouterIdInfoSm::Pipeline0KeyType::sequenceToValue(texts[1]),
               Vox::ParseError);
  EXPECT_TRUE(!IpAddrToRouterIdInfoSm::Pipeline0KeyType());
  EXPECT_FALSE(!IpAddrToRouterIdInfoSm::Pipeline0KeyType(addr, router));
  // Field order decides ordering and hashing.
  const RouterIdToNexthopInfoSm::KeyType0 low(router, via), high(v<RouterId>("3.3.3.3:0"), via);
  EXPECT_TRUE(low < high);
  EXPECT_FALSE(high < low);
  EXPECT_NE(low.hash(0), high.hash(0));
}

class FluxInversionTest : public ::testing::Test {
 protected:
  void add(const char* router, const char* addr) {
    in->routerIpAddrIs(v<RouterId>(router))->ipAddrIs(v<Vela::IpGenAddr>(addr));
  }
  Lines output() const {
    return QuillTest::contents(out->ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl);
  }
  Vox::Ptr<RouterIpAddrInfoColl> in = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> out = Vox::create<IpAddrRouterIdInfoColl>();
};

TEST_F(FluxInversionTest, EmptyInputsAreReadyAtOnceAndReadinessIsDecidedOnce) {
  QuillTest::TraceCapture trace("IpAddrToRouterIdInfoSm/8-9");
  auto sm = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, out);
  EXPECT_TRUE(sm->outputState()->pipeline0Ready());
  EXPECT_FALSE(sm->pipeline0Reconciling());
  EXPECT_TRUE(sm->inputSmScanState()->routerIpAddrSm0());
  add("2.2.2.2:0", "10.0.0.1");  // applied directly after readiness
  EXPECT_EQ(output(), Lines{"10.0.0.1 2.2.2.2:0"});
  trace.clear();
  sm->handlePipeline0Input();
  EXPECT_EQ(trace.messages(),
            (std::vector<std::string>{"handlePipeline0Input", " .. not reconciling."}));
}

// A router whose last address is withdrawn keeps its input entry, and the pipeline keeps
// following it; an address entry goes with its last router.
TEST_F(FluxInversionTest, ARouterWithNoAddressLeftIsStillFollowed) {
  auto sm = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, out);
  add("2.2.2.2:0", "10.0.0.1");
  add("3.3.3.3:0", "10.0.0.1");
  in->routerIpAddr(v<RouterId>("2.2.2.2:0"))->ipAddrDel(v<Vela::IpGenAddr>("10.0.0.1"));
  EXPECT_EQ(output(), Lines{"10.0.0.1 3.3.3.3:0"});
  in->routerIpAddr(v<RouterId>("3.3.3.3:0"))->ipAddrDel(v<Vela::IpGenAddr>("10.0.0.1"));
  EXPECT_EQ(out->ipAddrRouterIds(), 0u);
  add("2.2.2.2:0", "10.0.0.2");
  EXPECT_EQ(output(), Lines{"10.0.0.2 2.2.2.2:0"});
}

// Stale output at start: only what the inputs do not justify goes; a justified element is
// never removed and re-added (its entry's observers hear nothing of it).
TEST_F(FluxInversionTest, ReconciliationRemovesOnlyUnjustifiedElements) {
  add("2.2.2.2:0", "10.0.0.1");
  add("3.3.3.3:0", "10.0.0.2");
  out->ipAddrRouterIdIs(v<Vela::IpGenAddr>("10.0.0.1"))->routerIdIs(v<RouterId>("2.2.2.2:0"));
  out->ipAddrRouterIdIs(v<Vela::IpGenAddr>("10.0.0.1"))->routerIdIs(v<RouterId>("9.9.9.9:0"));
  out->ipAddrRouterIdIs(v<Vela::IpGenAddr>("10.0.0.9"))->routerIdIs(v<RouterId>("9.9.9.9:0"));
  struct Log : IpAddrRouterIdInfo::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo&, const void* key) override {
      events.push_back(static_cast<const RouterId*>(key)->valueToStrep());
    }
    std::vector<std::string> events;
  } log;
  log.notifierIs(out->ipAddrRouterId(v<Vela::IpGenAddr>("10.0.0.1")));
  log.hasNotificationActiveIs(true);
  QuillTest::TraceCapture trace("IpAddrToRouterIdInfoSm/9");
  auto sm = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, out);
  EXPECT_EQ(output(), (Lines{"10.0.0.1 2.2.2.2:0", "10.0.0.2 3.3.3.3:0"}));
  EXPECT_EQ(out->ipAddrRouterId(v<Vela::IpGenAddr>("10.0.0.9")), nullptr) << "emptied, so deleted";
  EXPECT_EQ(log.events, std::vector<std::string>{"9.9.9.9:0"});
  const auto messages = trace.messages();
  for (const char* expected :
       {" Reconciling pipeline0: true", " Input scans for pipeline0 complete"})
    EXPECT_NE(std::find(messages.begin(), messages.end(), expected), messages.end()) << expected;
  EXPECT_TRUE(sm->outputState()->pipeline0Ready());
  EXPECT_FALSE(sm->pipeline0Reconciling());
  EXPECT_EQ(sm->pipeline0Seens(), 0u);
}

TEST(FluxReconciliationTest, EveryPipelineKeepsJustifiedAndDropsStaleElements) {
  const auto router = v<RouterId>("2.2.2.2:0");
  const auto via = v<FibVia>("10.1.1.2-Ethernet1");
  const auto staleVia = v<FibVia>("10.9.9.9-Ethernet1");
  {  // router next-hops: a join of both inputs
    auto routers = Vox::create<IpAddrRouterIdInfoColl>();
    auto nexthops = Vox::create<IpNexthopInfoColl>();
    routers->ipAddrRouterIdIs(v<Vela::IpGenAddr>("2.2.2.2"))->routerIdIs(router);
    nexthops->ipNexthopIs(v<Vela::IpGenAddr>("2.2.2.2"))->viaIs(via);
    auto out = Vox::create<RouterNexthopInfoColl>();
    out->routerNexthopIs(router)->viaIs(via);
    out->routerNexthopIs(router)->viaIs(staleVia);
    const uint32_t before = out->routerNexthop(router)->viaColl().version();
    auto sm = RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(routers, nexthops, out);
    EXPECT_EQ(QuillTest::contents(out->routerNexthopColl(), &RouterNexthopInfo::viaColl),
              Lines{"2.2.2.2:0 10.1.1.2-Ethernet1"});
    EXPECT_EQ(out->routerNexthop(router)->viaColl().version(), before + 1)
        << "one removal, nothing re-added";
    EXPECT_EQ(sm->groupByAttr0s(), 1u);
  }
  {  // interface grouping
    auto in = Vox::create<RouterNexthopInfoColl>();
    in->routerNexthopIs(router)->viaIs(via);
    auto out = Vox::create<IntfRouterNexthopInfoColl>();
    out->intfRouterNexthopIs(via.intfId())->routerNexthopInfoIs(router)->viaIs(via);
    out->intfRouterNexthopIs(via.intfId())->routerNexthopInfoIs(router)->viaIs(staleVia);
    out->intfRouterNexthopIs(v<Vela::IntfId>("Ethernet9"))
        ->routerNexthopInfoIs(router)
        ->viaIs(v<FibVia>("10.9.9.9-Ethernet9"));
    const auto& kept = out->intfRouterNexthop(via.intfId())->routerNexthopInfo(router)->viaColl();
    const uint32_t before = kept.version();
    auto sm = IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(in, out);
    EXPECT_EQ(QuillTest::contents(out->intfRouterNexthopColl(),
                                  &IntfRouterNexthopInfo::routerNexthopInfoColl,
                                  &RouterNexthopInfo::viaColl),
              Lines{"Ethernet1 2.2.2.2:0 10.1.1.2-Ethernet1"});
    EXPECT_EQ(kept.version(), before + 1) << "one removal, nothing re-added";
    EXPECT_EQ(out->intfRouterNexthop(v<Vela::IntfId>("Ethernet9")), nullptr);
  }
  {  // MPLS filter: a via whose interface left MPLS is stale too
    auto in = Vox::create<IntfRouterNexthopInfoColl>();
    auto mpls = Vox::create<MplsIntfColl>();
    in->intfRouterNexthopIs(via.intfId())->routerNexthopInfoIs(router)->viaIs(via);
    in->intfRouterNexthopIs(v<Vela::IntfId>("Ethernet2"))
        ->routerNexthopInfoIs(router)
        ->viaIs(v<FibVia>("10.1.2.2-Ethernet2"));
    mpls->intfIdIs(via.intfId());
    auto out = Vox::create<RouterIpNexthopInfoColl>();
    out->routerIpNexthopIs(router)
        ->ipNexthopInfoIs(v<Vela::IpGenAddr>("10.1.2.2"))
        ->viaIs(v<FibVia>("10.1.2.2-Ethernet2"));
    out->routerIpNexthopIs(router)->ipNexthopInfoIs(via.hop())->viaIs(via);
    const auto& kept = out->routerIpNexthop(router)->ipNexthopInfo(via.hop())->viaColl();
    const uint32_t before = kept.version();
    auto sm = RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(in, mpls, out);
    EXPECT_EQ(QuillTest::contents(out->routerIpNexthopColl(),
                                  &RouterIpNexthopInfo::ipNexthopInfoColl, &IpNexthopInfo::viaColl),
              Lines{"2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1"});
    EXPECT_EQ(kept.version(), before) << "justified: neither removed nor re-added";
    EXPECT_EQ(out->routerIpNexthop(router)->ipNexthopInfo(v<Vela::IpGenAddr>("10.1.2.2")), nullptr);
  }
}

// The four compiled stages chained as in the pipeline, over one router, address and via.
class FluxChainTest : public ::testing::Test {
 protected:
  FluxChainTest() {
    routerAddrs->routerIpAddrIs(router)->ipAddrIs(addr);
    addrVias->ipNexthopIs(addr)->viaIs(via);
    mpls->intfIdIs(via.intfId());
  }
  std::vector<Lines> outputs() const {
    return {
        QuillTest::contents(addrRouters->ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl),
        QuillTest::contents(routerVias->routerNexthopColl(), &RouterNexthopInfo::viaColl),
        QuillTest::contents(intfRouters->intfRouterNexthopColl(),
                            &IntfRouterNexthopInfo::routerNexthopInfoColl,
                            &RouterNexthopInfo::viaColl),
        QuillTest::contents(routerHops->routerIpNexthopColl(),
                            &RouterIpNexthopInfo::ipNexthopInfoColl, &IpNexthopInfo::viaColl)};
  }
  const RouterId router = v<RouterId>("2.2.2.2:0");
  const Vela::IpGenAddr addr = v<Vela::IpGenAddr>("10.1.1.2");
  const FibVia via = v<FibVia>("10.1.1.2-Ethernet1");
  Vox::Ptr<RouterIpAddrInfoColl> routerAddrs = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> addrRouters = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpNexthopInfoColl> addrVias = Vox::create<IpNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> routerVias = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> intfRouters = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<MplsIntfColl> mpls = Vox::create<MplsIntfColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> routerHops = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<IpAddrToRouterIdInfoSm> s1 =
      IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(routerAddrs, addrRouters);
  Vox::Ptr<RouterIdToNexthopInfoSm> s2 =
      RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(addrRouters, addrVias, routerVias);
  Vox::Ptr<IntfToRouterNexthopInfoSm> s3 =
      IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(routerVias, intfRouters);
  Vox::Ptr<RouterIdToIpNexthopInfoSm> s4 =
      RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(intfRouters, mpls, routerHops);
};

// Destroyed, a stage lets its state machines go without a word: the output stays for the next
// instance, and a state machine someone still holds is silent and has let its children go.
TEST_F(FluxChainTest, DestructionLeavesTheOutputAndSilencesHeldStateMachines) {
  std::vector<Vox::Ptr<Flx::Gen::InputStateMachine>> held;
  for (const auto* inputs : {&s1->pipeline0Input(), &s2->pipeline0Input(), &s3->pipeline0Input(),
                             &s4->pipeline0Input()}) {
    for (const auto& [name, sm] : *inputs)
      held.push_back(sm);
  }
  const auto perIntf = s4->intfRouterNexthopSm0()->childSm(via.intfId());
  EXPECT_EQ(perIntf->smKey(), via.intfId());
  EXPECT_EQ(perIntf->childSm(router)->smKey(), router);
  const std::vector<Lines> before = outputs();
  ASSERT_EQ(before[3], Lines{"2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1"});
  s1 = nullptr, s2 = nullptr, s3 = nullptr, s4 = nullptr;
  EXPECT_EQ(outputs(), before);
  ASSERT_EQ(held.size(), 6u);
  for (const auto& sm : held)
    ASSERT_TRUE(sm->zombie());
  EXPECT_EQ(perIntf->childSm(router), nullptr);
  routerAddrs->routerIpAddrDel(router);
  addrVias->ipNexthopDel(addr);
  mpls->intfIdDel(via.intfId());
  EXPECT_EQ(outputs(), before);
}

// A change made while the stages were not listening can be handed, by name, to the state
// machine of each stage that watches it. The machine counts it as seen: removing the entry later
// passes the missed-notification check and withdraws it.
TEST_F(FluxChainTest, AMissedChangeCanBeHandedToItsStateMachineByName) {
  const auto other = v<FibVia>("10.1.1.3-Ethernet1");
  for (auto* stage : std::initializer_list<Vox::Reactor*>{s2.ptr(), s3.ptr(), s4.ptr()})
    stage->hasNotificationActiveIs(false);
  addrVias->ipNexthop(addr)->viaIs(other);
  s2->ipNexthopSm2()->childSm(addr)->handleVia(other);
  s3->routerNexthopSm0()->childSm(router)->handleVia(other);
  s4->intfRouterNexthopSm0()->childSm(via.intfId())->childSm(router)->handleVia(other);
  for (auto* stage : std::initializer_list<Vox::Reactor*>{s2.ptr(), s3.ptr(), s4.ptr()})
    stage->hasNotificationActiveIs(true);
  EXPECT_EQ(outputs()[3], (Lines{"2.2.2.2:0 10.1.1.2 10.1.1.2-Ethernet1",
                                 "2.2.2.2:0 10.1.1.3 10.1.1.3-Ethernet1"}));
  addrVias->ipNexthopDel(addr);
  EXPECT_EQ(outputs(), (std::vector<Lines>{{"10.1.1.2 2.2.2.2:0"}, {}, {}, {}}));
}

// An address entry removed from the routers-per-address input leaves every group of its routers
// at once; a via that another address of a router still supports stays.
TEST(FluxRouterNexthopTest, AnAddressEntryRemovedLeavesEveryGroupOfItsRouters) {
  auto routers = Vox::create<IpAddrRouterIdInfoColl>();
  auto nexthops = Vox::create<IpNexthopInfoColl>();
  auto out = Vox::create<RouterNexthopInfoColl>();
  const auto a = v<Vela::IpGenAddr>("10.0.0.1");
  const auto b = v<Vela::IpGenAddr>("10.0.0.2");
  const auto via = v<FibVia>("10.1.1.2-Ethernet1");
  routers->ipAddrRouterIdIs(a)->routerIdIs(v<RouterId>("2.2.2.2:0"));
  routers->ipAddrRouterIdIs(a)->routerIdIs(v<RouterId>("3.3.3.3:0"));
  routers->ipAddrRouterIdIs(b)->routerIdIs(v<RouterId>("2.2.2.2:0"));
  nexthops->ipNexthopIs(a)->viaIs(via);
  nexthops->ipNexthopIs(b)->viaIs(via);
  auto sm = RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(routers, nexthops, out);
  const auto output = [&] {
    return QuillTest::contents(out->routerNexthopColl(), &RouterNexthopInfo::viaColl);
  };
  EXPECT_EQ(output(), (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1", "3.3.3.3:0 10.1.1.2-Ethernet1"}));
  routers->ipAddrRouterIdDel(a);
  EXPECT_EQ(output(), Lines{"2.2.2.2:0 10.1.1.2-Ethernet1"});
  EXPECT_EQ(out->routerNexthop(v<RouterId>("3.3.3.3:0")), nullptr);
}

// A via on the default (empty) interface is grouped under that interface like any other.
TEST(FluxIntfGroupingTest, TheDefaultInterfaceIsAGroupLikeAnyOther) {
  auto in = Vox::create<RouterNexthopInfoColl>();
  auto out = Vox::create<IntfRouterNexthopInfoColl>();
  const auto router = v<RouterId>("2.2.2.2:0");
  const FibVia onDefault(v<Vela::IpGenAddr>("10.1.1.2"), Vela::IntfId());
  in->routerNexthopIs(router)->viaIs(onDefault);
  auto sm = IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(in, out);
  ASSERT_NE(out->intfRouterNexthop(Vela::IntfId()), nullptr);
  EXPECT_TRUE(out->intfRouterNexthop(Vela::IntfId())->routerNexthopInfo(router)->via(onDefault));
  in->routerNexthop(router)->viaDel(onDefault);
  EXPECT_EQ(out->intfRouterNexthops(), 0u);
}

using FluxRuntimeDeathTest = FluxInversionTest;

TEST_F(FluxRuntimeDeathTest, AMissedNotificationIsCaughtWhenTheEntryGoes) {
  auto sm = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, out);
  add("2.2.2.2:0", "10.0.0.1");
  sm->hasNotificationActiveIs(false);
  add("2.2.2.2:0", "10.0.0.2");  // unseen
  sm->hasNotificationActiveIs(true);
  // The level-0 record of the two versions comes first, then the assertion.
  EXPECT_DEATH(
      {
        Vox::traceOutputIs("");
        Vox::traceConfigure("IpAddrToRouterIdInfoSm/0");
        in->routerIpAddrDel(v<RouterId>("2.2.2.2:0"));
      },
      "version: 1 != 2.*version\\(\\) == en\\(\\)->ipAddrColl\\(\\).version\\(\\) && \"We missed "
      "notifications that happened to ipAddr before enclosing entity got deleted\"");
}

TEST_F(FluxRuntimeDeathTest, EveryNestedSetChecksItsVersion) {
  const auto router = v<RouterId>("2.2.2.2:0");
  {
    auto routers = Vox::create<IpAddrRouterIdInfoColl>();
    auto nexthops = Vox::create<IpNexthopInfoColl>();
    auto out2 = Vox::create<RouterNexthopInfoColl>();
    routers->ipAddrRouterIdIs(v<Vela::IpGenAddr>("10.0.0.1"))->routerIdIs(router);
    nexthops->ipNexthopIs(v<Vela::IpGenAddr>("10.0.0.1"))->viaIs(v<FibVia>("10.1.1.2-Ethernet1"));
    auto sm = RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(routers, nexthops, out2);
    sm->hasNotificationActiveIs(false);
    routers->ipAddrRouterId(v<Vela::IpGenAddr>("10.0.0.1"))->routerIdIs(v<RouterId>("3.3.3.3:0"));
    nexthops->ipNexthop(v<Vela::IpGenAddr>("10.0.0.1"))->viaIs(v<FibVia>("10.1.1.3-Ethernet1"));
    sm->hasNotificationActiveIs(true);
    EXPECT_DEATH(routers->ipAddrRouterIdDel(v<Vela::IpGenAddr>("10.0.0.1")),
                 "routerIdColl\\(\\).version\\(\\) && \"We missed notifications that happened to "
                 "routerId before");
    EXPECT_DEATH(
        nexthops->ipNexthopDel(v<Vela::IpGenAddr>("10.0.0.1")),
        "viaColl\\(\\).version\\(\\) && \"We missed notifications that happened to via before");
  }
  {
    auto in2 = Vox::create<IntfRouterNexthopInfoColl>();
    auto mpls = Vox::create<MplsIntfColl>();
    auto out2 = Vox::create<RouterIpNexthopInfoColl>();
    in2->intfRouterNexthopIs(v<Vela::IntfId>("Ethernet1"))
        ->routerNexthopInfoIs(router)
        ->viaIs(v<FibVia>("10.1.1.2-Ethernet1"));
    auto sm = RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(in2, mpls, out2);
    sm->hasNotificationActiveIs(false);
    mpls->intfIdIs(v<Vela::IntfId>("Ethernet1"));
    in2->intfRouterNexthop(v<Vela::IntfId>("Ethernet1"))
        ->routerNexthopInfo(router)
        ->viaIs(v<FibVia>("10.1.1.3-Ethernet1"));
    sm->hasNotificationActiveIs(true);
    EXPECT_DEATH(sm->intfIdSm3()->doDeleteAll(),
                 "version\\(\\) == en\\(\\)->intfIdColl\\(\\).version\\(\\) && \"We missed "
                 "notifications that "
                 "happened to intfId before enclosing entity got deleted\"");
    EXPECT_DEATH(
        in2->intfRouterNexthop(v<Vela::IntfId>("Ethernet1"))->routerNexthopInfoDel(router),
        "viaColl\\(\\).version\\(\\) && \"We missed notifications that happened to via before");
  }
}

TEST_F(FluxRuntimeDeathTest, ReinstantiatingAChildWithOtherParametersIsFatal) {
  add("2.2.2.2:0", "10.0.0.1");
  auto sm = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, out);
  const auto top = sm->routerIpAddrSm0();
  const auto entry = in->routerIpAddr(v<RouterId>("2.2.2.2:0"));
  const auto stranger = Vox::create<RouterIpAddrInfo>(v<RouterId>("2.2.2.2:0"));
  EXPECT_EQ(top->childSmIs(entry, top.ptr(), entry->routerId()), top->childSm(entry->routerId()));
  // A child reports under the key it was created for, even one that is not its entry's own.
  const auto alias = v<RouterId>("7.7.7.7:0");
  EXPECT_EQ(top->childSmIs(entry, top.ptr(), alias)->smKey(), alias);
  EXPECT_EQ(output(), (Lines{"10.0.0.1 2.2.2.2:0", "10.0.0.1 7.7.7.7:0"}));
  EXPECT_DEATH(
      top->childSmIs(stranger, top.ptr(), entry->routerId()),
      "Reinstantiating the pointer interface where constructor parameter attribute _en has a "
      "different value of 0x[0-9a-f]+ than the current value of 0x[0-9a-f]+ not allowed");
  EXPECT_DEATH(
      top->childSmIs(entry, sm.ptr(), entry->routerId()),
      "Reinstantiating the pointer interface where constructor parameter attribute _parent has a "
      "different value of .* than the current value of .* not allowed");
}

}  // namespace
