#include "sim/ResolutionService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "tests/support/Values.h"

namespace {

using Brisk::Fib::FecId;
using Brisk::Fib::ViaIndex;
using Lines = std::set<std::string>;
using QuillTest::v;
using Routing::RouteType;
using Vela::IpGenAddr;
using Vela::IpPrefix;

IpGenAddr ip(std::string_view text) {
  return v<IpGenAddr>(text);
}
IpPrefix net(std::string_view text) {
  return v<IpPrefix>(text);
}
// From "HOP-INTF" texts.
std::vector<Sim::RouteVia> vias(std::initializer_list<std::string_view> texts) {
  std::vector<Sim::RouteVia> out;
  for (std::string_view text : texts) {
    const auto dash = text.find('-');
    out.push_back({v<Vela::IpAddr>(text.substr(0, dash)), v<Vela::IntfId>(text.substr(dash + 1))});
  }
  return out;
}
// "fec N type T: HOP-INTF ...", the form in which tests compare answers.
std::string answerText(const Routing::NexthopStatusEntry& entry,
                       const std::vector<Brisk::Fib::FecVia>& fecVias) {
  std::ostringstream out;
  out << entry << ":";
  for (const auto& via : fecVias)
    out << " " << via.hop << "-" << via.intfId;
  return out.str();
}

class ResolutionServiceTest : public ::testing::Test {
 public:  // the consumer below reads the tables as a test does
  ResolutionServiceTest() { service.emplace(config, status, forwarding, backlog); }

  void request(std::string_view address, bool allowDefaultRoute = false) {
    Routing::NexthopConfigEntry entry(ip(address));
    entry.allowDefaultRouteIs(allowDefaultRoute);
    config->nexthopIs(entry);
  }
  void withdraw(std::string_view address) { config->nexthopDel(ip(address)); }

  // What a consumer reads for `address`: walks the FEC's vias up to its count, so a FEC of
  // more than 600 vias throws at index 600 as it does for the library's reactor.
  std::string answer(const IpGenAddr& address) const {
    const auto* entry = status->nexthop(address);
    if (!entry) return "unresolved";
    const auto* fec = forwarding->fec(entry->fecId());
    if (!fec) return "missing fec";
    std::vector<Brisk::Fib::FecVia> fecVias;
    for (uint32_t i = 0; i < fec->viaCount(); ++i)
      fecVias.push_back(fec->via(ViaIndex(i)));
    return answerText(*entry, fecVias);
  }
  std::string answer(std::string_view address) const { return answer(ip(address)); }

  Lines takeBacklog() {
    Lines lines;
    for (const auto& address : backlog->backlogColl())
      lines.insert(address.valueToStrep());
    backlog->backlogDelAll();
    return lines;
  }

