#include "bench/baseline/BaselineLfib.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/vox/Hash.h"
#include "platform/vox/TrackingAllocator.h"
#include "quill/lfib/RingHashes.h"

namespace Baseline {

namespace {

// The weight of every via on the library's rings.
constexpr uint64_t kViaWeight = 1000;

// The indices want hashes mixed in their low bits; the value types' own hashes are not all.
uint32_t mixed(uint32_t hash) {
  return Vox::Hash::finalMix(hash);
}

uint32_t hashOf(const Mpls::RouterId& routerId) {
  return mixed(routerId.hash(0));
}
uint32_t hashOf(const Mpls::FwdEqvClass& fec) {
  return mixed(fec.hash(0));
}
uint32_t hashOf(const Vela::IpPrefix& prefix) {
  return mixed(prefix.hash(0));
}
uint32_t hashOf(const Mpls::FibVia& via) {
  return mixed(via.hash());
}
uint32_t hashOf(Vela::IntfId intf) {
  return mixed(intf.hash());
}
uint32_t labelHash(uint32_t label) {
  return mixed(label);
}

std::size_t familyIndex(Vela::AddrFamily family) {
  return family == Vela::AddrFamily::ipv4 ? 0 : 1;
}

template <class T, class Alloc>
bool holds(const std::vector<T, Alloc>& values, const T& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

}  // namespace

template <class Record>
uint32_t BaselineLfib::Pool<Record>::add(Record&& record) {
  if (free_.empty()) {
    records_.push_back(std::move(record));
    return static_cast<uint32_t>(records_.size() - 1);
  }
  const uint32_t index = free_.back();
  free_.pop_back();
  records_[index] = std::move(record);
  return index;
}

BaselineLfib::BaselineLfib(const Capacity& capacity) {
  routers_.reserve(capacity.routers);
  routerIndex_.reserve(capacity.routers);
  fecs_.reserve(capacity.fecs);
  fecIndex_.reserve(capacity.fecs);
  localLabelIndex_.reserve(capacity.fecs);
  pairs_.reserve(capacity.pairs);
  vias_.reserve(capacity.vias);
  viaIndex_.reserve(capacity.vias);
  routes_.reserve(capacity.routes);
  routeIndex_.reserve(capacity.routes);
  mplsIntfs_.reserve(capacity.intfs);
  mplsIntfIndex_.reserve(capacity.intfs);
}

BaselineLfib::~BaselineLfib() = default;

// ---- look-ups -------------------------------------------------------------------------------

uint32_t BaselineLfib::findRouter(const Mpls::RouterId& routerId) const {
  return routerIndex_.find(hashOf(routerId),
                           [&](uint32_t r) { return routers_[r].id == routerId; });
}

uint32_t BaselineLfib::routerOf(const Mpls::RouterId& routerId) {
  uint32_t r = findRouter(routerId);
  if (r != kNone) return r;
  r = routers_.add(Router(routerId, bytes_));
  routerIndex_.insert(hashOf(routerId), r);
  return r;
}

uint32_t BaselineLfib::findFec(const Mpls::FwdEqvClass& fec) const {
  return fecIndex_.find(hashOf(fec), [&](uint32_t f) { return fecs_[f].key == fec; });
}

uint32_t BaselineLfib::fecOf(const Mpls::FwdEqvClass& fec) {
  uint32_t f = findFec(fec);
  if (f != kNone) return f;
  f = fecs_.add(Fec{fec});
  fecIndex_.insert(hashOf(fec), f);
  return f;
}

void BaselineLfib::releaseFecIfUnused(uint32_t f) {
  Fec& fec = fecs_[f];
  if (fec.localLabel != kNoLabel || fec.firstPair != kNone) return;
  fecIndex_.erase(hashOf(fec.key), f);
  fec.key = Mpls::FwdEqvClass();
  fecs_.release(f);
}

uint32_t BaselineLfib::findRoute(const Vela::IpPrefix& prefix) const {
  return routeIndex_.find(hashOf(prefix), [&](uint32_t r) { return routes_[r].prefix == prefix; });
}

uint32_t BaselineLfib::longestMatch(const Vela::IpGenAddr& addr) const {
  const uint32_t* lengths = routeLengths_[familyIndex(addr.family())];
  // A default route (length 0) resolves no peer.
  for (uint32_t length = Vela::IpPrefix::maxLength(addr.family()); length > 0; --length) {
    if (lengths[length] == 0) continue;
    const uint32_t route = findRoute(Vela::IpPrefix::masked(addr, length));
    if (route != kNone) return route;
  }
  return kNone;
}

bool BaselineLfib::mplsEnabled(Vela::IntfId intf) const {
  return mplsIntfIndex_.find(hashOf(intf), [&](uint32_t i) { return mplsIntfs_[i] == intf; }) !=
         kNone;
}

uint32_t BaselineLfib::viaOf(const Mpls::FibVia& via) {
  const uint32_t hash = hashOf(via);
  uint32_t v = viaIndex_.find(hash, [&](uint32_t i) { return vias_[i].via == via; });
  if (v == kNone) {
    v = vias_.add(Via{via, Mpls::nodeHash(via), 0});
    viaIndex_.insert(hash, v);
  }
  ++vias_[v].routers;
  return v;
}

void BaselineLfib::releaseVia(uint32_t v) {
  Via& via = vias_[v];
  if (--via.routers != 0) return;
  viaIndex_.erase(hashOf(via.via), v);
  vias_.release(v);
}

// ---- deriving a router's vias, ring and choices ---------------------------------------------

template <class Change>
void BaselineLfib::changeRing(Router& router, Change&& change) {
  const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash);
  std::forward<Change>(change)(router.ring);
  ringBytes_ += Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - before;
}

void BaselineLfib::addToRing(Router& router, uint32_t via) {
  const uint64_t position = vias_[via].position;
  const bool taken = std::any_of(router.kept.begin(), router.kept.end(),
                                 [&](const KeptVia& kept) { return kept.position == position; });
  router.kept.push_back({via, position});
  // Vias sharing a position share its points, as on the library's rings.
  if (!taken) {
    changeRing(router, [&](auto& ring) { ring.addHash(position, kViaWeight); });
  }
}

void BaselineLfib::removeFromRing(Router& router, std::size_t keptIndex) {
  const uint64_t position = router.kept[keptIndex].position;
  router.kept[keptIndex] = router.kept.back();
  router.kept.pop_back();
  const bool shared = std::any_of(router.kept.begin(), router.kept.end(),
                                  [&](const KeptVia& kept) { return kept.position == position; });
  if (!shared) changeRing(router, [&](auto& ring) { ring.delHash(position); });
}

uint32_t BaselineLfib::choose(const Router& router, const Mpls::FwdEqvClass& fec) const {
  if (router.kept.empty()) return kNone;
  const uint64_t position = router.ring.getHash(Mpls::keyHash(fec));
  uint32_t chosen = kNone;
  for (const KeptVia& kept : router.kept) {
    if (kept.position == position && (chosen == kNone || vias_[kept.via].via < vias_[chosen].via)) {
      chosen = kept.via;
    }
  }
  return chosen;
}

void BaselineLfib::refresh(uint32_t r) {
  if (!running_) return;
  Router& router = routers_[r];
  candidates_.clear();
  for (const Vela::IpGenAddr& addr : router.transportAddrs) {
    const uint32_t route = longestMatch(addr);
    if (route == kNone) continue;
    for (const Mpls::FibVia& via : routes_[route].vias) {
      if (mplsEnabled(via.intfId()) && holds(router.intfAddrs, via.hop()) &&
          !holds(candidates_, via)) {
        candidates_.push_back(via);
      }
    }
  }
  const auto keeps = [&](const Mpls::FibVia& via) {
    return std::any_of(router.kept.begin(), router.kept.end(),
                       [&](const KeptVia& kept) { return vias_[kept.via].via == via; });
  };
  if (candidates_.size() == router.kept.size() &&
      std::all_of(candidates_.begin(), candidates_.end(), keeps)) {
    return;
  }
  dropped_.clear();
  for (std::size_t k = router.kept.size(); k-- > 0;) {
    const uint32_t via = router.kept[k].via;
    if (holds(candidates_, vias_[via].via)) continue;
    removeFromRing(router, k);
    dropped_.push_back(via);
  }
  for (const Mpls::FibVia& via : candidates_) {
    if (!keeps(via)) addToRing(router, viaOf(via));
  }
  for (const uint32_t p : router.pairs)
    pairs_[p].via = choose(router, fecs_[pairs_[p].fec].key);
  // Only now that no pair names them.
  for (const uint32_t via : dropped_)
    releaseVia(via);
}

void BaselineLfib::refreshCovered(const Vela::IpPrefix& prefix) {
  for (uint32_t r = 0; r < routers_.records().size(); ++r) {
    const auto& addrs = routers_[r].transportAddrs;
    if (std::any_of(addrs.begin(), addrs.end(),
                    [&](const Vela::IpGenAddr& addr) { return prefix.contains(addr); })) {
      refresh(r);
    }
  }
}

void BaselineLfib::stop() {
  if (!running_) return;
  running_ = false;
  for (Router& router : routers_.records()) {
    for (const KeptVia& kept : router.kept)
      releaseVia(kept.via);
    router.kept.clear();
    changeRing(router, [](auto& ring) { ring = ConsistentHash::ConsistentHashCircle(); });
  }
  for (Pair& pair : pairs_.records())
    pair.via = kNone;
}

void BaselineLfib::start() {
  if (running_) return;
  running_ = true;
  for (uint32_t r = 0; r < routers_.records().size(); ++r)
    refresh(r);
}

// ---- routes, interfaces and addresses -------------------------------------------------------

void BaselineLfib::mplsIntfIs(Vela::IntfId intf) {
  if (mplsEnabled(intf)) return;
  mplsIntfIndex_.insert(hashOf(intf), mplsIntfs_.add(Vela::IntfId(intf)));
  // Only routers whose routes go out of the interface can gain a via.
  for (uint32_t r = 0; r < routers_.records().size(); ++r) {
    for (const Vela::IpGenAddr& addr : routers_[r].transportAddrs) {
      const uint32_t route = longestMatch(addr);
      if (route == kNone) continue;
      const auto& vias = routes_[route].vias;
      if (std::any_of(vias.begin(), vias.end(),
                      [&](const Mpls::FibVia& via) { return via.intfId() == intf; })) {
        refresh(r);
        break;
      }
    }
  }
}

void BaselineLfib::mplsIntfDel(Vela::IntfId intf) {
  const uint32_t hash = hashOf(intf);
  const uint32_t i = mplsIntfIndex_.find(hash, [&](uint32_t n) { return mplsIntfs_[n] == intf; });
  if (i == kNone) return;
  mplsIntfIndex_.erase(hash, i);
  mplsIntfs_.release(i);
  // Only routers keeping a via out of the interface can lose one.
  for (uint32_t r = 0; r < routers_.records().size(); ++r) {
    const auto& kept = routers_[r].kept;
    if (std::any_of(kept.begin(), kept.end(),
                    [&](const KeptVia& k) { return vias_[k.via].via.intfId() == intf; })) {
      refresh(r);
    }
  }
}

void BaselineLfib::routeIs(const Vela::IpPrefix& prefix, const std::vector<Sim::RouteVia>& vias) {
  routeVias_.clear();
  for (const Sim::RouteVia& via : vias)
    routeVias_.emplace_back(via.hop, via.intf);
  std::sort(routeVias_.begin(), routeVias_.end());
  routeVias_.erase(std::unique(routeVias_.begin(), routeVias_.end()), routeVias_.end());
  uint32_t route = findRoute(prefix);
  if (route == kNone) {
    route = routes_.add(Route(prefix, bytes_));
    routeIndex_.insert(hashOf(prefix), route);
    ++routeLengths_[familyIndex(prefix.family())][prefix.length()];
  } else if (routes_[route].vias == routeVias_) {
    return;  // every address resolves as before
  }
  routes_[route].vias.assign(routeVias_.begin(), routeVias_.end());
  refreshCovered(prefix);
}

void BaselineLfib::routeDel(const Vela::IpPrefix& prefix) {
  const uint32_t route = findRoute(prefix);
  if (route == kNone) return;
  routeIndex_.erase(hashOf(prefix), route);
  --routeLengths_[familyIndex(prefix.family())][prefix.length()];
  routes_[route].vias = CountedVector<Mpls::FibVia>(CountedAllocator<Mpls::FibVia>(bytes_));
  routes_.release(route);
  refreshCovered(prefix);
}

void BaselineLfib::addAddr(uint32_t r, CountedVector<Vela::IpGenAddr> Router::*addrs,
                           const Vela::IpGenAddr& addr) {
  auto& list = routers_[r].*addrs;
  if (holds(list, addr)) return;
  list.push_back(addr);
  refresh(r);
}

void BaselineLfib::removeAddr(uint32_t r, CountedVector<Vela::IpGenAddr> Router::*addrs,
                              const Vela::IpGenAddr& addr) {
  auto& list = routers_[r].*addrs;
  const auto found = std::find(list.begin(), list.end(), addr);
  if (found == list.end()) return;
  *found = list.back();
  list.pop_back();
  refresh(r);
}

void BaselineLfib::transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  addAddr(routerOf(routerId), &Router::transportAddrs, addr);
}

