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
// Each FEC has two local labels and two labels from each peer. The first of each is its own; the
// second is shared by the two FECs of a pair (0 and 1, 2 and 3, ...), so that one local label
// serves several FECs and, where a peer's ring puts both on the same via, one LFIB branch carries
// the justifications of both.
Vela::MplsLabel localLabel(uint32_t f, uint32_t second) {
  return Vela::MplsLabel(second ? 110 + f / 2 : 100 + f);
}
Vela::MplsLabel peerLabel(uint32_t r, uint32_t f, uint32_t second) {
  return Vela::MplsLabel(1000 + 100 * r + (second ? 10 + f / 2 : f));
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

// Adds or removes one address of router `r` in a router-to-addresses collection. Of removals
// (`how` in 0 to 3), one takes the router's whole entry with whatever it holds; the others take
// the address, and the entry once empty, except one time in three, when the empty entry stays.
// Returns the change, described after the collection's name.
std::string addresses(Mpls::RouterIpAddrInfoColl& coll, uint32_t r, bool add,
                      const Vela::IpGenAddr& addr, uint32_t how) {
  const std::string what = router(r).valueToStrep();
  if (add) {
    coll.routerIpAddrIs(router(r))->ipAddrIs(addr);
    return what + " add " + addr.valueToStrep();
  }
  if (how == 0) {
    coll.routerIpAddrDel(router(r));
    return what + " removed whole";
  }
  if (const auto info = coll.routerIpAddr(router(r))) {
    info->ipAddrDel(addr);
    if (info->ipAddrs() == 0 && how != 1) coll.routerIpAddrDel(router(r));
  }
  return what + " del " + addr.valueToStrep();
}

}  // namespace

std::string RandomWorld::apply(uint32_t choice, uint64_t detail) {
  Dice dice{detail};
  lastWasRestart_ = false;
  const auto& colls = agent_.colls();
  const uint32_t r = dice.roll(kRouters);
  const bool add = dice.roll(3) != 0;
  switch (choice % 10) {
    case 0: {  // a transport address: the loopback or one of the link addresses, one time in
               // four another router's, so that an address may have several routers
      const uint32_t which = dice.roll(kIntfs + 1);
      const uint32_t family = dice.roll(kFamilies);
      const uint32_t owner = dice.roll(4) == 0 ? (r + 1) % kRouters : r;
      const Vela::IpGenAddr addr =
          which == kIntfs ? loopback(owner, family) : linkAddr(owner, which, family);
      const uint32_t how = dice.roll(4);
      return "transport " + addresses(*colls.transportAddrs, r, add, addr, how);
    }
    case 1: {  // an interface address
      const uint32_t which = dice.roll(kIntfs);
      const Vela::IpGenAddr addr = linkAddr(r, which, dice.roll(kFamilies));
      const uint32_t how = dice.roll(4);
      return "interface-addr " + addresses(*colls.intfAddrs, r, add, addr, how);
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
    case 5: {  // a local label; one removal in four takes the FEC's whole binding
      const uint32_t f = dice.roll(kFecs);
      const Vela::MplsLabel label = localLabel(f, dice.roll(2));
      const auto& local = colls.localTable;
      const std::string what = "local-binding " + fec(f).valueToStrep();
      if (add) {
        local->bindingIs(fec(f))->mplsLabelIs(label);
      } else if (dice.roll(4) == 0) {
        local->bindingDel(fec(f));
        return what + " removed whole";
      } else if (const auto binding = local->binding(fec(f))) {
        binding->mplsLabelDel(label);
        if (binding->mplsLabels() == 0) local->bindingDel(fec(f));
      }
      return what + (add ? " add " : " del ") + label.valueToStrep();
    }
    case 6:
    case 7: {  // a peer's label, as LDP learns it; one removal in four takes the peer's whole
               // binding of the FEC
      const uint32_t f = dice.roll(kFecs);
      const Vela::MplsLabel label = peerLabel(r, f, dice.roll(2));
      const std::string what =
          "peer-binding " + router(r).valueToStrep() + " " + fec(f).valueToStrep();
      if (add) {
        agent_.peerBindingIs(router(r), fec(f), label);
      } else if (dice.roll(4) == 0) {
        if (const auto table = colls.peerTables->bindingTable(router(r))) table->bindingDel(fec(f));
        return what + " removed whole";
      } else {
        agent_.peerBindingDel(router(r), fec(f), label);
      }
      return what + (add ? " add " : " del ") + label.valueToStrep();
    }
    case 8:  // a peer's session goes: its bindings one by one, or its table at once
      switch (dice.roll(8)) {
        case 0:
          agent_.peerTableDrop(router(r));
          return "peer-table " + router(r).valueToStrep() + " drop";
        case 1:
          colls.peerTables->bindingTableDel(router(r));
          return "peer-table " + router(r).valueToStrep() + " removed whole";
        default:
          return "nothing";
      }
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
      colls.localTable->bindingIs(fec(f))->mplsLabelIs(localLabel(f, second));
      ++changes;
      for (uint32_t r = 0; r < kRouters; ++r) {
        agent_.peerBindingIs(router(r), fec(f), peerLabel(r, f, second));
        ++changes;
      }
    }
  }
  lastWasRestart_ = false;
  return changes;
}

}  // namespace Sim
