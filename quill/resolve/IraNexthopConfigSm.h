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
#include "platform/routing/NexthopVrfConfig.h"
#include "quill/core/Stage.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"

namespace Mpls {

class IraNexthopConfigSm : public Quill::Stage<IraNexthopConfigSm, const IpAddrRouterIdInfoColl,
                                               Routing::NexthopVrfConfig> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IraNexthopConfigSm";
  // (ipAddrRouterIdInfoColl, nexthopConfig). `ipAddrRouterIdInfoColl` may be null: the reactor
  // then only withdraws existing requests.
  using Stage::Stage;
  ~IraNexthopConfigSm() override { handleDelete(); }
  static constexpr auto IraNexthopConfigSmIs = &stageIs;

  const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl() const {
    return collection<0>();
  }
  const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig() const { return collection<1>(); }

  // Re-derives the request for one address. Fatal "initialized()" while uninitialized.
  void handleIpAddr(const Vela::IpGenAddr& ipAddr);
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  // Only additions and removals of whole address entries reach it; router changes within an
  // entry do not matter here.
  Vox::KeyObserver<IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute,
                   &IraNexthopConfigSm::handleIpAddr>
      ipAddrObserver_{*this, ipAddrRouterIdInfoColl()};
};

inline constexpr auto iraNexthopConfigSmFactory = IraNexthopConfigSm::IraNexthopConfigSmIs;

}  // namespace Mpls
