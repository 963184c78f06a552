#pragma once
// The pattern every compiled dataflow pipeline follows, written once.
//
// A pipeline watches each input collection with an *input state machine*: `CollSm` for a
// collection whose entries hold nested collections (one child state machine per entry) and
// `SetSm` for a keyed set (the leaves, and plain top-level sets). A state machine first scans
// what it watches, then follows change notifications; every element it sees, and every change,
// becomes an *event*: the element's keys (outermost first, as a tuple) and a presence flag
// (`Presence`, engaged when the element exists). Events flow, through whatever joins the pipeline
// declares, into its `eventToPipeline0`, which adds or removes one output element.
//
// `FluxPipeline<Self, Pipeline0KeyType, InputSmScanState>` is the reactor around it: at
// `handleInitialized` it notes whether the output holds something left from an earlier life
// (reconciling), lets the pipeline create its top-level state machines (whose scans deliver the
// initial events at once, noting every output key touched in `pipeline0Seen`), and once every
// registered state machine has completed its scan removes the output elements nothing justified,
// then publishes `outputState.pipeline0Ready`. Justified elements are never removed and re-added.
// Readiness and reconciliation happen once per reactor life.
//
// A pipeline states only its keys, its state machines (each a class over one of these templates
// that names its key handler, `handle<Attr>`, after the watched attribute), its streams and
// `eventToPipeline0`; see IpAddrToRouterIdInfoSm.h for the smallest. The reactor creates each
// top-level state machine through its `<attr>Sm<n>Is` (`inputSmIs`) and lets it go through
// `<attr>Sm<n>Del` (`inputSmDel`, which lets the children go by `childSmDelAll`): its destructor
// does so, in declaration order, emitting nothing, so the output stays for the next instance.
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>

#include "platform/flux/InputStateMachine.h"
#include "platform/vox/Exception.h"
#include "platform/vox/KeyedTable.h"
#include "platform/vox/Trace.h"
#include "quill/core/Stage.h"

namespace Mpls::FluxCode {
// The payload of every event: it carries nothing; its presence is the information.
struct Unit_ {
  bool operator==(const Unit_&) const = default;
};
}  // namespace Mpls::FluxCode

namespace Quill::Flux {

using Presence = std::optional<Mpls::FluxCode::Unit_>;
inline Presence presence(bool present) {
  return present ? Presence(Mpls::FluxCode::Unit_{}) : std::nullopt;
}

// Published by every pipeline: whether its output is complete (the scans are done and stale
// output reconciled). Nothing in the library waits for it.
class OutputState : public Vox::EntityBase<OutputState> {
 public:
  VOX_VALUE_ATTRIBUTE(OutputState, pipeline0Ready, bool, false)
};

// How a state machine traces and names itself.
struct SmIdentity {
  const char* name;     // the state machine's type name, e.g. "IpAddrSm1"
  const char* handler;  // its key handler, e.g. "handleIpAddr"
  const char* watched;  // the watched attribute, e.g. "ipAddr"
  const Vox::TraceHandle* trace;
};

// Behaviour shared by both kinds of state machine: the watched entity, its observer, the parent
// and the scan.
template <class Attr, class Derived>
class InputSm : public Flx::Gen::InputStateMachine {
 public:
  using En = typename Attr::OwnerType;
  using Key = typename Attr::Key;

  const Vox::Ptr<const En>& en() const { return en_; }
  const void* parent() const { return parent_; }
  const Key& inputScanBookmark() const { return bookmark_; }
  void inputScanBookmarkIs(const Key& key) { bookmark_ = key; }

  void doInputScan() override {
    VOX_TRACE(*identity_.trace, 8, identity_.name << "::doInputScan");
    if (inputScanState() == Flx::InputScanState::scanComplete) return;
    const auto& watched = Attr::of(*en_);
    auto it = inputScanState() == Flx::InputScanState::scanNotStarted
                  ? watched.begin()
                  : watched.iteratorAt(bookmark_);
    for (; it != watched.end(); ++it)
      static_cast<Derived*>(this)->handleKey(keyOf(it));
    static_cast<Derived*>(this)->scanned();
    inputScanStateIs(Flx::InputScanState::scanComplete);
    if (onScanComplete_) onScanComplete_();
  }

  void hasNotificationActiveIs(bool active) override {
    InputStateMachine::hasNotificationActiveIs(active);
    observer_.hasNotificationActiveIs(active);
  }
  void voxDoZombieReactors(bool zombie) override {
    InputStateMachine::voxDoZombieReactors(zombie);
    if (zombie) {
      observer_.unhook();
    } else {
      observer_.hook();
    }
  }

