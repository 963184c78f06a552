#pragma once
// Stage 1, compiled: inverts the addresses each LDP peer advertised into the routers that
// advertised each address.
//
// Rule: the output holds (address A, router R) exactly when R's input entry exists and its
// address set holds A.
//
// Unlike the hand-written inversion, a router whose whole entry leaves the input withdraws all
// its pairs at once (its child state machine's `doDeleteAll`), and stale output left from an
// earlier life is reconciled once, at readiness, by the keys the scans touched.
#include "quill/flux/FluxKey.h"
#include "quill/flux/FluxPattern.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"

namespace Mpls {

namespace FluxCode::IpAddrToRouterIdInfoSm {
class InputSmScanState : public Vox::EntityBase<InputSmScanState> {
 public:
  VOX_VALUE_ATTRIBUTE(InputSmScanState, routerIpAddrSm0, bool, false)
};
using OutputState = Quill::Flux::OutputState;
using Pipeline0KeyType =
    Quill::Flux::FluxKey<"Mpls::IpAddrToRouterIdInfoSm::Pipeline0KeyType",
                         Quill::Flux::FieldNames<"a0", "r1">, Vela::IpGenAddr, RouterId>;
// One per router entry (its `smKey`): its address set.
class IpAddrSm1 : public Quill::Flux::SetSm<RouterIpAddrInfo::ipAddrAttribute, RouterId> {
 public:
  using SetSm::SetSm;
  void handleIpAddr(const Vela::IpGenAddr& ipAddr) { handleKey(ipAddr); }
};
// The routers.
class RouterIpAddrSm0
    : public Quill::Flux::CollSm<RouterIpAddrInfoColl::routerIpAddrAttribute, IpAddrSm1> {
 public:
  using CollSm::CollSm;
  void handleRouterIpAddr(const RouterId& routerId) { handleKey(routerId); }
};
}  // namespace FluxCode::IpAddrToRouterIdInfoSm

class IpAddrToRouterIdInfoSm
    : public Quill::Flux::FluxPipeline<IpAddrToRouterIdInfoSm,
                                       FluxCode::IpAddrToRouterIdInfoSm::Pipeline0KeyType,
                                       FluxCode::IpAddrToRouterIdInfoSm::InputSmScanState,
                                       const RouterIpAddrInfoColl, IpAddrRouterIdInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IpAddrToRouterIdInfoSm";
  static constexpr Quill::StaticName kTraceHandleName = "IpAddrToRouterIdInfoSm";
  using Pipeline0KeyType = FluxCode::IpAddrToRouterIdInfoSm::Pipeline0KeyType;
  using RouterIpAddrSm0 = FluxCode::IpAddrToRouterIdInfoSm::RouterIpAddrSm0;

  // (routers, addrs)
  using FluxPipeline::FluxPipeline;
  ~IpAddrToRouterIdInfoSm() override;
  static constexpr auto IpAddrToRouterIdInfoSmIs = &stageIs;

  // The router state machine: created over `routers` at initialization (it scans them at once),
  // let go at destruction without a word.
  const Vox::Ptr<RouterIpAddrSm0>& routerIpAddrSm0() const { return routerIpAddrSm0_; }
  const Vox::Ptr<RouterIpAddrSm0>& routerIpAddrSm0Is(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routers);
  void routerIpAddrSm0Del() { inputSmDel("routerIpAddrSm0", routerIpAddrSm0_); }

  // One (router, address) element appeared or went.
  void eventToPipeline0(const RouterId& routerId, const Vela::IpGenAddr& ipAddr,
                        Quill::Flux::Presence present);

  // The pipeline's hooks (see FluxPipeline).
  void createInputStateMachines();
  bool outputEmpty() const { return addrs()->ipAddrRouterIds() == 0; }
  template <class F>
  void forEachOutputElement(F f) const {
    for (const auto [ipAddr, entry] : addrs()->ipAddrRouterIdColl()) {
      for (const RouterId& routerId : entry.routerIdColl())
        f(Pipeline0KeyType(ipAddr, routerId));
    }
  }
  void removeOutputElement(const Pipeline0KeyType& key);

 private:
  const Vox::Ptr<const RouterIpAddrInfoColl>& routers() const { return collection<0>(); }
  const Vox::Ptr<IpAddrRouterIdInfoColl>& addrs() const { return collection<1>(); }
  Vox::Ptr<RouterIpAddrSm0> routerIpAddrSm0_;
};

inline constexpr auto ipAddrToRouterIdInfoSmFactory =
    IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs;

}  // namespace Mpls
