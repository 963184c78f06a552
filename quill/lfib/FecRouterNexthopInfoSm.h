#pragma once
// Stage 6: picks one via per FEC and router by consistent hashing.
//
// Inputs: the peer label binding tables (`LabelBindingTableColl`: which FECs each router has a
// binding for) and the filtered vias per router (`RouterNexthopInfoColl`); output
// `FecRouterNexthopInfoColl`: FEC -> router -> a `via` set of exactly one via. Each router's vias
// form one ring (`ConsistentHashInfo`, weight 1000 each), and every FEC the router has a binding
// for is mapped onto it. Invariant once initialized: (F, R) is in the output exactly when R's
// table binds F, R has vias and a ring; its via is then the ring's `getNode(F)`. When a via comes
// or goes, only the FECs whose ring answer changes move; the new via is set before the old one is
// removed, so a reader never sees the entry without a via, and an unchanged choice notifies
// nothing.
//
// Per-key reactors run their whole-entity handler once more as zombies when their entity is
// removed, withdrawing its contribution. Initialization rebuilds the rings and the output.
#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/Stage.h"
#include "quill/lfib/FecViaConsistentHashColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class FecRouterNexthopInfoSm
    : public Quill::Stage<FecRouterNexthopInfoSm, const LabelBindingTableColl,
                          const RouterNexthopInfoColl, FecRouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::FecRouterNexthopInfoSm";
  // Every via weighs the same on a router's ring.
  static constexpr uint64_t kViaWeight = 1000;
  // (labelBindingTableColl, routerNexthopInfoColl, fecRouterNexthopInfoColl)
  using Stage::Stage;
  ~FecRouterNexthopInfoSm() override { handleDelete(); }
  static constexpr auto FecRouterNexthopInfoSmIs = &stageIs;

  // A via of a router appeared or vanished: updates the router's ring and re-chooses every FEC
  // the router binds. Fatal "initialized()" while uninitialized.
  void handleRouterNexthop(const RouterId& routerId, const FibVia& via);
  // (Re)chooses the via of one FEC towards one router; the single writer of the output. Fatal
  // "initialized()" while uninitialized.
  void handleRouterFec(const RouterId& routerId, const FwdEqvClass& fec);
  // Every FEC `fecs` binds (re)chosen towards one router, reading the router once.
  void handleRouterFecInfo(const RouterId& routerId, const LabelBindingTable& fecs);

  // Per-key reactors. The bindings of one router's label binding table:
  using VoxRouterFec =
      Vox::KeyForwarder<FecRouterNexthopInfoSm, LabelBindingTable::bindingAttribute,
                        &FecRouterNexthopInfoSm::handleRouterFec, Vox::Removal::kZombie,
                        &FecRouterNexthopInfoSm::handleRouterFecInfo>;
  // The vias of one router:
  using VoxRouterNexthop =
      Vox::KeyForwarder<FecRouterNexthopInfoSm, RouterNexthopInfo::viaAttribute,
                        &FecRouterNexthopInfoSm::handleRouterNexthop>;
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

  // The rings, one per router with vias.
  const Vox::Ptr<FecViaConsistentHashColl>& fecViaConsistentHashColl() const {
    return fecViaConsistentHashColl_;
  }
  // Replaces the rings with a new, empty collection.
  void fecViaConsistentHashCollIs(const std::string& name) {
    fecViaConsistentHashColl_ = fecViaConsistentHashCollFactory(name);
  }

 private:
  // What choosing a via for one of a router's FECs reads of the router.
  struct RouterState {
    Vox::Ptr<const LabelBindingTable> table;
    Vox::Ptr<const RouterNexthopInfo> vias;
    Vox::Ptr<ConsistentHashInfo> ring;
  };
  RouterState routerState(const RouterId& routerId) const;
  // The body of `handleRouterFec`, given the router's state.
  void chooseVia(const RouterId& routerId, const FwdEqvClass& fec, const RouterState& router);

  const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl() const {
    return collection<0>();
  }
  const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl() const {
    return collection<1>();
  }
  const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl() const {
    return collection<2>();
  }
  Vox::Ptr<FecViaConsistentHashColl> fecViaConsistentHashColl_;
  QUILL_PER_KEY_REACTORS(routerFec, VoxRouterFec, VoxRouterFecLabelColl,
                         LabelBindingTableColl::bindingTableAttribute)
  QUILL_PER_KEY_REACTORS(routerNexthop, VoxRouterNexthop, VoxRouterNexthopInfoColl,
                         RouterNexthopInfoColl::routerNexthopAttribute)
};

inline constexpr auto fecRouterNexthopInfoSmFactory =
    FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs;

}  // namespace Mpls
