#include "sim/Topology.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

namespace Sim {

namespace {

constexpr uint32_t kLoopbackBase = 0x02000000;  // 2.0.0.0
constexpr uint32_t kLinkBase = 0x0a000000;      // 10.0.0.0
constexpr uint32_t kRootBase = 0x01010101;      // 1.1.1.1
constexpr uint32_t kRoots = 16;
constexpr uint32_t kMaxFecs = 400000;
constexpr uint32_t kLocalLabelBase = 100000;
// Past every local label, and below 2^20.
constexpr uint32_t kAlternateLocalLabelBase = kLocalLabelBase + kMaxFecs + 100000;
constexpr uint32_t kPeerLabelBase = 200000;
constexpr uint32_t kPeerLabelSpan = 800000;
constexpr uint32_t kMaxIntfNumber = 65535;
constexpr uint64_t kMaxLinks = uint64_t{1} << 22;

// Counts changes and reports every tenth of the expected total.
class Progress {
 public:
  Progress(std::ostream* out, const std::string& name, uint64_t total)
      : out_(out), name_(name), total_(total) {}
  void tick() {
    ++done_;
    if (!out_ || total_ == 0) return;
    const uint64_t tenth = done_ * 10 / total_;
    if (tenth == reported_) return;
    reported_ = tenth;
    *out_ << "topology " << name_ << ": " << tenth * 10 << "% (" << done_ << "/" << total_
          << " changes)" << std::endl;
  }

 private:
  std::ostream* out_;
  const std::string& name_;
  uint64_t total_;
  uint64_t done_ = 0;
  uint64_t reported_ = 0;
};

void addAddress(Mpls::RouterIpAddrInfoColl& coll, const Mpls::RouterId& routerId,
                const Vela::IpGenAddr& address) {
  coll.routerIpAddrIs(routerId)->ipAddrIs(address);
}

// Removes one address, and the router's entry with its last address.
void delAddress(Mpls::RouterIpAddrInfoColl& coll, const Mpls::RouterId& routerId,
                const Vela::IpGenAddr& address) {
  const auto entry = coll.routerIpAddr(routerId);
  if (!entry) return;
  entry->ipAddrDel(address);
  if (entry->ipAddrs() == 0) coll.routerIpAddrDel(routerId);
}

}  // namespace

void AgentSink::mplsIntfIs(Vela::IntfId intf) {
  agent_.colls().mplsIntfs->intfIdIs(intf);
}

void AgentSink::mplsIntfDel(Vela::IntfId intf) {
  agent_.colls().mplsIntfs->intfIdDel(intf);
}

void AgentSink::routeIs(const Vela::IpPrefix& prefix, const std::vector<RouteVia>& vias) {
  agent_.resolution().routeIs(prefix, vias);
}

void AgentSink::routeDel(const Vela::IpPrefix& prefix) {
  agent_.resolution().routeDel(prefix);
}

void AgentSink::transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  addAddress(*agent_.colls().transportAddrs, routerId, addr);
}

void AgentSink::transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  delAddress(*agent_.colls().transportAddrs, routerId, addr);
}

void AgentSink::intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  addAddress(*agent_.colls().intfAddrs, routerId, addr);
}

void AgentSink::intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  delAddress(*agent_.colls().intfAddrs, routerId, addr);
}

void AgentSink::localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  agent_.colls().localTable->bindingIs(fec)->mplsLabelIs(label);
}

void AgentSink::localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  const auto& local = agent_.colls().localTable;
  const auto binding = local->binding(fec);
  if (!binding) return;
  binding->mplsLabelDel(label);
  // A binding without labels binds nothing: LDP withdraws it with its last label.
  if (binding->mplsLabels() == 0) local->bindingDel(fec);
}

void AgentSink::peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                              Vela::MplsLabel label) {
  agent_.peerBindingIs(routerId, fec, label);
}

void AgentSink::peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                               Vela::MplsLabel label) {
  agent_.peerBindingDel(routerId, fec, label);
}

void AgentSink::peerTableDrop(const Mpls::RouterId& routerId) {
  agent_.peerTableDrop(routerId);
}

