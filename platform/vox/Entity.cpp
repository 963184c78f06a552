#include "platform/vox/Entity.h"

#include <algorithm>
#include <cassert>

namespace Vox {

NotifieeList::Array* NotifieeList::allocateArray(uint32_t capacity) {
  void* bytes =
      Memory::allocate(sizeof(Array) + capacity * sizeof(NotifieeBase*), MemoryKind::kNotifieeList);
  return new (bytes) Array{0, capacity};
}

void NotifieeList::freeArray(Array* a) noexcept {
  Memory::deallocate(a, sizeof(Array) + a->capacity * sizeof(NotifieeBase*),
                     MemoryKind::kNotifieeList);
}

void NotifieeList::release() noexcept {
  if (word_ & kArrayTag) freeArray(array());
  word_ = 0;
}

std::size_t NotifieeList::count() const {
  if (empty()) return 0;
  if (inlined()) return 1;
  NotifieeBase* const* first = slots(array());
  return static_cast<std::size_t>(
      std::count_if(first, first + array()->size, [](auto* n) { return n != nullptr; }));
}

void NotifieeList::add(NotifieeBase* notifiee) {
  assert(notifiee && (reinterpret_cast<std::uintptr_t>(notifiee) & kArrayTag) == 0);
  if (empty()) {
    word_ = reinterpret_cast<std::uintptr_t>(notifiee);
    return;
  }
  if (inlined()) {
    Array* grown = allocateArray(2);
    slots(grown)[0] = single();
    slots(grown)[1] = notifiee;
    grown->size = 2;
    word_ = reinterpret_cast<std::uintptr_t>(grown) | kArrayTag;
    return;
  }
  Array* a = array();
  if (a->size == a->capacity) {
    // Only appends: a delivery in progress reads its slots by index, below the size it started
    // with, and finds them where they were.
    Array* grown = allocateArray(a->capacity * 2);
    std::copy(slots(a), slots(a) + a->size, slots(grown));
    grown->size = a->size;
    freeArray(a);
    a = grown;
    word_ = reinterpret_cast<std::uintptr_t>(grown) | kArrayTag;
  }
  slots(a)[a->size++] = notifiee;
}

bool NotifieeList::remove(NotifieeBase* notifiee, bool keepIndices) {
  if (empty()) return false;
  if (inlined()) {
    // No delivery walks an inline list by index, so the slot can go at once.
    if (single() == notifiee) word_ = 0;
    return false;
  }
  Array* a = array();
  NotifieeBase** const first = slots(a);
  NotifieeBase** const it = std::find(first, first + a->size, notifiee);
  if (it == first + a->size) return false;
  if (keepIndices) {
    *it = nullptr;
    return true;
  }
  std::copy(it + 1, first + a->size, it);
  --a->size;
  if (a->size <= 1) compact();
  return false;
}

void NotifieeList::compact() {
  if (!(word_ & kArrayTag)) return;
  Array* a = array();
  NotifieeBase** const first = slots(a);
  a->size = static_cast<uint32_t>(std::remove(first, first + a->size, nullptr) - first);
  if (a->size > 1) return;
  NotifieeBase* const remaining = a->size == 1 ? first[0] : nullptr;
  freeArray(a);
  word_ = reinterpret_cast<std::uintptr_t>(remaining);
}

Entity::~Entity() {
  // Hooked observers hold a reference, so none can be left when the entity goes.
  assert(notifiees_.count() == 0 && "entity destroyed while observed");
}

std::size_t Entity::notifiees() const {
  return notifiees_.count();
}

template <class Call>
void Entity::deliverEach(Call&& call) const {
  // Keep the entity alive across the delivery: an observer may drop the last reference to it.
  // An entity that nothing references yet (under construction) has nothing to keep alive.
  const Ptr<const Entity> keepAlive(references() > 0 ? this : nullptr);
  // Observers added during this delivery first hear of the next change; removed ones are
  // nulled out (and skipped) until the outermost delivery compacts the list, also when an
  // observer's exception ends the delivery early.
  struct DepthGuard {
    const Entity& entity;
    explicit DepthGuard(const Entity& e) : entity(e) {
      assert(entity.deliveryDepth_ < UINT16_MAX && "deliveries nested too deep");
      ++entity.deliveryDepth_;
    }
    ~DepthGuard() {
      if (--entity.deliveryDepth_ == 0 && entity.compactPending_) {
        entity.notifiees_.compact();
        entity.compactPending_ = false;
      }
    }
  } depth(*this);
  if (notifiees_.inlined()) {
    // One observer: whatever it adds or removes, no later slot is left to visit.
    NotifieeBase* notifiee = notifiees_.single();
    if (notifiee->wantsNotification()) call(*notifiee);
    return;
  }
  // The array stays an array while any delivery is in progress (removals only null slots out,
  // additions append), so reading slot i afresh each time is safe even if it was reallocated.
  const std::size_t count = notifiees_.arraySlots();
  for (std::size_t i = 0; i < count; ++i) {
    NotifieeBase* notifiee = notifiees_.arraySlot(i);
    if (notifiee && notifiee->wantsNotification()) call(*notifiee);
  }
}

void Entity::deliver(const AttributeInfo& attr, const void* key, const Entity* removed) const {
  const auto toObservers = [&] {
    if (notifiees_.empty()) return;
    if (removed) {
      deliverEach([&](NotifieeBase& n) { n.onMemberRemoved(attr, key, *removed); });
    } else {
      deliverEach([&](NotifieeBase& n) { n.onAttribute(attr, key); });
    }
  };
  // Whether the parent's followers hear of the change is decided now: like any observer, a
  // follower that hooks during the delivery first hears of the next change.
  if (!parent_ || parent_->memberFollowers_ == 0) {
    toObservers();
    return;
  }
  // A member stays alive until its parent's followers have heard too, even if one of its own
  // observers drops the last reference to it.
  const Ptr<const Entity> keepAlive(references() > 0 ? this : nullptr);
  toObservers();
  // Read afresh: an observer may have taken this entity out of its parent, after which the
  // parent's followers no longer hear of it.
  const Entity* parent = parent_;
  if (parent && parent->memberFollowers_ > 0 && parent->hasNotificationActive_) {
    parent->deliverEach([&](NotifieeBase& n) {
      if (n.followsMembers()) n.onMemberAttribute(*this, attr, key);
    });
  }
}

void Entity::notifyMemberRemoved(const AttributeInfo& attr, const void* key,
                                 const Entity& removed) const {
  if (!hasNotificationActive_) return;
  if (notifiees_.empty() && !(parent_ && parent_->memberFollowers_ > 0)) return;
  deliver(attr, key, &removed);
}

void Entity::notifieeIs(NotifieeBase* notifiee) const {
  notifiees_.add(notifiee);
  if (notifiee->followsMembers()) {
    assert(memberFollowers_ < UINT8_MAX && "too many observers follow one entity's members");
    ++memberFollowers_;
  }
}

void Entity::notifieeDel(NotifieeBase* notifiee) const {
  if (notifiee->followsMembers()) --memberFollowers_;
  if (notifiees_.remove(notifiee, deliveryDepth_ > 0)) compactPending_ = true;
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
