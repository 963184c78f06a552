#pragma once
// A synthetic, regular network as seen by one LSR, for benchmarks and scale tests: downstream
// peers over parallel links, and p2mp trees that each branch towards a few of those peers.
//
// Every peer `p` (0-based) has:
// - router id 2.A.B.C:0 and loopback 2.A.B.C, where A.B.C is p + 1;
// - `linksPerPeer` point-to-point links, link `l` out of interface Ethernet<p+1>/<l+1> on the
//   /30 subnet 10.0.0.0 + 4k (k = p * linksPerPeer + l): this LSR holds .1, the peer .2;
// - a route to its loopback (/32) over all its links: next hop the peer's end of each link, out
//   of that link's interface (distinct addresses and interfaces), so the loopback resolves to
//   one via per link;
// - the loopback as its one transport address, and its link addresses as its interface
//   addresses, so that the interface-address filter keeps every via of the route;
// - every link interface MPLS-enabled.
// Every FEC `f` is p2mp, rooted at 1.1.1.(1 + f % 16) with LSP id f + 1, has local label
// 100000 + f and is bound by `peersPerFec` peers spread evenly around the peer ring:
// (f + j * (peers / peersPerFec)) % peers for j < peersPerFec, peer p's label being
// 200000 + (f + 1000 p) % 800000. Each peer thus binds between floor and ceiling of
// fecs * peersPerFec / peers FECs (give or take peersPerFec), and the pipeline's full output is
// one LFIB entry per FEC with one branch per (FEC, peer) pair.
//
// The changes go to a `TopologySink`, one call per change. `AgentSink` turns each into the calls a
// scenario makes on `Sim::Agent` (collection mutators, route changes on its resolution service,
// peer bindings through the agent), one at a time, so that every stage sees each of them; the
// overloads taking an `Agent` use one. Any other consumer of the same changes (the benchmarks'
// framework-free baseline) implements the sink and sees exactly what the agent sees.
//
//   Sim::Topology topology(Sim::Topology::profile("small"));
//   Sim::Agent agent;
//   topology.apply(agent);                 // 1,000 FECs, 4,000 LFIB branches
//   topology.linkDown(agent, 3, 0);        // peer 3 loses its first link
//   topology.linkUp(agent, 3);             // ... and regains it: the same output as before
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/IpPrefix.h"
#include "platform/vela/MplsLabel.h"
#include "sim/Agent.h"

namespace Sim {

// The kinds of change a topology makes, each a single input change of the owning agent. Removing
// what is not there changes nothing.
class TopologySink {
 public:
  virtual ~TopologySink() = default;

  virtual void mplsIntfIs(Vela::IntfId intf) = 0;
  virtual void mplsIntfDel(Vela::IntfId intf) = 0;
  // Adds the route or replaces its vias in place.
  virtual void routeIs(const Vela::IpPrefix& prefix, const std::vector<RouteVia>& vias) = 0;
  virtual void routeDel(const Vela::IpPrefix& prefix) = 0;
  // A router's transport and interface addresses; a router's entry goes with its last address.
  virtual void transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) = 0;
  virtual void transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) = 0;
  virtual void intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) = 0;
  virtual void intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) = 0;
  // The local binding of a FEC; it goes with its last label.
  virtual void localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) = 0;
  virtual void localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) = 0;
  // A peer's binding of a FEC, as LDP learns it (`Agent::peerBindingIs` and its siblings).
  virtual void peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                             Vela::MplsLabel label) = 0;
  virtual void peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                              Vela::MplsLabel label) = 0;
  // Every binding of the peer goes, then its table.
  virtual void peerTableDrop(const Mpls::RouterId& routerId) = 0;
};

// A sink that hands each change, as a call to make on a sink, to `relay`: to count the changes,
// or to make each on several sinks in turn.
//
//   struct Both : Sim::RelaySink {
//     void relay(const Change& change) override { change(agentSink); change(baseline); }
//   };
class RelaySink : public TopologySink {
 public:
  using Change = std::function<void(TopologySink&)>;
  virtual void relay(const Change& change) = 0;

  void mplsIntfIs(Vela::IntfId intf) override { pass(&TopologySink::mplsIntfIs, intf); }
  void mplsIntfDel(Vela::IntfId intf) override { pass(&TopologySink::mplsIntfDel, intf); }
  void routeIs(const Vela::IpPrefix& prefix, const std::vector<RouteVia>& vias) override {
    pass(&TopologySink::routeIs, prefix, vias);
  }
  void routeDel(const Vela::IpPrefix& prefix) override { pass(&TopologySink::routeDel, prefix); }
  void transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override {
    pass(&TopologySink::transportAddrIs, routerId, addr);
  }
  void transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override {
    pass(&TopologySink::transportAddrDel, routerId, addr);
  }
  void intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override {
    pass(&TopologySink::intfAddrIs, routerId, addr);
  }
  void intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override {
    pass(&TopologySink::intfAddrDel, routerId, addr);
  }
  void localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override {
    pass(&TopologySink::localLabelIs, fec, label);
  }
  void localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override {
    pass(&TopologySink::localLabelDel, fec, label);
  }
  void peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                     Vela::MplsLabel label) override {
    pass(&TopologySink::peerBindingIs, routerId, fec, label);
  }
  void peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                      Vela::MplsLabel label) override {
    pass(&TopologySink::peerBindingDel, routerId, fec, label);
  }
  void peerTableDrop(const Mpls::RouterId& routerId) override {
    pass(&TopologySink::peerTableDrop, routerId);
  }

 private:
  template <class... Params, class... Args>
  void pass(void (TopologySink::*change)(Params...), const Args&... args) {
    relay([&](TopologySink& sink) { (sink.*change)(args...); });
  }
};

