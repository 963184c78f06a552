#pragma once
// A simulated host next-hop resolution service, so that the agent and its tests can drive the
// library's resolution reactors without a routing stack.
//
// It watches the request table `Routing::NexthopVrfConfig` and answers each requested address
// from a route table of its own by longest-prefix match (same family; a route of length 0 only
// for a request that allows the default route). Each route owns one forwarding-table FEC,
// allocated from 1 upward and kept for the route's life. The service is the only writer of the
// status, forwarding and backlog tables it is given, and keeps these invariants after every call
// and every request change:
// - `NexthopVrfStatus` has an entry {route's FEC, route's type} for exactly the requested
//   addresses that some route resolves;
// - `ForwardingStatus` has exactly one record per route, holding its vias;
// - an address is added to `NexthopBacklog` whenever its answer changed: a new route now
//   resolves it, its route's vias or type changed, its route went, or its request was withdrawn.
//   A request that resolves nowhere changes nothing and is not backlogged.
// For each address the FEC record is written first, then the status, then the backlog: the
// consumer drains the backlog synchronously inside `backlogIs` and must find the rest in place.
//
// A consumer may throw out of a table write (the library's status reactor throws
// `Vox::RangeException` for a FEC of more than 600 vias). The service catches `std::exception`
// around every write, finishes the change for every other address, and keeps the message for
// `takeErrors`; nothing thrown by a consumer leaves the service or half-updates it.
//
// Cost of a route change: one pass over the requests (the request table's peak size), and a
// longest-prefix match, O(distinct route lengths x log routes), for each request the route's
// prefix contains. A request change costs one longest-prefix match.
//
// Not re-entrant: the route mutators must not be called from inside a notification the service
// itself triggers (a fatal assertion). Request changes made there are fine: they are answered on
// the spot.
//
//   using Vela::IpPrefix;
//   Sim::ResolutionService service(config, status, forwarding, backlog);
//   service.connectedRouteIs(IpPrefix::sequenceToValue("10.0.0.0/24"),
//                            Vela::IntfId::sequenceToValue("Ethernet1"));
//   config->nexthopIs(Routing::NexthopConfigEntry(Vela::IpGenAddr::sequenceToValue("10.0.0.2")));
//   // fec 1: one via 0.0.0.0 on Ethernet1; status 10.0.0.2 -> {fec 1, connected};
//   // backlog: 10.0.0.2
//   service.routeIs(IpPrefix::sequenceToValue("10.0.0.0/16"),
//                   {{Vela::IpGenAddr::sequenceToValue("10.9.0.1"), Vela::IntfId()}});
//   // fec 2 written; 10.0.0.2 still answered by the longer /24: nothing backlogged
//   service.routeDel(IpPrefix::sequenceToValue("10.0.0.0/24"));
//   // status 10.0.0.2 -> {fec 2, static}; backlog: 10.0.0.2; then fec 1 deleted
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/brisk/ForwardingStatus.h"
#include "platform/routing/NexthopBacklog.h"
#include "platform/routing/NexthopVrfConfig.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/IpPrefix.h"

namespace Sim {

// One next hop of a route, of either family. A route's hops need not share its prefix's family,
// nor each other's (an IPv4 route over an IPv6 next hop is how IPv4 crosses an IPv6-only core):
// the hops are written to the FEC record as they are. Duplicates within a route are kept: merging
// them is the consumer's business.
struct RouteVia {
  Vela::IpGenAddr hop;
  Vela::IntfId intf;
  bool operator==(const RouteVia&) const = default;
};

class ResolutionService {
 public:
  struct Route {
    Brisk::Fib::FecId fecId;
    Routing::RouteType type = Routing::RouteType::none;
    std::vector<RouteVia> vias;
  };

  // Starts with no route, so no request resolves yet. Status entries already in `status` were
  // left by an earlier writer and name FECs this service does not know: they are withdrawn (and
  // backlogged), and the records in `forwarding` deleted, since this service allocates FEC ids
  // anew from 1.
  ResolutionService(Vox::Ptr<const Routing::NexthopVrfConfig> config,
                    Vox::Ptr<Routing::NexthopVrfStatus> status,
                    Vox::Ptr<Brisk::Fib::ForwardingStatus> forwarding,
                    Vox::Ptr<Routing::NexthopBacklog> backlog);
  // Stops watching requests; the answers stay in the tables, as a stopped service leaves them.
  ~ResolutionService();
  ResolutionService(const ResolutionService&) = delete;
  ResolutionService& operator=(const ResolutionService&) = delete;

