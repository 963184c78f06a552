#pragma once
// Stage 2, compiled: joins routers per address with vias per address into vias per router.
//
// Rule: the output holds (router R, via V) exactly when some address A has R in its router set
// (first input) and V in its via set (second input). Several addresses of a router may resolve
// to the same via, so each (R, V) is reference-counted by the set of addresses that support it
// (`groupByAttr0`): V stays with R while the set is non-empty. The join partner is always read
// from the other input as it stands, and because the group is a set, a triple delivered from both
// sides (as the two initial scans do) counts once.
//
// Unlike the hand-written stage, this one writes only the `via` set of each router entry, not its
// `nexthopIpInfo` justifications (which no later stage reads).
#include "quill/flux/FluxKey.h"
#include "quill/flux/FluxPattern.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

namespace FluxCode::RouterIdToNexthopInfoSm {
class InputSmScanState : public Vox::EntityBase<InputSmScanState> {
 public:
  VOX_VALUE_ATTRIBUTE(InputSmScanState, ipAddrRouterIdSm0, bool, false)
  VOX_VALUE_ATTRIBUTE(InputSmScanState, ipNexthopSm2, bool, false)
};
using OutputState = Quill::Flux::OutputState;
using Pipeline0KeyType =
    Quill::Flux::FluxKey<"Mpls::RouterIdToNexthopInfoSm::Pipeline0KeyType",
                         Quill::Flux::FieldNames<"routerId0", "fibVia1">, RouterId, FibVia>;
using KeyType0 = Quill::Flux::FluxKey<"Mpls::RouterIdToNexthopInfoSm::KeyType0",
                                      Quill::Flux::FieldNames<"attr0", "attr1">, RouterId, FibVia>;
// One per address entry (its `smKey`): its router set.
class RouterIdSm1
    : public Quill::Flux::SetSm<IpAddrRouterIdInfo::routerIdAttribute, Vela::IpGenAddr> {
 public:
  using SetSm::SetSm;
  void handleRouterId(const RouterId& routerId) { handleKey(routerId); }
};
// The addresses with routers.
class IpAddrRouterIdSm0
    : public Quill::Flux::CollSm<IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute, RouterIdSm1> {
 public:
  using CollSm::CollSm;
  void handleIpAddrRouterId(const Vela::IpGenAddr& ipAddr) { handleKey(ipAddr); }
};
// One per address entry (its `smKey`): its via set.
class ViaSm3 : public Quill::Flux::SetSm<IpNexthopInfo::viaAttribute, Vela::IpGenAddr> {
 public:
  using SetSm::SetSm;
  void handleVia(const FibVia& via) { handleKey(via); }
};
// The addresses with vias.
class IpNexthopSm2 : public Quill::Flux::CollSm<IpNexthopInfoColl::ipNexthopAttribute, ViaSm3> {
 public:
  using CollSm::CollSm;
  void handleIpNexthop(const Vela::IpGenAddr& ipAddr) { handleKey(ipAddr); }
};
}  // namespace FluxCode::RouterIdToNexthopInfoSm

