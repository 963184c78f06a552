#pragma once
// Requests next-hop resolution for every address some LDP peer advertised.
//
// Input `IpAddrRouterIdInfoColl` (its keys are the addresses to resolve); output the resolution
// request table `Routing::NexthopVrfConfig`. Invariant once initialized: the set of requests is
// the set of addresses in the input. Each request carries the address alone, every option at its
// default. Which routers advertised an address does not matter here.
//
// Unlike the inversion, a change that reaches this reactor while it is uninitialized is a broken
// invariant (fatal "initialized()"): its owner must turn notifications off, or destroy it, before
// calling `handleDelete`.
#include <tuple>

#include "platform/routing/NexthopVrfConfig.h"
#include "quill/core/StageReactor.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"

namespace Mpls {

class IraNexthopConfigSm : public Quill::StageReactor<IraNexthopConfigSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IraNexthopConfigSm";

  // `ipAddrRouterIdInfoColl` may be null: the reactor then only withdraws existing requests.
  IraNexthopConfigSm(const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
                     const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig);
  ~IraNexthopConfigSm() override;

  static Vox::Ptr<IraNexthopConfigSm> IraNexthopConfigSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig) {
    return create(ipAddrRouterIdInfoColl, nexthopConfig);
  }

  const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl() const {
    return ipAddrRouterIdInfoColl_;
  }
  const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig() const { return nexthopConfig_; }
  auto constructorArguments() const {
    return std::tuple(ipAddrRouterIdInfoColl_.ptr(), nexthopConfig_.ptr());
  }

  // Re-derives the request for one address. Fatal "initialized()" while uninitialized.
  void handleIpAddr(const Vela::IpGenAddr& ipAddr);
  void handleInitialized();
  void handleDelete();

 private:
  Vox::Ptr<const IpAddrRouterIdInfoColl> ipAddrRouterIdInfoColl_;
  Vox::Ptr<Routing::NexthopVrfConfig> nexthopConfig_;
  // Only additions and removals of whole address entries reach it; router changes within an
  // entry do not matter here.
  using VoxIpAddrRouterIdInfoColl =
      Vox::KeyObserver<IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute,
                       &IraNexthopConfigSm::handleIpAddr>;
  VoxIpAddrRouterIdInfoColl voxIpAddrRouterIdInfoColl_{*this};
};

// The reactor's factory: forwards to `IraNexthopConfigSm::IraNexthopConfigSmIs`.
inline Vox::Ptr<IraNexthopConfigSm> iraNexthopConfigSmFactory(
    const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
    const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig) {
  return IraNexthopConfigSm::IraNexthopConfigSmIs(ipAddrRouterIdInfoColl, nexthopConfig);
}

}  // namespace Mpls
