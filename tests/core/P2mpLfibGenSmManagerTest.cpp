#include "quill/core/P2mpLfibGenSmManager.h"

#include <gtest/gtest.h>

#include "sim/PipelineCollections.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::v;

class P2mpLfibGenSmManagerTest : public ::testing::Test {
 protected:
  void advertise(const char* router, const char* addr) {
    colls.transportAddrs->routerIpAddrIs(v<Mpls::RouterId>(router))
        ->ipAddrIs(v<Vela::IpGenAddr>(addr));
  }
  bool inverted(const char* addr) const {
    return bool(colls.ipAddrRouterId->ipAddrRouterId(v<Vela::IpGenAddr>(addr)));
  }
  Sim::PipelineCollections colls;
};

TEST_F(P2mpLfibGenSmManagerTest, AConstructedManagerRunsItsPipeline) {
  advertise("2.2.2.2:0", "10.0.0.1");  // before: caught up by initialization
  auto manager = colls.managerIs();
  EXPECT_TRUE(manager->initialized());
  EXPECT_TRUE(manager->hasNotificationActive());
  ASSERT_TRUE(manager->ipAddrRouterIdInfoSm());
  EXPECT_TRUE(manager->ipAddrRouterIdInfoSm()->hasNotificationActive());
  advertise("2.2.2.2:0", "10.0.0.2");  // after: followed
  EXPECT_TRUE(inverted("10.0.0.1"));
  EXPECT_TRUE(inverted("10.0.0.2"));
}

TEST_F(P2mpLfibGenSmManagerTest, ASecondInitializationKeepsEveryReactor) {
  auto manager = colls.managerIs();
  const auto stage1 = manager->ipAddrRouterIdInfoSm();
  manager->handleInitialized();
  EXPECT_EQ(manager->ipAddrRouterIdInfoSm(), stage1);
}

TEST_F(P2mpLfibGenSmManagerTest, SettersCompareCollectionsByIdentity) {
  auto manager = colls.managerIs();
  const auto original = manager->ipAddrRouterIdInfoSm();
  EXPECT_EQ(manager->ipAddrRouterIdInfoSmIs(colls.transportAddrs, colls.ipAddrRouterId), original);
  // An equal but distinct collection makes a new reactor.
  auto otherOutput = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  const auto replaced = manager->ipAddrRouterIdInfoSmIs(colls.transportAddrs, otherOutput);
  EXPECT_NE(replaced, original);
  EXPECT_EQ(manager->ipAddrRouterIdInfoSm(), replaced);
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_TRUE(otherOutput->ipAddrRouterId(v<Vela::IpGenAddr>("10.0.0.1")));
}

TEST_F(P2mpLfibGenSmManagerTest, RemoversHandTheReactorOverSilenced) {
  auto manager = colls.managerIs();
  auto removed = manager->ipAddrRouterIdInfoSmDel();
  ASSERT_TRUE(removed);
  EXPECT_FALSE(removed->hasNotificationActive());
  EXPECT_EQ(manager->ipAddrRouterIdInfoSm(), nullptr);
  EXPECT_EQ(manager->ipAddrRouterIdInfoSmDel(), nullptr);
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_FALSE(inverted("10.0.0.1"));
}

TEST_F(P2mpLfibGenSmManagerTest, NotificationsOffReachEveryStage) {
  auto manager = colls.managerIs();
  manager->hasNotificationActiveIs(false);
  EXPECT_FALSE(manager->ipAddrRouterIdInfoSm()->hasNotificationActive());
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_FALSE(inverted("10.0.0.1"));
  manager->hasNotificationActiveIs(true);
  advertise("3.3.3.3:0", "10.0.0.2");  // what happened meanwhile stays missed until re-initialized
  EXPECT_TRUE(inverted("10.0.0.2"));
}

TEST_F(P2mpLfibGenSmManagerTest, AfterHandleDeleteTheReactorsStillReact) {
  auto manager = colls.managerIs();
  manager->handleDelete();
  EXPECT_FALSE(manager->initialized());
  ASSERT_TRUE(manager->ipAddrRouterIdInfoSm());
  advertise("2.2.2.2:0", "10.0.0.1");
  EXPECT_TRUE(inverted("10.0.0.1"));
}

TEST_F(P2mpLfibGenSmManagerTest, DestructionDeletesTheManagerFirstThenTheStagesInOrder) {
  auto manager = colls.managerIs();
  advertise("2.2.2.2:0", "10.0.0.1");
  QuillTest::TraceCapture trace("Quill*/8");
  manager = nullptr;
  std::vector<std::string> deletes;
  for (const std::string& message : trace.messages()) {
    if (message.ends_with("::handleDelete()")) deletes.push_back(message);
  }
  EXPECT_EQ(deletes, (std::vector<std::string>{"Mpls::P2mpLfibGenSmManager::handleDelete()",
                                               "Mpls::IpAddrRouterIdInfoSm::handleDelete()",
                                               "Mpls::RouterNexthopInfoSm::handleDelete()",
                                               "Mpls::IntfRouterNexthopInfoSm::handleDelete()",
                                               "Mpls::RouterIpNexthopInfoSm::handleDelete()",
                                               "Mpls::RouterFilteredNexthopSm::handleDelete()",
                                               "Mpls::FecRouterNexthopInfoSm::handleDelete()",
                                               "Mpls::LabelForwardingInfoSm::handleDelete()"}));
  // The collections belong to the agent: released, not cleared.
  EXPECT_EQ(colls.transportAddrs->references(), 1u);
  EXPECT_TRUE(inverted("10.0.0.1"));
}

}  // namespace
