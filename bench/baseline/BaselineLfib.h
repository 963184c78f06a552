#pragma once
// The p2mp LFIB computed without the framework: the yardstick the pipeline benchmark holds Quill
// against. It follows the same end-to-end rule, fed the same changes (`Sim::TopologySink`), and
// keeps its output correct after every change, but in plain records and open-addressing tables
// sized ahead, with nothing allocated per element.
//
// The rule, per router R:
// - each transport address of R resolves, by longest-prefix match over the routes (same family,
//   no default route), to the vias of its route;
// - R keeps those vias whose interface is MPLS-enabled and whose next-hop address is one of R's
//   interface addresses;
// - R's kept vias form one consistent-hash ring, every via weighing 1000 at its `nodeHash`
//   position (a position shared by several vias answers with the least of them): the library's
//   own ring, so the choices are the library's;
// - every FEC F that R has a peer label P for gets the via `ring.getNode(F)`;
// - the LFIB has, for F's local label L, the branch (via, P) justified by (F, R).
//
// State: one record per router (addresses, kept vias, ring, its pairs), per FEC (key, local label,
// its pairs), per (FEC, router) pair (peer label, chosen via: 24 bytes), per distinct kept via and
// per route; hash indices from FECs, routers, local labels, routes, vias and MPLS interfaces to
// record numbers. A FEC's pairs are a singly linked list (a FEC has few peers); a router's are an
// array (a router has many FECs, all re-chosen when its ring changes).
//
// Costs: a peer binding or local label change is O(peers of the FEC); a router whose kept vias
// change re-chooses every one of its FECs, O(FECs x log ring points); a route change looks at
// every router's transport addresses, an MPLS interface change at every router's routes.
//
// Narrower than the library where LDP never goes: a FEC has at most one local label, a local
// label names one FEC, and a peer binds a FEC with one label. Breaking one of these throws
// `std::invalid_argument` and changes nothing.
//
// Memory: every byte goes through `CountedAllocator` into one counter, except the rings, which
// allocate through the platform's accounting and are counted from its figures around each ring
// change; `bytes()` is the sum. (A FEC key's own heap block, for opaque values too long to be
// stored inline, is not counted; the benchmarks' FECs have none.)
//
//   Baseline::BaselineLfib lfib({.routers = 16, .fecs = 1000, .pairs = 4000});
//   topology.apply(lfib);
//   lfib.branches();    // sorted (local label, via, peer label), as the library's LFIB
//   lfib.stop();        // forget everything derived; changes now only update the inputs
//   lfib.start();       // derive it all again, as a cold start
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "bench/baseline/CountedAllocator.h"
#include "bench/baseline/IndexTable.h"
#include "platform/consistenthash/ConsistentHashCircle.h"
#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/IpPrefix.h"
#include "platform/vela/MplsLabel.h"
#include "sim/Topology.h"

namespace Baseline {

// One LFIB branch under a local label.
struct Branch {
  Vela::MplsLabel localLabel;
  Mpls::FibVia via;
  Vela::MplsLabel peerLabel;
  auto operator<=>(const Branch&) const = default;
};

class BaselineLfib : public Sim::TopologySink {
 public:
  // What to size the tables for; more is fine, the tables grow.
  struct Capacity {
    uint32_t routers = 0;
    uint32_t fecs = 0;
    uint32_t pairs = 0;
    uint32_t routes = 0;
    uint32_t vias = 0;
    uint32_t intfs = 0;
  };

  explicit BaselineLfib(const Capacity& capacity);
  ~BaselineLfib() override;
  BaselineLfib(const BaselineLfib&) = delete;
  BaselineLfib& operator=(const BaselineLfib&) = delete;

  void mplsIntfIs(Vela::IntfId intf) override;
  void mplsIntfDel(Vela::IntfId intf) override;
  void routeIs(const Vela::IpPrefix& prefix, const std::vector<Sim::RouteVia>& vias) override;
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

  // Drops every ring and chosen via; until `start`, changes only update the inputs.
  void stop();
  // Derives every router's kept vias and ring and every pair's via from the inputs.
  void start();
  bool running() const { return running_; }

  // The LFIB: every branch once, sorted.
  std::vector<Branch> branches() const;
  // The via chosen for (FEC, router): none when the router has no binding for the FEC or no via.
  std::optional<Mpls::FibVia> chosenVia(const Mpls::RouterId& routerId,
                                        const Mpls::FwdEqvClass& fec) const;
  // Calls fn(fec, routerId, via) for every pair with a chosen via.
  template <class Fn>
  void forEachChoice(Fn&& fn) const {
    for (const Pair& pair : pairs_.records()) {
      if (pair.fec != kNone && pair.via != kNone)
        fn(fecs_[pair.fec].key, routers_[pair.router].id, vias_[pair.via].via);
    }
  }

  // Every byte held, rings included.
  int64_t bytes() const { return bytes_.live + ringBytes_; }
  // Of which the rings' points and node tables.
  int64_t ringBytes() const { return ringBytes_; }

 private:
  static constexpr uint32_t kNone = IndexTable::kNone;
  static constexpr uint32_t kNoLabel = UINT32_MAX;

  // Records by number, with numbers of removed records reused.
  template <class Record>
  class Pool {
   public:
    explicit Pool(ByteCount& bytes)
        : records_(CountedAllocator<Record>(bytes)), free_(CountedAllocator<uint32_t>(bytes)) {}
    void reserve(std::size_t n) { records_.reserve(n); }
    uint32_t add(Record&& record);
    // The record's number may be handed out again; the record itself is left to the caller.
    void release(uint32_t index) { free_.push_back(index); }
    Record& operator[](uint32_t index) { return records_[index]; }
    const Record& operator[](uint32_t index) const { return records_[index]; }
    // Every record ever added, released ones included.
    const CountedVector<Record>& records() const { return records_; }
    CountedVector<Record>& records() { return records_; }

