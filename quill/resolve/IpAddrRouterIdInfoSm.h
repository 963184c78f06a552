#pragma once
// Stage 1, hand-written: inverts the addresses each LDP peer advertised into the routers that
// advertised each address.
//
// Input `RouterIpAddrInfoColl` (router -> addresses); output `IpAddrRouterIdInfoColl`
// (address -> routers). Invariant once initialized: an address is in the output exactly when at
// least one router's address set holds it, and its router set is exactly those routers. The
// output's router set is the address's only reference count; the reactor keeps none.
//
// `handleRouterIpAddr(router, address)` is the single writer: it re-reads the input for that one
// pair and makes the output agree, so it serves initial scan, changes and the sweep of stale
// output alike. While uninitialized it ignores every call.
#include <tuple>

#include "quill/core/Stage.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"

namespace Mpls {

class IpAddrRouterIdInfoSm : public Quill::Stage<IpAddrRouterIdInfoSm, const RouterIpAddrInfoColl,
                                                 IpAddrRouterIdInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IpAddrRouterIdInfoSm";
  // (routerIpAddrInfoColl, ipAddrRouterIdInfoColl)
  using Stage::Stage;
  ~IpAddrRouterIdInfoSm() override { handleDelete(); }
  static constexpr auto IpAddrRouterIdInfoSmIs = &stageIs;

  const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl() const { return collection<1>(); }

  void handleRouterIpAddr(const RouterId& routerId, const Vela::IpGenAddr& ipAddr);

  // The per-key reactor following one router's address set. A router removed as a whole while
  // its address set is still non-empty leaves its pairs in the output until the next
  // initialization sweeps them: the producer of the input is expected to withdraw addresses one
  // by one first.
  using VoxRouterIpAddr =
      Vox::KeyForwarder<IpAddrRouterIdInfoSm, RouterIpAddrInfo::ipAddrAttribute,
                        &IpAddrRouterIdInfoSm::handleRouterIpAddr, Vox::Removal::kDrop>;
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  QUILL_PER_KEY_REACTORS(routerIpAddr, VoxRouterIpAddr, VoxRouterIpAddrInfoColl,
                         RouterIpAddrInfoColl::routerIpAddrAttribute)
};

inline constexpr auto ipAddrRouterIdInfoSmFactory = IpAddrRouterIdInfoSm::IpAddrRouterIdInfoSmIs;

}  // namespace Mpls
