#pragma once
// Reactors: objects that observe entities and keep derived state up to date.
//
// A stage reactor observes its input collections through nested observers and, for each member
// entity of an input that it follows, keeps a per-key reactor that observes that one member. All
// of these are the reactor's *parts*: turning the reactor's notifications on or off, or making it
// a zombie, reaches every part at once.
//
// The pieces, each written once here so that a reactor states only its inputs and handlers:
//
// - `Reactor`: the counted base of every reactor: `initialized`, `hasNotificationActive`, the
//   zombie state (`voxDoZombieReactors`) and the flag for deletion.
// - `MemberReactor<Derived, Owner, Member>`: a per-key reactor. It observes one member entity,
//   holds a counted reference to it and a plain pointer to its owner, the stage. It is stored in
//   its owner's `PerKeyReactorColl` slot, not allocated on its own. `Derived` names its
//   whole-member handler in `kWholeMemberHandler`; the handler runs when the per-key reactor is
//   created and, for reactors whose `kRemoval` is `Removal::kZombie`, once more when it is removed
//   (as a zombie, unhooked, over the member that it still holds), so that it can withdraw what the
//   member contributed.
// - `KeyForwarder<Owner, Attr, &Stage::handler>` and `MemberCollForwarder<...>`: the per-key
//   reactors every stage declares in one line: each key of one attribute of the member (or of
//   the members of one of its collections, followed without a per-key reactor each) goes to one
//   stage handler.
// - `PerKeyReactorColl<Vox>`: the owner's keyed collection of per-key reactors, with `is(member)`,
//   `del(key)` and `delAll()`. `is` with a null member throws the range exception
//   "null _<attr> parameter to mutator for <Class>::<attr> not allowed\"".
// - `CollectionObserver<Attr, Vox>`: observes an entity-collection attribute of an input
//   collection and keeps the per-key reactors in step with its members.
// - `KeyObserver<Attr, &Host::handler>`: observes one attribute of an entity and calls the
//   handler with each changed key (or without it, for a handler that takes no key).
//
// All calls happen on the owner's event-loop thread.
#include <functional>
#include <string>
#include <type_traits>

#include "platform/vox/Attribute.h"
#include "platform/vox/Entity.h"
#include "platform/vox/Exception.h"
#include "platform/vox/KeyedTable.h"
#include "platform/vox/Ptr.h"

namespace Vox {

// Something a reactor switches on, off and into the zombie state together with itself.
class ReactorPart {
 public:
  virtual void partNotificationActiveIs(bool active) = 0;
  virtual void partZombieIs(bool zombie) = 0;

 protected:
  ReactorPart() = default;
  virtual ~ReactorPart() = default;

 private:
  friend class Reactor;
  ReactorPart* nextPart_ = nullptr;
};

class Reactor : public PtrInterface, public TrackedObject<MemoryKind::kReactor> {
 public:
  Reactor(const Reactor&) = delete;
  Reactor& operator=(const Reactor&) = delete;

  bool initialized() const { return initialized_; }
  // Stores the flag only; triggers nothing.
  void initializedIs(bool initialized) { initialized_ = initialized; }

  bool hasNotificationActive() const { return hasNotificationActive_; }
  // When the value changes: sets it on the reactor and on every part, in declaration order.
  virtual void hasNotificationActiveIs(bool active);

  bool zombie() const { return zombie_; }
  // Flagged for deletion: set together with the zombie state.
  bool deleting() const { return deleting_; }
  // When the value changes: sets the zombie flag, passes it to every part (per-key reactors
  // become zombies in turn, observers unhook from, or hook back onto, their notifiers), runs
  // `onZombie` (a per-key reactor's whole-member handler), and finally sets the flag for deletion.
  virtual void voxDoZombieReactors(bool zombie);

  // Registers a part; parts are members of the reactor and live as long as it does.
  void partIs(ReactorPart& part);

 protected:
  Reactor() = default;
  ~Reactor() override = default;
  virtual void onZombie(bool /*zombie*/) {}