 protected:
  InputSm(const Vox::Ptr<const En>& en, const void* parent, const SmIdentity& identity,
          std::function<void()> onScanComplete)
      : en_(en), parent_(parent), identity_(identity), onScanComplete_(std::move(onScanComplete)) {
    observer_.owner = this;
    observer_.notifierIs(en_);
    observer_.hasNotificationActiveIs(true);
  }

  void traceKey(const Key& key) const {
    VOX_TRACE(*identity_.trace, 9, identity_.name << "::" << identity_.handler << " k: " << key);
  }
  const SmIdentity& identity() const { return identity_; }

 private:
  template <class It>
  static const Key& keyOf(const It& it) {
    if constexpr (requires { it.key(); }) {
      return it.key();
    } else {
      return *it;
    }
  }

  // VoxEn: follows the watched attribute of `en` and hands each changed key to the machine.
  // (It holds the base, not `Derived`, since it is wired up before `Derived` is constructed.)
  struct VoxEn : En::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
      if (const auto* changed = Attr::match(attr, key)) owner->watchedKeyChanged(*changed);
    }
    InputSm* owner = nullptr;
  };
  void watchedKeyChanged(const Key& key) { static_cast<Derived*>(this)->handleKey(key); }

  Vox::Ptr<const En> en_;
  const void* parent_;
  SmIdentity identity_;
  std::function<void()> onScanComplete_;
  Key bookmark_{};
  VoxEn observer_;
};

// Where a state machine's events go. A top-level machine (`SmKey` = `TopLevel`) hands them to
// the pipeline as they are. A child carries its entry's key in the parent's collection, `smKey`,
// fixed at creation, and hands it over with every event for the parent to prepend, so the
// parent's callback needs nothing but the parent.
struct TopLevel {};

template <class Keys, class SmKey>
class EventSink {
 public:
  using SmKeyType = SmKey;
  using Sink = std::function<void(const SmKey&, const Keys&, Presence)>;
  const SmKey& smKey() const { return smKey_; }

 protected:
  EventSink(const SmKey& smKey, Sink sink) : smKey_(smKey), sink_(std::move(sink)) {}
  void emit(const Keys& keys, Presence present) const { sink_(smKey_, keys, present); }

 private:
  SmKey smKey_;
  Sink sink_;
};

template <class Keys>
class EventSink<Keys, TopLevel> {
 public:
  using SmKeyType = TopLevel;
  using Sink = std::function<void(const Keys&, Presence)>;

 protected:
  explicit EventSink(Sink sink) : sink_(std::move(sink)) {}
  void emit(const Keys& keys, Presence present) const { sink_(keys, present); }

 private:
  Sink sink_;
};

// A state machine on a keyed set: one event per key of the set. A pipeline derives its named
// state machine from it, whose `handle<Attr>` is `handleKey`.
template <class Attr, class SmKey = TopLevel>
class SetSm : public InputSm<Attr, SetSm<Attr, SmKey>>,
              public EventSink<std::tuple<typename Attr::Key>, SmKey> {
  using Base = InputSm<Attr, SetSm<Attr, SmKey>>;
  using Out = EventSink<std::tuple<typename Attr::Key>, SmKey>;

 public:
  using Key = typename Attr::Key;
  using Keys = std::tuple<Key>;
  using Sink = typename Out::Sink;
  struct Config {
    SmIdentity identity;
    // Whether the machine checks, when withdrawn, that it saw every change of the set.
    bool tracksVersion;
  };

  // A top-level state machine; `onScanComplete` runs when its scan is done.
  SetSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, Sink sink,
        const Config& config,
        std::function<void()> onScanComplete = {}) requires std::is_same_v<SmKey, TopLevel>
      : Base(en, parent, config.identity, std::move(onScanComplete)),
        Out(std::move(sink)),
        tracksVersion_(config.tracksVersion) {
    this->handleInitialized();
  }
  // A child state machine, for the entry of `smKey` in its parent's collection.
  SetSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, const SmKey& smKey,
        Sink sink, const Config& config) requires(!std::is_same_v<SmKey, TopLevel>)
      : Base(en, parent, config.identity, {}),
        Out(smKey, std::move(sink)),
        tracksVersion_(config.tracksVersion) {
    this->handleInitialized();
  }

  uint32_t version() const { return version_; }
  void versionIs(uint32_t version) { version_ = version; }

  // The key was added to or removed from the set: re-reads it and emits its event.
  void handleKey(const Key& key) {
    this->traceKey(key);
    const auto& set = Attr::of(*this->en());
    if (tracksVersion_) versionIs(set.version());
    this->emit(Keys(key), presence(set.contains(key)));
  }

  // Withdraws every element still in the set, after checking that no change went unseen.
  void doDeleteAll() override {
    VOX_TRACE(*this->identity().trace, 8, this->identity().name << "::doDeleteAll");
    const auto& set = Attr::of(*this->en());
    if (tracksVersion_ && version_ != set.version()) {
      VOX_TRACE(*this->identity().trace, 0, "version: " << version_ << " != " << set.version());
      const std::string watched = this->identity().watched;
      Vox::fatal("version() == en()->" + watched +
                     "Coll().version() && \"We missed notifications that happened to " + watched +
                     " before enclosing entity got deleted\"",
                 __FILE__, __LINE__);
    }
    for (const Key& key : set)
      this->emit(Keys(key), std::nullopt);
  }

  // End of the scan: the version the machine has seen.
  void scanned() {
    if (tracksVersion_) versionIs(Attr::of(*this->en()).version());
  }

 private:
  bool tracksVersion_;
  uint32_t version_ = 0;
};

