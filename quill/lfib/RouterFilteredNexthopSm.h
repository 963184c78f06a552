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
#include "quill/core/Stage.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class RouterFilteredNexthopSm
    : public Quill::Stage<RouterFilteredNexthopSm, const RouterIpNexthopInfoColl,
                          const RouterIpAddrInfoColl, RouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterFilteredNexthopSm";
  // (routerIpNexthopInfoColl, routerIpAddrInfoColl, routerNexthopInfoColl)
  using Stage::Stage;
  ~RouterFilteredNexthopSm() override { handleDelete(); }
  static constexpr auto RouterFilteredNexthopSmIs = &stageIs;

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
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl() const {
    return collection<1>();
  }
  const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl() const { return collection<2>(); }
  QUILL_PER_KEY_REACTORS(routerIpNexthop, VoxRouterIpNexthop, VoxRouterIpNexthopInfoColl,
                         RouterIpNexthopInfoColl::routerIpNexthopAttribute)
  QUILL_PER_KEY_REACTORS(routerIpAddr, VoxRouterIpAddr, VoxRouterIpAddrInfoColl,
                         RouterIpAddrInfoColl::routerIpAddrAttribute)
};

inline constexpr auto routerFilteredNexthopSmFactory =
    RouterFilteredNexthopSm::RouterFilteredNexthopSmIs;

}  // namespace Mpls
