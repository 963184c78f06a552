#pragma once
// Entities and their observers.
//
// An entity is a reference-counted framework object whose attributes are a fixed key and keyed
// collections (see Attribute.h). Every change of a collection attribute is announced to the
// entity's observers, once per inserted or removed key, after the change, with the attribute's
// identity and the key. A set that already holds a key, or lacks one being removed, changes
// nothing and announces nothing.
//
// Observers ("notifiees") derive from `E::NotifieeConst` (= `Vox::EntityNotifiee<E>`) and receive
// `onAttribute(attr, key)`; they pick the attributes they follow with `Attr::match`:
//
//   class Follower : public Mpls::RouterIpAddrInfo::NotifieeConst {
//     void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
//       if (auto* addr = Mpls::RouterIpAddrInfo::ipAddrAttribute::match(attr, key)) use(*addr);
//     }
//   };
//   follower.notifierIs(info);                  // hook on the entity's observer list
//   follower.hasNotificationActiveIs(true);     // start receiving
//
// What an observer may do inside `onAttribute`: anything, including changing the entity it
// observes (those changes notify in turn, depth first), removing itself or any other observer
// from the list, adding observers (they first hear of the next change), and dropping the last
// reference to the entity (it stays alive until the delivery returns). The key reference is
// valid only for the duration of the call. An exception thrown by an observer ends the delivery
// (later observers do not hear of that change) and reaches whoever made the change; the
// observer list stays consistent.
//
// An observer receives notifications only while it is hooked, its notifications are active and
// it is not flagged for deletion. An entity delivers only while its own notifications are active
// (collections turn that on for members they create; factories for free-standing entities).
//
// Following members. An observer that says so at construction (`followsMembersIs(true)`, before
// it hooks) also hears, through `onMemberAttribute(member, attr, key)`, every change of every
// entity that its notifier holds in an entity-collection attribute, for as long as the member is
// held there: one observer of a FEC's entry then follows each of its routers' label sets without
// an observer per router. When a member is removed, `onMemberRemoved(attr, key, member)` is
// called instead of `onAttribute`, with the member that just left (still alive, still holding
// what it held), so that what it contributed can be withdrawn. Member changes reach the parent's
// followers after the member's own observers, under the same rules.
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/vox/Ptr.h"
#include "platform/vox/TrackingAllocator.h"

namespace Vox {

// The identity of one attribute of one entity type: the address of a per-attribute constant.
struct AttributeInfo {
  const char* name;
};

class NotifieeBase;

// The observer list of one entity, in one word. Most entities have at most one observer, so the
// word holds that observer itself; a second observer moves the list to a heap array (accounted
// as kNotifieeList), which goes again when the list is back to one observer outside a delivery.
// Slots keep the order of addition. Removal during a delivery nulls the slot out, so that indices
// stay valid for the loops in progress, and `compact` drops the nulls afterwards.
class NotifieeList {
 public:
  NotifieeList() = default;
  NotifieeList(const NotifieeList&) = delete;
  NotifieeList& operator=(const NotifieeList&) = delete;
  ~NotifieeList() { release(); }

  bool empty() const { return word_ == 0; }
  // Whether the list holds exactly one observer in place (then `single()` is it).
  bool inlined() const { return word_ != 0 && (word_ & kArrayTag) == 0; }
  NotifieeBase* single() const { return reinterpret_cast<NotifieeBase*>(word_); }
  // Slots of the heap array, nulled-out ones included; only when not `inlined()`.
  std::size_t arraySlots() const { return word_ == 0 ? 0 : array()->size; }
  NotifieeBase* arraySlot(std::size_t i) const { return slots(array())[i]; }

  std::size_t count() const;
  void add(NotifieeBase* notifiee);
  // Takes `notifiee` off the list. With `keepIndices`, a slot of the array is nulled out instead
  // of erased; returns whether that happened (the list then needs `compact`).
  bool remove(NotifieeBase* notifiee, bool keepIndices);
  // Drops nulled-out slots; a list left with one observer or none gives its array back.
  void compact();

 private:
  struct Array {
    uint32_t size;
    uint32_t capacity;
  };
  static constexpr std::uintptr_t kArrayTag = 1;  // observers are at least pointer-aligned

  Array* array() const { return reinterpret_cast<Array*>(word_ & ~kArrayTag); }
  static NotifieeBase** slots(Array* a) { return reinterpret_cast<NotifieeBase**>(a + 1); }
  static Array* allocateArray(uint32_t capacity);
  static void freeArray(Array* a) noexcept;
  void release() noexcept;

  std::uintptr_t word_ = 0;
};

class Entity : public PtrInterface, public TrackedObject<MemoryKind::kEntity> {
 public:
  Entity(const Entity&) = delete;
  Entity& operator=(const Entity&) = delete;

  // The framework's name of the object: the key's text form for keyed entities, the given name
  // for named ones, empty otherwise.
  virtual std::string name() const { return {}; }

  // The entity whose collection holds this one, or null (free-standing or removed).
  const Entity* parent() const { return parent_; }
  void parentIs(const Entity* parent) { parent_ = parent; }

  bool hasNotificationActive() const { return hasNotificationActive_; }
  void hasNotificationActiveIs(bool active) { hasNotificationActive_ = active; }

  // Observers currently on the list.
  std::size_t notifiees() const;
  // The observers themselves, in the order they were added (read-only: observers hook and unhook
  // themselves).
  const NotifieeList& notifieeList() const { return notifiees_; }

