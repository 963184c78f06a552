#pragma once
// Stage 1, hand-written: inverts the addresses each LDP peer advertised into the routers that
// advertised each address.
//
// Input `RouterIpAddrInfoColl` (router -> addresses); output `IpAddrRouterIdInfoColl`
// (address -> routers). Invariant once initialized: an address is in the output exactly when at
// least one router's address set holds it, and its router set is exactly those routers. The
// output's router set is the address's only reference count; the reactor keeps none.
//
// `handleRouterIpAddr(router, address)` is the single writer: it re-reads the input for that one
// pair and makes the output agree, so it serves initial scan, changes and the sweep of stale
// output alike. While uninitialized it ignores every call.
#include <tuple>

#include "quill/core/StageReactor.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"

namespace Mpls {

class IpAddrRouterIdInfoSm : public Quill::StageReactor<IpAddrRouterIdInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IpAddrRouterIdInfoSm";

  IpAddrRouterIdInfoSm(const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
                       const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl);
  ~IpAddrRouterIdInfoSm() override;

  static Vox::Ptr<IpAddrRouterIdInfoSm> IpAddrRouterIdInfoSmIs(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl) {
    return create(routerIpAddrInfoColl, ipAddrRouterIdInfoColl);
  }

  const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl() const {
    return routerIpAddrInfoColl_;
  }
  const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl() const {
    return ipAddrRouterIdInfoColl_;
  }
  // The objects it was constructed with, for identity comparison by its owner.
  auto constructorArguments() const {
    return std::tuple(routerIpAddrInfoColl_.ptr(), ipAddrRouterIdInfoColl_.ptr());
  }

  void handleRouterIpAddr(const RouterId& routerId, const Vela::IpGenAddr& ipAddr);

  // The per-key reactor following one router's address set. A router removed as a whole while
  // its address set is still non-empty leaves its pairs in the output until the next
  // initialization sweeps them: the producer of the input is expected to withdraw addresses one
  // by one first.
  using VoxRouterIpAddr =
      Vox::KeyForwarder<IpAddrRouterIdInfoSm, RouterIpAddrInfo::ipAddrAttribute,
                        &IpAddrRouterIdInfoSm::handleRouterIpAddr, Vox::Removal::kDrop>;
  void handleInitialized();
  void handleDelete();

  VoxRouterIpAddr* routerIpAddr(const RouterId& routerId) const {
    return routerIpAddr_.find(routerId);
  }
  VoxRouterIpAddr* routerIpAddrIs(const Vox::Ptr<const RouterIpAddrInfo>& info) {
    return routerIpAddr_.is(info);
  }
  void routerIpAddrDel(const RouterId& routerId) { routerIpAddr_.del(routerId); }
  void routerIpAddrDelAll() { routerIpAddr_.delAll(); }

 private:
  using VoxRouterIpAddrInfoColl =
      Vox::CollectionObserver<RouterIpAddrInfoColl::routerIpAddrAttribute, VoxRouterIpAddr>;

  Vox::Ptr<const RouterIpAddrInfoColl> routerIpAddrInfoColl_;
  Vox::Ptr<IpAddrRouterIdInfoColl> ipAddrRouterIdInfoColl_;
  Vox::PerKeyReactorColl<VoxRouterIpAddr> routerIpAddr_{*this, "Mpls::IpAddrRouterIdInfoSm",
                                                        "routerIpAddr"};
  VoxRouterIpAddrInfoColl voxRouterIpAddrInfoColl_{*this, routerIpAddr_};
};

Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSmFactory(
    const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
    const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl);

}  // namespace Mpls
