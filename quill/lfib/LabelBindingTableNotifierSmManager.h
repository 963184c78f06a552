#pragma once
// Keeps one `LabelBindingTableNotifierSm` per peer label binding table: created when a peer's
// table appears, removed when it goes. Run by the owning agent next to the pipeline manager.
#include <tuple>

#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/StageReactor.h"
#include "quill/lfib/LabelBindingTableNotifierSmColl.h"

namespace Mpls {

class LabelBindingTableNotifierSmManager
    : public Quill::StageReactor<LabelBindingTableNotifierSmManager> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelBindingTableNotifierSmManager";
  // It traces with the notifiers it manages.
  static constexpr Quill::StaticName kTraceHandleName = "QuillLabelBindingTableNotifierSm";

  LabelBindingTableNotifierSmManager(
      const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
      const Vox::Ptr<LabelBindingTableNotifierSmColl>& labelBindingTableNotifierSmColl);
  ~LabelBindingTableNotifierSmManager() override;

  static Vox::Ptr<LabelBindingTableNotifierSmManager> LabelBindingTableNotifierSmManagerIs(
      const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
      const Vox::Ptr<LabelBindingTableNotifierSmColl>& labelBindingTableNotifierSmColl) {
    return create(labelBindingTableColl, labelBindingTableNotifierSmColl);
  }
  auto constructorArguments() const {
    return std::tuple(labelBindingTableColl_.ptr(), labelBindingTableNotifierSmColl_.ptr());
  }

  // A peer table was added or removed.
  void handleBindingTable(const RouterId& routerId);
  // Deletes every notifier and creates one per table present.
  void handleInitialized();
  void handleDelete();

 private:
  Vox::Ptr<const LabelBindingTableColl> labelBindingTableColl_;
  Vox::Ptr<LabelBindingTableNotifierSmColl> labelBindingTableNotifierSmColl_;
  Vox::KeyObserver<LabelBindingTableColl::bindingTableAttribute,
                   &LabelBindingTableNotifierSmManager::handleBindingTable>
      voxLabelBindingTableColl_{*this};
};

// The reactor's factory: forwards to
// `LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs`.
inline Vox::Ptr<LabelBindingTableNotifierSmManager> labelBindingTableNotifierSmManagerFactory(
    const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
    const Vox::Ptr<LabelBindingTableNotifierSmColl>& labelBindingTableNotifierSmColl) {
  return LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs(
      labelBindingTableColl, labelBindingTableNotifierSmColl);
}

}  // namespace Mpls