class RouterIdToNexthopInfoSm
    : public Quill::Flux::FluxPipeline<
          RouterIdToNexthopInfoSm, FluxCode::RouterIdToNexthopInfoSm::Pipeline0KeyType,
          FluxCode::RouterIdToNexthopInfoSm::InputSmScanState, const IpAddrRouterIdInfoColl,
          const IpNexthopInfoColl, RouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterIdToNexthopInfoSm";
  static constexpr Quill::StaticName kTraceHandleName = "RouterIdToNexthopInfoSm";
  using Pipeline0KeyType = FluxCode::RouterIdToNexthopInfoSm::Pipeline0KeyType;
  using KeyType0 = FluxCode::RouterIdToNexthopInfoSm::KeyType0;
  using IpAddrRouterIdSm0 = FluxCode::RouterIdToNexthopInfoSm::IpAddrRouterIdSm0;
  using IpNexthopSm2 = FluxCode::RouterIdToNexthopInfoSm::IpNexthopSm2;

  // The addresses that currently support one (router, via) pair.
  class GroupByCollectionValueType0
      : public Vox::KeyedEntity<GroupByCollectionValueType0, KeyType0> {
   public:
    explicit GroupByCollectionValueType0(const KeyType0& key) : KeyedEntity(key) {}
    VOX_SET_ATTRIBUTE(GroupByCollectionValueType0, coll, Vela::IpGenAddr)
  };

  // (ipRouter, ipNexthop, routerNexthop)
  using FluxPipeline::FluxPipeline;
  ~RouterIdToNexthopInfoSm() override;
  static constexpr auto RouterIdToNexthopInfoSmIs = &stageIs;

  const Vox::Ptr<IpAddrRouterIdSm0>& ipAddrRouterIdSm0() const { return ipAddrRouterIdSm0_; }
  const Vox::Ptr<IpAddrRouterIdSm0>& ipAddrRouterIdSm0Is(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipRouter);
  void ipAddrRouterIdSm0Del() { inputSmDel("ipAddrRouterIdSm0", ipAddrRouterIdSm0_); }
  const Vox::Ptr<IpNexthopSm2>& ipNexthopSm2() const { return ipNexthopSm2_; }
  const Vox::Ptr<IpNexthopSm2>& ipNexthopSm2Is(const Vox::Ptr<const IpNexthopInfoColl>& ipNexthop);
  void ipNexthopSm2Del() { inputSmDel("ipNexthopSm2", ipNexthopSm2_); }

  // The group of (router, via), created empty if absent.
  Vox::Ptr<GroupByCollectionValueType0> groupByAttr0Is(const KeyType0& key);
  Vox::Ptr<GroupByCollectionValueType0> groupByAttr0(const KeyType0& key) const {
    const auto* group = groupByAttr0_.find(key);
    return group ? *group : nullptr;
  }
  void groupByAttr0Del(const KeyType0& key) { groupByAttr0_.erase(key); }
  void groupByAttr0DelAll();
  std::size_t groupByAttr0s() const { return groupByAttr0_.size(); }

  // A router of an address came or went: joined with the address's vias.
  void eventToIpRouterStream(const Vela::IpGenAddr& address, const RouterId& routerId,
                             Quill::Flux::Presence present);
  // A via of an address came or went: joined with the address's routers.
  void eventToIpNextHopStream(const Vela::IpGenAddr& address, const FibVia& via,
                              Quill::Flux::Presence present);
  void eventToPipeline0(const Vela::IpGenAddr& address, const RouterId& routerId, const FibVia& via,
                        Quill::Flux::Presence present);

  void createInputStateMachines();
  bool outputEmpty() const { return routerNexthop()->routerNexthops() == 0; }
  template <class F>
  void forEachOutputElement(F f) const {
    for (const auto [routerId, router] : routerNexthop()->routerNexthopColl()) {
      for (const FibVia& via : router.viaColl())
        f(Pipeline0KeyType(routerId, via));
    }
  }
  void removeOutputElement(const Pipeline0KeyType& key);

 private:
  const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipRouter() const { return collection<0>(); }
  const Vox::Ptr<const IpNexthopInfoColl>& ipNexthop() const { return collection<1>(); }
  const Vox::Ptr<RouterNexthopInfoColl>& routerNexthop() const { return collection<2>(); }
  Vox::KeyedTable<KeyType0, Vox::Ptr<GroupByCollectionValueType0>, Vox::MemoryKind::kFlux>
      groupByAttr0_;
  Vox::Ptr<IpAddrRouterIdSm0> ipAddrRouterIdSm0_;
  Vox::Ptr<IpNexthopSm2> ipNexthopSm2_;
};

inline constexpr auto routerIdToNexthopInfoSmFactory =
    RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs;

}  // namespace Mpls
