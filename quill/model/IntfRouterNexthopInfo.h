#pragma once
// For one outgoing interface, each router's vias that leave through it.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vela/IntfId.h"
#include "platform/vox/Attribute.h"
#include "quill/model/RouterNexthopInfo.h"

namespace Mpls {

class IntfRouterNexthopInfo : public Vox::KeyedEntity<IntfRouterNexthopInfo, Vela::IntfId> {
 public:
  explicit IntfRouterNexthopInfo(const Vela::IntfId& intfId) : KeyedEntity(intfId) {}
  const Vela::IntfId& intfId() const { return key(); }

  VOX_ENTITY_COLL_ATTRIBUTE(IntfRouterNexthopInfo, routerNexthopInfo, Mpls::RouterId,
                            RouterNexthopInfo)
  VOX_ATTRIBUTES(routerNexthopInfo)
};

}  // namespace Mpls
