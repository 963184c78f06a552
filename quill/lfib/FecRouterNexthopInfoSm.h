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
#include <tuple>

#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/StageReactor.h"
#include "quill/lfib/FecViaConsistentHashColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class FecRouterNexthopInfoSm : public Quill::StageReactor<FecRouterNexthopInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::FecRouterNexthopInfoSm";
  // Every via weighs the same on a router's ring.
  static constexpr uint64_t kViaWeight = 1000;

  FecRouterNexthopInfoSm(const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
                         const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
                         const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl);
  ~FecRouterNexthopInfoSm() override;

  static Vox::Ptr<FecRouterNexthopInfoSm> FecRouterNexthopInfoSmIs(
      const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl) {
    return create(labelBindingTableColl, routerNexthopInfoColl, fecRouterNexthopInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(labelBindingTableColl_.ptr(), routerNexthopInfoColl_.ptr(),
                      fecRouterNexthopInfoColl_.ptr());
  }

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
  void handleDelete();

  // The rings, one per router with vias.
  const Vox::Ptr<FecViaConsistentHashColl>& fecViaConsistentHashColl() const {
    return fecViaConsistentHashColl_;
  }
  // Replaces the rings with a new, empty collection.
  void fecViaConsistentHashCollIs(const std::string& name) {
    fecViaConsistentHashColl_ = fecViaConsistentHashCollFactory(name);
  }

  VoxRouterFec* routerFecIs(const Vox::Ptr<const LabelBindingTable>& table) {
    return routerFec_.is(table);
  }
  void routerFecDel(const RouterId& routerId) { routerFec_.del(routerId); }
  void routerFecDelAll() { routerFec_.delAll(); }
  VoxRouterNexthop* routerNexthopIs(const Vox::Ptr<const RouterNexthopInfo>& entity) {
    return routerNexthop_.is(entity);
  }
  void routerNexthopDel(const RouterId& routerId) { routerNexthop_.del(routerId); }
  void routerNexthopDelAll() { routerNexthop_.delAll(); }

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

  Vox::Ptr<const LabelBindingTableColl> labelBindingTableColl_;
  Vox::Ptr<const RouterNexthopInfoColl> routerNexthopInfoColl_;
  Vox::Ptr<FecRouterNexthopInfoColl> fecRouterNexthopInfoColl_;
  Vox::Ptr<FecViaConsistentHashColl> fecViaConsistentHashColl_;
  Vox::PerKeyReactorColl<VoxRouterFec> routerFec_{*this, "Mpls::FecRouterNexthopInfoSm",
                                                  "routerFec"};
  Vox::PerKeyReactorColl<VoxRouterNexthop> routerNexthop_{*this, "Mpls::FecRouterNexthopInfoSm",
                                                          "routerNexthop"};
  Vox::CollectionObserver<LabelBindingTableColl::bindingTableAttribute, VoxRouterFec>
      voxRouterFecLabelColl_{*this, routerFec_};
  Vox::CollectionObserver<RouterNexthopInfoColl::routerNexthopAttribute, VoxRouterNexthop>
      voxRouterNexthopInfoColl_{*this, routerNexthop_};
};

// The reactor's factory: forwards to `FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs`.
inline Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSmFactory(
    const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
    const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
    const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl) {
  return FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs(
      labelBindingTableColl, routerNexthopInfoColl, fecRouterNexthopInfoColl);
}

}  // namespace Mpls
