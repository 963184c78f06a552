#pragma once
// Router vias on MPLS interfaces, per router and next-hop address.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/RouterIpNexthopInfo.h"

namespace Mpls {

class RouterIpNexthopInfoColl : public Vox::EntityBase<RouterIpNexthopInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(RouterIpNexthopInfoColl, routerIpNexthop, Mpls::RouterId,
                            RouterIpNexthopInfo)
  VOX_ATTRIBUTES(routerIpNexthop)
};

}  // namespace Mpls
