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
#include <tuple>

#include "quill/core/StageReactor.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"

namespace Mpls {

class RouterIpNexthopInfoSm : public Quill::StageReactor<RouterIpNexthopInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterIpNexthopInfoSm";
  RouterIpNexthopInfoSm(const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
                        const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
                        const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl);
  ~RouterIpNexthopInfoSm() override;

  static Vox::Ptr<RouterIpNexthopInfoSm> RouterIpNexthopInfoSmIs(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
    return create(intfRouterNexthopInfoColl, mplsIntfColl, routerIpNexthopInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(intfRouterNexthopInfoColl_.ptr(), mplsIntfColl_.ptr(),
                      routerIpNexthopInfoColl_.ptr());
  }

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
  void handleDelete();

  VoxIntfRouterNexthop* intfRouterNexthopIs(const Vox::Ptr<const IntfRouterNexthopInfo>& entity) {
    return intfRouterNexthop_.is(entity);
  }
  void intfRouterNexthopDel(Vela::IntfId intfId) { intfRouterNexthop_.del(intfId); }
  void intfRouterNexthopDelAll() { intfRouterNexthop_.delAll(); }

 private:
  Vox::Ptr<const IntfRouterNexthopInfoColl> intfRouterNexthopInfoColl_;
  Vox::Ptr<const MplsIntfColl> mplsIntfColl_;
  Vox::Ptr<RouterIpNexthopInfoColl> routerIpNexthopInfoColl_;
  Vox::PerKeyReactorColl<VoxIntfRouterNexthop> intfRouterNexthop_{
      *this, "Mpls::RouterIpNexthopInfoSm", "intfRouterNexthop"};
  Vox::CollectionObserver<IntfRouterNexthopInfoColl::intfRouterNexthopAttribute,
                          VoxIntfRouterNexthop>
      voxIntfRouterNexthopInfoColl_{*this, intfRouterNexthop_};
  Vox::KeyObserver<MplsIntfColl::intfIdAttribute, &RouterIpNexthopInfoSm::handleIntfId>
      voxMplsIntfColl_{*this};
};

// The reactor's factory: forwards to `RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs`.
inline Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSmFactory(
    const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
    const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
    const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
  return RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(intfRouterNexthopInfoColl, mplsIntfColl,
                                                        routerIpNexthopInfoColl);
}

}  // namespace Mpls
