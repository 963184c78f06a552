#pragma once
// Routers per advertised address.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/IpAddrRouterIdInfo.h"

namespace Mpls {

class IpAddrRouterIdInfoColl : public Vox::EntityBase<IpAddrRouterIdInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(IpAddrRouterIdInfoColl, ipAddrRouterId, Vela::IpGenAddr,
                            IpAddrRouterIdInfo)
  VOX_ATTRIBUTES(ipAddrRouterId)
};

}  // namespace Mpls