void BaselineLfib::transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  const uint32_t r = findRouter(routerId);
  if (r != kNone) removeAddr(r, &Router::transportAddrs, addr);
}

void BaselineLfib::intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  addAddr(routerOf(routerId), &Router::intfAddrs, addr);
}

void BaselineLfib::intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  const uint32_t r = findRouter(routerId);
  if (r != kNone) removeAddr(r, &Router::intfAddrs, addr);
}

// ---- labels ---------------------------------------------------------------------------------

void BaselineLfib::localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  const uint32_t hash = labelHash(label.value());
  const uint32_t owner =
      localLabelIndex_.find(hash, [&](uint32_t f) { return fecs_[f].localLabel == label.value(); });
  if (owner != kNone) {
    if (fecs_[owner].key == fec) return;
    throw std::invalid_argument("local label " + label.valueToStrep() + " names another FEC");
  }
  const uint32_t f = fecOf(fec);
  if (fecs_[f].localLabel != kNoLabel)
    throw std::invalid_argument("FEC " + fec.valueToStrep() + " has a local label already");
  fecs_[f].localLabel = label.value();
  localLabelIndex_.insert(hash, f);
}

void BaselineLfib::localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  const uint32_t f = findFec(fec);
  if (f == kNone || fecs_[f].localLabel != label.value()) return;
  localLabelIndex_.erase(labelHash(label.value()), f);
  fecs_[f].localLabel = kNoLabel;
  releaseFecIfUnused(f);
}

