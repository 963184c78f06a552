#pragma once
// The vias towards one router and, per via, the addresses that justify it. Invariant kept by
// the stages that write it: the `via` set is exactly the key set of `nexthopIpInfo` (stages that
// do not track justifications leave `nexthopIpInfo` empty).
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/RouterId.h"
#include "platform/vox/Attribute.h"
#include "quill/model/NexthopIpInfo.h"

namespace Mpls {

class RouterNexthopInfo : public Vox::KeyedEntity<RouterNexthopInfo, Mpls::RouterId> {
 public:
  explicit RouterNexthopInfo(const Mpls::RouterId& routerId) : KeyedEntity(routerId) {}
  const Mpls::RouterId& routerId() const { return key(); }

  // A free-standing RouterNexthopInfo with notifications on, for stages that build one before
  // inserting it.
  static Vox::Ptr<RouterNexthopInfo> RouterNexthopInfoIs(const Mpls::RouterId& routerId) {
    return Vox::create<RouterNexthopInfo>(routerId);
  }

  VOX_SET_ATTRIBUTE(RouterNexthopInfo, via, Mpls::FibVia)
  VOX_ENTITY_COLL_ATTRIBUTE(RouterNexthopInfo, nexthopIpInfo, Mpls::FibVia, NexthopIpInfo)
  VOX_ATTRIBUTES(via, nexthopIpInfo)
};

}  // namespace Mpls
