#pragma once
// Advertised addresses per LDP peer router.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/RouterIpAddrInfo.h"

namespace Mpls {

class RouterIpAddrInfoColl : public Vox::EntityBase<RouterIpAddrInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(RouterIpAddrInfoColl, routerIpAddr, Mpls::RouterId, RouterIpAddrInfo)
  VOX_ATTRIBUTES(routerIpAddr)
};

}  // namespace Mpls
