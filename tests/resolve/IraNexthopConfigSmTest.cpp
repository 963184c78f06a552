#include "quill/resolve/IraNexthopConfigSm.h"

#include <gtest/gtest.h>

#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Mpls::RouterId;
using QuillTest::v;
using Vela::IpGenAddr;
using Strings = std::vector<std::string>;

class IraNexthopConfigSmTest : public ::testing::Test {
 protected:
  void advertise(const char* addr, const char* router) {
    in->ipAddrRouterIdIs(v<IpGenAddr>(addr))->routerIdIs(v<RouterId>(router));
  }
  Strings requests() const {
    std::vector<std::string> out;
    for (auto it = config->nexthopColl().begin(); it != config->nexthopColl().end(); ++it) {
      EXPECT_EQ(it.value(), Routing::NexthopConfigEntry(it.key()));  // the address alone
      out.push_back(it.key().valueToStrep());
    }
    std::sort(out.begin(), out.end());
    return out;
  }
  void start() { sm = Mpls::IraNexthopConfigSm::IraNexthopConfigSmIs(in, config); }

  Vox::Ptr<Mpls::IpAddrRouterIdInfoColl> in = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  Vox::Ptr<Routing::NexthopVrfConfig> config = Vox::create<Routing::NexthopVrfConfig>();
  Vox::Ptr<Mpls::IraNexthopConfigSm> sm;
};

TEST_F(IraNexthopConfigSmTest, OneRequestPerAddressWhateverTheRouters) {
  start();
  QuillTest::TraceCapture trace("QuillIraNexthopConfigSm/9");
  advertise("10.0.0.1", "2.2.2.2:0");
  advertise("10.0.0.1", "3.3.3.3:0");  // same entry: no notification reaches the reactor
  in->ipAddrRouterId(v<IpGenAddr>("10.0.0.1"))->routerIdDel(v<RouterId>("2.2.2.2:0"));
  EXPECT_EQ(requests(), Strings{"10.0.0.1"});
  in->ipAddrRouterIdDel(v<IpGenAddr>("10.0.0.1"));
  EXPECT_TRUE(requests().empty());
  // An address in neither table is still withdrawn, harmlessly.
  const uint32_t version = config->nexthopColl().version();
  sm->handleIpAddr(v<IpGenAddr>("10.9.9.9"));
  EXPECT_EQ(config->nexthopColl().version(), version);
  EXPECT_EQ(trace.messages(),
            (Strings{"Adding nexthopConfig for 10.0.0.1", "Deleting nexthopConfig for 10.0.0.1",
                     "Deleting nexthopConfig for 10.9.9.9"}));
}

// Construction issues the missing requests and withdraws the stale ones; without an input, every
// request is stale.
TEST_F(IraNexthopConfigSmTest, ConstructionIssuesMissingAndWithdrawsStaleRequests) {
  advertise("10.0.0.1", "2.2.2.2:0");
  config->nexthopIs(Routing::NexthopConfigEntry(v<IpGenAddr>("10.0.0.9")));
  start();
  EXPECT_EQ(requests(), Strings{"10.0.0.1"});
  sm = Mpls::IraNexthopConfigSm::IraNexthopConfigSmIs(nullptr, config);
  EXPECT_TRUE(requests().empty());
}

using IraNexthopConfigSmDeathTest = IraNexthopConfigSmTest;

TEST_F(IraNexthopConfigSmDeathTest, AChangeAfterHandleDeleteIsFatal) {
  start();
  sm->handleDelete();
  EXPECT_DEATH(advertise("10.0.0.1", "2.2.2.2:0"), "initialized\\(\\)");
}

}  // namespace