 private:
  ReactorPart* firstPart_ = nullptr;
  ReactorPart* lastPart_ = nullptr;
  bool initialized_ = false;
  bool hasNotificationActive_ = false;
  bool zombie_ = false;
  bool deleting_ = false;
};

// What removing a per-key reactor does beyond dropping it.
enum class Removal {
  kDrop,    // drop it; what its member contributed stays until the owner re-derives it
  kZombie,  // make it a zombie first: its whole-member handler runs once more and withdraws
};

// A per-key reactor: observes one member entity and forwards its changes to its owner, the stage
// reactor. It is not a counted object of its own: it lives in its owner's `PerKeyReactorColl`
// table slot, so it costs one slot and no allocation, and it goes when its key is removed. It
// holds a counted reference to its member (through the observer) and a plain pointer to its
// owner (the owner holds it, so a counted back reference would be a cycle). Members nested one
// level deeper need no per-key reactor of their own: the per-key reactor follows them
// (`MemberCollForwarder`).
//
// `Derived` names its whole-member handler in `kWholeMemberHandler` (run when the per-key reactor
// is created and, for `kRemoval == Removal::kZombie`, once more as a zombie when it is removed,
// unhooked, over the member it still holds, so that it can withdraw what the member contributed).
template <class Derived, class OwnerT, class MemberT>
class MemberReactor : public MemberT::NotifieeConst {
 public:
  using Owner = OwnerT;
  using Member = MemberT;
  using Key = typename MemberT::KeyType;

  // `followsMembers`: the per-key reactor also hears the changes of its member's own members.
  MemberReactor(const Ptr<const Member>& member, Owner* owner, bool followsMembers = false)
      : owner_(owner) {
    this->followsMembersIs(followsMembers);
    this->notifierIs(member);
  }

  const Member* member() const { return this->notifier(); }
  // The member is held (counted) for the reactor's whole life: its key is always there.
  const Key& key() const { return member()->key(); }

  Owner* owner() const { return owner_; }

  // Created, switched on and not retiring: its handlers may walk its member.
  bool alive() const { return this->hasNotificationActive() && !zombie_; }
  // The stage is neither being constructed nor torn down: its handlers may run.
  bool ownerAlive() const { return owner_->references() > 0 && !owner_->deleting(); }
  // The stage is alive and initialized: its asserting handlers may be called.
  bool ownerReady() const { return ownerAlive() && owner_->initialized(); }

  bool zombie() const { return zombie_; }
  bool deleting() const { return NotifieeBase::deleting(); }
  // Being removed from its owner's collection (set by the collection, for re-entrant removals).
  bool retiring() const { return retiring_; }
  void retiringIs() { retiring_ = true; }

  // Becoming a zombie: it unhooks and runs its whole-member handler once more; finally it is
  // flagged for deletion. Leaving the state hooks it back on.
  void voxDoZombieReactors(bool zombie) {
    if (zombie == zombie_) return;
    zombie_ = zombie;
    if (zombie) {
      this->unhook();
      runWholeMemberHandler();
    } else {
      this->hook();
    }
    this->deletingIs(zombie);
  }

  void runWholeMemberHandler() { (static_cast<Derived*>(this)->*Derived::kWholeMemberHandler)(); }

