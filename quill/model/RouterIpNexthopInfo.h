#pragma once
// One router's vias on MPLS interfaces, grouped by next-hop address.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/RouterId.h"
#include "platform/vox/Attribute.h"
#include "quill/model/IpNexthopInfo.h"

namespace Mpls {

class RouterIpNexthopInfo : public Vox::KeyedEntity<RouterIpNexthopInfo, Mpls::RouterId> {
 public:
  explicit RouterIpNexthopInfo(const Mpls::RouterId& routerId) : KeyedEntity(routerId) {}
  const Mpls::RouterId& routerId() const { return key(); }

  // A free-standing RouterIpNexthopInfo with notifications on, for stages that build one before
  // inserting it.
  static Vox::Ptr<RouterIpNexthopInfo> RouterIpNexthopInfoIs(const Mpls::RouterId& routerId) {
    return Vox::create<RouterIpNexthopInfo>(routerId);
  }

  VOX_ENTITY_COLL_ATTRIBUTE(RouterIpNexthopInfo, ipNexthopInfo, Vela::IpGenAddr, IpNexthopInfo)
  VOX_ATTRIBUTES(ipNexthopInfo)
};

}  // namespace Mpls