  Vox::Ptr<Routing::NexthopVrfConfig> config = Vox::create<Routing::NexthopVrfConfig>();
  Vox::Ptr<Routing::NexthopVrfStatus> status = Vox::create<Routing::NexthopVrfStatus>();
  Vox::Ptr<Brisk::Fib::ForwardingStatus> forwarding = Vox::create<Brisk::Fib::ForwardingStatus>();
  Vox::Ptr<Routing::NexthopBacklog> backlog = Vox::create<Routing::NexthopBacklog>();
  std::optional<Sim::ResolutionService> service;
};

// Drains the backlog as the library's status reactor does, logging what it read for each
// address added; reading a FEC of more than 600 vias throws out of `backlogIs`.
struct Consumer : Routing::NexthopBacklog::NotifieeConst {
  Consumer(ResolutionServiceTest& t, std::vector<std::string>& l) : test(t), log(l) {
    notifierIs(test.backlog);
    hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    const auto* added = Routing::NexthopBacklog::backlogAttribute::match(attr, key);
    if (!added || !notifier()->backlog(*added)) return;
    const IpGenAddr address = *added;
    log.push_back("backlog " + address.valueToStrep() + " -> " + test.answer(address));
    test.backlog->backlogDel(address);
  }
  ResolutionServiceTest& test;
  std::vector<std::string>& log;
};

// Logs "TABLE KEY" for every write to one attribute.
template <class Attr>
struct WriteLog : Attr::OwnerType::NotifieeConst {
  WriteLog(std::string t, const Vox::Ptr<typename Attr::OwnerType>& table,
           std::vector<std::string>& l)
      : name(std::move(t)), log(l) {
    this->notifierIs(table);
    this->hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    if (const auto* changed = Attr::match(attr, key))
      log.push_back(name + " " + changed->valueToStrep());
  }
  std::string name;
  std::vector<std::string>& log;
};

TEST_F(ResolutionServiceTest, LongestPrefixAnswersAndFallsBackWhenItGoes) {
  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));   // fec 1
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.2-Ethernet2"}));  // fec 2
  for (auto address : {"10.1.2.3", "10.2.0.1", "11.0.0.1", "::ffff:10.1.2.3"})
    request(address);
  EXPECT_EQ(takeBacklog(), Lines({"10.1.2.3", "10.2.0.1"}));
  EXPECT_EQ(answer("10.1.2.3"), "fec 2 type 1: 10.9.0.2-Ethernet2");
  EXPECT_EQ(answer("10.2.0.1"), "fec 1 type 1: 10.9.0.1-Ethernet1");
  EXPECT_EQ(answer("11.0.0.1"), "unresolved");
  EXPECT_EQ(answer("::ffff:10.1.2.3"), "unresolved");  // the same bytes in the other family

  service->routeIs(net("10.1.2.0/24"), vias({"10.9.0.3-Ethernet3"}));  // fec 3
  // Shorter than every answer so far: it only answers 11.0.0.1, which nothing else covers.
  service->routeIs(net("10.0.0.0/7"), vias({"10.9.0.4-Ethernet4"}));  // fec 4
  EXPECT_EQ(takeBacklog(), Lines({"10.1.2.3", "11.0.0.1"}));
  EXPECT_EQ(answer("11.0.0.1"), "fec 4 type 1: 10.9.0.4-Ethernet4");
  EXPECT_EQ(answer("10.1.2.3"), "fec 3 type 1: 10.9.0.3-Ethernet3");
  service->routeDel(net("10.1.2.0/24"));
  EXPECT_EQ(takeBacklog(), Lines({"10.1.2.3"}));
  EXPECT_EQ(answer("10.1.2.3"), "fec 2 type 1: 10.9.0.2-Ethernet2");
  service->routeDel(net("10.1.0.0/16"));
  EXPECT_EQ(takeBacklog(), Lines({"10.1.2.3"}));
  EXPECT_EQ(answer("10.1.2.3"), "fec 1 type 1: 10.9.0.1-Ethernet1");
}

TEST_F(ResolutionServiceTest, DefaultRouteAnswersOnlyRequestsThatAllowIt) {
  service->routeIs(net("0.0.0.0/0"), vias({"10.9.0.1-Ethernet1"}));  // fec 1
  service->routeIs(net("::/0"), vias({"10.9.0.2-Ethernet2"}));       // fec 2
  request("10.0.0.1");
  request("10.0.0.2", true);
  request("2001:db8::1", true);
  EXPECT_EQ(takeBacklog(), Lines({"10.0.0.2", "2001:db8::1"}));
  EXPECT_EQ(answer("10.0.0.1"), "unresolved");
  EXPECT_EQ(answer("2001:db8::1"), "fec 2 type 1: 10.9.0.2-Ethernet2");
  request("10.0.0.1", true);
  request("10.0.0.2", false);
  EXPECT_EQ(takeBacklog(), Lines({"10.0.0.1", "10.0.0.2"}));
  EXPECT_EQ(answer("10.0.0.1"), "fec 1 type 1: 10.9.0.1-Ethernet1");
  EXPECT_EQ(answer("10.0.0.2"), "unresolved");
}

TEST_F(ResolutionServiceTest, ConnectedRouteAnswersTypeElevenThroughAZeroHop) {
  service->connectedRouteIs(net("10.0.0.0/24"), v<Vela::IntfId>("Ethernet4"));
  request("10.0.0.2");
  EXPECT_EQ(answer("10.0.0.2"), "fec 1 type 11: 0.0.0.0-Ethernet4");
  takeBacklog();
  service->routeIs(net("10.0.0.0/24"), vias({"0.0.0.0-Ethernet4"}));  // only the type changes
  EXPECT_EQ(takeBacklog(), Lines({"10.0.0.2"}));
  EXPECT_EQ(answer("10.0.0.2"), "fec 1 type 1: 0.0.0.0-Ethernet4");
}

TEST_F(ResolutionServiceTest, ReplacingViasRewritesTheFecAndBacklogsExactlyItsAddresses) {
  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));   // fec 1
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.2-Ethernet2"}));  // fec 2
  for (auto address : {"10.1.0.1", "10.1.0.2", "10.2.0.1", "11.0.0.1"})
    request(address);
  takeBacklog();
  const auto replacement = vias({"10.9.0.3-Ethernet3", "10.9.0.3-Ethernet3", "10.9.0.4-Ethernet4"});
  // The /8 holds every request but answers only 10.2.0.1; the /16 answers the others.
  service->routeIs(net("10.0.0.0/8"), replacement);
  EXPECT_EQ(takeBacklog(), Lines({"10.2.0.1"}));
  EXPECT_EQ(answer("10.2.0.1"),
            "fec 1 type 1: 10.9.0.3-Ethernet3 10.9.0.3-Ethernet3 10.9.0.4-Ethernet4");
  EXPECT_EQ(answer("10.1.0.2"), "fec 2 type 1: 10.9.0.2-Ethernet2");
  EXPECT_EQ(forwarding->fecs(), 2u);
  service->routeIs(net("10.1.0.0/16"), replacement);
  EXPECT_EQ(takeBacklog(), Lines({"10.1.0.1", "10.1.0.2"}));
  service->routeIs(net("10.1.0.0/16"), replacement);
  EXPECT_EQ(takeBacklog(), Lines());
}

