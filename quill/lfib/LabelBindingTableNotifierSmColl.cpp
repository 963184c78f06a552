#include "quill/lfib/LabelBindingTableNotifierSmColl.h"

namespace Mpls {

Vox::Ptr<LabelBindingTableNotifierSm> LabelBindingTableNotifierSmColl::notifierSmIs(
    const RouterId& routerId, const Vox::Ptr<const LabelBindingTable>& table) {
  if (auto existing = notifierSm(routerId); existing && existing->labelBindingTable() == table) {
    return existing;
  }
  auto reactor = LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs(table);
  notifierSm_.set(*this, notifierSmAttribute::info, routerId, reactor);
  return reactor;
}

}  // namespace Mpls