 private:
  bool zombie_ = false;
  bool retiring_ = false;
  Owner* owner_;
};

// The typed forwarder: "every key of attribute `Attr` of the member goes to `Handler` of the
// stage", as a per-key reactor of `Owner`. `Handler` is a stage member function taking the
// member's key and then the changed key:
//
//   using VoxFecLabelSet = Vox::KeyForwarder<LabelForwardingInfoSm,
//       FecLabelSet::mplsLabelAttribute, &LabelForwardingInfoSm::handleFecLabel>;
//
// calls `handleFecLabel(fec, label)` for every label added to or removed from the FEC's set, and
// for every label present when the per-key reactor is created or (with `Removal::kZombie`)
// removed. Those whole-member runs happen only while the stage is alive and initialized. A stage
// that can treat the whole member faster than key by key names `WholeHandler`, called with the
// member's key and the member instead.
template <class Owner, class Attr, auto Handler, Removal R = Removal::kZombie,
          auto WholeHandler = nullptr>
class KeyForwarder : public MemberReactor<KeyForwarder<Owner, Attr, Handler, R, WholeHandler>,
                                          Owner, typename Attr::OwnerType> {
  using Base = MemberReactor<KeyForwarder, Owner, typename Attr::OwnerType>;

 public:
  static constexpr Removal kRemoval = R;
  using Base::Base;

  // One changed key of the member.
  void forward(const typename Attr::Key& changed) {
    std::invoke(Handler, *this->owner(), this->key(), changed);
  }
  void handleMember() {
    if (!this->ownerReady()) return;
    if constexpr (std::is_same_v<decltype(WholeHandler), std::nullptr_t>) {
      forEachKeyOf<Attr>(*this->member(), [&](const typename Attr::Key& k) { forward(k); });
    } else {
      std::invoke(WholeHandler, *this->owner(), this->key(), *this->member());
    }
  }
  static constexpr auto kWholeMemberHandler = &KeyForwarder::handleMember;

  void onAttribute(const AttributeInfo& attr, const void* key) override {
    if (const auto* changed = Attr::match(attr, key)) forward(*changed);
  }
};

// A per-key reactor one level up: follows an entity-collection attribute `CollAttr` of its
// member, and sends every key of `LeafAttr` of every member of that collection to `LeafHandler`,
// with the keys of both levels. It keeps nothing per nested member: its own observer follows the
// members (member notifications, Entity.h), so a FEC's entry with four routers costs one per-key
// reactor, not five. A nested member joining, or leaving (with `Removal::kZombie`), has each of
// its leaf keys forwarded once, as a per-member reactor's whole-member run would; its own
// whole-member handler walks every (nested key, leaf key) pair of its member. `Derived` names the
// nested collection in the null-argument text with `kClassName`:
//
//   struct VoxFecRouterLabel : Vox::MemberCollForwarder<VoxFecRouterLabel, LabelForwardingInfoSm,
//       FecRouterLabelInfo::routerLabelInfoAttribute, RouterLabelInfo::routerLabelAttribute,
//       &LabelForwardingInfoSm::handleFecRouterLabel> {
//     static constexpr const char* kClassName = "Mpls::LabelForwardingInfoSm::VoxFecRouterLabel";
//     using MemberCollForwarder::MemberCollForwarder;
//   };
template <class Derived, class Owner, class CollAttr, class LeafAttr, auto LeafHandler,
          Removal R = Removal::kZombie>
class MemberCollForwarder : public MemberReactor<Derived, Owner, typename CollAttr::OwnerType> {
  using Base = MemberReactor<Derived, Owner, typename CollAttr::OwnerType>;
  using NestedMember = typename CollAttr::Member;
  // A leaf notification is recognised by its attribute, so the collection's members must be the
  // leaf attribute's owners.
  static_assert(std::is_same_v<typename LeafAttr::OwnerType, NestedMember>);

 public:
  // The per-member part of the declaration: which attribute of each nested member goes to which
  // handler. Nothing of it is instantiated per member.
  struct Nested {
    using Attr = LeafAttr;
    static constexpr auto kHandler = LeafHandler;
  };
  static constexpr Removal kRemoval = R;

  MemberCollForwarder(const Ptr<const typename Base::Member>& member, Owner* owner)
      : Base(member, owner, /*followsMembers=*/true) {}

  void handleMember() {
    if (!this->ownerReady()) return;
    const auto& members = CollAttr::of(*this->member());
    for (auto it = members.begin(); it != members.end(); ++it)
      forwardNested(*it.member());
  }
  static constexpr auto kWholeMemberHandler = &MemberCollForwarder::handleMember;

  // Re-derives what one member of the followed collection contributes, as its joining does. A
  // null member is refused with the range exception "null _<coll> parameter to mutator for
  // <kClassName>::<coll> not allowed\"".
  void nestedIs(const Ptr<const NestedMember>& nested) {
    if (!nested) {
      throw RangeException(std::string("null _") + CollAttr::info.name +
                           " parameter to mutator for " + Derived::kClassName +
                           "::" + CollAttr::info.name + " not allowed\"");
    }
    if (this->alive() && this->ownerReady()) forwardNested(*nested);
  }

