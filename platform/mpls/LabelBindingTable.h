#pragma once
// A label binding table: the labels bound to each FEC, either locally (the local table) or by
// one LDP peer (a peer's table, keyed by the peer's router id).
//
// Besides its bindings (`binding`: FEC to `FecLabelSet`) and its filtered FECs (`filteredFec`),
// a table carries a per-FEC notification channel. `updateNotifier(fec, label)` publishes a label
// for a FEC: every publication notifies the channel's observers (attribute `notifier`, keyed by
// the FEC) even when it repeats the previous label, and the last label published per FEC can be
// read back with `notifier(fec)`. Publishing `Vela::MplsLabel(Vela::MplsLabel::kOutOfRange)` is
// how a publisher says "this FEC has no usable label".
#include "platform/mpls/FecLabelSet.h"
#include "platform/mpls/RouterId.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class LabelBindingTable : public Vox::KeyedEntity<LabelBindingTable, RouterId> {
 public:
  explicit LabelBindingTable(const RouterId& routerId) : KeyedEntity(routerId) {}
  const RouterId& routerId() const { return key(); }

  VOX_ENTITY_COLL_ATTRIBUTE(LabelBindingTable, binding, FwdEqvClass, FecLabelSet)
  VOX_VALUE_MAP_ATTRIBUTE(LabelBindingTable, filteredFec, FwdEqvClass, bool)

  // The notification channel.
  VOX_VALUE_MAP_DESCRIPTOR(LabelBindingTable, notifier, FwdEqvClass, Vela::MplsLabel)
  // The channel is not part of the table's content: publishing through a read-only reference
  // is allowed, as that is how the table's readers announce labels.
  void updateNotifier(const FwdEqvClass& fec, Vela::MplsLabel label) const {
    notifier_.publish(*this, notifierAttribute::info, fec, label);
  }
  // The last label published for `fec`, or null if none was.
  const Vela::MplsLabel* notifier(const FwdEqvClass& fec) const { return notifier_.find(fec); }
  const Vox::ValueMapAttribute<FwdEqvClass, Vela::MplsLabel>& notifierColl() const {
    return notifier_;
  }
  // The content first, then the channel.
  VOX_ATTRIBUTES(binding, filteredFec, notifier)

 private:
  mutable Vox::ValueMapAttribute<FwdEqvClass, Vela::MplsLabel> notifier_;
};

}  // namespace Mpls
