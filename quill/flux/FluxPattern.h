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
// A pipeline states only its keys, its state machines (type aliases of these templates), its
// streams and `eventToPipeline0`; see IpAddrToRouterIdInfoSm.h for the smallest.
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>

#include "platform/flux/InputStateMachine.h"
#include "platform/vox/Exception.h"
#include "platform/vox/KeyedTable.h"
#include "platform/vox/Trace.h"
#include "quill/core/StageReactor.h"

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

// A state machine on a keyed set: one event per key of the set.
template <class Attr>
class SetSm : public InputSm<Attr, SetSm<Attr>> {
  using Base = InputSm<Attr, SetSm<Attr>>;

 public:
  using Key = typename Attr::Key;
  using Keys = std::tuple<Key>;
  using Sink = std::function<void(const Keys&, Presence)>;
  struct Config {
    SmIdentity identity;
    // Whether the machine checks, when withdrawn, that it saw every change of the set.
    bool tracksVersion;
  };

  SetSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, Sink sink,
        const Config& config, std::function<void()> onScanComplete = {})
      : Base(en, parent, config.identity, std::move(onScanComplete)),
        sink_(std::move(sink)),
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
    sink_(Keys(key), presence(set.contains(key)));
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
      sink_(Keys(key), std::nullopt);
  }

  // End of the scan: the version the machine has seen.
  void scanned() {
    if (tracksVersion_) versionIs(Attr::of(*this->en()).version());
  }

 private:
  Sink sink_;
  bool tracksVersion_;
  uint32_t version_ = 0;
};

// A state machine on a collection whose entries hold nested collections: one child state
// machine per entry; the children's events reach the sink with the entry's key prepended.
template <class Attr, class Child>
class CollSm : public InputSm<Attr, CollSm<Attr, Child>> {
  using Base = InputSm<Attr, CollSm<Attr, Child>>;
  using Member = typename Attr::Member;

 public:
  using Key = typename Attr::Key;
  using Keys = decltype(std::tuple_cat(std::tuple<Key>(), typename Child::Keys()));
  using Sink = std::function<void(const Keys&, Presence)>;
  struct Config {
    SmIdentity identity;
    typename Child::Config child;
  };

  CollSm(const Vox::Ptr<const typename Base::En>& en, const void* parent, Sink sink,
         const Config& config, std::function<void()> onScanComplete = {})
      : Base(en, parent, config.identity, std::move(onScanComplete)),
        sink_(std::move(sink)),
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
    sink_(std::tuple_cat(std::tuple<Key>(smKey), keys), present);
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
    const Key smKey = key;
    auto child = Vox::create<Child>(
        entry, parent,
        [this, smKey](const typename Child::Keys& keys, Presence present) {
          onChildEvent(smKey, keys, present);
        },
        childConfig_);
    children_.insert(smKey, child);
    return child;
  }
  void childSmDel(const Key& key) { children_.erase(key); }
  void childSmDelAll() {
    for (auto it = children_.begin(); it != children_.end(); ++it)
      children_.erase(it.key());
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

  Sink sink_;
  typename Child::Config childConfig_;
  Vox::KeyedTable<Key, Vox::Ptr<Child>, Vox::MemoryKind::kFlux> children_;
};

// The reactor around a pipeline. `Self` provides:
//   void createInputStateMachines();     creates and registers the top-level state machines
//   bool outputEmpty() const;
//   template <class F> void forEachOutputElement(F f) const;   f(Pipeline0KeyType) per element
//   void removeOutputElement(const Pipeline0KeyType&);         removes one, deleting empty entries
template <class Self, class Pipeline0KeyType, class InputSmScanState>
class FluxPipeline : public StageReactor<Self> {
 public:
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
  // Registers a top-level state machine as an input of pipeline 0.
  template <class Sm>
  void registerInput(const std::string& name, const Vox::Ptr<Sm>& sm) {
    pipeline0InputIs(name, Vox::Ptr<Flx::Gen::InputStateMachine>(sm));
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
