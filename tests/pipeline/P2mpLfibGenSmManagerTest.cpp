#include "quill/pipeline/P2mpLfibGenSmManager.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "quill/core/Toggles.h"
#include "quill/pipeline/PipelineCollections.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::v;

// These tests run twice (see tests/CMakeLists.txt): with the feature toggles at their default
// (compiled stages) and with all four off (hand-written stages). That the toggles choose exactly
// one variant per stage is what the order of deletions below shows; that a manager runs its
// pipeline, every test of the agent.
class P2mpLfibGenSmManagerTest : public ::testing::Test {
 protected:
  void advertise(const char* router, const char* addr) {
    colls.transportAddrs->routerIpAddrIs(v<Mpls::RouterId>(router))
        ->ipAddrIs(v<Vela::IpGenAddr>(addr));
  }
  bool inverted(const char* addr) const {
    return bool(colls.ipAddrRouterId->ipAddrRouterId(v<Vela::IpGenAddr>(addr)));
  }
  // Stage 1, whichever variant runs.
  static Vox::Reactor* stage1(const Mpls::P2mpLfibGenSmManager& manager) {
    if (manager.ipAddrToRouterIdInfoSm()) return manager.ipAddrToRouterIdInfoSm().ptr();
    return manager.ipAddrRouterIdInfoSm().ptr();
  }
  Mpls::PipelineCollections colls;
  Vox::Ptr<Mpls::P2mpLfibGenSmManager> manager = colls.managerIs();
};

// A second initialization keeps every reactor; so does a delete, after which they still react.
TEST_F(P2mpLfibGenSmManagerTest, ReinitializationAndDeleteKeepEveryReactor) {
  manager->hasNotificationActiveIs(true);
  // Every stage attribute, both variants of stages 1 to 4: the one not chosen stays null.
  const auto reactors = [&] {
    const auto& m = *manager;
    return std::vector<Vox::Reactor*>{
        m.ipAddrRouterIdInfoSm().ptr(),    m.ipAddrToRouterIdInfoSm().ptr(),
        m.routerNexthopInfoSm().ptr(),     m.routerIdToNexthopInfoSm().ptr(),
        m.intfRouterNexthopInfoSm().ptr(), m.intfToRouterNexthopInfoSm().ptr(),
        m.routerIpNexthopInfoSm().ptr(),   m.routerIdToIpNexthopInfoSm().ptr(),
        m.routerFilteredNexthopSm().ptr(), m.fecRouterNexthopInfoSm().ptr(),
        m.labelForwardingInfoSm().ptr()};
  };
  const auto before = reactors();
  EXPECT_EQ(std::count(before.begin(), before.end(), nullptr), 4);  // one variant of stages 1-4
  manager->handleInitialized();
  EXPECT_EQ(reactors(), before);
  manager->handleDelete();
  EXPECT_FALSE(manager->initialized());
  ASSERT_EQ(reactors(), before);
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_TRUE(inverted("10.0.0.1"));
}

TEST_F(P2mpLfibGenSmManagerTest, SettersCompareCollectionsByIdentity) {
  const auto original = manager->ipAddrRouterIdInfoSmIs(colls.transportAddrs, colls.ipAddrRouterId);
  EXPECT_EQ(manager->ipAddrRouterIdInfoSmIs(colls.transportAddrs, colls.ipAddrRouterId), original);
  // An equal but distinct collection makes a new reactor.
  auto otherOutput = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  const auto replaced = manager->ipAddrRouterIdInfoSmIs(colls.transportAddrs, otherOutput);
  EXPECT_NE(replaced, original);
  EXPECT_EQ(manager->ipAddrRouterIdInfoSm(), replaced);
  EXPECT_TRUE(replaced->hasNotificationActive());
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_TRUE(otherOutput->ipAddrRouterId(v<Vela::IpGenAddr>("10.0.0.1")));
}

TEST_F(P2mpLfibGenSmManagerTest, RemoversHandTheReactorOverSilenced) {
  Vox::Ptr<Vox::Reactor> removed =
      manager->ipAddrToRouterIdInfoSm()
          ? Vox::Ptr<Vox::Reactor>(manager->ipAddrToRouterIdInfoSmDel())
          : Vox::Ptr<Vox::Reactor>(manager->ipAddrRouterIdInfoSmDel());
  ASSERT_TRUE(removed);
  EXPECT_FALSE(removed->hasNotificationActive());
  EXPECT_EQ(stage1(*manager), nullptr);
  EXPECT_EQ(manager->ipAddrRouterIdInfoSmDel(), nullptr);
  EXPECT_EQ(manager->ipAddrToRouterIdInfoSmDel(), nullptr);
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_FALSE(inverted("10.0.0.1"));
}

TEST_F(P2mpLfibGenSmManagerTest, NotificationsOffReachEveryStage) {
  manager->hasNotificationActiveIs(false);
  EXPECT_FALSE(stage1(*manager)->hasNotificationActive());
  EXPECT_FALSE(manager->labelForwardingInfoSm()->hasNotificationActive());
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_FALSE(inverted("10.0.0.1"));
  manager->hasNotificationActiveIs(true);
  advertise("3.3.3.3:0", "10.0.0.2");  // what happened meanwhile stays missed until re-initialized
  EXPECT_TRUE(inverted("10.0.0.2"));
}

TEST_F(P2mpLfibGenSmManagerTest, DestructionDeletesTheManagerFirstThenTheStagesInOrder) {
  advertise("2.2.2.2:0", "10.0.0.1");
  QuillTest::TraceCapture trace("*/8");
  manager = nullptr;
  std::vector<std::string> deletes;
  for (const std::string& message : trace.messages()) {
    if (message.ends_with("::handleDelete()")) deletes.push_back(message);
  }
  const auto name = [](bool compiled, const char* compiledName, const char* handWritten) {
    return std::string("Mpls::") + (compiled ? compiledName : handWritten) + "::handleDelete()";
  };
  EXPECT_EQ(deletes, (std::vector<std::string>{
                         "Mpls::P2mpLfibGenSmManager::handleDelete()",
                         name(Mpls::toggleMplsFluxInversionEnabled(), "IpAddrToRouterIdInfoSm",
                              "IpAddrRouterIdInfoSm"),
                         name(Mpls::toggleMplsFluxConcatEnabled(), "RouterIdToNexthopInfoSm",
                              "RouterNexthopInfoSm"),
                         name(Mpls::toggleMplsFluxIntfRouterSmEnabled(),
                              "IntfToRouterNexthopInfoSm", "IntfRouterNexthopInfoSm"),
                         name(Mpls::toggleMplsFluxRouterIpNexthopEnabled(),
                              "RouterIdToIpNexthopInfoSm", "RouterIpNexthopInfoSm"),
                         "Mpls::RouterFilteredNexthopSm::handleDelete()",
                         "Mpls::FecRouterNexthopInfoSm::handleDelete()",
                         "Mpls::LabelForwardingInfoSm::handleDelete()",
                     }));
  // The collections belong to the agent: released, not cleared.
  EXPECT_EQ(colls.transportAddrs->references(), 1u);
  EXPECT_TRUE(inverted("10.0.0.1"));
}

}  // namespace
