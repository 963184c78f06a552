#include "quill/lfib/LabelBindingTableNotifierSmManager.h"

namespace Mpls {

LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManager(
    const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
    const Vox::Ptr<LabelBindingTableNotifierSmColl>& labelBindingTableNotifierSmColl)
    : labelBindingTableColl_(labelBindingTableColl),
      labelBindingTableNotifierSmColl_(labelBindingTableNotifierSmColl) {
  voxLabelBindingTableColl_.notifierIs(labelBindingTableColl_);
  handleInitialized();
}

LabelBindingTableNotifierSmManager::~LabelBindingTableNotifierSmManager() {
  handleDelete();
}

void LabelBindingTableNotifierSmManager::handleBindingTable(const RouterId& routerId) {
  QUILL_TRACE_FUNC();
  if (const auto table = labelBindingTableColl_->bindingTable(routerId)) {
    VOX_TRACE(traceHandle(), 7, "LBT for peer " << routerId << " created");
    labelBindingTableNotifierSmColl_->notifierSmIs(routerId, table);
  } else {
    VOX_TRACE(traceHandle(), 7, "LBT for peer " << routerId << " deleted");
    labelBindingTableNotifierSmColl_->notifierSmDel(routerId);
  }
}

void LabelBindingTableNotifierSmManager::handleInitialized() {
  const auto scope = enterHandleInitialized();
  labelBindingTableNotifierSmColl_->notifierSmDelAll();
  for (const auto [routerId, table] : labelBindingTableColl_->bindingTableColl()) {
    handleBindingTable(routerId);
  }
}

void LabelBindingTableNotifierSmManager::handleDelete() {
  leaveInitialized();
}

}  // namespace Mpls
