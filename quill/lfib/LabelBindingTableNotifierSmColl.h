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
  void notifierSmDel(const RouterId& routerId) {
    notifierSm_.erase(*this, notifierSmAttribute::info, routerId);
  }
  void notifierSmDelAll() { notifierSm_.eraseAll(*this, notifierSmAttribute::info); }
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
