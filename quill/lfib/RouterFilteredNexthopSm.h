#pragma once
// Stage 5: keeps, for every LDP peer router, only the vias that lead straight to the router: a
// via survives when the next-hop address it is listed under is one of the router's own interface
// addresses.
//
// Inputs `RouterIpNexthopInfoColl` (router -> hop address -> vias, from the MPLS filter) and the
// routers' interface addresses (`RouterIpAddrInfoColl`); output a `RouterNexthopInfoColl`.
// Call (R, A, V) justified when input 1 lists V under R and hop address A, and A is one of R's
// interface addresses in input 2. Invariant once initialized: the `destIp` set of V under R is
// exactly the addresses A for which (R, A, V) is justified; V is in R's `via` set exactly when
// that set is non-empty; R's entry exists exactly when it has a via. The output's `destIp` sets
// are the only record of why a via is present.
//
// Every per-key reactor, when its input entity is removed, runs its whole-entity handler once
// more as a zombie over the contents it still holds, which withdraws what that entity justified.
// Initialization rebuilds the output from nothing.
#include <tuple>

#include "quill/core/StageReactor.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class RouterFilteredNexthopSm : public Quill::StageReactor<RouterFilteredNexthopSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterFilteredNexthopSm";
  RouterFilteredNexthopSm(const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl,
                          const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
                          const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl);
  ~RouterFilteredNexthopSm() override;

  static Vox::Ptr<RouterFilteredNexthopSm> RouterFilteredNexthopSmIs(
      const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl,
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return create(routerIpNexthopInfoColl, routerIpAddrInfoColl, routerNexthopInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(routerIpNexthopInfoColl_.ptr(), routerIpAddrInfoColl_.ptr(),
                      routerNexthopInfoColl_.ptr());
  }

  // Re-evaluates one triple; the single writer of the output. Fatal "initialized()" while
  // uninitialized.
  void processRouterIpVia(const RouterId& routerId, const Vela::IpGenAddr& ipAddr,
                          const FibVia& via);
  // Re-evaluates every via of one router address. Fatal "initialized()" while uninitialized.
  void handleRouterIpAddr(const RouterId& routerId, const Vela::IpGenAddr& ipAddr);

  // Per-key reactors. One router's hop addresses, and through it each one's vias
  // (`VoxIpNexthopInfo`):
  struct VoxRouterIpNexthop
      : Vox::MemberCollForwarder<VoxRouterIpNexthop, RouterFilteredNexthopSm,
                                 RouterIpNexthopInfo::ipNexthopInfoAttribute,
                                 IpNexthopInfo::viaAttribute,
                                 &RouterFilteredNexthopSm::processRouterIpVia> {
    static constexpr const char* kClassName = "Mpls::RouterFilteredNexthopSm::VoxRouterIpNexthop";
    using MemberCollForwarder::MemberCollForwarder;
    // Re-derives what one of its members contributes, as the member joining does.
    void ipNexthopInfoIs(const Vox::Ptr<const IpNexthopInfo>& entity) { nestedIs(entity); }
  };
  using VoxIpNexthopInfo = VoxRouterIpNexthop::Nested;
  // One router's interface addresses:
  using VoxRouterIpAddr =
      Vox::KeyForwarder<RouterFilteredNexthopSm, RouterIpAddrInfo::ipAddrAttribute,
                        &RouterFilteredNexthopSm::handleRouterIpAddr>;
  void handleInitialized();
  void handleDelete();

  VoxRouterIpNexthop* routerIpNexthopIs(const Vox::Ptr<const RouterIpNexthopInfo>& entity) {
    return routerIpNexthop_.is(entity);
  }
  void routerIpNexthopDel(const RouterId& routerId) { routerIpNexthop_.del(routerId); }
  void routerIpNexthopDelAll() { routerIpNexthop_.delAll(); }
  VoxRouterIpAddr* routerIpAddrIs(const Vox::Ptr<const RouterIpAddrInfo>& entity) {
    return routerIpAddr_.is(entity);
  }
  void routerIpAddrDel(const RouterId& routerId) { routerIpAddr_.del(routerId); }
  void routerIpAddrDelAll() { routerIpAddr_.delAll(); }

 private:
  Vox::Ptr<const RouterIpNexthopInfoColl> routerIpNexthopInfoColl_;
  Vox::Ptr<const RouterIpAddrInfoColl> routerIpAddrInfoColl_;
  Vox::Ptr<RouterNexthopInfoColl> routerNexthopInfoColl_;
  Vox::PerKeyReactorColl<VoxRouterIpNexthop> routerIpNexthop_{
      *this, "Mpls::RouterFilteredNexthopSm", "routerIpNexthop"};
  Vox::PerKeyReactorColl<VoxRouterIpAddr> routerIpAddr_{*this, "Mpls::RouterFilteredNexthopSm",
                                                        "routerIpAddr"};
  Vox::CollectionObserver<RouterIpNexthopInfoColl::routerIpNexthopAttribute, VoxRouterIpNexthop>
      voxRouterIpNexthopInfoColl_{*this, routerIpNexthop_};
  Vox::CollectionObserver<RouterIpAddrInfoColl::routerIpAddrAttribute, VoxRouterIpAddr>
      voxRouterIpAddrInfoColl_{*this, routerIpAddr_};
};

Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSmFactory(
    const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl,
    const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
    const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl);

}  // namespace Mpls
