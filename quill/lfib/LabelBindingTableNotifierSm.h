#pragma once
// Keeps one peer label binding table's notification channel in step with the table's contents.
//
// For every FEC of the table the channel (`LabelBindingTable::updateNotifier`) announces the label
// the FEC now has, or the out-of-range label 0x100000 when the FEC's binding went or the FEC is
// filtered. A label added to or removed from a binding publishes that label (the channel's last
// value therefore follows the order in which the set reports its changes; nothing is reordered);
// deleting a binding publishes each label it still held and then 0x100000; adding or removing a
// filtered FEC publishes 0x100000. Before initialization and after `handleDelete` nothing is
// published.
#include "platform/mpls/LabelBindingTable.h"
#include "quill/core/StageReactor.h"

namespace Mpls {

class LabelBindingTableNotifierSm : public Quill::StageReactor<LabelBindingTableNotifierSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelBindingTableNotifierSm";
  // The label announced for a FEC that has no usable binding.
  static constexpr Vela::MplsLabel kNoLabel{Vela::MplsLabel::kOutOfRange};

  // Follows the labels of one binding; its zombie run announces the binding's deletion.
  class VoxBinding
      : public Vox::MemberReactor<VoxBinding, LabelBindingTableNotifierSm, FecLabelSet> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    using MemberReactor::MemberReactor;
    // Runs when the binding is removed from the table.
    void handleBindingDelete();
    void vox_handleBinding_mplsLabel(Vela::MplsLabel label);
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;

   private:
    // A new binding arrives empty, and initialization publishes existing ones: only the zombie
    // run (the binding's removal) has something to announce.
    void handleBinding() {
      if (zombie()) handleBindingDelete();
    }

   public:
    static constexpr auto kWholeMemberHandler = &VoxBinding::handleBinding;
  };

  explicit LabelBindingTableNotifierSm(const Vox::Ptr<const LabelBindingTable>& labelBindingTable);
  ~LabelBindingTableNotifierSm() override;

  static Vox::Ptr<LabelBindingTableNotifierSm> LabelBindingTableNotifierSmIs(
      const Vox::Ptr<const LabelBindingTable>& labelBindingTable) {
    return create(labelBindingTable);
  }

  const Vox::Ptr<const LabelBindingTable>& labelBindingTable() const { return labelBindingTable_; }

  // Publishes `label` for `fec` while initialized.
  void updateLabelBindingTableNotifierMplsLabel(const FwdEqvClass& fec, Vela::MplsLabel label);
  // Publishes 0x100000 for `fec` while initialized.
  void updateLabelBindingTableNotifierFilteredFec(const FwdEqvClass& fec);
  void handleInitialized();
  void handleDelete();

  VoxBinding* bindingIs(const Vox::Ptr<const FecLabelSet>& binding) { return binding_.is(binding); }
  void bindingDel(const FwdEqvClass& fec) { binding_.del(fec); }
  void bindingDelAll() { binding_.delAll(); }

 private:
  // Follows the table: its bindings (one per-key reactor each) and its filtered FECs.
  class VoxLabelBindingTable : public Vox::ObserverPart<LabelBindingTable::NotifieeConst> {
   public:
    explicit VoxLabelBindingTable(LabelBindingTableNotifierSm& owner) : owner_(owner) {
      owner.partIs(*this);
    }
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;

   private:
    LabelBindingTableNotifierSm& owner_;
  };

  Vox::Ptr<const LabelBindingTable> labelBindingTable_;
  Vox::PerKeyReactorColl<VoxBinding> binding_{*this, "Mpls::LabelBindingTableNotifierSm",
                                              "binding"};
  VoxLabelBindingTable voxLabelBindingTable_{*this};
};

// The reactor's factory: forwards to `LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs`.
inline Vox::Ptr<LabelBindingTableNotifierSm> labelBindingTableNotifierSmFactory(
    const Vox::Ptr<const LabelBindingTable>& labelBindingTable) {
  return LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs(labelBindingTable);
}

}  // namespace Mpls
