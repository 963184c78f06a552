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
#include "quill/core/Stage.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class IntfRouterNexthopInfoSm
    : public Quill::Stage<IntfRouterNexthopInfoSm, const RouterNexthopInfoColl,
                          IntfRouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IntfRouterNexthopInfoSm";
  // (routerNexthopInfoColl, intfRouterNexthopInfoColl)
  using Stage::Stage;
  ~IntfRouterNexthopInfoSm() override { handleDelete(); }
  static constexpr auto IntfRouterNexthopInfoSmIs = &stageIs;

  // Re-derives one (router, via) pair. Fatal "initialized()" while uninitialized.
  void handleRouterNexthop(const RouterId& routerId, const FibVia& via);

  // The per-key reactor following the vias of one router.
  using VoxRouterNexthop =
      Vox::KeyForwarder<IntfRouterNexthopInfoSm, RouterNexthopInfo::viaAttribute,
                        &IntfRouterNexthopInfoSm::handleRouterNexthop, Vox::Removal::kDrop>;
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl() const {
    return collection<1>();
  }
  QUILL_PER_KEY_REACTORS(routerNexthop, VoxRouterNexthop, VoxRouterNexthopInfoColl,
                         RouterNexthopInfoColl::routerNexthopAttribute)
};

inline constexpr auto intfRouterNexthopInfoSmFactory =
    IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs;

}  // namespace Mpls
