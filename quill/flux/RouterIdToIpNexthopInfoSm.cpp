#include "quill/flux/RouterIdToIpNexthopInfoSm.h"

namespace Mpls {

using Quill::Flux::Presence;

RouterIdToIpNexthopInfoSm::~RouterIdToIpNexthopInfoSm() {
  handleDelete();
  intfRouterNexthopSm0Del();
  intfIdSm3Del();
}

void RouterIdToIpNexthopInfoSm::createInputStateMachines() {
  // The interface set first: its scan already joins against the whole first input, and the
  // later scan of that input delivers the same elements again, which changes nothing.
  intfIdSm3Is(mplsIntfColl());
  intfRouterNexthopSm0Is(intfRouterColl());
}

const Vox::Ptr<RouterIdToIpNexthopInfoSm::IntfIdSm3>& RouterIdToIpNexthopInfoSm::intfIdSm3Is(
    const Vox::Ptr<const MplsIntfColl>& mplsIntfColl) {
  const IntfIdSm3::Config config{{"IntfIdSm3", "handleIntfId", "intfId", &traceHandle()}, true};
  return inputSmIs(
      "intfIdSm3", intfIdSm3_, mplsIntfColl, this,
      [this](const IntfIdSm3::Keys& keys, Presence present) {
        eventToIntfStream(std::get<0>(keys), present);
      },
      config, [this] { inputSmScanState()->intfIdSm3Is(true); });
}

const Vox::Ptr<RouterIdToIpNexthopInfoSm::IntfRouterNexthopSm0>&
RouterIdToIpNexthopInfoSm::intfRouterNexthopSm0Is(
    const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterColl) {
  const IntfRouterNexthopSm0::Config config{
      {"IntfRouterNexthopSm0", "handleIntfRouterNexthop", "intfRouterNexthop", &traceHandle()},
      {{"RouterNexthopInfoSm1", "handleRouterNexthopInfo", "routerNexthopInfo", &traceHandle()},
       {{"ViaSm2", "handleVia", "via", &traceHandle()}, true}}};
  return inputSmIs(
      "intfRouterNexthopSm0", intfRouterNexthopSm0_, intfRouterColl, this,
      [this](const IntfRouterNexthopSm0::Keys& keys, Presence present) {
        eventToIntfRouterStream(std::get<0>(keys), std::get<1>(keys), std::get<2>(keys), present);
      },
      config, [this] { inputSmScanState()->intfRouterNexthopSm0Is(true); });
}

void RouterIdToIpNexthopInfoSm::eventToIntfRouterStream(Vela::IntfId intfId,
                                                        const RouterId& routerId, const FibVia& via,
                                                        Presence present) {
  if (mplsIntfColl()->intfId(intfId)) eventToPipeline0(routerId, via, present);
}

void RouterIdToIpNexthopInfoSm::eventToIntfStream(Vela::IntfId intfId, Presence present) {
  const auto intf = intfRouterColl()->intfRouterNexthop(intfId);
  if (!intf) return;
  for (const auto [routerId, router] : intf->routerNexthopInfoColl()) {
    for (const FibVia& via : router.viaColl())
      eventToPipeline0(routerId, via, present);
  }
}

void RouterIdToIpNexthopInfoSm::eventToPipeline0(const RouterId& routerId, const FibVia& via,
                                                 Presence present) {
  const Pipeline0KeyType key(routerId, via.hop(), via);
  notePipeline0(key);
  if (present) {
    routerIpNexthop()->routerIpNexthopIs(routerId)->ipNexthopInfoIs(via.hop())->viaIs(via);
  } else {
    removeOutputElement(key);
  }
}

void RouterIdToIpNexthopInfoSm::removeOutputElement(const Pipeline0KeyType& key) {
  const auto router = routerIpNexthop()->routerIpNexthop(key.get<0>());
  const auto hop = router ? router->ipNexthopInfo(key.get<1>()) : nullptr;
  if (!hop) return;
  hop->viaDel(key.get<2>());
  if (hop->vias() == 0) router->ipNexthopInfoDel(key.get<1>());
  if (router->ipNexthopInfos() == 0) routerIpNexthop()->routerIpNexthopDel(key.get<0>());
}

}  // namespace Mpls
