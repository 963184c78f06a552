#include "quill/resolve/IpAddrRouterIdInfoSm.h"

#include <gtest/gtest.h>

#include "tests/support/Contents.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Mpls::IpAddrRouterIdInfo;
using Mpls::RouterId;
using QuillTest::contents;
using QuillTest::Lines;
using QuillTest::v;
using Vela::IpGenAddr;

// What the output holds after each initialization over what an earlier instance or a router
// removed whole left, over routers sharing addresses, is the audit's in the hand-written run of
// PipelinePropertyTest; here, what it does not see.
class IpAddrRouterIdInfoSmTest : public ::testing::Test {
 protected:
  void add(const char* router, const char* addr) {
    in->routerIpAddrIs(v<RouterId>(router))->ipAddrIs(v<IpGenAddr>(addr));
  }
  void del(const char* router, const char* addr) {
    in->routerIpAddr(v<RouterId>(router))->ipAddrDel(v<IpGenAddr>(addr));
  }
  Lines output() const {
    return contents(out->ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl);
  }
  void start() { sm = Mpls::ipAddrRouterIdInfoSmFactory(in, out); }

  Vox::Ptr<Mpls::RouterIpAddrInfoColl> in = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::IpAddrRouterIdInfoColl> out = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  Vox::Ptr<Mpls::IpAddrRouterIdInfoSm> sm;
};

// With no input collection nothing backs the pairs a previous instance left: the sweep removes
// them instead of reading the missing input.
TEST_F(IpAddrRouterIdInfoSmTest, WithoutAnInputTheSweepEmptiesALeftOverOutput) {
  out->ipAddrRouterIdIs(v<IpGenAddr>("10.0.0.1"))->routerIdIs(v<RouterId>("2.2.2.2:0"));
  sm = Mpls::ipAddrRouterIdInfoSmFactory(nullptr, out);
  EXPECT_TRUE(output().empty());
}

// A shared address keeps its entry until the last router goes, traced as operators see it.
// Changes while uninitialized wait for the next initialization; after it, repeated additions and
// unknown pairs change nothing.
TEST_F(IpAddrRouterIdInfoSmTest, TracedChangesWaitWhileUninitializedAndRepeatsChangeNothing) {
  start();
  QuillTest::TraceCapture trace("QuillIpAddrRouterIdInfoSm/9");
  add("2.2.2.2:0", "10.0.0.1");
  add("3.3.3.3:0", "10.0.0.1");
  del("2.2.2.2:0", "10.0.0.1");
  del("3.3.3.3:0", "10.0.0.1");
  EXPECT_EQ(trace.messages(), (std::vector<std::string>{
                                  "Adding ipAddr to routerId 10.0.0.12.2.2.2:0 ",
                                  "Adding ipAddr to routerId 10.0.0.13.3.3.3:0 ",
                                  "Deleting ipAddr to routerId10.0.0.1",
                              }));
  sm->handleDelete();
  add("2.2.2.2:0", "10.0.0.1");
  EXPECT_TRUE(output().empty());
  sm->handleInitialized();
  EXPECT_EQ(output(), (Lines{"10.0.0.1 2.2.2.2:0"}));
  const uint32_t version = out->ipAddrRouterId(v<IpGenAddr>("10.0.0.1"))->routerIdColl().version();
  sm->handleRouterIpAddr(v<RouterId>("2.2.2.2:0"), v<IpGenAddr>("10.0.0.1"));
  sm->handleRouterIpAddr(v<RouterId>("9.9.9.9:0"), v<IpGenAddr>("10.9.9.9"));
  EXPECT_EQ(out->ipAddrRouterId(v<IpGenAddr>("10.0.0.1"))->routerIdColl().version(), version);
  EXPECT_EQ(output(), (Lines{"10.0.0.1 2.2.2.2:0"}));
}

}  // namespace