  // Announces a change of `attr` at `key` to every observer, and to the followers of the entity
  // that holds this one. For attribute implementations.
  void notifyAttribute(const AttributeInfo& attr, const void* key) const {
    if (!hasNotificationActive_) return;
    if (notifiees_.empty() && !(parent_ && parent_->memberFollowers_ > 0)) return;
    deliver(attr, key);
  }
  // Announces that the member `removed`, held under `key` of entity-collection attribute `attr`,
  // has just been removed. For attribute implementations.
  void notifyMemberRemoved(const AttributeInfo& attr, const void* key, const Entity& removed) const;

 protected:
  Entity() = default;
  ~Entity() override;

 private:
  friend class NotifieeBase;
  // To the observers (`onAttribute`, or `onMemberRemoved` when `removed` is given), then to the
  // parent's member followers.
  void deliver(const AttributeInfo& attr, const void* key, const Entity* removed = nullptr) const;
  // Calls `call(*notifiee)` for every observer that wants notifications, keeping the entity alive
  // and the list consistent whatever the observers do.
  template <class Call>
  void deliverEach(Call&& call) const;
  void notifieeIs(NotifieeBase* notifiee) const;
  void notifieeDel(NotifieeBase* notifiee) const;

  // The depth and flags come first so that they share the word left over after the reference
  // count; the entity is then a vtable pointer, that word, the observer list and the parent.
  mutable uint16_t deliveryDepth_ = 0;       // nested deliveries in progress
  mutable bool compactPending_ : 1 = false;  // observers removed during a delivery
  bool hasNotificationActive_ : 1 = false;
  mutable uint8_t memberFollowers_ = 0;  // hooked observers that follow members
  mutable NotifieeList notifiees_;
  const Entity* parent_ = nullptr;
};

// An observer of one entity. Hooked observers hold a counted reference to their notifier, so an
// entity outlives everything that watches it.
class NotifieeBase {
 public:
  NotifieeBase(const NotifieeBase&) = delete;
  NotifieeBase& operator=(const NotifieeBase&) = delete;

  // A change of `attr` at `key` (a `const Attr::Key*`) of the notifier.
  virtual void onAttribute(const AttributeInfo& attr, const void* key) = 0;
  // Member `removed` has left entity-collection attribute `attr` of the notifier; by default an
  // ordinary change of `attr` at `key`.
  virtual void onMemberRemoved(const AttributeInfo& attr, const void* key, const Entity& removed) {
    (void)removed;
    onAttribute(attr, key);
  }
  // A change of `attr` at `key` of `member`, an entity the notifier holds; only for observers
  // that follow members.
  virtual void onMemberAttribute(const Entity& member, const AttributeInfo& attr, const void* key) {
    (void)member, (void)attr, (void)key;
  }
  bool followsMembers() const { return followsMembers_; }

  bool hasNotificationActive() const { return hasNotificationActive_; }
  virtual void hasNotificationActiveIs(bool active) { hasNotificationActive_ = active; }

  // Flagged for deletion: the observer is on its way out and ignores notifications.
  bool deleting() const { return deleting_; }
  void deletingIs(bool deleting) { deleting_ = deleting; }

  // Whether the observer is on its notifier's list. `unhook` takes it off (a zombie does) while
  // keeping the notifier; `hook` puts it back.
  bool hooked() const { return hooked_; }
  void hook();
  void unhook();

  bool wantsNotification() const { return hasNotificationActive_ && !deleting_; }

 protected:
  NotifieeBase() = default;
  virtual ~NotifieeBase();

  const Entity* notifierBase() const { return notifier_.ptr(); }
  // Switches to `notifier` (hooked), or to none.
  void notifierBaseIs(const Entity* notifier);
  // Asks for the changes of the notifier's members too; only before the observer first hooks.
  void followsMembersIs(bool follows) {
    assert(!hooked_ && "an observer follows members or not from before it hooks");
    followsMembers_ = follows;
  }

 private:
  Ptr<const Entity> notifier_;
  bool hooked_ = false;
  bool hasNotificationActive_ = false;
  bool deleting_ = false;
  bool followsMembers_ = false;
};

// The constant notifiee of entity type `E`: observes one `E` through a read-only reference.
template <class E>
class EntityNotifiee : public NotifieeBase {
 public:
  const E* notifier() const { return static_cast<const E*>(notifierBase()); }
  void notifierIs(const Ptr<const E>& notifier) { notifierBaseIs(notifier.ptr()); }
};

// Base of every entity type `Derived`: gives it its notifiee class.
template <class Derived>
class EntityBase : public Entity {
 public:
  using NotifieeConst = EntityNotifiee<Derived>;
};

// Base of an entity identified by a key (a value type), fixed at construction. Collections
// construct their members from the key.
template <class Derived, class Key>
class KeyedEntity : public EntityBase<Derived> {
 public:
  using KeyType = Key;
  const Key& key() const { return key_; }
  std::string name() const override { return key_.valueToStrep(); }

 protected:
  explicit KeyedEntity(const Key& key) : key_(key) {}

 private:
  const Key key_;
};

// Base of an entity that carries a name given at creation.
template <class Derived>
class NamedEntity : public EntityBase<Derived> {
 public:
  std::string name() const override { return name_; }

 protected:
  explicit NamedEntity(std::string name) : name_(std::move(name)) {}

 private:
  std::string name_;
};

// Allocates an entity (or any framework object), constructs it with `args` and turns its
// notifications on, as every creator of a free-standing object does.
template <class T, class... Args>
Ptr<T> create(Args&&... args) {
  Ptr<T> object(new T(std::forward<Args>(args)...));
  object->hasNotificationActiveIs(true);
  return object;
}

}  // namespace Vox