// The changes made on an agent, through the collections and services a scenario uses.
class AgentSink : public TopologySink {
 public:
  explicit AgentSink(Agent& agent) : agent_(agent) {}

  void mplsIntfIs(Vela::IntfId intf) override;
  void mplsIntfDel(Vela::IntfId intf) override;
  void routeIs(const Vela::IpPrefix& prefix, const std::vector<RouteVia>& vias) override;
  void routeDel(const Vela::IpPrefix& prefix) override;
  void transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override;
  void localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override;
  void peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                     Vela::MplsLabel label) override;
  void peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                      Vela::MplsLabel label) override;
  void peerTableDrop(const Mpls::RouterId& routerId) override;

 private:
  Agent& agent_;
};

class Topology {
 public:
  struct Shape {
    std::string name;
    uint32_t peers = 0;
    uint32_t linksPerPeer = 0;
    uint32_t fecs = 0;
    uint32_t peersPerFec = 0;
  };

  // The named shapes, smallest first: "small" (16 peers, 1,000 FECs), "medium" (64 peers,
  // 10,000 FECs) and "large" (256 peers, 100,000 FECs), each with 4 links per peer and 4 peers
  // per FEC.
  static const std::vector<Shape>& profiles();
  // The shape named `name`, if there is one.
  static std::optional<Shape> profile(std::string_view name);

  // Throws std::invalid_argument when the shape cannot be laid out: no peer, link or FEC; more
  // peers per FEC than peers; more than 65,535 peers or links per peer (interface numbers);
  // more than 400,000 FECs (local labels, with room for `alternateLocalLabel`); more than 2^22
  // links in all (their subnets fill 10.0.0.0/8).
  explicit Topology(Shape shape);

  const Shape& shape() const { return shape_; }
  // (FEC, peer) pairs with a binding: as many as the full pipeline's LFIB branches.
  uint64_t pairs() const { return uint64_t{shape_.fecs} * shape_.peersPerFec; }
  // The number of changes `apply` makes.
  uint64_t changes() const;

  Mpls::RouterId routerId(uint32_t peer) const;
  Vela::IpAddr loopback(uint32_t peer) const;
  Vela::IpPrefix loopbackPrefix(uint32_t peer) const;
  Vela::IntfId linkIntf(uint32_t peer, uint32_t link) const;
  // The peer's end of the link: a via's next hop and one of the peer's interface addresses.
  Vela::IpAddr linkAddr(uint32_t peer, uint32_t link) const;
  // The route to the peer's loopback: one via per link, in link order, without `missingLink`.
  std::vector<RouteVia> loopbackRoute(uint32_t peer,
                                      std::optional<uint32_t> missingLink = std::nullopt) const;

  Mpls::FwdEqvClass fec(uint32_t f) const;
  Vela::MplsLabel localLabel(uint32_t f) const;
  // Another local label for FEC f, used by no FEC: to change a local label and change it back.
  Vela::MplsLabel alternateLocalLabel(uint32_t f) const;
  Vela::MplsLabel peerLabel(uint32_t f, uint32_t peer) const;
  // The j-th peer (j < peersPerFec) that binds FEC f.
  uint32_t fecPeer(uint32_t f, uint32_t j) const;
  // The FECs peer binds, in increasing order.
  std::vector<uint32_t> peerFecs(uint32_t peer) const;

  // Applies the whole topology, one change at a time: per peer, its MPLS interfaces, its loopback
  // route, its transport address and its interface addresses; then per FEC, its local binding
  // and its peers' bindings. Works on a running or a stopped agent; expects the sink to hold none
  // of it yet. With `progress`, writes a line there every tenth of the changes.
  void apply(TopologySink& sink, std::ostream* progress = nullptr) const;

  // Everything of one peer goes, as when its session and its links go down: its label table
  // (`peerTableDrop`, binding by binding), its transport and interface addresses one by one,
  // then its loopback route. Its interfaces stay MPLS-enabled.
  void peerDown(TopologySink& sink, uint32_t peer) const;
  // Restores what `peerDown` withdrew: route, transport address, interface addresses, then the
  // peer's bindings.
  void peerUp(TopologySink& sink, uint32_t peer) const;
  // The loopback route loses one via (replaced in place, as an IGP reconverges), then regains it.
  void linkDown(TopologySink& sink, uint32_t peer, uint32_t link) const;
  void linkUp(TopologySink& sink, uint32_t peer) const;
  // Changes FEC f's local label to `alternateLocalLabel(f)` when `alternate`, else back to
  // `localLabel(f)`: the old label is removed (withdrawing the binding), then the new one added.
  void localLabelIs(TopologySink& sink, uint32_t f, bool alternate) const;

  // The same changes made on an agent.
  void apply(Agent& agent, std::ostream* progress = nullptr) const {
    AgentSink sink(agent);
    apply(sink, progress);
  }
  void peerDown(Agent& agent, uint32_t peer) const {
    AgentSink sink(agent);
    peerDown(sink, peer);
  }
  void peerUp(Agent& agent, uint32_t peer) const {
    AgentSink sink(agent);
    peerUp(sink, peer);
  }
  void linkDown(Agent& agent, uint32_t peer, uint32_t link) const {
    AgentSink sink(agent);
    linkDown(sink, peer, link);
  }
  void linkUp(Agent& agent, uint32_t peer) const {
    AgentSink sink(agent);
    linkUp(sink, peer);
  }
  void localLabelIs(Agent& agent, uint32_t f, bool alternate) const {
    AgentSink sink(agent);
    localLabelIs(sink, f, alternate);
  }

 private:
  void addPeerState(TopologySink& sink, uint32_t peer) const;  // route and addresses
  void addPeerBindings(TopologySink& sink, uint32_t peer) const;

  Shape shape_;
};

}  // namespace Sim
