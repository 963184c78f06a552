#include "quill/resolve/IraNexthopStatusSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/Contents.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Brisk::Fib::Fec;
using Brisk::Fib::FecId;
using Brisk::Fib::FecVia;
using QuillTest::Lines;
using QuillTest::v;
using Vela::IpGenAddr;
using Strings = std::vector<std::string>;

FecVia fecVia(const char* hop, const char* intf) {
  return {v<IpGenAddr>(hop), v<Vela::IntfId>(intf)};
}

class IraNexthopStatusSmTest : public ::testing::Test {
 protected:
  // Publishes an answer the way a resolution service does: FEC, then status, then backlog.
  void resolve(const char* addr, uint64_t fecId, const std::vector<FecVia>& vias,
               Routing::RouteType type = Routing::RouteType::staticRoute) {
    Fec fec{FecId(fecId)};
    fec.viasIs(vias);
    forwarding->fecIs(FecId(fecId), fec);
    status->nexthopIs(v<IpGenAddr>(addr), Routing::NexthopStatusEntry(FecId(fecId), type));
    backlog->backlogIs(v<IpGenAddr>(addr));
  }
  void unresolve(const char* addr) {
    status->nexthopDel(v<IpGenAddr>(addr));
    backlog->backlogIs(v<IpGenAddr>(addr));
  }
  Lines output() const {
    return QuillTest::contents(out->ipNexthopColl(), &Mpls::IpNexthopInfo::viaColl);
  }
  void start() { sm = Mpls::iraNexthopStatusSmFactory(backlog, status, forwarding, out); }

  Vox::Ptr<Routing::NexthopBacklog> backlog = Vox::create<Routing::NexthopBacklog>();
  Vox::Ptr<Routing::NexthopVrfStatus> status = Vox::create<Routing::NexthopVrfStatus>();
  Vox::Ptr<Brisk::Fib::ForwardingStatus> forwarding = Vox::create<Brisk::Fib::ForwardingStatus>();
  Vox::Ptr<Mpls::IpNexthopInfoColl> out = Vox::create<Mpls::IpNexthopInfoColl>();
  Vox::Ptr<Mpls::IraNexthopStatusSm> sm;
};

TEST_F(IraNexthopStatusSmTest, ChangedViasAreAddedBeforeStaleOnesGo) {
  start();
  resolve("10.0.0.1", 1, {fecVia("10.1.1.1", "Ethernet1"), fecVia("10.1.1.2", "Ethernet1")});
  struct Order : Mpls::IpNexthopInfo::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
      if (auto* via = Mpls::IpNexthopInfo::viaAttribute::match(attr, key)) {
        // Appended rather than `"+" + text`, which trips GCC 12's -Wrestrict false positive
        // inside std::string at -O3.
        std::string event = notifier()->via(*via) ? "+" : "-";
        event += via->valueToStrep();
        events.push_back(event);
      }
    }
    Strings events;
  } order;
  order.notifierIs(out->ipNexthop(v<IpGenAddr>("10.0.0.1")));
  order.hasNotificationActiveIs(true);
  resolve("10.0.0.1", 1, {fecVia("10.1.1.2", "Ethernet1"), fecVia("10.1.1.3", "Ethernet1")});
  EXPECT_EQ(order.events, (Strings{"+10.1.1.3-Ethernet1", "-10.1.1.1-Ethernet1"}));
}

// Which vias an answered address gets, over routes of either family, is the audit's
// (PipelinePropertyTest); here, the texts operators see for a connected route, where the peer is
// its own next hop, and for each way of losing the resolution.
TEST_F(IraNexthopStatusSmTest, ConnectedRoutesAndLostResolutionsAreTraced) {
  start();
  resolve("10.0.0.1", 1, {fecVia("10.1.1.2", "Ethernet1")});
  resolve("10.0.0.2", 2, {fecVia("10.1.1.2", "Ethernet1")});
  resolve("10.0.0.3", 3, {fecVia("10.1.1.2", "Ethernet1")});
  QuillTest::TraceCapture trace("QuillIraNexthopStatusSm/9");
  resolve("10.1.1.2", 4, {fecVia("0.0.0.0", "Ethernet3")}, Routing::RouteType::connected);
  unresolve("10.0.0.1");         // no status
  resolve("10.0.0.2", 2, {});    // a FEC without vias
  forwarding->fecDel(FecId(3));  // a FEC the forwarding table no longer knows
  backlog->backlogIs(v<IpGenAddr>("10.0.0.3"));
  EXPECT_EQ(output(), (Lines{"10.1.1.2 10.1.1.2-Ethernet3"}));
  EXPECT_TRUE(backlog->backlogColl().empty());  // unresolved answers leave the backlog too
  EXPECT_EQ(trace.messages(), (Strings{"Found connected route for 10.1.1.2",
                                       "Adding FibVia for hop = 0.0.0.0 intfdId Ethernet3",
                                       "Adding ipAddr from ipNexthopInfoColl 10.1.1.2",
                                       "Removing ipAddr from ipNexthopInfoColl 10.0.0.1",
                                       "Removing ipAddr from ipNexthopInfoColl 10.0.0.2",
                                       "Removing ipAddr from ipNexthopInfoColl 10.0.0.3"}));
}