  // A member joined: whatever it already holds (a member is usually created empty).
  void onAttribute(const AttributeInfo& attr, const void* key) override {
    const auto* joined = CollAttr::match(attr, key);
    if (!joined || !this->ownerReady()) return;
    if (const NestedMember* nested = CollAttr::of(*this->member()).find(*joined)) {
      forwardNested(*nested);
    }
  }
  // A member left: what it held, read from the member itself, which still holds it (so its key
  // is its own, never a stand-in for a member already gone).
  void onMemberRemoved(const AttributeInfo& attr, const void* key, const Entity& removed) override {
    if constexpr (R == Removal::kZombie) {
      if (CollAttr::match(attr, key) && this->ownerReady()) {
        forwardNested(static_cast<const NestedMember&>(removed));
      }
    }
  }
  // A key of a member's leaf attribute changed.
  void onMemberAttribute(const Entity& nested, const AttributeInfo& attr,
                         const void* key) override {
    if (const auto* leaf = LeafAttr::match(attr, key)) {
      forward(static_cast<const NestedMember&>(nested).key(), *leaf);
    }
  }

 private:
  void forward(const typename CollAttr::Key& nestedKey, const typename LeafAttr::Key& leafKey) {
    std::invoke(LeafHandler, *this->owner(), this->key(), nestedKey, leafKey);
  }
  void forwardNested(const NestedMember& nested) {
    forEachKeyOf<LeafAttr>(
        nested, [&](const typename LeafAttr::Key& leaf) { forward(nested.key(), leaf); });
  }
};

// The owner's keyed collection of per-key reactors, stored in the table's slots (references stay
// valid until the key is removed). `xIs(member)` creates or keeps the per-key reactor of the
// member's key, `xDel(key)` retires and removes it, `xDelAll()` removes all.
template <class VoxT>
class PerKeyReactorColl : public ReactorPart {
  // A per-key reactor's key is its member's, so its slot does not store it again.
  struct ReactorKey {
    const typename VoxT::Key& operator()(const VoxT& reactor) const { return reactor.key(); }
  };
  // A stage's collection holds many per-key reactors: an inline slot would be bytes for nothing.
  using Table = KeyedTable<typename VoxT::Key, VoxT, MemoryKind::kReactor, 0, ReactorKey>;

 public:
  using Key = typename VoxT::Key;
  using Member = typename VoxT::Member;
  using Owner = typename VoxT::Owner;

  // `className` and `attributeName` name the collection in the null-argument text. A stage
  // registers the collection as one of its parts; a per-key owner passes its switches on itself.
  PerKeyReactorColl(Owner& owner, const char* className, const char* attributeName)
      : owner_(owner), className_(className), attributeName_(attributeName) {
    owner.partIs(*this);
  }
  PerKeyReactorColl(const PerKeyReactorColl&) = delete;
  PerKeyReactorColl& operator=(const PerKeyReactorColl&) = delete;

  std::size_t size() const { return table_.size(); }
  VoxT* find(const Key& key) const { return const_cast<Table&>(table_).find(key); }
  const Table& table() const { return table_; }

  // The per-key reactor of `member`'s key: the existing one if it observes this very member,
  // else a new one (retiring one that observes another member of the same key first). The
  // returned pointer is valid until the key is removed.
  VoxT* is(const Ptr<const Member>& member) {
    if (!member) {
      throw RangeException(std::string("null _") + attributeName_ + " parameter to mutator for " +
                           className_ + "::" + attributeName_ + " not allowed\"");
    }
    const Key key = member->key();
    while (VoxT* existing = table_.find(key)) {
      if (existing->member() == member.ptr() || existing->retiring()) return existing;
      del(key);
    }
    VoxT* reactor = table_.emplace(key, member, &owner_).first;
    reactor->hasNotificationActiveIs(true);
    reactor->runWholeMemberHandler();
    return reactor;
  }

  // Retires the per-key reactor of `key` (its zombie run, while it is still in the collection)
  // and then removes it.
  void del(const Key& key) {
    VoxT* reactor = table_.find(key);
    if (!reactor || reactor->retiring()) return;  // absent, or already being retired
    reactor->retiringIs();
    if constexpr (VoxT::kRemoval == Removal::kZombie) reactor->voxDoZombieReactors(true);
    reactor->hasNotificationActiveIs(false);
    table_.erase(key);
  }

  void delAll() {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      del(it.key());
  }

  void partNotificationActiveIs(bool active) override {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      it.value().hasNotificationActiveIs(active);
  }
  void partZombieIs(bool zombie) override {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      it.value().voxDoZombieReactors(zombie);
  }

