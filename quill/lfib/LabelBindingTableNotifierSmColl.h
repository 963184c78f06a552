#pragma once
// The notifier reactors of the peer label binding tables, one per peer router.
#include "platform/vox/Attribute.h"
#include "quill/lfib/LabelBindingTableNotifierSm.h"

namespace Mpls {

class LabelBindingTableNotifierSmColl : public Vox::NamedEntity<LabelBindingTableNotifierSmColl> {
 public:
  explicit LabelBindingTableNotifierSmColl(std::string name) : NamedEntity(std::move(name)) {}

  VOX_ATTRIBUTE_DESCRIPTOR(LabelBindingTableNotifierSmColl, notifierSm, RouterId)

  // The reactor of `routerId`'s table: kept when it already follows `table`, else created (and
  // initialized) over it, replacing any other.
  Vox::Ptr<LabelBindingTableNotifierSm> notifierSmIs(
      const RouterId& routerId, const Vox::Ptr<const LabelBindingTable>& table);
  // Removes the reactor of `routerId`'s table, silenced first: whoever still holds it no longer
  // hears of the table.
  void notifierSmDel(const RouterId& routerId) {
    if (const auto reactor = notifierSm(routerId)) reactor->hasNotificationActiveIs(false);
    notifierSm_.erase(*this, notifierSmAttribute::info, routerId);
  }
  void notifierSmDelAll() {
    for (auto it = notifierSm_.begin(); it != notifierSm_.end(); ++it)
      notifierSmDel(it.key());
  }
  Vox::Ptr<LabelBindingTableNotifierSm> notifierSm(const RouterId& routerId) const {
    const auto* reactor = notifierSm_.find(routerId);
    return reactor ? *reactor : nullptr;
  }
  std::size_t notifierSms() const { return notifierSm_.size(); }

 private:
  Vox::ValueMapAttribute<RouterId, Vox::Ptr<LabelBindingTableNotifierSm>> notifierSm_;
};

inline Vox::Ptr<LabelBindingTableNotifierSmColl> labelBindingTableNotifierSmCollFactory(
    const std::string& name) {
  return Vox::create<LabelBindingTableNotifierSmColl>(name);
}

}  // namespace Mpls
