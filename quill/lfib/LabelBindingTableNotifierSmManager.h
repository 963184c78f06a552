#pragma once
// Keeps one `LabelBindingTableNotifierSm` per peer label binding table: created when a peer's
// table appears, removed when it goes. Run by the owning agent next to the pipeline manager.
#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/Stage.h"
#include "quill/lfib/LabelBindingTableNotifierSmColl.h"

namespace Mpls {

class LabelBindingTableNotifierSmManager
    : public Quill::Stage<LabelBindingTableNotifierSmManager, const LabelBindingTableColl,
                          LabelBindingTableNotifierSmColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelBindingTableNotifierSmManager";
  // It traces with the notifiers it manages.
  static constexpr Quill::StaticName kTraceHandleName = "QuillLabelBindingTableNotifierSm";
  // (labelBindingTableColl, labelBindingTableNotifierSmColl)
  using Stage::Stage;
  ~LabelBindingTableNotifierSmManager() override { handleDelete(); }
  static constexpr auto LabelBindingTableNotifierSmManagerIs = &stageIs;

  // A peer table was added or removed.
  void handleBindingTable(const RouterId& routerId);
  // Deletes every notifier and creates one per table present.
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl() const {
    return collection<0>();
  }
  const Vox::Ptr<LabelBindingTableNotifierSmColl>& labelBindingTableNotifierSmColl_ =
      collection<1>();
  Vox::KeyObserver<LabelBindingTableColl::bindingTableAttribute,
                   &LabelBindingTableNotifierSmManager::handleBindingTable>
      bindingTableObserver_{*this, labelBindingTableColl()};
};

inline constexpr auto labelBindingTableNotifierSmManagerFactory =
    LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs;

}  // namespace Mpls
