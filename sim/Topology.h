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
// The changes go through the calls a scenario makes on `Sim::Agent` (collection mutators, route
// changes on its resolution service, peer bindings through the agent), one at a time, so that
// every stage sees each of them.
//
//   Sim::Topology topology(Sim::Topology::profile("small"));
//   Sim::Agent agent;
//   topology.apply(agent);                 // 1,000 FECs, 4,000 LFIB branches
//   topology.linkDown(agent, 3, 0);        // peer 3 loses its first link
//   topology.linkUp(agent, 3);             // ... and regains it: the same output as before
#include <cstdint>
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

  // Applies the whole topology to `agent`, one change at a time: per peer, its MPLS interfaces,
  // its loopback route, its transport address and its interface addresses; then per FEC, its
  // local binding and its peers' bindings. Works on a running or a stopped agent; expects the
  // agent to hold none of it yet. With `progress`, writes a line there every tenth of the
  // changes.
  void apply(Agent& agent, std::ostream* progress = nullptr) const;

  // Everything of one peer goes, as when its session and its links go down: its label table
  // (`peerTableDrop`, binding by binding), its transport and interface addresses one by one,
  // then its loopback route. Its interfaces stay MPLS-enabled.
  void peerDown(Agent& agent, uint32_t peer) const;
  // Restores what `peerDown` withdrew: route, transport address, interface addresses, then the
  // peer's bindings.
  void peerUp(Agent& agent, uint32_t peer) const;
  // The loopback route loses one via (replaced in place, as an IGP reconverges), then regains it.
  void linkDown(Agent& agent, uint32_t peer, uint32_t link) const;
  void linkUp(Agent& agent, uint32_t peer) const;
  // Changes FEC f's local label to `alternateLocalLabel(f)` when `alternate`, else back to
  // `localLabel(f)`: the old label is removed (withdrawing the binding), then the new one added.
  void localLabelIs(Agent& agent, uint32_t f, bool alternate) const;

 private:
  void addPeerState(Agent& agent, uint32_t peer) const;  // route and addresses
  void addPeerBindings(Agent& agent, uint32_t peer) const;

  Shape shape_;
};

}  // namespace Sim
