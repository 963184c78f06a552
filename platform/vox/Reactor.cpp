#include "platform/vox/Reactor.h"

namespace Vox {

void Reactor::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive_) return;
  hasNotificationActive_ = active;
  for (ReactorPart* part = firstPart_; part; part = part->nextPart_) {
    part->partNotificationActiveIs(active);
  }
}

void Reactor::voxDoZombieReactors(bool zombie) {
  if (zombie == zombie_) return;
  zombie_ = zombie;
  for (ReactorPart* part = firstPart_; part; part = part->nextPart_)
    part->partZombieIs(zombie);
  onZombie(zombie);
  deleting_ = zombie;
}

void Reactor::partIs(ReactorPart& part) {
  part.nextPart_ = nullptr;
  if (lastPart_) {
    lastPart_->nextPart_ = &part;
  } else {
    firstPart_ = &part;
  }
  lastPart_ = &part;
}

}  // namespace Vox
