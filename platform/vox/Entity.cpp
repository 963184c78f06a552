#include "platform/vox/Entity.h"

#include <algorithm>
#include <cassert>

namespace Vox {

Entity::~Entity() {
  // Hooked observers hold a reference, so none can be left when the entity goes.
  assert(std::none_of(notifiees_.begin(), notifiees_.end(), [](auto* n) { return n != nullptr; }) &&
         "entity destroyed while observed");
}

std::size_t Entity::notifiees() const {
  return static_cast<std::size_t>(
      std::count_if(notifiees_.begin(), notifiees_.end(), [](auto* n) { return n != nullptr; }));
}

void Entity::deliver(const AttributeInfo& attr, const void* key) const {
  // Keep the entity alive across the delivery: an observer may drop the last reference to it.
  // An entity that nothing references yet (under construction) has nothing to keep alive.
  const Ptr<const Entity> keepAlive(references() > 0 ? this : nullptr);
  // Observers added during this delivery first hear of the next change; removed ones are
  // nulled out (and skipped) until the outermost delivery compacts the list, also when an
  // observer's exception ends the delivery early.
  struct DepthGuard {
    const Entity& entity;
    explicit DepthGuard(const Entity& e) : entity(e) { ++entity.deliveryDepth_; }
    ~DepthGuard() {
      if (--entity.deliveryDepth_ == 0 && entity.compactPending_) {
        std::erase(entity.notifiees_, nullptr);
        entity.compactPending_ = false;
      }
    }
  } depth(*this);
  const std::size_t count = notifiees_.size();
  for (std::size_t i = 0; i < count; ++i) {
    NotifieeBase* notifiee = notifiees_[i];
    if (notifiee && notifiee->wantsNotification()) notifiee->onAttribute(attr, key);
  }
}

void Entity::notifieeIs(NotifieeBase* notifiee) const {
  notifiees_.push_back(notifiee);
}

void Entity::notifieeDel(NotifieeBase* notifiee) const {
  const auto it = std::find(notifiees_.begin(), notifiees_.end(), notifiee);
  if (it == notifiees_.end()) return;
  if (deliveryDepth_ > 0) {
    *it = nullptr;
    compactPending_ = true;
  } else {
    notifiees_.erase(it);
  }
}

NotifieeBase::~NotifieeBase() {
  unhook();
}

void NotifieeBase::hook() {
  if (hooked_ || !notifier_) return;
  notifier_->notifieeIs(this);
  hooked_ = true;
}

void NotifieeBase::unhook() {
  if (!hooked_) return;
  notifier_->notifieeDel(this);
  hooked_ = false;
}

void NotifieeBase::notifierBaseIs(const Entity* notifier) {
  if (notifier == notifier_.ptr()) {
    hook();
    return;
  }
  unhook();
  notifier_ = notifier;
  hook();
}

}  // namespace Vox
