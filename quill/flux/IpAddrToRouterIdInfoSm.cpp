#include "quill/flux/IpAddrToRouterIdInfoSm.h"

namespace Mpls {

using Quill::Flux::Presence;

IpAddrToRouterIdInfoSm::~IpAddrToRouterIdInfoSm() {
  handleDelete();
  routerIpAddrSm0Del();
}

void IpAddrToRouterIdInfoSm::createInputStateMachines() {
  routerIpAddrSm0Is(routers());
}

const Vox::Ptr<IpAddrToRouterIdInfoSm::RouterIpAddrSm0>& IpAddrToRouterIdInfoSm::routerIpAddrSm0Is(
    const Vox::Ptr<const RouterIpAddrInfoColl>& routers) {
  const RouterIpAddrSm0::Config config{
      {"RouterIpAddrSm0", "handleRouterIpAddr", "routerIpAddr", &traceHandle()},
      {{"IpAddrSm1", "handleIpAddr", "ipAddr", &traceHandle()}, true}};
  return inputSmIs(
      "routerIpAddrSm0", routerIpAddrSm0_, routers, this,
      [this](const RouterIpAddrSm0::Keys& keys, Presence present) {
        eventToPipeline0(std::get<0>(keys), std::get<1>(keys), present);
      },
      config, [this] { inputSmScanState()->routerIpAddrSm0Is(true); });
}

void IpAddrToRouterIdInfoSm::eventToPipeline0(const RouterId& routerId,
                                              const Vela::IpGenAddr& ipAddr, Presence present) {
  const Pipeline0KeyType key(ipAddr, routerId);
  notePipeline0(key);
  if (present) {
    addrs()->ipAddrRouterIdIs(ipAddr)->routerIdIs(routerId);
  } else {
    removeOutputElement(key);
  }
}

void IpAddrToRouterIdInfoSm::removeOutputElement(const Pipeline0KeyType& key) {
  const auto entry = addrs()->ipAddrRouterId(key.get<0>());
  if (!entry) return;
  entry->routerIdDel(key.get<1>());
  if (entry->routerIds() == 0) addrs()->ipAddrRouterIdDel(key.get<0>());
}

}  // namespace Mpls
