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
#include <tuple>

#include "quill/core/StageReactor.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"

namespace Mpls {

class RouterNexthopInfoSm : public Quill::StageReactor<RouterNexthopInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterNexthopInfoSm";

  RouterNexthopInfoSm(const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
                      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
                      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl);
  ~RouterNexthopInfoSm() override;

  static Vox::Ptr<RouterNexthopInfoSm> RouterNexthopInfoSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return create(ipAddrRouterIdInfoColl, ipNexthopInfoColl, routerNexthopInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(ipAddrRouterIdInfoColl_.ptr(), ipNexthopInfoColl_.ptr(),
                      routerNexthopInfoColl_.ptr());
  }

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
  void handleDelete();

  VoxIpAddrRouterId* ipAddrRouterIdIs(const Vox::Ptr<const IpAddrRouterIdInfo>& entity) {
    return ipAddrRouterId_.is(entity);
  }
  void ipAddrRouterIdDel(const Vela::IpGenAddr& ipAddr) { ipAddrRouterId_.del(ipAddr); }
  void ipAddrRouterIdDelAll() { ipAddrRouterId_.delAll(); }
  VoxIpNexthop* ipNexthopIs(const Vox::Ptr<const IpNexthopInfo>& entity) {
    return ipNexthop_.is(entity);
  }
  void ipNexthopDel(const Vela::IpGenAddr& ipAddr) { ipNexthop_.del(ipAddr); }
  void ipNexthopDelAll() { ipNexthop_.delAll(); }

 private:
  Vox::Ptr<const IpAddrRouterIdInfoColl> ipAddrRouterIdInfoColl_;
  Vox::Ptr<const IpNexthopInfoColl> ipNexthopInfoColl_;
  Vox::Ptr<RouterNexthopInfoColl> routerNexthopInfoColl_;
  Vox::PerKeyReactorColl<VoxIpAddrRouterId> ipAddrRouterId_{*this, "Mpls::RouterNexthopInfoSm",
                                                            "ipAddrRouterId"};
  Vox::PerKeyReactorColl<VoxIpNexthop> ipNexthop_{*this, "Mpls::RouterNexthopInfoSm", "ipNexthop"};
  Vox::CollectionObserver<IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute, VoxIpAddrRouterId>
      voxIpAddrRouterIdInfoColl_{*this, ipAddrRouterId_};
  Vox::CollectionObserver<IpNexthopInfoColl::ipNexthopAttribute, VoxIpNexthop>
      voxIpNexthopInfoColl_{*this, ipNexthop_};
};

// The reactor's factory: forwards to `RouterNexthopInfoSm::RouterNexthopInfoSmIs`.
inline Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSmFactory(
    const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
    const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
    const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
  return RouterNexthopInfoSm::RouterNexthopInfoSmIs(ipAddrRouterIdInfoColl, ipNexthopInfoColl,
                                                    routerNexthopInfoColl);
}

}  // namespace Mpls
