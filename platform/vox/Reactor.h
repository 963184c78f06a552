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
//   holds a counted reference to it and a plain back pointer to its owner (the owner holds the
//   per-key reactor, so a counted back reference would be a cycle). `Derived` names its
//   whole-member handler in `kWholeMemberHandler`; the handler runs when the per-key reactor is
//   created and, for reactors whose `kRemoval` is `Removal::kZombie`, once more when it is
//   removed (as a zombie, unhooked, over the member that it still holds), so that it can withdraw
//   what the member contributed.
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

template <class Derived, class OwnerT, class MemberT>
class MemberReactor : public Reactor, public MemberT::NotifieeConst {
 public:
  using Owner = OwnerT;
  using Member = MemberT;
  using Key = typename MemberT::KeyType;

  MemberReactor(const Ptr<const Member>& member, Owner* owner) : owner_(owner) {
    this->notifierIs(member);
  }

  const Member* member() const { return this->notifier(); }
  const Key& key() const { return member()->key(); }
  Owner* owner() const { return owner_; }
  // The owner is neither being constructed nor torn down: its handlers may run.
  bool ownerAlive() const { return owner_->references() > 0 && !owner_->deleting(); }
  // Alive and initialized: the owner's asserting handlers may be called.
  bool ownerReady() const { return ownerAlive() && owner_->initialized(); }

  bool hasNotificationActive() const { return Reactor::hasNotificationActive(); }
  void hasNotificationActiveIs(bool active) override {
    NotifieeBase::hasNotificationActiveIs(active);
    Reactor::hasNotificationActiveIs(active);
  }
  bool deleting() const { return Reactor::deleting(); }

  void runWholeMemberHandler() { (static_cast<Derived*>(this)->*Derived::kWholeMemberHandler)(); }

 protected:
  void onZombie(bool zombie) override {
    if (zombie) {
      this->unhook();
      runWholeMemberHandler();
    } else {
      this->hook();
    }
    this->deletingIs(zombie);
  }

 private:
  Owner* owner_;
};

template <class VoxT>
class PerKeyReactorColl : public ReactorPart {
  using Table = KeyedTable<typename VoxT::Key, Ptr<VoxT>, MemoryKind::kReactor>;

 public:
  using Key = typename VoxT::Key;
  using Member = typename VoxT::Member;
  using Owner = typename VoxT::Owner;

  // `className` and `attributeName` name the collection in the null-argument text.
  PerKeyReactorColl(Owner& owner, const char* className, const char* attributeName)
      : owner_(owner), className_(className), attributeName_(attributeName) {
    owner.partIs(*this);
  }
  PerKeyReactorColl(const PerKeyReactorColl&) = delete;
  PerKeyReactorColl& operator=(const PerKeyReactorColl&) = delete;

  std::size_t size() const { return table_.size(); }
  Ptr<VoxT> find(const Key& key) const {
    const Ptr<VoxT>* reactor = table_.find(key);
    return reactor ? *reactor : nullptr;
  }
  const Table& table() const { return table_; }

  // The per-key reactor of `member`'s key: the existing one if it observes this very member,
  // else a new one (replacing one that observes another member of the same key).
  Ptr<VoxT> is(const Ptr<const Member>& member) {
    if (!member) {
      throw RangeException(std::string("null _") + attributeName_ + " parameter to mutator for " +
                           className_ + "::" + attributeName_ + " not allowed\"");
    }
    const Key key = member->key();
    Ptr<VoxT> previous;
    if (Ptr<VoxT>* existing = table_.find(key)) {
      if ((*existing)->member() == member.ptr()) return *existing;
      previous = *existing;
      table_.erase(key);
    }
    Ptr<VoxT> reactor(new VoxT(member, &owner_));
    reactor->hasNotificationActiveIs(true);
    table_.insert(key, reactor);
    retire(previous);
    reactor->runWholeMemberHandler();
    return reactor;
  }

  void del(const Key& key) {
    Ptr<VoxT>* stored = table_.find(key);
    if (!stored) return;
    Ptr<VoxT> reactor = *stored;
    table_.erase(key);
    retire(reactor);
  }

  void delAll() {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      del(it.key());
  }

  void partNotificationActiveIs(bool active) override {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      it.value()->hasNotificationActiveIs(active);
  }
  void partZombieIs(bool zombie) override {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      it.value()->voxDoZombieReactors(zombie);
  }

 private:
  static void retire(const Ptr<VoxT>& reactor) {
    if (!reactor) return;
    if constexpr (VoxT::kRemoval == Removal::kZombie) reactor->voxDoZombieReactors(true);
    reactor->hasNotificationActiveIs(false);
  }

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