// The keys of a collection state machine's events: its entry's key, then its child's keys.
template <class Attr, class Child>
using CollKeys = decltype(std::tuple_cat(std::tuple<typename Attr::Key>(), typename Child::Keys()));

// A state machine on a collection whose entries hold nested collections: one child state
// machine per entry, created with the entry's key as its `smKey`; the children's events reach
// the sink with that key prepended. A pipeline derives its named state machine from it, whose
// `handle<Attr>` is `handleKey`.
template <class Attr, class Child, class SmKey = TopLevel>
class CollSm : public InputSm<Attr, CollSm<Attr, Child, SmKey>>,
               public EventSink<CollKeys<Attr, Child>, SmKey> {
  using Base = InputSm<Attr, CollSm<Attr, Child, SmKey>>;
  using Member = typename Attr::Member;
  using Out = EventSink<CollKeys<Attr, Child>, SmKey>;

 public:
  using Key = typename Attr::Key;
  using Keys = CollKeys<Attr, Child>;
  using Sink = typename Out::Sink;
  struct Config {
    SmIdentity identity;
    typename Child::Config child;
  };
  static_assert(std::is_same_v<typename Child::SmKeyType, Key>,
                "a child is keyed like the entry it watches");

  // A top-level state machine; `onScanComplete` runs when its scan is done.
  CollSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, Sink sink,
         const Config& config,
         std::function<void()> onScanComplete = {}) requires std::is_same_v<SmKey, TopLevel>
      : Base(en, parent, config.identity, std::move(onScanComplete)),
        Out(std::move(sink)),
        childConfig_(config.child) {
    this->handleInitialized();
  }
  // A child state machine, for the entry of `smKey` in its parent's collection.
  CollSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, const SmKey& smKey,
         Sink sink, const Config& config) requires(!std::is_same_v<SmKey, TopLevel>)
      : Base(en, parent, config.identity, {}),
        Out(smKey, std::move(sink)),
        childConfig_(config.child) {
    this->handleInitialized();
  }

  // An entry appeared (a child is created, which scans it) or went (its child withdraws
  // everything and is deleted); an entry that already has a child is left alone.
  void handleKey(const Key& key) {
    this->traceKey(key);
    Member* entry = Attr::of(*this->en()).find(key);
    const Vox::Ptr<Child> child = childSm(key);
    if (entry && !child) {
      childSmIs(Vox::Ptr<const Member>(entry), this, key);
    } else if (!entry && child) {
      child->doDeleteAll();
      childSmDel(key);
    }
  }

  // A child's event, with the child's key prepended.
  void onChildEvent(const Key& smKey, const typename Child::Keys& keys, Presence present) {
    this->emit(std::tuple_cat(std::tuple<Key>(smKey), keys), present);
  }

  Vox::Ptr<Child> childSm(const Key& key) const {
    const Vox::Ptr<Child>* child = children_.find(key);
    return child ? *child : nullptr;
  }
  // The child of `key`, created over `entry` unless one exists; an existing child built over
  // another entry or for another parent is a broken invariant.
  Vox::Ptr<Child> childSmIs(const Vox::Ptr<const Member>& entry, const void* parent,
                            const Key& key) {
    if (const Vox::Ptr<Child> existing = childSm(key)) {
      if (existing->en() != entry) reinstantiation("_en", existing->en().ptr(), entry.ptr());
      if (existing->parent() != parent) reinstantiation("_parent", existing->parent(), parent);
      return existing;
    }
    auto child = Vox::create<Child>(
        entry, parent, key,
        [this](const Key& smKey, const typename Child::Keys& keys, Presence present) {
          onChildEvent(smKey, keys, present);
        },
        childConfig_);
    children_.insert(key, child);
    return child;
  }
  void childSmDel(const Key& key) { children_.erase(key); }
  // Lets every child go, and theirs in turn, emitting nothing.
  void childSmDelAll() {
    for (auto it = children_.begin(); it != children_.end(); ++it) {
      if constexpr (requires(Child & c) { c.childSmDelAll(); }) it.value()->childSmDelAll();
      children_.erase(it.key());
    }
  }

  void doDeleteAll() override {
    VOX_TRACE(*this->identity().trace, 8, this->identity().name << "::doDeleteAll");
    for (auto it = children_.begin(); it != children_.end(); ++it)
      it.value()->doDeleteAll();
  }
  void scanned() {}

  void hasNotificationActiveIs(bool active) override {
    Base::hasNotificationActiveIs(active);
    for (auto it = children_.begin(); it != children_.end(); ++it) {
      it.value()->hasNotificationActiveIs(active);
    }
  }
  void voxDoZombieReactors(bool zombie) override {
    for (auto it = children_.begin(); it != children_.end(); ++it) {
      it.value()->voxDoZombieReactors(zombie);
    }
    Base::voxDoZombieReactors(zombie);
  }

 private:
  [[noreturn]] static void reinstantiation(const char* attribute, const void* old,
                                           const void* current) {
    std::ostringstream text;
    text << "Reinstantiating the pointer interface where constructor parameter attribute "
         << attribute << " has a different value of " << old << " than the current value of "
         << current << " not allowed";
    Vox::fatal(text.str(), __FILE__, __LINE__);
  }

  typename Child::Config childConfig_;
  Vox::KeyedTable<Key, Vox::Ptr<Child>, Vox::MemoryKind::kFlux> children_;
};