  // Adds or replaces the route to `prefix`. Fatal ("route change outside the service's own
  // notifications") when called from inside a notification the service triggered. Replacing keeps
  // the route's FEC id and rewrites its record in place; the addresses it resolves are then
  // backlogged even if only the vias changed. Setting exactly what is there changes nothing. More
  // than 600 vias are allowed: the record reports them all in its count and holds the first 600.
  void routeIs(const Vela::IpPrefix& prefix, std::vector<RouteVia> vias,
               Routing::RouteType type = Routing::RouteType::staticRoute);
  // A connected route: type `connected`, one via on `intf` whose hop is the unspecified address
  // of the prefix's family (0.0.0.0 or ::).
  void connectedRouteIs(const Vela::IpPrefix& prefix, Vela::IntfId intf);
  // Removes the route: re-answers the addresses it resolved (a shorter route or none), then
  // deletes its FEC record. Removing an absent route does nothing.
  void routeDel(const Vela::IpPrefix& prefix);

  // For display: the routes in prefix order.
  const std::map<Vela::IpPrefix, Route>& routes() const { return routes_; }
  // For display: the prefix of the route answering each resolved requested address, in address
  // order. Requested addresses that resolve nowhere are absent.
  const std::map<Vela::IpGenAddr, Vela::IpPrefix>& answers() const { return answers_; }

  // The errors thrown by consumers since the last call, one "WHAT: MESSAGE" line each (WHAT is
  // the address, or "fec N" for a FEC record write), oldest first; clears them.
  std::vector<std::string> takeErrors();

 private:
  class RequestWatcher : public Routing::NexthopVrfConfig::NotifieeConst {
   public:
    explicit RequestWatcher(ResolutionService& service) : service_(service) {}
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;

   private:
    ResolutionService& service_;
  };

  // Route counts per prefix length, so that a longest-prefix match only probes the lengths some
  // route of the family has.
  using LengthCounts = std::array<std::size_t, 129>;
  static std::size_t familyIndex(Vela::AddrFamily family) {
    return family == Vela::AddrFamily::ipv4 ? 0 : 1;
  }

  void handleRequest(const Vela::IpGenAddr& address);
  std::optional<Vela::IpPrefix> longestMatch(const Vela::IpGenAddr& address,
                                             bool allowDefaultRoute) const;
  // Re-derives the answer of one address from its request and the routes; writes and backlogs
  // it when it changed, or when it is the route `rewritten` (non-null when that route's
  // contents changed in place).
  void reanswer(const Vela::IpGenAddr& address, const Vela::IpPrefix* rewritten);
  // Re-answers every requested address inside `prefix`.
  void reanswerCovered(const Vela::IpPrefix& prefix, const Vela::IpPrefix* rewritten);
  void writeFec(const Brisk::Fib::FecId& fecId, const std::vector<RouteVia>& vias);
  // Runs one table write; a consumer's exception is recorded under `what`.
  template <class Write>
  void guarded(const std::string& what, Write&& write);

  Vox::Ptr<const Routing::NexthopVrfConfig> config_;
  Vox::Ptr<Routing::NexthopVrfStatus> status_;
  Vox::Ptr<Brisk::Fib::ForwardingStatus> forwarding_;
  Vox::Ptr<Routing::NexthopBacklog> backlog_;
  std::map<Vela::IpPrefix, Route> routes_;
  std::map<Vela::IpGenAddr, Vela::IpPrefix> answers_;
  std::array<LengthCounts, 2> lengthCounts_{};  // by familyIndex
  uint64_t nextFecId_ = 1;
  std::vector<std::string> errors_;
  bool answering_ = false;                // a route or request change is being answered
  RequestWatcher requestWatcher_{*this};  // last: hooked once everything else exists
};

}  // namespace Sim
