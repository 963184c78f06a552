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
  class VoxRouterIpNexthop;

  // Follows the vias of one hop address of one router.
  class VoxIpNexthopInfo
      : public Vox::MemberReactor<VoxIpNexthopInfo, VoxRouterIpNexthop, IpNexthopInfo> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    using MemberReactor::MemberReactor;
    void handleIpNexthopInfo();
    void vox_handleIpNexthopInfo_via(const FibVia& via);
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;
    static constexpr auto kWholeMemberHandler = &VoxIpNexthopInfo::handleIpNexthopInfo;
  };

  // Follows one router's hop addresses, keeping one reactor per hop address.
  class VoxRouterIpNexthop : public Vox::MemberReactor<VoxRouterIpNexthop, RouterFilteredNexthopSm,
                                                       RouterIpNexthopInfo> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    VoxRouterIpNexthop(const Vox::Ptr<const RouterIpNexthopInfo>& router,
                       RouterFilteredNexthopSm* owner);
    void handleRouterIpNexthopInfo();
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;
    static constexpr auto kWholeMemberHandler = &VoxRouterIpNexthop::handleRouterIpNexthopInfo;

    Vox::Ptr<VoxIpNexthopInfo> ipNexthopInfoIs(const Vox::Ptr<const IpNexthopInfo>& entity) {
      return newIpNexthopInfo(entity);
    }
    void ipNexthopInfoDel(const Vela::IpGenAddr& hop) { ipNexthopInfo_.del(hop); }
    void ipNexthopInfoDelAll() { ipNexthopInfo_.delAll(); }

   private:
    Vox::Ptr<VoxIpNexthopInfo> newIpNexthopInfo(const Vox::Ptr<const IpNexthopInfo>& entity) {
      return ipNexthopInfo_.is(entity);
    }
    Vox::PerKeyReactorColl<VoxIpNexthopInfo> ipNexthopInfo_{
        *this, "Mpls::RouterFilteredNexthopSm::VoxRouterIpNexthop", "ipNexthopInfo"};
  };

  // Follows one router's interface addresses.
  class VoxRouterIpAddr
      : public Vox::MemberReactor<VoxRouterIpAddr, RouterFilteredNexthopSm, RouterIpAddrInfo> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    using MemberReactor::MemberReactor;
    void handleRouterIpAddrInfo();
    void vox_handleRouterIpAddr_ipAddr(const Vela::IpGenAddr& ipAddr);
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;
    static constexpr auto kWholeMemberHandler = &VoxRouterIpAddr::handleRouterIpAddrInfo;
  };

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
  void handleInitialized();
  void handleDelete();

  Vox::Ptr<VoxRouterIpNexthop> routerIpNexthopIs(
      const Vox::Ptr<const RouterIpNexthopInfo>& entity) {
    return routerIpNexthop_.is(entity);
  }
  void routerIpNexthopDel(const RouterId& routerId) { routerIpNexthop_.del(routerId); }
  void routerIpNexthopDelAll() { routerIpNexthop_.delAll(); }
  Vox::Ptr<VoxRouterIpAddr> routerIpAddrIs(const Vox::Ptr<const RouterIpAddrInfo>& entity) {
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
