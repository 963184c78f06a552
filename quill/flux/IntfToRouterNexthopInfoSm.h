#pragma once
// Stage 3, compiled: regroups each router's vias by outgoing interface.
//
// Rule: the output holds (interface I, router R, via V) exactly when V is in R's via set in the
// input and V's interface is I. An interface entry exists while it holds a router, and a
// router's entry under it while it holds a via. The key names the interface twice (alone and
// inside the via), as the generated design does.
#include "quill/flux/FluxKey.h"
#include "quill/flux/FluxPattern.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

namespace FluxCode::IntfToRouterNexthopInfoSm {
class InputSmScanState : public Vox::EntityBase<InputSmScanState> {
 public:
  VOX_VALUE_ATTRIBUTE(InputSmScanState, routerNexthopSm0, bool, false)
};
using OutputState = Quill::Flux::OutputState;
using Pipeline0KeyType =
    Quill::Flux::FluxKey<"Mpls::IntfToRouterNexthopInfoSm::Pipeline0KeyType",
                         Quill::Flux::FieldNames<"fibVia0", "routerNexthop1", "fibVia2">,
                         Vela::IntfId, RouterId, FibVia>;
// One per router entry (its `smKey`): its via set.
class ViaSm1 : public Quill::Flux::SetSm<RouterNexthopInfo::viaAttribute, RouterId> {
 public:
  using SetSm::SetSm;
  void handleVia(const FibVia& via) { handleKey(via); }
};
// The routers.
class RouterNexthopSm0
    : public Quill::Flux::CollSm<RouterNexthopInfoColl::routerNexthopAttribute, ViaSm1> {
 public:
  using CollSm::CollSm;
  void handleRouterNexthop(const RouterId& routerId) { handleKey(routerId); }
};
}  // namespace FluxCode::IntfToRouterNexthopInfoSm

class IntfToRouterNexthopInfoSm
    : public Quill::Flux::FluxPipeline<IntfToRouterNexthopInfoSm,
                                       FluxCode::IntfToRouterNexthopInfoSm::Pipeline0KeyType,
                                       FluxCode::IntfToRouterNexthopInfoSm::InputSmScanState,
                                       const RouterNexthopInfoColl, IntfRouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IntfToRouterNexthopInfoSm";
  static constexpr Quill::StaticName kTraceHandleName = "IntfToRouterNexthopInfoSm";
  using Pipeline0KeyType = FluxCode::IntfToRouterNexthopInfoSm::Pipeline0KeyType;
  using RouterNexthopSm0 = FluxCode::IntfToRouterNexthopInfoSm::RouterNexthopSm0;

  // (routerNexthopColl, intfRouterColl)
  using FluxPipeline::FluxPipeline;
  ~IntfToRouterNexthopInfoSm() override;
  static constexpr auto IntfToRouterNexthopInfoSmIs = &stageIs;

  const Vox::Ptr<RouterNexthopSm0>& routerNexthopSm0() const { return routerNexthopSm0_; }
  const Vox::Ptr<RouterNexthopSm0>& routerNexthopSm0Is(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopColl);
  void routerNexthopSm0Del() { inputSmDel("routerNexthopSm0", routerNexthopSm0_); }

  void eventToPipeline0(const RouterId& routerId, const FibVia& via, Quill::Flux::Presence present);

  void createInputStateMachines();
  bool outputEmpty() const { return intfRouterColl()->intfRouterNexthops() == 0; }
  template <class F>
  void forEachOutputElement(F f) const {
    for (const auto [intfId, intf] : intfRouterColl()->intfRouterNexthopColl()) {
      for (const auto [routerId, router] : intf.routerNexthopInfoColl()) {
        for (const FibVia& via : router.viaColl())
          f(Pipeline0KeyType(intfId, routerId, via));
      }
    }
  }
  void removeOutputElement(const Pipeline0KeyType& key);

 private:
  const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopColl() const { return collection<0>(); }
  const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterColl() const { return collection<1>(); }
  Vox::Ptr<RouterNexthopSm0> routerNexthopSm0_;
};

inline constexpr auto intfToRouterNexthopInfoSmFactory =
    IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs;

}  // namespace Mpls
