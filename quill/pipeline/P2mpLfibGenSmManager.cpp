#include "quill/pipeline/P2mpLfibGenSmManager.h"

#include "platform/rapidlog/Rapidlog.h"

namespace Mpls {

P2mpLfibGenSmManager::~P2mpLfibGenSmManager() {
  handleDelete();
  voxDoZombieReactors(true);
  forEachOf<Variants>([this]<class V>() { stageDel<typename V::Reactor>(); });
  // The collections, from the last declared back to the first (a tuple's own destruction order
  // is the library's choice).
  [this]<std::size_t... I>(std::index_sequence<I...>) {
    ((std::get<sizeof...(I) - 1 - I>(collections_) = nullptr), ...);
  }
  (std::make_index_sequence<std::tuple_size_v<Collections>>());
}

void P2mpLfibGenSmManager::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Upstream first; of a stage's two variants, the one its toggle picks.
  forEachOf<Stages>([this]<class S>() { S::createIn(*this); });
}

std::vector<P2mpLfibGenSmManager::DeclaredReactor> P2mpLfibGenSmManager::declaredStages() {
  std::vector<DeclaredReactor> rows;
  forEachOf<Stages>([&]<class S>() {
    forEachOf<typename S::Reactors>([&]<class V>() {
      rows.push_back({S::kNumber, S::kName, V::Reactor::kQualifiedName.view(), V::kCreated,
                      S::collectionNumbers()});
    });
  });
  return rows;
}

void P2mpLfibGenSmManager::handleDelete() {
  leaveInitialized();
}

void P2mpLfibGenSmManager::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return;
  StageReactor::hasNotificationActiveIs(active);
  forEachStage([active](auto& stage) { stage.hasNotificationActiveIs(active); });
}

}  // namespace Mpls
