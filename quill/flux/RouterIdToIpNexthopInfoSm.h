#pragma once
// Stage 4, compiled: keeps the router vias on MPLS interfaces, per router and next-hop address.
//
// Rule: the output holds (router R, address A, via V) exactly when some interface I is an MPLS
// interface, V is in R's via set under I in the first input, and A is V's address. No group-by
// and no reference count: each (router, via) reaches the output through V's own interface only,
// since interface grouping lists a via only under its interface.
#include "quill/flux/FluxKey.h"
#include "quill/flux/FluxPattern.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"

namespace Mpls {

namespace FluxCode::RouterIdToIpNexthopInfoSm {
class InputSmScanState : public Vox::EntityBase<InputSmScanState> {
 public:
  VOX_VALUE_ATTRIBUTE(InputSmScanState, intfRouterNexthopSm0, bool, false)
  VOX_VALUE_ATTRIBUTE(InputSmScanState, intfIdSm3, bool, false)
};
using OutputState = Quill::Flux::OutputState;
using Pipeline0KeyType = Quill::Flux::FluxKey<"Mpls::RouterIdToIpNexthopInfoSm::Pipeline0KeyType",
                                              Quill::Flux::FieldNames<"rid0", "via1", "via2">,
                                              RouterId, Vela::IpGenAddr, FibVia>;
// One per router under an interface (its `smKey`): the router's via set.
class ViaSm2 : public Quill::Flux::SetSm<RouterNexthopInfo::viaAttribute, RouterId> {
 public:
  using SetSm::SetSm;
  void handleVia(const FibVia& via) { handleKey(via); }
};
// One per interface entry (its `smKey`): the routers under it.
class RouterNexthopInfoSm1
    : public Quill::Flux::CollSm<IntfRouterNexthopInfo::routerNexthopInfoAttribute, ViaSm2,
                                 Vela::IntfId> {
 public:
  using CollSm::CollSm;
  void handleRouterNexthopInfo(const RouterId& routerId) { handleKey(routerId); }
};
// The interfaces with router vias.
class IntfRouterNexthopSm0
    : public Quill::Flux::CollSm<IntfRouterNexthopInfoColl::intfRouterNexthopAttribute,
                                 RouterNexthopInfoSm1> {
 public:
  using CollSm::CollSm;
  void handleIntfRouterNexthop(Vela::IntfId intfId) { handleKey(intfId); }
};
// The MPLS interfaces.
class IntfIdSm3 : public Quill::Flux::SetSm<MplsIntfColl::intfIdAttribute> {
 public:
  using SetSm::SetSm;
  void handleIntfId(Vela::IntfId intfId) { handleKey(intfId); }
};
}  // namespace FluxCode::RouterIdToIpNexthopInfoSm

class RouterIdToIpNexthopInfoSm
    : public Quill::Flux::FluxPipeline<
          RouterIdToIpNexthopInfoSm, FluxCode::RouterIdToIpNexthopInfoSm::Pipeline0KeyType,
          FluxCode::RouterIdToIpNexthopInfoSm::InputSmScanState, const IntfRouterNexthopInfoColl,
          const MplsIntfColl, RouterIpNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterIdToIpNexthopInfoSm";
  static constexpr Quill::StaticName kTraceHandleName = "RouterIdToIpNexthopInfoSm";
  using Pipeline0KeyType = FluxCode::RouterIdToIpNexthopInfoSm::Pipeline0KeyType;
  using IntfRouterNexthopSm0 = FluxCode::RouterIdToIpNexthopInfoSm::IntfRouterNexthopSm0;
  using IntfIdSm3 = FluxCode::RouterIdToIpNexthopInfoSm::IntfIdSm3;

  // (intfRouterColl, mplsIntfColl, routerIpNexthop)
  using FluxPipeline::FluxPipeline;
  ~RouterIdToIpNexthopInfoSm() override;
  static constexpr auto RouterIdToIpNexthopInfoSmIs = &stageIs;

  const Vox::Ptr<IntfRouterNexthopSm0>& intfRouterNexthopSm0() const {
    return intfRouterNexthopSm0_;
  }
  const Vox::Ptr<IntfRouterNexthopSm0>& intfRouterNexthopSm0Is(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterColl);
  void intfRouterNexthopSm0Del() { inputSmDel("intfRouterNexthopSm0", intfRouterNexthopSm0_); }
  const Vox::Ptr<IntfIdSm3>& intfIdSm3() const { return intfIdSm3_; }
  const Vox::Ptr<IntfIdSm3>& intfIdSm3Is(const Vox::Ptr<const MplsIntfColl>& mplsIntfColl);
  void intfIdSm3Del() { inputSmDel("intfIdSm3", intfIdSm3_); }

  // A via changed under an interface and router: passes only on MPLS interfaces.
  void eventToIntfRouterStream(Vela::IntfId intfId, const RouterId& routerId, const FibVia& via,
                               Quill::Flux::Presence present);
  // An interface joined or left MPLS: brings in, or withdraws, every via under it.
  void eventToIntfStream(Vela::IntfId intfId, Quill::Flux::Presence present);
  void eventToPipeline0(const RouterId& routerId, const FibVia& via, Quill::Flux::Presence present);

  void createInputStateMachines();
  bool outputEmpty() const { return routerIpNexthop()->routerIpNexthops() == 0; }
  template <class F>
  void forEachOutputElement(F f) const {
    for (const auto [routerId, router] : routerIpNexthop()->routerIpNexthopColl()) {
      for (const auto [hop, vias] : router.ipNexthopInfoColl()) {
        for (const FibVia& via : vias.viaColl())
          f(Pipeline0KeyType(routerId, hop, via));
      }
    }
  }
  void removeOutputElement(const Pipeline0KeyType& key);

 private:
  const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterColl() const {
    return collection<0>();
  }
  const Vox::Ptr<const MplsIntfColl>& mplsIntfColl() const { return collection<1>(); }
  const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthop() const { return collection<2>(); }
  Vox::Ptr<IntfRouterNexthopSm0> intfRouterNexthopSm0_;
  Vox::Ptr<IntfIdSm3> intfIdSm3_;
};

inline constexpr auto routerIdToIpNexthopInfoSmFactory =
    RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs;

}  // namespace Mpls
