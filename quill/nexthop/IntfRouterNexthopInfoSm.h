#pragma once
// Stage 3, hand-written: regroups each router's vias by outgoing interface.
//
// Input `RouterNexthopInfoColl` (router -> vias); output `IntfRouterNexthopInfoColl`
// (interface -> router -> that router's vias on that interface). Invariant once initialized: via
// V of router R is listed under V's interface for R exactly when the input's entry of R holds V;
// empty router entries and empty interface entries are removed at once.
//
// A router removed from the input as a whole while it still lists vias leaves them in the output
// until the next initialization, which rebuilds the output from nothing: the producer of the
// input removes vias one by one first.
#include <tuple>

#include "quill/core/StageReactor.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class IntfRouterNexthopInfoSm : public Quill::StageReactor<IntfRouterNexthopInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IntfRouterNexthopInfoSm";

  IntfRouterNexthopInfoSm(const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
                          const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl);
  ~IntfRouterNexthopInfoSm() override;

  static Vox::Ptr<IntfRouterNexthopInfoSm> IntfRouterNexthopInfoSmIs(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
    return create(routerNexthopInfoColl, intfRouterNexthopInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(routerNexthopInfoColl_.ptr(), intfRouterNexthopInfoColl_.ptr());
  }

  // Re-derives one (router, via) pair. Fatal "initialized()" while uninitialized.
  void handleRouterNexthop(const RouterId& routerId, const FibVia& via);

  // The per-key reactor following the vias of one router.
  using VoxRouterNexthop =
      Vox::KeyForwarder<IntfRouterNexthopInfoSm, RouterNexthopInfo::viaAttribute,
                        &IntfRouterNexthopInfoSm::handleRouterNexthop, Vox::Removal::kDrop>;
  void handleInitialized();
  void handleDelete();

  VoxRouterNexthop* routerNexthopIs(const Vox::Ptr<const RouterNexthopInfo>& entity) {
    return routerNexthop_.is(entity);
  }
  void routerNexthopDel(const RouterId& routerId) { routerNexthop_.del(routerId); }
  void routerNexthopDelAll() { routerNexthop_.delAll(); }

 private:
  Vox::Ptr<const RouterNexthopInfoColl> routerNexthopInfoColl_;
  Vox::Ptr<IntfRouterNexthopInfoColl> intfRouterNexthopInfoColl_;
  Vox::PerKeyReactorColl<VoxRouterNexthop> routerNexthop_{*this, "Mpls::IntfRouterNexthopInfoSm",
                                                          "routerNexthop"};
  Vox::CollectionObserver<RouterNexthopInfoColl::routerNexthopAttribute, VoxRouterNexthop>
      voxRouterNexthopInfoColl_{*this, routerNexthop_};
};

// The reactor's factory: forwards to `IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs`.
inline Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSmFactory(
    const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
    const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
  return IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(routerNexthopInfoColl,
                                                            intfRouterNexthopInfoColl);
}

}  // namespace Mpls
