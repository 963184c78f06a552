#pragma once
// Resolved next-hop vias per address.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/IpNexthopInfo.h"

namespace Mpls {

class IpNexthopInfoColl : public Vox::EntityBase<IpNexthopInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(IpNexthopInfoColl, ipNexthop, Vela::IpGenAddr, IpNexthopInfo)
  VOX_ATTRIBUTES(ipNexthop)
};

}  // namespace Mpls
