#pragma once
// Router vias grouped by outgoing interface.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/IntfRouterNexthopInfo.h"

namespace Mpls {

class IntfRouterNexthopInfoColl : public Vox::EntityBase<IntfRouterNexthopInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(IntfRouterNexthopInfoColl, intfRouterNexthop, Vela::IntfId,
                            IntfRouterNexthopInfo)
  VOX_ATTRIBUTES(intfRouterNexthop)
};

}  // namespace Mpls
