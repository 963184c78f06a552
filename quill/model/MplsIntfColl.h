#pragma once
// The MPLS-enabled interfaces.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vela/IntfId.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class MplsIntfColl : public Vox::EntityBase<MplsIntfColl> {
 public:
  VOX_SET_ATTRIBUTE(MplsIntfColl, intfId, Vela::IntfId)
  VOX_ATTRIBUTES(intfId)
};

}  // namespace Mpls
