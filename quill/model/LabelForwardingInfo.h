#pragma once
// The branches a packet arriving with one local label is replicated to.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vela/MplsLabel.h"
#include "platform/vox/Attribute.h"
#include "quill/model/ForwardingInfo.h"

namespace Mpls {

class LabelForwardingInfo : public Vox::KeyedEntity<LabelForwardingInfo, Vela::MplsLabel> {
 public:
  explicit LabelForwardingInfo(const Vela::MplsLabel& label) : KeyedEntity(label) {}
  const Vela::MplsLabel& label() const { return key(); }

  VOX_ENTITY_COLL_ATTRIBUTE(LabelForwardingInfo, forwardingInfo, Mpls::ViaLabel, ForwardingInfo)
  VOX_ATTRIBUTES(forwardingInfo)
};

}  // namespace Mpls
