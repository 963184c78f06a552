#include "sim/ResolutionService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "tests/support/Values.h"

namespace {

using Brisk::Fib::FecId;
using Brisk::Fib::ViaIndex;
using Lines = std::set<std::string>;
using Log = std::vector<std::string>;
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
    out.push_back({ip(text.substr(0, dash)), v<Vela::IntfId>(text.substr(dash + 1))});
  }
  return out;
}
// "fec N type T: HOP-INTF ...", the form in which tests compare answers.
std::string answerText(const Routing::NexthopStatusEntry& entry,
                       const std::vector<Sim::RouteVia>& routeVias) {
  std::ostringstream out;
  out << entry << ":";
  for (const auto& via : routeVias)
    out << " " << via.hop << "-" << via.intf;
  return out.str();
}

class ResolutionServiceTest : public ::testing::Test {
 public:  // the consumer below reads the tables as a test does
  ResolutionServiceTest() { service.emplace(config, status, forwarding, backlog); }

  void request(const IpGenAddr& address, bool allowDefaultRoute = false) {
    Routing::NexthopConfigEntry entry(address);
    entry.allowDefaultRouteIs(allowDefaultRoute);
    config->nexthopIs(entry);
  }
  // What a consumer reads for `address`: walks the FEC's vias up to its count, so a FEC of
  // more than 600 vias throws at index 600 as it does for the library's reactor.
  std::string answer(const IpGenAddr& address) const {
    const auto* entry = status->nexthop(address);
    if (!entry) return "unresolved";
    const auto* fec = forwarding->fec(entry->fecId());
    if (!fec) return "missing fec";
    std::vector<Sim::RouteVia> fecVias;
    for (uint32_t i = 0; i < fec->viaCount(); ++i)
      fecVias.push_back({fec->via(ViaIndex(i)).hop, fec->via(ViaIndex(i)).intfId});
    return answerText(*entry, fecVias);
  }
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

// Runs `react` on every notification of `table`.
template <class Table>
struct Watch : Table::NotifieeConst {
  using React = std::function<void(const Vox::AttributeInfo&, const void*)>;
  Watch(const Vox::Ptr<Table>& table, React r) : react(std::move(r)) {
    this->notifierIs(table);
    this->hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override { react(attr, key); }
  React react;
};

// Drains the backlog as the library's status reactor does, logging what it read for each
// address added; reading a FEC of more than 600 vias throws out of `backlogIs`.
Watch<Routing::NexthopBacklog> consumer(ResolutionServiceTest& test, Log& log) {
  return {test.backlog, [&test, &log](const Vox::AttributeInfo& attr, const void* key) {
            const auto* added = Routing::NexthopBacklog::backlogAttribute::match(attr, key);
            if (!added || !test.backlog->backlog(*added)) return;
            const IpGenAddr address = *added;
            log.push_back("backlog " + address.valueToStrep() + " -> " + test.answer(address));
            test.backlog->backlogDel(address);
          }};
}

// Logs "NAME KEY" for every write to one attribute.
template <class Attr>
Watch<typename Attr::OwnerType> writeLog(const std::string& name,
                                         const Vox::Ptr<typename Attr::OwnerType>& table,
                                         Log& log) {
  return {table, [name, &log](const Vox::AttributeInfo& attr, const void* key) {
            if (const auto* changed = Attr::match(attr, key))
              log.push_back(name + " " + changed->valueToStrep());
          }};
}

TEST_F(ResolutionServiceTest, WritesFecThenStatusThenBacklogAndDeletesTheFecLast) {
  Log log;
  const auto fecLog = writeLog<Brisk::Fib::ForwardingStatus::fecAttribute>("fec", forwarding, log);
  const auto statusLog =
      writeLog<Routing::NexthopVrfStatus::nexthopAttribute>("status", status, log);
  const auto drain = consumer(*this, log);

  service->routeIs(net("10.0.0.0/8"), vias({"10.9.0.1-Ethernet1"}));
  request(ip("10.1.0.1"));
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.2-Ethernet2"}));
  service->routeIs(net("10.1.0.0/16"), vias({"10.9.0.3-Ethernet3"}));
  service->routeDel(net("10.1.0.0/16"));
  config->nexthopDel(ip("10.1.0.1"));
  EXPECT_EQ(log, (Log{
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
}

TEST_F(ResolutionServiceTest, ConsumerThrowingOnSomeAddressesStopsNoOther) {
  Log log;
  const auto drain = consumer(*this, log);
  for (auto address : {"10.0.0.1", "10.0.0.2", "10.0.0.3"})
    request(ip(address));
  std::vector<Sim::RouteVia> many;
  for (uint32_t i = 0; i < 601; ++i)
    many.push_back({Vela::IpAddr(0x0a090000 + i), {}});
  service->routeIs(net("10.0.0.0/8"), many);
  const auto* fec = forwarding->fec(FecId(1));
  ASSERT_NE(fec, nullptr);
  EXPECT_EQ(fec->via(ViaIndex(599)).hop, Vela::IpAddr(0x0a090000 + 599));
  const std::string thrown = ": ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed";
  auto errors = service->takeErrors();
  std::sort(errors.begin(), errors.end());
  EXPECT_EQ(errors, (Log{"10.0.0.1" + thrown, "10.0.0.2" + thrown, "10.0.0.3" + thrown}));
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
// the backlog holds exactly the addresses whose answer changed. The prefixes nest, cover the
// default routes of both families and the same bytes in the other family.
TEST_F(ResolutionServiceTest, RandomChangesMatchAFromScratchLongestPrefixMatch) {
  const std::vector<IpPrefix> prefixes = {
      net("0.0.0.0/0"),     net("0.0.0.0/1"),          net("10.0.0.0/8"),  net("10.0.0.0/16"),
      net("10.0.0.0/24"),   net("10.0.0.1/32"),        net("10.1.0.0/16"), net("::/0"),
      net("2001:db8::/32"), net("::ffff:10.0.0.0/120")};
  const std::vector<IpGenAddr> addresses = {ip("10.0.0.1"),    ip("10.0.1.1"),
                                            ip("10.1.0.1"),    ip("11.0.0.1"),
                                            ip("2001:db8::1"), ip("::ffff:10.0.0.1")};
  const auto pool = vias(
      {"10.9.0.1-Ethernet1", "10.9.0.2-Ethernet2", "0.0.0.0-Ethernet1", "2001:db8:9::1-Ethernet3"});
  std::map<IpPrefix, std::string> model;  // each route's answer text
  std::map<IpPrefix, FecId> fecIds;       // a route keeps its FEC id; a new one takes the next
  uint64_t nextFecId = 1;
  constexpr uint32_t kSeed = 4242;
  std::mt19937 random(kSeed);
  const auto pick = [&random](const auto& items) { return items[random() % items.size()]; };
  for (int step = 0; step < 600; ++step) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << " step " << step);
    std::map<IpGenAddr, std::string> before;
    for (const auto& address : addresses)
      before[address] = answer(address);
    const IpPrefix prefix = pick(prefixes);
    const unsigned change = random() % 5;
    if (change <= 1) {
      std::vector<Sim::RouteVia> chosen(random() % 4);
      for (auto& via : chosen)
        via = pick(pool);
      RouteType type = random() % 2 ? RouteType::ospf : RouteType::staticRoute;
      if (change == 1) {
        // A connected route's hop is the unspecified address of its own family.
        const bool v4 = prefix.family() == Vela::AddrFamily::ipv4;
        chosen = {{v4 ? IpGenAddr() : IpGenAddr(Vela::Ip6Addr()), pick(pool).intf}};
        type = RouteType::connected;
        service->connectedRouteIs(prefix, chosen[0].intf);
      } else {
        service->routeIs(prefix, chosen, type);
      }
      if (!fecIds.contains(prefix)) fecIds[prefix] = FecId(nextFecId++);
      model[prefix] = answerText({fecIds[prefix], type}, chosen);
    } else if (change == 2) {
      service->routeDel(prefix);
      model.erase(prefix);
      fecIds.erase(prefix);
    } else if (change == 3) {
      request(pick(addresses), random() % 2);
    } else {
      config->nexthopDel(pick(addresses));
    }
    Lines changed;
    std::size_t resolved = 0;
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
      resolved += expected != "unresolved";
      if (before[address] != expected) changed.insert(address.valueToStrep());
    }
    ASSERT_EQ(takeBacklog(), changed);
    ASSERT_EQ(forwarding->fecs(), model.size());
    ASSERT_EQ(service->answers().size(), resolved);
  }
}

// A consumer that changes routes from inside the service's own backlog notification would make
// the service re-enter itself half-way through an answer.
using ResolutionServiceDeathTest = ResolutionServiceTest;

TEST_F(ResolutionServiceDeathTest, RouteChangesFromInsideItsNotificationsAreFatal) {
  const Watch<Routing::NexthopBacklog> meddler(
      backlog,
      [this](const Vox::AttributeInfo&, const void*) { service->routeDel(net("10.0.0.0/24")); });
  request(ip("10.0.0.1"));
  EXPECT_DEATH(service->routeIs(net("10.0.0.0/24"), vias({"10.1.1.2-Ethernet1"})),
               "route change outside the service's own notifications");
}

}  // namespace