TEST_F(ResolutionServiceTest, UnresolvedRequestChangesNothingAndWithdrawalIsBacklogged) {
  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));
  request("11.0.0.1");
  EXPECT_EQ(status->nexthops(), 0u);
  EXPECT_EQ(takeBacklog(), Lines());
  request("10.0.0.1");
  takeBacklog();
  withdraw("11.0.0.1");
  withdraw("10.0.0.1");
  EXPECT_EQ(takeBacklog(), Lines({"10.0.0.1"}));
  EXPECT_EQ(status->nexthops(), 0u);
  EXPECT_TRUE(service->answers().empty());
  EXPECT_EQ(forwarding->fecs(), 1u);  // the route and its FEC stay
}

TEST_F(ResolutionServiceTest, WritesFecThenStatusThenBacklogAndDeletesTheFecLast) {
  std::vector<std::string> log;
  WriteLog<Brisk::Fib::ForwardingStatus::fecAttribute> fecLog("fec", forwarding, log);
  WriteLog<Routing::NexthopVrfStatus::nexthopAttribute> statusLog("status", status, log);
  Consumer consumer(*this, log);

  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));
  request("10.1.0.1");
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.2-Ethernet2"}));
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.3-Ethernet3"}));
  service->routeDel(net("10.1.0.0/16"));
  withdraw("10.1.0.1");
  EXPECT_EQ(log, (std::vector<std::string>{
                     "fec 1",
                     "status 10.1.0.1",
                     "backlog 10.1.0.1 -> fec 1 type 1: 10.9.0.1-Ethernet1",
                     "fec 2",
                     "status 10.1.0.1",
                     "backlog 10.1.0.1 -> fec 2 type 1: 10.9.0.2-Ethernet2",
                     "fec 2",  // rewritten in place; the status entry is unchanged
                     "backlog 10.1.0.1 -> fec 2 type 1: 10.9.0.3-Ethernet3",
                     "status 10.1.0.1",
                     "backlog 10.1.0.1 -> fec 1 type 1: 10.9.0.1-Ethernet1",
                     "fec 2",
                     "status 10.1.0.1",
                     "backlog 10.1.0.1 -> unresolved",
                 }));
  EXPECT_EQ(forwarding->fec(FecId(2)), nullptr);
}

TEST_F(ResolutionServiceTest, ConsumerThrowingOnSomeAddressesStopsNoOther) {
  std::vector<std::string> log;
  Consumer consumer(*this, log);
  for (auto address : {"10.0.0.1", "10.0.0.2", "10.0.0.3"})
    request(address);
  std::vector<Sim::RouteVia> many;
  for (uint32_t i = 0; i < 601; ++i)
    many.push_back({Vela::IpAddr(0x0a090000 + i), {}});
  service->routeIs(net("10.0.0.0/8"), many);
  const auto* fec = forwarding->fec(FecId(1));
  ASSERT_NE(fec, nullptr);
  EXPECT_EQ(fec->viaCount(), 601u);
  EXPECT_EQ(fec->via(ViaIndex(599)).hop, Vela::IpAddr(0x0a090000 + 599));
  const std::string thrown = ": ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed";
  auto errors = service->takeErrors();
  std::sort(errors.begin(), errors.end());
  EXPECT_EQ(errors, (std::vector<std::string>{"10.0.0.1" + thrown, "10.0.0.2" + thrown,
                                              "10.0.0.3" + thrown}));
  EXPECT_TRUE(service->takeErrors().empty());
  EXPECT_EQ(status->nexthops(), 3u);
  EXPECT_EQ(backlog->backlogs(), 3u);  // the consumer threw before draining any of them

  backlog->backlogDelAll();
  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));
  EXPECT_TRUE(service->takeErrors().empty());
  EXPECT_EQ(log.size(), 3u);
  EXPECT_EQ(backlog->backlogs(), 0u);
}