void BaselineLfib::peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                                 Vela::MplsLabel label) {
  const uint32_t r = routerOf(routerId);
  const uint32_t f = fecOf(fec);
  for (uint32_t p = fecs_[f].firstPair; p != kNone; p = pairs_[p].nextInFec) {
    if (pairs_[p].router != r) continue;
    if (pairs_[p].peerLabel == label.value()) return;
    throw std::invalid_argument("router " + routerId.valueToStrep() + " binds FEC " +
                                fec.valueToStrep() + " with another label already");
  }
  Router& router = routers_[r];
  const uint32_t via = running_ ? choose(router, fec) : kNone;
  const uint32_t p = pairs_.add(Pair{f, r, label.value(), via, fecs_[f].firstPair,
                                     static_cast<uint32_t>(router.pairs.size())});
  router.pairs.push_back(p);
  fecs_[f].firstPair = p;
}

void BaselineLfib::unlinkFromFec(uint32_t p) {
  uint32_t* link = &fecs_[pairs_[p].fec].firstPair;
  while (*link != p)
    link = &pairs_[*link].nextInFec;
  *link = pairs_[p].nextInFec;
}

void BaselineLfib::releasePair(uint32_t p) {
  const uint32_t f = pairs_[p].fec;
  pairs_[p] = Pair{};
  pairs_.release(p);
  releaseFecIfUnused(f);
}