 private:
  Owner& owner_;
  const char* className_;
  const char* attributeName_;
  Table table_;
};

// Brings `perKey` in line with the members of attribute `Attr` of `entity`: a per-key reactor for
// every member present (kept when it already observes that member), none for absent keys.
template <class Attr, class VoxT>
void syncPerKeyReactors(PerKeyReactorColl<VoxT>& perKey, const typename Attr::OwnerType& entity) {
  const auto& members = Attr::of(entity);
  for (auto it = members.begin(); it != members.end(); ++it)
    perKey.is(it.member());
  for (auto it = perKey.table().begin(); it != perKey.table().end(); ++it) {
    if (!members.find(it.key())) perKey.del(it.key());
  }
}

// Follows one change of attribute `Attr` of `entity` at `key`: creates (or keeps) the per-key
// reactor of a member that is present, removes the one of a member that is gone.
template <class Attr, class VoxT>
void followMember(PerKeyReactorColl<VoxT>& perKey, const typename Attr::OwnerType& entity,
                  const typename Attr::Key& key) {
  if (auto* member = Attr::of(entity).find(key)) {
    perKey.is(Ptr<const typename Attr::Member>(member));
  } else {
    perKey.del(key);
  }
}

// An observer that is a reactor part: its notifications follow the reactor's, and it unhooks
// from its notifier while the reactor is a zombie.
template <class Notifiee>
class ObserverPart : public Notifiee, public ReactorPart {
 public:
  void partNotificationActiveIs(bool active) override { this->hasNotificationActiveIs(active); }
  void partZombieIs(bool zombie) override {
    if (zombie) {
      this->unhook();
    } else {
      this->hook();
    }
  }
};

// Keeps a per-key reactor for every member of one entity-collection attribute of a collection.
template <class Attr, class VoxT>
class CollectionObserver : public ObserverPart<typename Attr::OwnerType::NotifieeConst> {
  using Coll = typename Attr::OwnerType;

 public:
  CollectionObserver(Reactor& host, PerKeyReactorColl<VoxT>& perKey) : perKey_(perKey) {
    host.partIs(*this);
  }
  // Observes `coll` from the start (nothing when it is null).
  CollectionObserver(Reactor& host, PerKeyReactorColl<VoxT>& perKey, const Ptr<const Coll>& coll)
      : CollectionObserver(host, perKey) {
    if (coll) notifierIs(coll);
  }

  // Observes `coll` and brings the per-key reactors in line with its members.
  void notifierIs(const Ptr<const Coll>& coll) {
    Coll::NotifieeConst::notifierIs(coll);
    this->hasNotificationActiveIs(true);
    if (coll) syncPerKeyReactors<Attr>(perKey_, *coll);
  }

  void onAttribute(const AttributeInfo& attr, const void* key) override {
    if (const auto* changed = Attr::match(attr, key)) {
      followMember<Attr>(perKey_, *this->notifier(), *changed);
    }
  }

 private:
  PerKeyReactorColl<VoxT>& perKey_;
};

namespace detail {
template <class>
struct MemberFunctionClass;
template <class C, class R, class... A>
struct MemberFunctionClass<R (C::*)(A...)> {
  using type = C;
};
}  // namespace detail

// Calls `Handler` of its host with every changed key of attribute `Attr`.
template <class Attr, auto Handler>
class KeyObserver : public ObserverPart<typename Attr::OwnerType::NotifieeConst> {
  using Host = typename detail::MemberFunctionClass<decltype(Handler)>::type;

 public:
  explicit KeyObserver(Host& host) : host_(host) { host.partIs(*this); }
  // Observes `entity` from the start (nothing when it is null).
  KeyObserver(Host& host, const Ptr<const typename Attr::OwnerType>& entity) : KeyObserver(host) {
    if (entity) notifierIs(entity);
  }

  void notifierIs(const Ptr<const typename Attr::OwnerType>& entity) {
    Attr::OwnerType::NotifieeConst::notifierIs(entity);
    this->hasNotificationActiveIs(true);
  }

  void onAttribute(const AttributeInfo& attr, const void* key) override {
    const auto* changed = Attr::match(attr, key);
    if (!changed) return;
    if constexpr (std::is_invocable_v<decltype(Handler), Host&, const typename Attr::Key&>) {
      std::invoke(Handler, host_, *changed);
    } else {
      std::invoke(Handler, host_);  // a handler that re-reads the whole attribute
    }
  }

 private:
  Host& host_;
};

}  // namespace Vox
