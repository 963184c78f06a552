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
      "'fibVia1': 10.1.1.2-Port-Channel10})",
      "Value('Mpls::RouterIdToNexthopInfoSm::KeyType0', ** {'attr0': 2.2.2.2:0, 'attr1': "
      "10.1.1.2-Port-Channel10})",
      "Value('Mpls::RouterIdToIpNexthopInfoSm::Pipeline0KeyType', ** {'rid0': 2.2.2.2:0, 'via1': "
      "10.1.1.2, 'via2': 10.1.1.2-Port-Channel10})",
      "Value('Mpls::IntfToRouterNexthopInfoSm::Pipeline0KeyType', ** {'fibVia0': Port-Channel10, "
      "'routerNexthop1': 2.2.2.2:0, 'fibVia2': 10.1.1.2-Port-Channel10})",
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

// The four compiled stages chained as in the pipeline, created over empty inputs; one router,
// address and via arrive after.
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

// Over empty inputs a stage is ready at once, and the inputs that follow apply directly;
// readiness is not decided again.
TEST_F(FluxChainTest, EmptyInputsAreReadyAtOnceAndReadinessIsDecidedOnce) {
  EXPECT_TRUE(s1->outputState()->pipeline0Ready());
  EXPECT_FALSE(s1->pipeline0Reconciling());
  EXPECT_TRUE(s1->inputSmScanState()->routerIpAddrSm0());
  QuillTest::TraceCapture trace("IpAddrToRouterIdInfoSm/8-9");
  s1->handlePipeline0Input();
  EXPECT_EQ(trace.messages(),
            (std::vector<std::string>{"handlePipeline0Input", " .. not reconciling."}));
}

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

// Stale output at start, in every stage: only what the inputs do not justify goes (a via whose
// interface is not MPLS included, and an entity emptied so), and a justified set loses only its
// stale member, nothing removed and re-added.
TEST_F(FluxChainTest, ReconciliationAtStartRemovesOnlyUnjustifiedElements) {
  const auto stale = v<FibVia>("10.9.9.9-Ethernet1");
  const auto staleRouter = v<RouterId>("9.9.9.9:0");
  const auto staleAddr = v<Vela::IpGenAddr>("10.0.0.9");
  const auto notMpls = v<FibVia>("10.1.2.2-Ethernet2");
  const auto ethernet9 = v<Vela::IntfId>("Ethernet9");
  addrVias->ipNexthop(addr)->viaIs(notMpls);
  const std::vector<Lines> justified = outputs();
  s1 = nullptr, s2 = nullptr, s3 = nullptr, s4 = nullptr;
  addrRouters->ipAddrRouterId(addr)->routerIdIs(staleRouter);
  addrRouters->ipAddrRouterIdIs(staleAddr)->routerIdIs(staleRouter);
  routerVias->routerNexthop(router)->viaIs(stale);
  intfRouters->intfRouterNexthop(via.intfId())->routerNexthopInfo(router)->viaIs(stale);
  intfRouters->intfRouterNexthopIs(ethernet9)->routerNexthopInfoIs(router)->viaIs(
      v<FibVia>("10.9.9.9-Ethernet9"));
  routerHops->routerIpNexthop(router)->ipNexthopInfoIs(notMpls.hop())->viaIs(notMpls);
  const auto& inversionKept = addrRouters->ipAddrRouterId(addr)->routerIdColl();
  const auto& concatKept = routerVias->routerNexthop(router)->viaColl();
  const auto& groupKept =
      intfRouters->intfRouterNexthop(via.intfId())->routerNexthopInfo(router)->viaColl();
  const auto& filterKept = routerHops->routerIpNexthop(router)->ipNexthopInfo(via.hop())->viaColl();
  const uint32_t before[] = {inversionKept.version(), concatKept.version(), groupKept.version(),
                             filterKept.version()};
  QuillTest::TraceCapture trace("IpAddrToRouterIdInfoSm/9");
  s1 = IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(routerAddrs, addrRouters);
  s2 = RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(addrRouters, addrVias, routerVias);
  s3 = IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(routerVias, intfRouters);
  s4 = RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(intfRouters, mpls, routerHops);
  EXPECT_EQ(outputs(), justified);
  EXPECT_EQ(inversionKept.version(), before[0] + 1) << "one removal, nothing re-added";
  EXPECT_EQ(concatKept.version(), before[1] + 1) << "one removal, nothing re-added";
  EXPECT_EQ(groupKept.version(), before[2] + 1) << "one removal, nothing re-added";
  EXPECT_EQ(filterKept.version(), before[3]) << "justified: neither removed nor re-added";
  EXPECT_EQ(addrRouters->ipAddrRouterId(staleAddr), nullptr) << "emptied, so deleted";
  EXPECT_EQ(intfRouters->intfRouterNexthop(ethernet9), nullptr) << "emptied, so deleted";
  EXPECT_EQ(routerHops->routerIpNexthop(router)->ipNexthopInfo(notMpls.hop()), nullptr);
  EXPECT_EQ(s2->groupByAttr0s(), 2u) << "one group per justified (router, via), none stale";
  const auto messages = trace.messages();
  for (const char* expected :
       {" Reconciling pipeline0: true", " Input scans for pipeline0 complete"})
    EXPECT_NE(std::find(messages.begin(), messages.end(), expected), messages.end()) << expected;
  EXPECT_TRUE(s1->outputState()->pipeline0Ready());
  EXPECT_FALSE(s1->pipeline0Reconciling());
  EXPECT_EQ(s1->pipeline0Seens(), 0u);
}

