#pragma once
// Vias per router.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/RouterNexthopInfo.h"

namespace Mpls {

class RouterNexthopInfoColl : public Vox::EntityBase<RouterNexthopInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(RouterNexthopInfoColl, routerNexthop, Mpls::RouterId, RouterNexthopInfo)
  VOX_ATTRIBUTES(routerNexthop)
};

}  // namespace Mpls
