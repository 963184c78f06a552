#pragma once
// One LFIB branch (via, outgoing label) and the (FEC, router) pairs that justify it. The branch
// exists while this set is non-empty.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/FecRouter.h"
#include "quill/model/ViaLabel.h"

namespace Mpls {

class ForwardingInfo : public Vox::KeyedEntity<ForwardingInfo, Mpls::ViaLabel> {
 public:
  explicit ForwardingInfo(const Mpls::ViaLabel& viaLabel) : KeyedEntity(viaLabel) {}
  const Mpls::ViaLabel& viaLabel() const { return key(); }

  VOX_SET_ATTRIBUTE(ForwardingInfo, fecRouter, Mpls::FecRouter)
  VOX_ATTRIBUTES(fecRouter)
};

}  // namespace Mpls
