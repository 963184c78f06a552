#include "quill/lfib/LabelBindingTableNotifierSm.h"

namespace Mpls {

LabelBindingTableNotifierSm::LabelBindingTableNotifierSm(
    const Vox::Ptr<const LabelBindingTable>& labelBindingTable)
    : labelBindingTable_(labelBindingTable) {
  voxLabelBindingTable_.notifierIs(labelBindingTable_);
  voxLabelBindingTable_.hasNotificationActiveIs(true);
  Vox::syncPerKeyReactors<LabelBindingTable::bindingAttribute>(binding_, *labelBindingTable_);
  handleInitialized();
}

LabelBindingTableNotifierSm::~LabelBindingTableNotifierSm() {
  handleDelete();
}

void LabelBindingTableNotifierSm::updateLabelBindingTableNotifierMplsLabel(const FwdEqvClass& fec,
                                                                           Vela::MplsLabel label) {
  if (!initialized()) return;
  VOX_TRACE(traceHandle(), 8, __PRETTY_FUNCTION__ << " fec: " << fec << ", label: " << label);
  labelBindingTable_->updateNotifier(fec, label);
}

void LabelBindingTableNotifierSm::updateLabelBindingTableNotifierFilteredFec(
    const FwdEqvClass& fec) {
  if (!initialized()) return;
  VOX_TRACE(traceHandle(), 8, __PRETTY_FUNCTION__ << " fec: " << fec);
  labelBindingTable_->updateNotifier(fec, kNoLabel);
}

void LabelBindingTableNotifierSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  for (const auto [fec, binding] : labelBindingTable_->bindingColl()) {
    for (const Vela::MplsLabel& label : binding.mplsLabelColl()) {
      updateLabelBindingTableNotifierMplsLabel(fec, label);
    }
  }
  for (auto it = labelBindingTable_->filteredFecColl().begin();
       it != labelBindingTable_->filteredFecColl().end(); ++it) {
    updateLabelBindingTableNotifierFilteredFec(it.key());
  }
}

void LabelBindingTableNotifierSm::handleDelete() {
  leaveInitialized();
}

void LabelBindingTableNotifierSm::VoxLabelBindingTable::onAttribute(const Vox::AttributeInfo& attr,
                                                                    const void* key) {
  if (const auto* fec = LabelBindingTable::bindingAttribute::match(attr, key)) {
    Vox::followMember<LabelBindingTable::bindingAttribute>(owner_.binding_, *notifier(), *fec);
  } else if (const auto* filtered = LabelBindingTable::filteredFecAttribute::match(attr, key)) {
    // Added or removed: either way the FEC has no label to announce.
    owner_.updateLabelBindingTableNotifierFilteredFec(*filtered);
  }
}

void LabelBindingTableNotifierSm::VoxBinding::handleBindingDelete() {
  if (!ownerAlive()) return;
  VOX_TRACE(traceHandle(), 8, __PRETTY_FUNCTION__ << " " << key());
  for (const Vela::MplsLabel& label : member()->mplsLabelColl()) {
    owner()->updateLabelBindingTableNotifierMplsLabel(key(), label);
  }
  // The last word on a deleted binding is always "no label", whatever came before.
  owner()->updateLabelBindingTableNotifierMplsLabel(key(), kNoLabel);
}

void LabelBindingTableNotifierSm::VoxBinding::vox_handleBinding_mplsLabel(Vela::MplsLabel label) {
  owner()->updateLabelBindingTableNotifierMplsLabel(key(), label);
}

void LabelBindingTableNotifierSm::VoxBinding::onAttribute(const Vox::AttributeInfo& attr,
                                                          const void* key) {
  if (const auto* label = FecLabelSet::mplsLabelAttribute::match(attr, key)) {
    vox_handleBinding_mplsLabel(*label);
  }
}

}  // namespace Mpls