TEST_F(IraNexthopStatusSmTest, MoreThan600ViasThrowAndLeaveTheEntryAsItWas) {
  start();
  resolve("10.0.0.1", 1, {fecVia("10.1.1.2", "Ethernet1")});
  std::vector<FecVia> many;
  for (uint32_t i = 0; i < 600; ++i)
    many.push_back({Vela::IpAddr(0x0a020000u + i), v<Vela::IntfId>("Ethernet2")});
  Fec fec{FecId(1)};
  fec.viasIs(many);
  fec.viaCountIs(601);
  forwarding->fecIs(FecId(1), fec);
  EXPECT_THAT([&] { backlog->backlogIs(v<IpGenAddr>("10.0.0.1")); },
              ::testing::ThrowsMessage<Vox::RangeException>(::testing::StrEq(
                  "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed")));
  EXPECT_EQ(output(), (Lines{"10.0.0.1 10.1.1.2-Ethernet1"}));
  EXPECT_TRUE(backlog->backlogColl().empty());
  fec.viaCountIs(600);  // exactly full is fine
  forwarding->fecIs(FecId(1), fec);
  backlog->backlogIs(v<IpGenAddr>("10.0.0.1"));
  EXPECT_EQ(out->ipNexthop(v<IpGenAddr>("10.0.0.1"))->vias(), 600u);
}

TEST_F(IraNexthopStatusSmTest, ConstructionProcessesAnswersAndRemovesUnanswered) {
  resolve("10.0.0.1", 1, {fecVia("10.1.1.2", "Ethernet1")});
  out->ipNexthopIs(v<IpGenAddr>("10.0.0.9"))->viaIs(v<Mpls::FibVia>("10.1.1.9-Ethernet9"));
  start();
  EXPECT_EQ(output(), (Lines{"10.0.0.1 10.1.1.2-Ethernet1"}));
  EXPECT_TRUE(backlog->backlogColl().empty());
}

// An observer that reacts to an output change by queueing more work: the drain in progress
// picks it up, however the backlog's iteration order falls.
TEST_F(IraNexthopStatusSmTest, WorkQueuedDuringADrainIsDrainedToo) {
  start();
  for (int i = 0; i < 20; ++i) {
    Fec fec{FecId(100 + i)};
    fec.viasIs({{Vela::IpAddr(0x0a010100u + i), v<Vela::IntfId>("Ethernet1")}});
    forwarding->fecIs(FecId(100 + i), fec);
    status->nexthopIs(IpGenAddr(Vela::IpAddr(0x0a000000u + i)),
                      {FecId(100 + i), Routing::RouteType::staticRoute});
  }
  struct Chain : Mpls::IpNexthopInfoColl::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo&, const void* key) override {
      const auto& addr = *static_cast<const IpGenAddr*>(key);
      const uint32_t next = addr.v4().value() + 1;
      if (next < 0x0a000000u + 20) backlog->backlogIs(IpGenAddr(Vela::IpAddr(next)));
    }
    Routing::NexthopBacklog* backlog = nullptr;
  } chain;
  chain.backlog = backlog.ptr();
  chain.notifierIs(out);
  chain.hasNotificationActiveIs(true);
  backlog->backlogIs(IpGenAddr(Vela::IpAddr(0x0a000000u)));
  EXPECT_EQ(out->ipNexthops(), 20u);
  EXPECT_TRUE(backlog->backlogColl().empty());
}

using IraNexthopStatusSmDeathTest = IraNexthopStatusSmTest;

TEST_F(IraNexthopStatusSmDeathTest, ABacklogChangeAfterHandleDeleteIsFatal) {
  start();
  sm->handleDelete();
  EXPECT_DEATH(backlog->backlogIs(v<IpGenAddr>("10.0.0.1")), "initialized\\(\\)");
}

}  // namespace
