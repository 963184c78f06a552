#pragma once
// The p2mp LFIB: local label to replication branches.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/LabelForwardingInfo.h"

namespace Mpls {

class LabelForwardingInfoColl : public Vox::EntityBase<LabelForwardingInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(LabelForwardingInfoColl, labelForwarding, Vela::MplsLabel,
                            LabelForwardingInfo)
  VOX_ATTRIBUTES(labelForwarding)
};

}  // namespace Mpls
