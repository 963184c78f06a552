#include "sim/ResolutionService.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/vox/Exception.h"

namespace Sim {

namespace {
// Sets a flag for a scope and restores what it was, so nested answering (a request changed by a
// consumer while a route change is answered) leaves the outer scope's flag alone.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag), saved_(std::exchange(flag, true)) {}
  ~FlagScope() { flag_ = saved_; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
  bool saved_;
};

std::string fecText(const Brisk::Fib::FecId& fecId) {
  return "fec " + fecId.valueToStrep();
}
}  // namespace

template <class Write>
void ResolutionService::guarded(const std::string& what, Write&& write) {
  try {
    std::forward<Write>(write)();
  } catch (const std::exception& e) {
    errors_.push_back(what + ": " + e.what());
  }
}

void ResolutionService::RequestWatcher::onAttribute(const Vox::AttributeInfo& attr,
                                                    const void* key) {
  if (const auto* address = Routing::NexthopVrfConfig::nexthopAttribute::match(attr, key)) {
    service_.handleRequest(*address);
  }
}

ResolutionService::ResolutionService(Vox::Ptr<const Routing::NexthopVrfConfig> config,
                                     Vox::Ptr<Routing::NexthopVrfStatus> status,
                                     Vox::Ptr<Brisk::Fib::ForwardingStatus> forwarding,
                                     Vox::Ptr<Routing::NexthopBacklog> backlog)
    : config_(std::move(config)),
      status_(std::move(status)),
      forwarding_(std::move(forwarding)),
      backlog_(std::move(backlog)) {
  // Withdraw what an earlier writer answered before dropping the FECs those answers name, the
  // same order as removing a route.
  for (auto it = status_->nexthopColl().begin(); it != status_->nexthopColl().end(); ++it) {
    const Vela::IpGenAddr address = it.key();
    guarded(address.valueToStrep(), [&] { status_->nexthopDel(address); });
    guarded(address.valueToStrep(), [&] { backlog_->backlogIs(address); });
  }
  for (auto it = forwarding_->fecColl().begin(); it != forwarding_->fecColl().end(); ++it) {
    const Brisk::Fib::FecId fecId = it.key();
    guarded(fecText(fecId), [&] { forwarding_->fecDel(fecId); });
  }
  requestWatcher_.notifierIs(config_);
  requestWatcher_.hasNotificationActiveIs(true);
}

ResolutionService::~ResolutionService() = default;

void ResolutionService::routeIs(const Vela::IpPrefix& prefix, std::vector<RouteVia> vias,
                                Routing::RouteType type) {
  VOX_ASSERT(!answering_, "route change outside the service's own notifications");
  const FlagScope scope(answering_);
  if (const auto found = routes_.find(prefix); found != routes_.end()) {
    Route& route = found->second;
    if (route.vias == vias && route.type == type) {
      return;
    }
    route.vias = std::move(vias);
    route.type = type;
    writeFec(route.fecId, route.vias);
    reanswerCovered(prefix, &prefix);
    return;
  }
  Route route{Brisk::Fib::FecId(nextFecId_++), type, std::move(vias)};
  writeFec(route.fecId, route.vias);
  routes_.emplace(prefix, std::move(route));
  ++lengthCounts_[familyIndex(prefix.family())][prefix.length()];
  reanswerCovered(prefix, nullptr);
}

void ResolutionService::connectedRouteIs(const Vela::IpPrefix& prefix, Vela::IntfId intf) {
  const Vela::IpGenAddr unspecified = prefix.family() == Vela::AddrFamily::ipv4
                                          ? Vela::IpGenAddr()
                                          : Vela::IpGenAddr(Vela::Ip6Addr());
  routeIs(prefix, {RouteVia{unspecified, intf}}, Routing::RouteType::connected);
}

void ResolutionService::routeDel(const Vela::IpPrefix& prefix) {
  VOX_ASSERT(!answering_, "route change outside the service's own notifications");
  const FlagScope scope(answering_);
  const auto found = routes_.find(prefix);
  if (found == routes_.end()) {
    return;
  }
  const Brisk::Fib::FecId fecId = found->second.fecId;
  routes_.erase(found);
  --lengthCounts_[familyIndex(prefix.family())][prefix.length()];
  // The consumer re-reads each address inside the backlog write; the record must outlive that.
  reanswerCovered(prefix, nullptr);
  guarded(fecText(fecId), [&] { forwarding_->fecDel(fecId); });
}

std::vector<std::string> ResolutionService::takeErrors() {
  return std::exchange(errors_, {});
}

void ResolutionService::handleRequest(const Vela::IpGenAddr& address) {
  const Vela::IpGenAddr requested = address;  // the key is valid only during the notification
  const FlagScope scope(answering_);
  reanswer(requested, nullptr);
}

std::optional<Vela::IpPrefix> ResolutionService::longestMatch(const Vela::IpGenAddr& address,
                                                              bool allowDefaultRoute) const {
  const LengthCounts& counts = lengthCounts_[familyIndex(address.family())];
  const uint32_t shortest = allowDefaultRoute ? 0 : 1;
  for (uint32_t length = Vela::IpPrefix::maxLength(address.family()) + 1; length-- > shortest;) {
    if (counts[length] == 0) {
      continue;
    }
    const Vela::IpPrefix candidate = Vela::IpPrefix::masked(address, length);
    if (routes_.contains(candidate)) {
      return candidate;
    }
  }
  return std::nullopt;
}

void ResolutionService::reanswer(const Vela::IpGenAddr& address, const Vela::IpPrefix* rewritten) {
  const Routing::NexthopConfigEntry* request = config_->nexthop(address);
  const std::optional<Vela::IpPrefix> best =
      request ? longestMatch(address, request->allowDefaultRoute()) : std::nullopt;
  const auto previous = answers_.find(address);
  const std::string what = address.valueToStrep();
  if (!best) {
    if (previous == answers_.end()) {
      return;  // was not answered and still is not: nothing the consumer needs to hear
    }
    answers_.erase(previous);
    guarded(what, [&] { status_->nexthopDel(address); });
  } else {
    const bool same = previous != answers_.end() && previous->second == *best;
    if (same && !(rewritten && *rewritten == *best)) {
      return;
    }
    answers_.insert_or_assign(address, *best);
    const Route& route = routes_.at(*best);
    const Routing::NexthopStatusEntry entry(route.fecId, route.type);
    guarded(what, [&] { status_->nexthopIs(address, entry); });
  }
  guarded(what, [&] { backlog_->backlogIs(address); });
}

void ResolutionService::reanswerCovered(const Vela::IpPrefix& prefix,
                                        const Vela::IpPrefix* rewritten) {
  // The table's iterator survives requests added or withdrawn by consumers meanwhile.
  for (auto it = config_->nexthopColl().begin(); it != config_->nexthopColl().end(); ++it) {
    const Vela::IpGenAddr address = it.key();
    if (prefix.contains(address)) {
      reanswer(address, rewritten);
    }
  }
}

void ResolutionService::writeFec(const Brisk::Fib::FecId& fecId,
                                 const std::vector<RouteVia>& vias) {
  Brisk::Fib::Fec fec(fecId);
  // The record's array ends at index 599; a longer route still reports its full count, which is
  // how a consumer meets (and must cope with) a FEC larger than the array.
  const std::size_t stored =
      std::min<std::size_t>(vias.size(), std::size_t{Brisk::Fib::ViaIndex::max} + 1);
  for (std::size_t i = 0; i < stored; ++i) {
    fec.viaIs(Brisk::Fib::ViaIndex(static_cast<uint32_t>(i)), {vias[i].hop, vias[i].intf});
  }
  fec.viaCountIs(static_cast<uint32_t>(vias.size()));
  guarded(fecText(fecId), [&] { forwarding_->fecIs(fecId, fec); });
}

}  // namespace Sim