// The reactor around a pipeline. `Self` provides:
//   void createInputStateMachines();     creates the top-level state machines (`inputSmIs`)
//   bool outputEmpty() const;
//   template <class F> void forEachOutputElement(F f) const;   f(Pipeline0KeyType) per element
//   void removeOutputElement(const Pipeline0KeyType&);         removes one, deleting empty entries
template <class Self, class Pipeline0KeyType, class InputSmScanState, class... Colls>
class FluxPipeline : public Stage<Self, Colls...> {
 public:
  using Stage<Self, Colls...>::Stage;

  const Vox::Ptr<InputSmScanState>& inputSmScanState() const { return inputSmScanState_; }
  const Vox::Ptr<OutputState>& outputState() const { return outputState_; }
  bool pipeline0Reconciling() const { return pipeline0Reconciling_; }
  void pipeline0ReconcilingIs(bool reconciling) { pipeline0Reconciling_ = reconciling; }

  bool pipeline0SeenHas(const Pipeline0KeyType& key) const { return pipeline0Seen_.contains(key); }
  void pipeline0SeenIs(const Pipeline0KeyType& key) { pipeline0Seen_.insert(key); }
  void pipeline0SeenDel(const Pipeline0KeyType& key) { pipeline0Seen_.erase(key); }
  void pipeline0SeenDelAll() {
    for (auto it = pipeline0Seen_.begin(); it != pipeline0Seen_.end(); ++it)
      pipeline0Seen_.erase(*it);
  }
  std::size_t pipeline0Seens() const { return pipeline0Seen_.size(); }

  const std::map<std::string, Vox::Ptr<Flx::Gen::InputStateMachine>>& pipeline0Input() const {
    return pipeline0Input_;
  }
  void pipeline0InputIs(const std::string& name, const Vox::Ptr<Flx::Gen::InputStateMachine>& sm) {
    pipeline0Input_[name] = sm;
  }
  void pipeline0InputDel(const std::string& name) { pipeline0Input_.erase(name); }
  void pipeline0InputDelAll() { pipeline0Input_.clear(); }

  void inputSmScanStateIs(const Vox::Ptr<InputSmScanState>& state) {
    inputSmScanState_ = state;
    voxInputSmScanState_.notifierIs(state);  // connecting checks readiness once
    handlePipeline0Input();
  }
  void inputSmScanStateDel() {
    voxInputSmScanState_.notifierIs(nullptr);
    inputSmScanState_ = nullptr;
  }
  void outputStateIs() { outputState_ = Vox::create<OutputState>(); }
  void outputStateDel() { outputState_ = nullptr; }

