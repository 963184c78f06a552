#include "sim/RandomWorld.h"

#include <vector>

namespace Sim {

namespace {

constexpr uint32_t kRouters = 3;
constexpr uint32_t kIntfs = 4;
constexpr uint32_t kFecs = 6;

Mpls::RouterId router(uint32_t r) {
  return Mpls::RouterId(0x02020200u + r, 0);
}
// Each router has a loopback (its usual transport address) and one address per link.
Vela::IpAddr loopback(uint32_t r) {
  return Vela::IpAddr(0x02020200u + r);
}
Vela::IpAddr linkAddr(uint32_t r, uint32_t i) {
  return Vela::IpAddr(0x0a000000u + (i << 8) + 2 + r);
}
Vela::IntfId intf(uint32_t i) {
  return Vela::IntfId(Vela::IntfId::Kind::ethernet, 1 + i);
}
Vela::IpPrefix linkPrefix(uint32_t i) {
  return Vela::IpPrefix(Vela::IpGenAddr(Vela::IpAddr(0x0a000000u + (i << 8))), 24);
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
      const Vela::IpGenAddr addr(which == kIntfs ? loopback(r) : linkAddr(r, which));
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
      const Vela::IpGenAddr addr(linkAddr(r, dice.roll(kIntfs)));
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
    case 3: {  // a route to a router's loopback over a random set of its links
      std::vector<Sim::RouteVia> vias;
      for (uint32_t i = 0; i < kIntfs; ++i) {
        if (dice.roll(2)) vias.push_back({linkAddr(r, i), intf(i)});
      }
      const Vela::IpPrefix prefix(Vela::IpGenAddr(loopback(r)), 32);
      if (vias.empty()) {
        agent_.resolution().routeDel(prefix);
        return "route " + prefix.valueToStrep() + " del";
      }
      agent_.resolution().routeIs(prefix, vias);
      return "route " + prefix.valueToStrep() + " via " + std::to_string(vias.size()) + " links";
    }
    case 4: {  // a link's connected subnet comes or goes
      const uint32_t i = dice.roll(kIntfs);
      if (add) {
        agent_.resolution().connectedRouteIs(linkPrefix(i), intf(i));
      } else {
        agent_.resolution().routeDel(linkPrefix(i));
      }
      return "route " + linkPrefix(i).valueToStrep() + (add ? " connected" : " del");
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
    agent_.resolution().connectedRouteIs(linkPrefix(i), intf(i));
    changes += 2;
  }
  for (uint32_t r = 0; r < kRouters; ++r) {
    std::vector<Sim::RouteVia> vias;
    for (uint32_t i = 0; i < kIntfs; ++i) {
      vias.push_back({linkAddr(r, i), intf(i)});
      colls.transportAddrs->routerIpAddrIs(router(r))->ipAddrIs(Vela::IpGenAddr(linkAddr(r, i)));
      colls.intfAddrs->routerIpAddrIs(router(r))->ipAddrIs(Vela::IpGenAddr(linkAddr(r, i)));
      changes += 2;
    }
    colls.transportAddrs->routerIpAddrIs(router(r))->ipAddrIs(Vela::IpGenAddr(loopback(r)));
    agent_.resolution().routeIs(Vela::IpPrefix(Vela::IpGenAddr(loopback(r)), 32), vias);
    changes += 2;
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
