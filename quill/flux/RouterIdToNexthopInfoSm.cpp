#include "quill/flux/RouterIdToNexthopInfoSm.h"

namespace Mpls {

using Quill::Flux::Presence;

RouterIdToNexthopInfoSm::~RouterIdToNexthopInfoSm() {
  handleDelete();
  ipAddrRouterIdSm0Del();
  ipNexthopSm2Del();
}

void RouterIdToNexthopInfoSm::createInputStateMachines() {
  // The next-hop side is scanned first; the router side's scan then joins against it.
  ipNexthopSm2Is(ipNexthop());
  ipAddrRouterIdSm0Is(ipRouter());
}

const Vox::Ptr<RouterIdToNexthopInfoSm::IpNexthopSm2>& RouterIdToNexthopInfoSm::ipNexthopSm2Is(
    const Vox::Ptr<const IpNexthopInfoColl>& ipNexthop) {
  const IpNexthopSm2::Config config{
      {"IpNexthopSm2", "handleIpNexthop", "ipNexthop", &traceHandle()},
      {{"ViaSm3", "handleVia", "via", &traceHandle()}, true}};
  return inputSmIs(
      "ipNexthopSm2", ipNexthopSm2_, ipNexthop, this,
      [this](const IpNexthopSm2::Keys& keys, Presence present) {
        eventToIpNextHopStream(std::get<0>(keys), std::get<1>(keys), present);
      },
      config, [this] { inputSmScanState()->ipNexthopSm2Is(true); });
}

const Vox::Ptr<RouterIdToNexthopInfoSm::IpAddrRouterIdSm0>&
RouterIdToNexthopInfoSm::ipAddrRouterIdSm0Is(
    const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipRouter) {
  const IpAddrRouterIdSm0::Config config{
      {"IpAddrRouterIdSm0", "handleIpAddrRouterId", "ipAddrRouterId", &traceHandle()},
      {{"RouterIdSm1", "handleRouterId", "routerId", &traceHandle()}, true}};
  return inputSmIs(
      "ipAddrRouterIdSm0", ipAddrRouterIdSm0_, ipRouter, this,
      [this](const IpAddrRouterIdSm0::Keys& keys, Presence present) {
        eventToIpRouterStream(std::get<0>(keys), std::get<1>(keys), present);
      },
      config, [this] { inputSmScanState()->ipAddrRouterIdSm0Is(true); });
}

Vox::Ptr<RouterIdToNexthopInfoSm::GroupByCollectionValueType0>
RouterIdToNexthopInfoSm::groupByAttr0Is(const KeyType0& key) {
  if (auto group = groupByAttr0(key)) return group;
  auto group = Vox::create<GroupByCollectionValueType0>(key);
  groupByAttr0_.insert(key, group);
  return group;
}

void RouterIdToNexthopInfoSm::groupByAttr0DelAll() {
  for (auto it = groupByAttr0_.begin(); it != groupByAttr0_.end(); ++it)
    groupByAttr0_.erase(it.key());
}

void RouterIdToNexthopInfoSm::eventToIpRouterStream(const Vela::IpGenAddr& address,
                                                    const RouterId& routerId, Presence present) {
  const auto vias = ipNexthop()->ipNexthop(address);
  if (!vias) return;
  for (const FibVia& via : vias->viaColl())
    eventToPipeline0(address, routerId, via, present);
}

void RouterIdToNexthopInfoSm::eventToIpNextHopStream(const Vela::IpGenAddr& address,
                                                     const FibVia& via, Presence present) {
  const auto routers = ipRouter()->ipAddrRouterId(address);
  if (!routers) return;
  for (const RouterId& routerId : routers->routerIdColl()) {
    eventToPipeline0(address, routerId, via, present);
  }
}

void RouterIdToNexthopInfoSm::eventToPipeline0(const Vela::IpGenAddr& address,
                                               const RouterId& routerId, const FibVia& via,
                                               Presence present) {
  const KeyType0 groupKey(routerId, via);
  const auto group = groupByAttr0Is(groupKey);
  if (present) {
    group->collIs(address);
  } else {
    group->collDel(address);
    if (group->colls() == 0) groupByAttr0Del(groupKey);
  }
  const Pipeline0KeyType key(routerId, via);
  notePipeline0(key);
  if (group->colls() != 0) {
    routerNexthop()->routerNexthopIs(routerId)->viaIs(via);  // again for every supporting address
  } else {
    removeOutputElement(key);
  }
}

void RouterIdToNexthopInfoSm::removeOutputElement(const Pipeline0KeyType& key) {
  const auto router = routerNexthop()->routerNexthop(key.get<0>());
  if (!router) return;
  router->viaDel(key.get<1>());
  if (router->vias() == 0) routerNexthop()->routerNexthopDel(key.get<0>());
}

}  // namespace Mpls