   private:
    CountedVector<Record> records_;
    CountedVector<uint32_t> free_;
  };

  struct Pair {
    uint32_t fec = kNone;  // kNone: released
    uint32_t router = kNone;
    uint32_t peerLabel = 0;
    uint32_t via = kNone;        // kNone: the router has no kept via (or the baseline is stopped)
    uint32_t nextInFec = kNone;  // the FEC's next pair
    uint32_t slot = 0;           // where the router's array holds this pair
  };

  struct Fec {
    Mpls::FwdEqvClass key;
    uint32_t localLabel = kNoLabel;
    uint32_t firstPair = kNone;
  };

  // A via on some router's ring, shared by every router that keeps it.
  struct Via {
    Mpls::FibVia via;
    uint64_t position = 0;  // its node on a ring
    uint32_t routers = 0;   // routers keeping it; 0: released
  };

  struct KeptVia {
    uint32_t via;
    uint64_t position;
  };

  struct Router {
    explicit Router(const Mpls::RouterId& routerId, ByteCount& bytes)
        : id(routerId),
          transportAddrs(CountedAllocator<Vela::IpGenAddr>(bytes)),
          intfAddrs(CountedAllocator<Vela::IpGenAddr>(bytes)),
          kept(CountedAllocator<KeptVia>(bytes)),
          pairs(CountedAllocator<uint32_t>(bytes)) {}
    Mpls::RouterId id;
    CountedVector<Vela::IpGenAddr> transportAddrs;
    CountedVector<Vela::IpGenAddr> intfAddrs;
    CountedVector<KeptVia> kept;  // the ring's nodes
    CountedVector<uint32_t> pairs;
    ConsistentHash::ConsistentHashCircle ring;
  };

  struct Route {
    explicit Route(const Vela::IpPrefix& routePrefix, ByteCount& bytes)
        : prefix(routePrefix), vias(CountedAllocator<Mpls::FibVia>(bytes)) {}
    Vela::IpPrefix prefix;
    CountedVector<Mpls::FibVia> vias;  // sorted, each once
  };

  uint32_t findRouter(const Mpls::RouterId& routerId) const;
  uint32_t routerOf(const Mpls::RouterId& routerId);
  uint32_t findFec(const Mpls::FwdEqvClass& fec) const;
  uint32_t fecOf(const Mpls::FwdEqvClass& fec);
  // Forgets a FEC that has neither a local label nor a pair.
  void releaseFecIfUnused(uint32_t fec);
  uint32_t findRoute(const Vela::IpPrefix& prefix) const;
  uint32_t longestMatch(const Vela::IpGenAddr& addr) const;
  bool mplsEnabled(Vela::IntfId intf) const;
  uint32_t viaOf(const Mpls::FibVia& via);
  void releaseVia(uint32_t via);

  // Re-derives router r's kept vias; when they changed, updates its ring and re-chooses the via
  // of every pair of r. Nothing while stopped.
  void refresh(uint32_t router);
  // Every router with a transport address inside `prefix`.
  void refreshCovered(const Vela::IpPrefix& prefix);
  void addToRing(Router& router, uint32_t via);
  void removeFromRing(Router& router, std::size_t keptIndex);
  // Runs a change of the router's ring, counting what it allocates or frees.
  template <class Change>
  void changeRing(Router& router, Change&& change);
  uint32_t choose(const Router& router, const Mpls::FwdEqvClass& fec) const;
  // Unlinks pair p from its FEC's list.
  void unlinkFromFec(uint32_t pair);
  void releasePair(uint32_t pair);
  void removeAddr(uint32_t router, CountedVector<Vela::IpGenAddr> Router::*addrs,
                  const Vela::IpGenAddr& addr);
  void addAddr(uint32_t router, CountedVector<Vela::IpGenAddr> Router::*addrs,
               const Vela::IpGenAddr& addr);

  ByteCount bytes_;  // first: every container below counts into it
  int64_t ringBytes_ = 0;
  bool running_ = true;

  Pool<Router> routers_{bytes_};
  IndexTable routerIndex_{bytes_};
  Pool<Fec> fecs_{bytes_};
  IndexTable fecIndex_{bytes_};
  IndexTable localLabelIndex_{bytes_};  // local label -> FEC
  Pool<Pair> pairs_{bytes_};
  Pool<Via> vias_{bytes_};
  IndexTable viaIndex_{bytes_};
  Pool<Route> routes_{bytes_};
  IndexTable routeIndex_{bytes_};
  // Routes per prefix length and family (IPv4, IPv6): the longest-prefix match probes only the
  // lengths some route has.
  uint32_t routeLengths_[2][129] = {};
  Pool<Vela::IntfId> mplsIntfs_{bytes_};
  IndexTable mplsIntfIndex_{bytes_};
  // Scratch space, kept to spare an allocation per change.
  CountedVector<Mpls::FibVia> candidates_{CountedAllocator<Mpls::FibVia>(bytes_)};
  CountedVector<uint32_t> dropped_{CountedAllocator<uint32_t>(bytes_)};
  CountedVector<Mpls::FibVia> routeVias_{CountedAllocator<Mpls::FibVia>(bytes_)};
};

}  // namespace Baseline