  void handleInitialized() {
    const auto scope = this->traceHandleInitialized();
    pipeline0ReconcilingIs(!self().outputEmpty());
    VOX_TRACE(Self::traceHandle(), 9,
              " Reconciling pipeline0: " << std::boolalpha << pipeline0Reconciling_);
    inputSmScanStateIs(Vox::create<InputSmScanState>());
    outputStateIs();
    self().createInputStateMachines();
    this->initializedIs(true);
    handlePipeline0Input();
  }
  void handleDelete() { this->leaveInitialized(); }

  // The reactor and its input state machines start or stop receiving notifications together.
  void hasNotificationActiveIs(bool active) override {
    if (active == this->hasNotificationActive()) return;
    StageReactor<Self>::hasNotificationActiveIs(active);
    for (const auto& [name, sm] : pipeline0Input_)
      sm->hasNotificationActiveIs(active);
  }
  void voxDoZombieReactors(bool zombie) override {
    if (zombie == this->zombie()) return;
    for (const auto& [name, sm] : pipeline0Input_)
      sm->voxDoZombieReactors(zombie);
    StageReactor<Self>::voxDoZombieReactors(zombie);
  }

  // Declares the output ready once every registered state machine has scanned, removing first
  // what the output held that no event justified.
  void handlePipeline0Input() {
    if (!this->initialized()) return;
    VOX_TRACE(Self::traceHandle(), 8, "handlePipeline0Input");
    if (outputState_->pipeline0Ready()) {
      VOX_TRACE(Self::traceHandle(), 8, " .. not reconciling.");
      return;
    }
    for (const auto& [name, sm] : pipeline0Input_) {
      if (sm->inputScanState() != Flx::InputScanState::scanComplete) return;
    }
    VOX_TRACE(Self::traceHandle(), 9, " Input scans for pipeline0 complete");
    if (pipeline0Reconciling_) {
      std::vector<Pipeline0KeyType> stale;
      self().forEachOutputElement([&](const Pipeline0KeyType& key) {
        if (!pipeline0SeenHas(key)) stale.push_back(key);
      });
      for (const Pipeline0KeyType& key : stale)
        self().removeOutputElement(key);
      pipeline0ReconcilingIs(false);
      pipeline0SeenDelAll();
    }
    outputState_->pipeline0ReadyIs(true);
  }

 protected:
  // Notes an output element an event touched, while reconciling.
  void notePipeline0(const Pipeline0KeyType& key) {
    if (pipeline0Reconciling_) pipeline0SeenIs(key);
  }
  // Creates a top-level state machine from `args` (it scans its input at once) and registers
  // it under `name` as an input of pipeline 0, letting go of the one held before.
  template <class Sm, class... Args>
  const Vox::Ptr<Sm>& inputSmIs(const std::string& name, Vox::Ptr<Sm>& held, Args&&... args) {
    inputSmDel(name, held);
    held = Vox::create<Sm>(std::forward<Args>(args)...);
    pipeline0InputIs(name, Vox::Ptr<Flx::Gen::InputStateMachine>(held));
    return held;
  }
  // Lets a top-level state machine go: it stops following its input and its children go,
  // emitting nothing, so the output keeps what they contributed for the next instance to
  // reconcile. Whoever still holds it holds a silent, childless one.
  template <class Sm>
  void inputSmDel(const std::string& name, Vox::Ptr<Sm>& held) {
    if (!held) return;
    held->voxDoZombieReactors(true);
    if constexpr (requires { held->childSmDelAll(); }) held->childSmDelAll();
    pipeline0InputDel(name);
    held = nullptr;
  }

 private:
  Self& self() { return static_cast<Self&>(*this); }
  const Self& self() const { return static_cast<const Self&>(*this); }

  // Any change of a scan flag re-checks readiness.
  struct VoxInputSmScanState : InputSmScanState::NotifieeConst {
    explicit VoxInputSmScanState(FluxPipeline& owner) : owner(owner) {}
    void onAttribute(const Vox::AttributeInfo&, const void*) override {
      owner.handlePipeline0Input();
    }
    void notifierIs(const Vox::Ptr<InputSmScanState>& state) {
      InputSmScanState::NotifieeConst::notifierIs(state);
      this->hasNotificationActiveIs(bool(state));
    }
    FluxPipeline& owner;
  };

  Vox::Ptr<InputSmScanState> inputSmScanState_;
  Vox::Ptr<OutputState> outputState_;
  std::map<std::string, Vox::Ptr<Flx::Gen::InputStateMachine>> pipeline0Input_;
  Vox::KeyedSet<Pipeline0KeyType, Vox::MemoryKind::kFlux> pipeline0Seen_;
  bool pipeline0Reconciling_ = false;
  VoxInputSmScanState voxInputSmScanState_{*this};
};

}  // namespace Quill::Flux
