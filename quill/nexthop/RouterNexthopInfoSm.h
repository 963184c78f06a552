#pragma once
// Stage 2, hand-written: joins routers per address with vias per address into vias per router.
//
// Inputs `IpAddrRouterIdInfoColl` (address -> routers) and `IpNexthopInfoColl` (address -> vias);
// output `RouterNexthopInfoColl`: for each router, the vias through which any of its addresses
// is reached (`via`) and, per via, the router's addresses that resolve through it
// (`nexthopIpInfo[via].destIp`, the via's justification set). A via stays with a router while
// at least one address justifies it. Invariant of every output entry, checked after each change:
// the `via` set is exactly the key set of `nexthopIpInfo` (fatal
// "routerNexthopInfo->nexthopIpInfos() == routerNexthopInfo->vias()" otherwise).
//
// Both change handlers walk the current members of the other input, so a removal is propagated
// only while the other side still lists its partner. An input entity removed as a whole before
// its members leaves its triples in the output until the next initialization, which rebuilds the
// output from nothing.
#include "quill/core/Stage.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class RouterNexthopInfoSm : public Quill::Stage<RouterNexthopInfoSm, const IpAddrRouterIdInfoColl,
                                                const IpNexthopInfoColl, RouterNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterNexthopInfoSm";
  // (ipAddrRouterIdInfoColl, ipNexthopInfoColl, routerNexthopInfoColl)
  using Stage::Stage;
  ~RouterNexthopInfoSm() override { handleDelete(); }
  static constexpr auto RouterNexthopInfoSmIs = &stageIs;

  // Re-derives one (router, via, address) triple; the single writer of the output.
  void processRouterNexthopIp(const RouterId& routerId, const FibVia& via,
                              const Vela::IpGenAddr& ipAddr);
  // A router was added to or removed from an address. Fatal "initialized()" while uninitialized.
  void handleIpAddrRouterId(const Vela::IpGenAddr& ipAddr, const RouterId& routerId);
  // A via was added to or removed from an address. Fatal "initialized()" while uninitialized.
  void handleIpAddrVia(const Vela::IpGenAddr& ipAddr, const FibVia& via);

  // Per-key reactors. The routers of one address:
  using VoxIpAddrRouterId =
      Vox::KeyForwarder<RouterNexthopInfoSm, IpAddrRouterIdInfo::routerIdAttribute,
                        &RouterNexthopInfoSm::handleIpAddrRouterId, Vox::Removal::kDrop>;
  // The vias of one address:
  using VoxIpNexthop =
      Vox::KeyForwarder<RouterNexthopInfoSm, IpNexthopInfo::viaAttribute,
                        &RouterNexthopInfoSm::handleIpAddrVia, Vox::Removal::kDrop>;
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl() const { return collection<1>(); }
  const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl() const { return collection<2>(); }
  QUILL_PER_KEY_REACTORS(ipAddrRouterId, VoxIpAddrRouterId, VoxIpAddrRouterIdInfoColl,
                         IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute)
  QUILL_PER_KEY_REACTORS(ipNexthop, VoxIpNexthop, VoxIpNexthopInfoColl,
                         IpNexthopInfoColl::ipNexthopAttribute)
};

inline constexpr auto routerNexthopInfoSmFactory = RouterNexthopInfoSm::RouterNexthopInfoSmIs;

}  // namespace Mpls
