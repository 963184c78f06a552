#include "quill/lfib/LabelBindingTableNotifierSmManager.h"

namespace Mpls {

void LabelBindingTableNotifierSmManager::handleBindingTable(const RouterId& routerId) {
  QUILL_TRACE_FUNC();
  if (const auto table = labelBindingTableColl()->bindingTable(routerId)) {
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
  for (const auto [routerId, table] : labelBindingTableColl()->bindingTableColl()) {
    handleBindingTable(routerId);
  }
}

}  // namespace Mpls