TEST_F(ResolutionServiceTest, AnswersLeftByAnEarlierWriterAreWithdrawn) {
  service.reset();
  status->nexthopIs(ip("10.0.0.9"), {FecId(7), RouteType::connected});
  forwarding->fecIs(FecId(7), Brisk::Fib::Fec(FecId(7)));
  service.emplace(config, status, forwarding, backlog);
  EXPECT_EQ(takeBacklog(), Lines({"10.0.0.9"}));
  EXPECT_EQ(status->nexthops(), 0u);
  EXPECT_EQ(forwarding->fecs(), 0u);
}

// Oracle: after every random change, each address's answer equals a from-scratch
// longest-prefix match over a model of the routes (FEC ids allocated from 1 per new prefix), and
// the backlog holds exactly the addresses whose answer changed.
TEST_F(ResolutionServiceTest, RandomChangesMatchAFromScratchLongestPrefixMatch) {
  const std::vector<IpPrefix> prefixes = {
      net("0.0.0.0/0"),     net("0.0.0.0/1"),          net("10.0.0.0/8"),  net("10.0.0.0/16"),
      net("10.0.0.0/24"),   net("10.0.0.1/32"),        net("10.1.0.0/16"), net("::/0"),
      net("2001:db8::/32"), net("::ffff:10.0.0.0/120")};
  const std::vector<IpGenAddr> addresses = {ip("10.0.0.1"),    ip("10.0.1.1"),
                                            ip("10.1.0.1"),    ip("11.0.0.1"),
                                            ip("2001:db8::1"), ip("::ffff:10.0.0.1")};
  const auto pool = vias({"10.9.0.1-Ethernet1", "10.9.0.2-Ethernet2", "10.9.0.3-Ethernet1"});
  std::map<IpPrefix, std::string> model;  // each route's answer text
  std::map<IpPrefix, FecId> fecIds;       // a route keeps its FEC id; a new one takes the next
  uint64_t nextFecId = 1;
  constexpr uint32_t kSeed = 4242;
  std::mt19937 random(kSeed);
  const auto pick = [&random](const auto& items) { return items[random() % items.size()]; };
  for (int step = 0; step < 500; ++step) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << " step " << step);
    std::map<IpGenAddr, std::string> before;
    for (const auto& address : addresses)
      before[address] = answer(address);
    const IpPrefix prefix = pick(prefixes);
    switch (random() % 4) {
      case 0: {
        std::vector<Sim::RouteVia> chosen(random() % 4);
        for (auto& via : chosen)
          via = pick(pool);
        const RouteType type = random() % 2 ? RouteType::ospf : RouteType::connected;
        service->routeIs(prefix, chosen, type);
        if (!fecIds.contains(prefix)) fecIds[prefix] = FecId(nextFecId++);
        std::vector<Brisk::Fib::FecVia> fecVias;
        for (const auto& via : chosen)
          fecVias.push_back({via.hop, via.intf});
        model[prefix] = answerText({fecIds[prefix], type}, fecVias);
        break;
      }
      case 1:
        service->routeDel(prefix);
        model.erase(prefix);
        fecIds.erase(prefix);
        break;
      case 2:
        request(pick(addresses).valueToStrep(), random() % 2);
        break;
      default:
        withdraw(pick(addresses).valueToStrep());
    }
    Lines changed;
    for (const auto& address : addresses) {
      const auto* req = config->nexthop(address);
      std::string expected = "unresolved";
      for (uint32_t best = 0; const auto& [p, route] : model) {
        if (req && p.contains(address) && (p.length() > 0 || req->allowDefaultRoute()) &&
            (expected == "unresolved" || p.length() > best)) {
          expected = route;
          best = p.length();
        }
      }
      ASSERT_EQ(answer(address), expected) << address;
      if (before[address] != expected) changed.insert(address.valueToStrep());
    }
    ASSERT_EQ(takeBacklog(), changed);
    ASSERT_EQ(forwarding->fecs(), model.size());
  }
}

}  // namespace

namespace {

// A consumer that changes routes from inside the service's own backlog notification would make
// the service re-enter itself half-way through an answer.
using ResolutionServiceDeathTest = ResolutionServiceTest;

TEST_F(ResolutionServiceDeathTest, RouteChangesFromInsideItsNotificationsAreFatal) {
  struct Meddler : Routing::NexthopBacklog::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo&, const void*) override {
      service->routeDel(net("10.0.0.0/24"));
    }
    Sim::ResolutionService* service = nullptr;
  } meddler;
  meddler.service = &*service;
  meddler.notifierIs(backlog);
  meddler.hasNotificationActiveIs(true);
  request("10.0.0.1");
  EXPECT_DEATH(service->routeIs(net("10.0.0.0/24"), vias({"10.1.1.2-Ethernet1"})),
               "route change outside the service's own notifications");
}

}  // namespace
