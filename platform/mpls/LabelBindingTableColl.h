#pragma once
// The label binding tables learned from the LDP peers, one per peer router.
#include "platform/mpls/LabelBindingTable.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class LabelBindingTableColl : public Vox::EntityBase<LabelBindingTableColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(LabelBindingTableColl, bindingTable, RouterId, LabelBindingTable)
  VOX_ATTRIBUTES(bindingTable)
};

}  // namespace Mpls