const std::vector<Topology::Shape>& Topology::profiles() {
  static const std::vector<Shape> shapes = {
      {"small", 16, 4, 1000, 4},
      {"medium", 64, 4, 10000, 4},
      {"large", 256, 4, 100000, 4},
  };
  return shapes;
}

std::optional<Topology::Shape> Topology::profile(std::string_view name) {
  for (const Shape& shape : profiles()) {
    if (shape.name == name) return shape;
  }
  return std::nullopt;
}

Topology::Topology(Shape shape) : shape_(std::move(shape)) {
  const auto fail = [this](const std::string& why) {
    throw std::invalid_argument("topology " + shape_.name + ": " + why);
  };
  if (shape_.peers == 0 || shape_.linksPerPeer == 0 || shape_.fecs == 0 ||
      shape_.peersPerFec == 0) {
    fail("needs at least one peer, link, FEC and peer per FEC");
  }
  if (shape_.peersPerFec > shape_.peers) fail("more peers per FEC than peers");
  if (shape_.peers > kMaxIntfNumber || shape_.linksPerPeer > kMaxIntfNumber) {
    fail("interface numbers stop at 65535");
  }
  if (uint64_t{shape_.peers} * shape_.linksPerPeer > kMaxLinks) fail("more than 2^22 links");
  if (shape_.fecs > kMaxFecs) fail("more than 400000 FECs");
}

uint64_t Topology::changes() const {
  const uint64_t perPeer = 2 * uint64_t{shape_.linksPerPeer} + 2;  // interfaces, route, addresses
  return shape_.peers * perPeer + uint64_t{shape_.fecs} * (1 + shape_.peersPerFec);
}

Mpls::RouterId Topology::routerId(uint32_t peer) const {
  return Mpls::RouterId(kLoopbackBase + peer + 1, 0);
}

Vela::IpAddr Topology::loopback(uint32_t peer) const {
  return Vela::IpAddr(kLoopbackBase + peer + 1);
}

Vela::IpPrefix Topology::loopbackPrefix(uint32_t peer) const {
  return Vela::IpPrefix(Vela::IpGenAddr(loopback(peer)), 32);
}

Vela::IntfId Topology::linkIntf(uint32_t peer, uint32_t link) const {
  return Vela::IntfId(Vela::IntfId::Kind::ethernet, peer + 1, link + 1);
}

Vela::IpAddr Topology::linkAddr(uint32_t peer, uint32_t link) const {
  const uint32_t index = peer * shape_.linksPerPeer + link;
  return Vela::IpAddr(kLinkBase + 4 * index + 2);
}

std::vector<RouteVia> Topology::loopbackRoute(uint32_t peer,
                                              std::optional<uint32_t> missingLink) const {
  std::vector<RouteVia> vias;
  vias.reserve(shape_.linksPerPeer);
  for (uint32_t link = 0; link < shape_.linksPerPeer; ++link) {
    if (link != missingLink) vias.push_back({linkAddr(peer, link), linkIntf(peer, link)});
  }
  return vias;
}

Mpls::FwdEqvClass Topology::fec(uint32_t f) const {
  return Mpls::FwdEqvClass::p2mpLspId(Vela::IpGenAddr(Vela::IpAddr(kRootBase + f % kRoots)), f + 1);
}

Vela::MplsLabel Topology::localLabel(uint32_t f) const {
  return Vela::MplsLabel(kLocalLabelBase + f);
}

Vela::MplsLabel Topology::alternateLocalLabel(uint32_t f) const {
  return Vela::MplsLabel(kAlternateLocalLabelBase + f);
}

Vela::MplsLabel Topology::peerLabel(uint32_t f, uint32_t peer) const {
  return Vela::MplsLabel(
      kPeerLabelBase +
      static_cast<uint32_t>((uint64_t{f} + 1000 * uint64_t{peer}) % kPeerLabelSpan));
}

uint32_t Topology::fecPeer(uint32_t f, uint32_t j) const {
  const uint32_t stride = shape_.peers / shape_.peersPerFec;
  return static_cast<uint32_t>((uint64_t{f} + uint64_t{j} * stride) % shape_.peers);
}

