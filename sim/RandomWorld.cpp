#include "sim/RandomWorld.h"

#include <vector>

namespace Sim {

namespace {

constexpr uint32_t kRouters = 3;
constexpr uint32_t kIntfs = 4;
constexpr uint32_t kFecs = 6;
// Every router and link is dual-stack: each address below exists in both families (0 IPv4,
// 1 IPv6), so that routes, next hops and peer addresses of either family, and routes whose hops
// mix them, all reach the pipeline.
constexpr uint32_t kFamilies = 2;

Mpls::RouterId router(uint32_t r) {
  return Mpls::RouterId(0x02020200u + r, 0);
}
// 2001:db8:0:NET::HOST
Vela::IpGenAddr v6(uint32_t net, uint32_t host) {
  Vela::Ip6Addr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8};
  bytes[6] = static_cast<uint8_t>(net >> 8);
  bytes[7] = static_cast<uint8_t>(net);
  bytes[14] = static_cast<uint8_t>(host >> 8);
  bytes[15] = static_cast<uint8_t>(host);
  return Vela::IpGenAddr(Vela::Ip6Addr(bytes));
}
// Each router has a loopback (its usual transport address) and one address per link:
// 2.2.2.R or 2001:db8:0:ffff::R, and 10.0.I.(2+R) or 2001:db8:0:I::(2+R).
Vela::IpGenAddr loopback(uint32_t r, uint32_t family) {
  return family == 0 ? Vela::IpGenAddr(Vela::IpAddr(0x02020200u + r)) : v6(0xffff, r);
}
Vela::IpGenAddr linkAddr(uint32_t r, uint32_t i, uint32_t family) {
  return family == 0 ? Vela::IpGenAddr(Vela::IpAddr(0x0a000000u + (i << 8) + 2 + r)) : v6(i, 2 + r);
}
Vela::IntfId intf(uint32_t i) {
  return Vela::IntfId(Vela::IntfId::Kind::ethernet, 1 + i);
}
Vela::IpPrefix linkPrefix(uint32_t i, uint32_t family) {
  return family == 0 ? Vela::IpPrefix(Vela::IpGenAddr(Vela::IpAddr(0x0a000000u + (i << 8))), 24)
                     : Vela::IpPrefix(v6(i, 0), 64);
}
Vela::IpPrefix hostPrefix(const Vela::IpGenAddr& address) {
  return Vela::IpPrefix(address, Vela::IpPrefix::maxLength(address.family()));
}
Mpls::FwdEqvClass fec(uint32_t f) {
  return Mpls::FwdEqvClass::p2mpLspId(Vela::IpGenAddr(Vela::IpAddr(0x01010101)), f);
}

// Takes `bits` bits off `detail` at a time.
struct Dice {
  uint64_t bits;
  uint32_t roll(uint32_t sides) {
    const uint32_t value = static_cast<uint32_t>(bits % sides);
    bits /= sides;
    return value;
  }
};

}  // namespace

