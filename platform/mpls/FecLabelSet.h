#pragma once
// One FEC's binding in a label binding table: the labels bound to the FEC (normally one).
#include "platform/mpls/FwdEqvClass.h"
#include "platform/vela/MplsLabel.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class FecLabelSet : public Vox::KeyedEntity<FecLabelSet, FwdEqvClass> {
 public:
  explicit FecLabelSet(const FwdEqvClass& fec) : KeyedEntity(fec) {}
  const FwdEqvClass& fwdEqvClass() const { return key(); }

  VOX_SET_ATTRIBUTE(FecLabelSet, mplsLabel, Vela::MplsLabel)
  VOX_ATTRIBUTES(mplsLabel)
};

}  // namespace Mpls
