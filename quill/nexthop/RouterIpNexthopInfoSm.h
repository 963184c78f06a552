#pragma once
// Stage 4, hand-written: keeps only the router vias that leave through an MPLS-enabled interface
// and regroups them per router and next-hop address.
//
// Inputs `IntfRouterNexthopInfoColl` (interface -> router -> vias) and `MplsIntfColl`; output
// `RouterIpNexthopInfoColl` (router -> hop address -> vias). Invariant once initialized: via V of
// router R is in the output (under R and V's hop address) exactly when the input lists V for R
// under V's interface and that interface is an MPLS interface. An interface joining MPLS brings
// in all its vias; one leaving withdraws them. Initialization rebuilds the output from nothing.
//
// Per-key reactors: one per interface entity of the input, each keeping one per router entity
// under its interface.
#include "quill/core/Stage.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"

namespace Mpls {

class RouterIpNexthopInfoSm
    : public Quill::Stage<RouterIpNexthopInfoSm, const IntfRouterNexthopInfoColl,
                          const MplsIntfColl, RouterIpNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterIpNexthopInfoSm";
  // (intfRouterNexthopInfoColl, mplsIntfColl, routerIpNexthopInfoColl)
  using Stage::Stage;
  ~RouterIpNexthopInfoSm() override { handleDelete(); }
  static constexpr auto RouterIpNexthopInfoSmIs = &stageIs;

  // Re-derives one (interface, router, via) triple; the single writer of the output. Fatal when
  // the via does not leave through `intfId`.
  void processIntfRouterNexthop(Vela::IntfId intfId, const RouterId& routerId, const FibVia& via);
  // A via changed under an interface and router. Fatal "initialized()" while uninitialized.
  void handleIntfRouterNexthop(Vela::IntfId intfId, const RouterId& routerId, const FibVia& via);

  // Per-key reactors: the routers of one interface, and through it (`VoxRouterNexthopInfo`) the
  // vias of each router.
  struct VoxIntfRouterNexthop
      : Vox::MemberCollForwarder<
            VoxIntfRouterNexthop, RouterIpNexthopInfoSm,
            IntfRouterNexthopInfo::routerNexthopInfoAttribute, RouterNexthopInfo::viaAttribute,
            &RouterIpNexthopInfoSm::handleIntfRouterNexthop, Vox::Removal::kDrop> {
    static constexpr const char* kClassName = "Mpls::RouterIpNexthopInfoSm::VoxIntfRouterNexthop";
    using MemberCollForwarder::MemberCollForwarder;
    // Re-derives what one of its members contributes, as the member joining does.
    void routerNexthopInfoIs(const Vox::Ptr<const RouterNexthopInfo>& entity) { nestedIs(entity); }
  };
  using VoxRouterNexthopInfo = VoxIntfRouterNexthop::Nested;
  // An interface joined or left MPLS. Fatal "initialized()" while uninitialized.
  void handleIntfId(Vela::IntfId intfId);
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<const MplsIntfColl>& mplsIntfColl() const { return collection<1>(); }
  const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl() const {
    return collection<2>();
  }
  QUILL_PER_KEY_REACTORS(intfRouterNexthop, VoxIntfRouterNexthop, VoxIntfRouterNexthopInfoColl,
                         IntfRouterNexthopInfoColl::intfRouterNexthopAttribute)
  Vox::KeyObserver<MplsIntfColl::intfIdAttribute, &RouterIpNexthopInfoSm::handleIntfId>
      mplsIntfObserver_{*this, mplsIntfColl()};
};

inline constexpr auto routerIpNexthopInfoSmFactory = RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs;

}  // namespace Mpls