std::string RandomWorld::apply(uint32_t choice, uint64_t detail) {
  Dice dice{detail};
  lastWasRestart_ = false;
  const auto& colls = agent_.colls();
  const uint32_t r = dice.roll(kRouters);
  const bool add = dice.roll(3) != 0;
  switch (choice % 10) {
    case 0: {  // a transport address: the loopback or one of the link addresses
      const uint32_t which = dice.roll(kIntfs + 1);
      const uint32_t family = dice.roll(kFamilies);
      const Vela::IpGenAddr addr =
          which == kIntfs ? loopback(r, family) : linkAddr(r, which, family);
      if (add) {
        colls.transportAddrs->routerIpAddrIs(router(r))->ipAddrIs(addr);
      } else if (const auto info = colls.transportAddrs->routerIpAddr(router(r))) {
        info->ipAddrDel(addr);
        if (info->ipAddrs() == 0) colls.transportAddrs->routerIpAddrDel(router(r));
      }
      return "transport " + router(r).valueToStrep() + (add ? " add " : " del ") +
             addr.valueToStrep();
    }
    case 1: {  // an interface address
      const uint32_t which = dice.roll(kIntfs);
      const Vela::IpGenAddr addr = linkAddr(r, which, dice.roll(kFamilies));
      if (add) {
        colls.intfAddrs->routerIpAddrIs(router(r))->ipAddrIs(addr);
      } else if (const auto info = colls.intfAddrs->routerIpAddr(router(r))) {
        info->ipAddrDel(addr);
        if (info->ipAddrs() == 0) colls.intfAddrs->routerIpAddrDel(router(r));
      }
      return "interface-addr " + router(r).valueToStrep() + (add ? " add " : " del ") +
             addr.valueToStrep();
    }
    case 2: {
      const auto i = intf(dice.roll(kIntfs));
      if (add) {
        colls.mplsIntfs->intfIdIs(i);
      } else {
        colls.mplsIntfs->intfIdDel(i);
      }
      return std::string("mpls-intf ") + (add ? "add " : "del ") + i.valueToStrep();
    }
    case 3: {  // a route to a router's loopback over a random set of its links, each link's
               // hop of either family
      const Vela::IpPrefix prefix = hostPrefix(loopback(r, dice.roll(kFamilies)));
      std::vector<Sim::RouteVia> vias;
      for (uint32_t i = 0; i < kIntfs; ++i) {
        const uint32_t hop = dice.roll(kFamilies + 1);  // 0: not this link
        if (hop != 0) vias.push_back({linkAddr(r, i, hop - 1), intf(i)});
      }
      if (vias.empty()) {
        agent_.resolution().routeDel(prefix);
        return "route " + prefix.valueToStrep() + " del";
      }
      agent_.resolution().routeIs(prefix, vias);
      return "route " + prefix.valueToStrep() + " via " + std::to_string(vias.size()) + " links";
    }
    case 4: {  // a link's connected subnet comes or goes
      const uint32_t i = dice.roll(kIntfs);
      const Vela::IpPrefix prefix = linkPrefix(i, dice.roll(kFamilies));
      if (add) {
        agent_.resolution().connectedRouteIs(prefix, intf(i));
      } else {
        agent_.resolution().routeDel(prefix);
      }
      return "route " + prefix.valueToStrep() + (add ? " connected" : " del");
    }
    case 5: {
      const uint32_t f = dice.roll(kFecs);
      const Vela::MplsLabel label(100 + f + 10 * dice.roll(2));
      const auto& local = colls.localTable;
      if (add) {
        local->bindingIs(fec(f))->mplsLabelIs(label);
      } else if (const auto binding = local->binding(fec(f))) {
        binding->mplsLabelDel(label);
        if (binding->mplsLabels() == 0) local->bindingDel(fec(f));
      }
      return "local-binding " + fec(f).valueToStrep() + (add ? " add " : " del ") +
             label.valueToStrep();
    }
    case 6:
    case 7: {
      const uint32_t f = dice.roll(kFecs);
      const Vela::MplsLabel label(1000 + 100 * r + f + 10 * dice.roll(2));
      if (add) {
        agent_.peerBindingIs(router(r), fec(f), label);
      } else {
        agent_.peerBindingDel(router(r), fec(f), label);
      }
      return "peer-binding " + router(r).valueToStrep() + " " + fec(f).valueToStrep() +
             (add ? " add " : " del ") + label.valueToStrep();
    }
    case 8:
      if (dice.roll(4) == 0) {
        agent_.peerTableDrop(router(r));
        return "peer-table " + router(r).valueToStrep() + " drop";
      }
      return "nothing";
    default:
      if (dice.roll(8) == 0) {
        agent_.restart();
        lastWasRestart_ = true;
        return "restart";
      }
      return "nothing";
  }
}

std::size_t RandomWorld::fill() {
  const auto& colls = agent_.colls();
  std::size_t changes = 0;
  for (uint32_t i = 0; i < kIntfs; ++i) {
    colls.mplsIntfs->intfIdIs(intf(i));
    ++changes;
    for (uint32_t family = 0; family < kFamilies; ++family) {
      agent_.resolution().connectedRouteIs(linkPrefix(i, family), intf(i));
      ++changes;
    }
  }
  for (uint32_t r = 0; r < kRouters; ++r) {
    const auto transport = colls.transportAddrs->routerIpAddrIs(router(r));
    const auto interface = colls.intfAddrs->routerIpAddrIs(router(r));
    std::vector<Sim::RouteVia> vias;
    for (uint32_t i = 0; i < kIntfs; ++i) {
      for (uint32_t family = 0; family < kFamilies; ++family) {
        vias.push_back({linkAddr(r, i, family), intf(i)});
        transport->ipAddrIs(linkAddr(r, i, family));
        interface->ipAddrIs(linkAddr(r, i, family));
        changes += 2;
      }
    }
    for (uint32_t family = 0; family < kFamilies; ++family) {
      transport->ipAddrIs(loopback(r, family));
      agent_.resolution().routeIs(hostPrefix(loopback(r, family)), vias);
      changes += 2;
    }
  }
  for (uint32_t f = 0; f < kFecs; ++f) {
    for (uint32_t second = 0; second < 2; ++second) {
      colls.localTable->bindingIs(fec(f))->mplsLabelIs(Vela::MplsLabel(100 + f + 10 * second));
      ++changes;
      for (uint32_t r = 0; r < kRouters; ++r) {
        agent_.peerBindingIs(router(r), fec(f), Vela::MplsLabel(1000 + 100 * r + f + 10 * second));
        ++changes;
      }
    }
  }
  lastWasRestart_ = false;
  return changes;
}

}  // namespace Sim