std::vector<uint32_t> Topology::peerFecs(uint32_t peer) const {
  // FEC f has peer p as its j-th peer exactly when f = p - j * stride (mod peers).
  const uint32_t stride = shape_.peers / shape_.peersPerFec;
  std::vector<uint32_t> fecs;
  for (uint32_t j = 0; j < shape_.peersPerFec; ++j) {
    const uint64_t offset = uint64_t{j} * stride % shape_.peers;
    const uint32_t residue =
        static_cast<uint32_t>((uint64_t{peer} + shape_.peers - offset) % shape_.peers);
    for (uint32_t f = residue; f < shape_.fecs; f += shape_.peers)
      fecs.push_back(f);
  }
  std::sort(fecs.begin(), fecs.end());
  return fecs;
}

void Topology::apply(TopologySink& sink, std::ostream* progress) const {
  Progress ticks(progress, shape_.name, changes());
  for (uint32_t peer = 0; peer < shape_.peers; ++peer) {
    for (uint32_t link = 0; link < shape_.linksPerPeer; ++link) {
      sink.mplsIntfIs(linkIntf(peer, link));
      ticks.tick();
    }
    sink.routeIs(loopbackPrefix(peer), loopbackRoute(peer));
    ticks.tick();
    sink.transportAddrIs(routerId(peer), loopback(peer));
    ticks.tick();
    for (uint32_t link = 0; link < shape_.linksPerPeer; ++link) {
      sink.intfAddrIs(routerId(peer), linkAddr(peer, link));
      ticks.tick();
    }
  }
  for (uint32_t f = 0; f < shape_.fecs; ++f) {
    const Mpls::FwdEqvClass fecValue = fec(f);
    sink.localLabelIs(fecValue, localLabel(f));
    ticks.tick();
    for (uint32_t j = 0; j < shape_.peersPerFec; ++j) {
      const uint32_t peer = fecPeer(f, j);
      sink.peerBindingIs(routerId(peer), fecValue, peerLabel(f, peer));
      ticks.tick();
    }
  }
}

void Topology::addPeerState(TopologySink& sink, uint32_t peer) const {
  sink.routeIs(loopbackPrefix(peer), loopbackRoute(peer));
  sink.transportAddrIs(routerId(peer), loopback(peer));
  for (uint32_t link = 0; link < shape_.linksPerPeer; ++link)
    sink.intfAddrIs(routerId(peer), linkAddr(peer, link));
}

void Topology::addPeerBindings(TopologySink& sink, uint32_t peer) const {
  for (const uint32_t f : peerFecs(peer))
    sink.peerBindingIs(routerId(peer), fec(f), peerLabel(f, peer));
}

void Topology::peerDown(TopologySink& sink, uint32_t peer) const {
  sink.peerTableDrop(routerId(peer));
  sink.transportAddrDel(routerId(peer), loopback(peer));
  for (uint32_t link = 0; link < shape_.linksPerPeer; ++link)
    sink.intfAddrDel(routerId(peer), linkAddr(peer, link));
  sink.routeDel(loopbackPrefix(peer));
}

void Topology::peerUp(TopologySink& sink, uint32_t peer) const {
  addPeerState(sink, peer);
  addPeerBindings(sink, peer);
}

void Topology::linkDown(TopologySink& sink, uint32_t peer, uint32_t link) const {
  sink.routeIs(loopbackPrefix(peer), loopbackRoute(peer, link));
}

void Topology::linkUp(TopologySink& sink, uint32_t peer) const {
  sink.routeIs(loopbackPrefix(peer), loopbackRoute(peer));
}

void Topology::localLabelIs(TopologySink& sink, uint32_t f, bool alternate) const {
  const Mpls::FwdEqvClass fecValue = fec(f);
  sink.localLabelDel(fecValue, alternate ? localLabel(f) : alternateLocalLabel(f));
  sink.localLabelIs(fecValue, alternate ? alternateLocalLabel(f) : localLabel(f));
}

}  // namespace Sim
