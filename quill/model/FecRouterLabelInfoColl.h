#pragma once
// Peer labels per FEC and router (filled by the owning agent).
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/FecRouterLabelInfo.h"

namespace Mpls {

class FecRouterLabelInfoColl : public Vox::EntityBase<FecRouterLabelInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(FecRouterLabelInfoColl, fecRouterLabel, Mpls::FwdEqvClass,
                            FecRouterLabelInfo)
  VOX_ATTRIBUTES(fecRouterLabel)
};

}  // namespace Mpls