void BaselineLfib::peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                                  Vela::MplsLabel label) {
  const uint32_t r = findRouter(routerId);
  const uint32_t f = findFec(fec);
  if (r == kNone || f == kNone) return;
  uint32_t p = fecs_[f].firstPair;
  while (p != kNone && pairs_[p].router != r)
    p = pairs_[p].nextInFec;
  if (p == kNone || pairs_[p].peerLabel != label.value()) return;
  unlinkFromFec(p);
  auto& routerPairs = routers_[r].pairs;
  const uint32_t moved = routerPairs.back();
  routerPairs[pairs_[p].slot] = moved;
  pairs_[moved].slot = pairs_[p].slot;
  routerPairs.pop_back();
  releasePair(p);
}

void BaselineLfib::peerTableDrop(const Mpls::RouterId& routerId) {
  const uint32_t r = findRouter(routerId);
  if (r == kNone) return;
  for (const uint32_t p : routers_[r].pairs) {
    unlinkFromFec(p);
    releasePair(p);
  }
  // A peer that went holds nothing.
  routers_[r].pairs = CountedVector<uint32_t>(CountedAllocator<uint32_t>(bytes_));
}

// ---- reading the output ---------------------------------------------------------------------

std::vector<Branch> BaselineLfib::branches() const {
  std::vector<Branch> out;
  for (const Fec& fec : fecs_.records()) {
    if (fec.localLabel == kNoLabel) continue;
    for (uint32_t p = fec.firstPair; p != kNone; p = pairs_[p].nextInFec) {
      const Pair& pair = pairs_[p];
      if (pair.via == kNone) continue;
      out.push_back(
          {Vela::MplsLabel(fec.localLabel), vias_[pair.via].via, Vela::MplsLabel(pair.peerLabel)});
    }
  }
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

std::optional<Mpls::FibVia> BaselineLfib::chosenVia(const Mpls::RouterId& routerId,
                                                    const Mpls::FwdEqvClass& fec) const {
  const uint32_t r = findRouter(routerId);
  const uint32_t f = findFec(fec);
  if (r == kNone || f == kNone) return std::nullopt;
  for (uint32_t p = fecs_[f].firstPair; p != kNone; p = pairs_[p].nextInFec) {
    if (pairs_[p].router == r && pairs_[p].via != kNone) return vias_[pairs_[p].via].via;
  }
  return std::nullopt;
}

}  // namespace Baseline