// An address entry removed whole from the routers-per-address input leaves every group of its
// routers at once; a via that another address of a router still supports stays.
TEST_F(FluxChainTest, AnAddressEntryRemovedLeavesEveryGroupOfItsRouters) {
  const auto other = v<RouterId>("3.3.3.3:0");
  routerAddrs->routerIpAddrIs(other)->ipAddrIs(addr);
  routerAddrs->routerIpAddr(router)->ipAddrIs(v<Vela::IpGenAddr>("10.0.0.2"));
  addrVias->ipNexthopIs(v<Vela::IpGenAddr>("10.0.0.2"))->viaIs(via);
  EXPECT_EQ(outputs()[1], (Lines{"2.2.2.2:0 10.1.1.2-Ethernet1", "3.3.3.3:0 10.1.1.2-Ethernet1"}));
  addrRouters->ipAddrRouterIdDel(addr);
  EXPECT_EQ(outputs()[1], Lines{"2.2.2.2:0 10.1.1.2-Ethernet1"});
  EXPECT_EQ(routerVias->routerNexthop(other), nullptr);
}

// A via on the default (empty) interface is grouped under that interface like any other.
TEST_F(FluxChainTest, TheDefaultInterfaceIsAGroupLikeAnyOther) {
  const FibVia onDefault(addr, Vela::IntfId());
  addrVias->ipNexthop(addr)->viaIs(onDefault);
  ASSERT_NE(intfRouters->intfRouterNexthop(Vela::IntfId()), nullptr);
  EXPECT_TRUE(
      intfRouters->intfRouterNexthop(Vela::IntfId())->routerNexthopInfo(router)->via(onDefault));
  addrVias->ipNexthop(addr)->viaDel(onDefault);
  EXPECT_EQ(intfRouters->intfRouterNexthop(Vela::IntfId()), nullptr);
}

using FluxChainDeathTest = FluxChainTest;

// Members added while the stages were not listening: each nested set's check catches them when
// its entity goes.
TEST_F(FluxChainDeathTest, EveryNestedSetChecksItsVersion) {
  const auto other = v<FibVia>("10.1.1.3-Ethernet1");
  for (auto* stage : std::initializer_list<Vox::Reactor*>{s1.ptr(), s2.ptr(), s4.ptr()})
    stage->hasNotificationActiveIs(false);
  routerAddrs->routerIpAddr(router)->ipAddrIs(v<Vela::IpGenAddr>("10.0.0.2"));
  addrRouters->ipAddrRouterId(addr)->routerIdIs(v<RouterId>("3.3.3.3:0"));
  addrVias->ipNexthop(addr)->viaIs(other);
  mpls->intfIdIs(v<Vela::IntfId>("Ethernet2"));
  intfRouters->intfRouterNexthop(via.intfId())->routerNexthopInfo(router)->viaIs(other);
  for (auto* stage : std::initializer_list<Vox::Reactor*>{s1.ptr(), s2.ptr(), s4.ptr()})
    stage->hasNotificationActiveIs(true);
  const std::string missed = "\\(\\).version\\(\\) && \"We missed notifications that happened to ";
  // The level-0 record of the two versions comes first, then the assertion.
  EXPECT_DEATH(
      {
        Vox::traceOutputIs("");
        Vox::traceConfigure("IpAddrToRouterIdInfoSm/0");
        routerAddrs->routerIpAddrDel(router);
      },
      "version: 1 != 2.*version\\(\\) == en\\(\\)->ipAddrColl" + missed +
          "ipAddr before enclosing entity got deleted\"");
  EXPECT_DEATH(addrRouters->ipAddrRouterIdDel(addr), "routerIdColl" + missed + "routerId before");
  EXPECT_DEATH(addrVias->ipNexthopDel(addr), "viaColl" + missed + "via before");
  EXPECT_DEATH(s4->intfIdSm3()->doDeleteAll(), "version\\(\\) == en\\(\\)->intfIdColl" + missed +
                                                   "intfId before enclosing entity got deleted\"");
  EXPECT_DEATH(intfRouters->intfRouterNexthop(via.intfId())->routerNexthopInfoDel(router),
               "viaColl" + missed + "via before");
}

TEST_F(FluxChainDeathTest, ReinstantiatingAChildWithOtherParametersIsFatal) {
  const auto top = s1->routerIpAddrSm0();
  const auto entry = routerAddrs->routerIpAddr(router);
  const auto stranger = Vox::create<RouterIpAddrInfo>(router);
  EXPECT_EQ(top->childSmIs(entry, top.ptr(), router), top->childSm(router));
  // A child reports under the key it was created for, even one that is not its entry's own.
  const auto alias = v<RouterId>("7.7.7.7:0");
  EXPECT_EQ(top->childSmIs(entry, top.ptr(), alias)->smKey(), alias);
  EXPECT_EQ(outputs()[0], (Lines{"10.1.1.2 2.2.2.2:0", "10.1.1.2 7.7.7.7:0"}));
  EXPECT_DEATH(
      top->childSmIs(stranger, top.ptr(), router),
      "Reinstantiating the pointer interface where constructor parameter attribute _en has a "
      "different value of 0x[0-9a-f]+ than the current value of 0x[0-9a-f]+ not allowed");
  EXPECT_DEATH(
      top->childSmIs(entry, s1.ptr(), router),
      "Reinstantiating the pointer interface where constructor parameter attribute _parent has a "
      "different value of .* than the current value of .* not allowed");
}

}  // namespace
