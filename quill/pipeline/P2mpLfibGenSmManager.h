#pragma once
// The one object an owning agent creates to run the p2mp LFIB computation.
//
// It is handed every input and output collection at construction and, when initialized, creates
// the stage reactors upstream first, each given the output collection of the stage before it:
//
//   #4 transport addresses --(1) inversion-----------> #5 routers per address
//   #5 + #6 vias per address --(2) router next-hops--> #7 vias per router
//   #7 --(3) interface grouping---------------------> #8 router vias per interface
//   #8 + #9 MPLS interfaces --(4) MPLS filter-------> #10 router vias per hop address
//   #10 + #11 interface addresses --(5) filter------> #12 vias leading straight to the peer
//   #2 peer tables + #12 --(6) FEC next-hops---------> #13 one via per FEC and router
//   #1 local labels + #3 peer labels + #13 --(7)----> #14 the p2mp LFIB
//
// Stages 1 to 4 each exist in two variants, hand-written and compiled from dataflow rules; the
// feature toggles choose one per stage (the compiled one by default) and the other's attribute
// stays null. Each reactor is live (notifications on) before the next is created. The manager
// computes nothing itself, and it does not create the next-hop resolution reactors or the label
// binding notifier: the owning agent runs those over collections it shares with the manager.
//
// Setting a stage with the very same collection objects (pointer identity) as the reactor it has
// returns that reactor untouched, so a second `handleInitialized` keeps every reactor.
//
// Destruction: `handleDelete`, then the manager becomes a zombie, then the stage reactors are
// removed in declaration order (stage 1 first, each with its notifications turned off), then the
// collections are released in reverse declaration order.
//
// The pipeline is declared once, at the top of the class: `Collections` lists the fourteen
// collections (attribute name and type, in the constructor's order) and `Stages` the seven stages
// (number, name, reactor or toggled pair of reactors, audit rule, and the collections each reads
// and writes, by name). Construction, creation, iteration, switching, removal, the audit, the
// tools' table list and the architecture document's table all follow those two lists; the named
// accessors after them are one-line forwarders to them.
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "platform/mpls/LabelBindingTable.h"
#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/StageReactor.h"
#include "quill/core/Toggles.h"
#include "quill/flux/IntfToRouterNexthopInfoSm.h"
#include "quill/flux/IpAddrToRouterIdInfoSm.h"
#include "quill/flux/RouterIdToIpNexthopInfoSm.h"
#include "quill/flux/RouterIdToNexthopInfoSm.h"
#include "quill/lfib/FecRouterNexthopInfoSm.h"
#include "quill/lfib/LabelForwardingInfoSm.h"
#include "quill/lfib/RouterFilteredNexthopSm.h"
#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/LabelForwardingInfoColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"
#include "quill/nexthop/IntfRouterNexthopInfoSm.h"
#include "quill/nexthop/RouterIpNexthopInfoSm.h"
#include "quill/nexthop/RouterNexthopInfoSm.h"
#include "quill/pipeline/StageRules.h"
#include "quill/resolve/IpAddrRouterIdInfoSm.h"

namespace Mpls {

class P2mpLfibGenSmManager : public Quill::StageReactor<P2mpLfibGenSmManager> {
  // ---- The pipeline, declared once -------------------------------------------------------------
  // How a row is spelt; the two lists that follow are the declaration itself.

  // A collection the manager is handed: the attribute name it is known by and its type (const
  // where the stages only read it).
  template <Quill::StaticName Name, class Coll>
  struct Collection {
    static constexpr std::string_view kName = Name.view();
    using Slot = Vox::Ptr<Coll>;
  };
  // A stage reactor, its factory and when the manager creates it.
  template <class>
  struct FactoryReactor;
  template <class Sm, class... Params>
  struct FactoryReactor<Vox::Ptr<Sm> (*)(Params...)> {
    using type = Sm;
  };
  template <auto Factory, class When>
  struct Variant : When {
    using Reactor = typename FactoryReactor<decltype(Factory)>::type;
    static constexpr auto kFactory = Factory;
  };
  struct Always {
    static constexpr std::string_view kCreated = "always";
    static bool chosen() { return true; }
  };
  template <bool (*Toggle)()>
  struct Compiled {
    static constexpr std::string_view kCreated = "compiled";
    static bool chosen() { return Toggle(); }
  };
  template <bool (*Toggle)()>
  struct HandWritten {
    static constexpr std::string_view kCreated = "hand-written";
    static bool chosen() { return !Toggle(); }
  };
  // A stage with one reactor, or with a hand-written and a compiled one of which `Toggle` picks
  // one (compiled when on).
  template <auto Factory>
  using One = std::tuple<Variant<Factory, Always>>;
  template <bool (*Toggle)(), auto HandWrittenFactory, auto CompiledFactory>
  using Toggled = std::tuple<Variant<HandWrittenFactory, HandWritten<Toggle>>,
                             Variant<CompiledFactory, Compiled<Toggle>>>;
  using AuditRule = void (*)(Quill::StageAuditor&, const P2mpLfibGenSmManager&);
  // A stage: its number and name, its reactor(s), its audit rule, and the collections its reactor
  // is built over by name (inputs first, its output last, as the reactor's constructor takes them).
  template <int Number, Quill::StaticName Name, class Variants, AuditRule Rule,
            Quill::StaticName... Colls>
  struct Stage {
    static constexpr int kNumber = Number;
    static constexpr std::string_view kName = Name.view();
    using Reactors = Variants;
    static std::string label() {
      return "stage " + std::to_string(Number) + " (" + std::string(kName) + ")";
    }
    static void audit(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager) {
      Rule(auditor, manager);
    }
    static void createIn(P2mpLfibGenSmManager& manager) {
      forEachOf<Variants>([&]<class V>() {
        if (V::chosen()) manager.stageIs(V::kFactory, manager.coll<Colls>()...);
      });
    }
    // "5, 6 -> 7": the collections by their number in `Collections`.
    static std::string collectionNumbers() {
      std::string text;
      std::size_t left = sizeof...(Colls);
      ((text += std::to_string(collectionIndex<Colls>() + 1) +
                (--left == 0 ? "" : (left == 1 ? " -> " : ", "))),
       ...);
      return text;
    }
  };

  // The fourteen collections, in the constructor's order.
  using Collections =
      std::tuple<Collection<"p2mpLocalLabelBindingTable", const LabelBindingTable>,
                 Collection<"p2mpPeerLabelBindingTableColl", const LabelBindingTableColl>,
                 Collection<"p2mpFecRouterLabelInfoColl", const FecRouterLabelInfoColl>,
                 Collection<"p2mpRouterTransportIpAddrInfoColl", const RouterIpAddrInfoColl>,
                 Collection<"p2mpIpAddrRouterIdInfoColl", IpAddrRouterIdInfoColl>,
                 Collection<"p2mpIpNexthopInfoColl", const IpNexthopInfoColl>,
                 Collection<"p2mpRouterNexthopInfoColl", RouterNexthopInfoColl>,
                 Collection<"p2mpIntfRouterNexthopInfoColl", IntfRouterNexthopInfoColl>,
                 Collection<"p2mpMplsIntfColl", const MplsIntfColl>,
                 Collection<"p2mpRouterIpNexthopInfoColl", RouterIpNexthopInfoColl>,
                 Collection<"p2mpRouterIntfIpAddrInfoColl", const RouterIpAddrInfoColl>,
                 Collection<"p2mpRouterFilteredNexthopColl", RouterNexthopInfoColl>,
                 Collection<"p2mpFecRouterNexthopInfoColl", FecRouterNexthopInfoColl>,
                 Collection<"p2mpLabelForwardingInfoColl", LabelForwardingInfoColl>>;

  // The seven stages, upstream first.
  using Stages = std::tuple<
      Stage<1, "inversion",
            Toggled<toggleMplsFluxInversionEnabled, ipAddrRouterIdInfoSmFactory,
                    ipAddrToRouterIdInfoSmFactory>,
            auditInversion, "p2mpRouterTransportIpAddrInfoColl", "p2mpIpAddrRouterIdInfoColl">,
      Stage<2, "router next-hops",
            Toggled<toggleMplsFluxConcatEnabled, routerNexthopInfoSmFactory,
                    routerIdToNexthopInfoSmFactory>,
            auditRouterNexthops, "p2mpIpAddrRouterIdInfoColl", "p2mpIpNexthopInfoColl",
            "p2mpRouterNexthopInfoColl">,
      Stage<3, "interface grouping",
            Toggled<toggleMplsFluxIntfRouterSmEnabled, intfRouterNexthopInfoSmFactory,
                    intfToRouterNexthopInfoSmFactory>,
            auditInterfaceGrouping, "p2mpRouterNexthopInfoColl", "p2mpIntfRouterNexthopInfoColl">,
      Stage<4, "MPLS filter",
            Toggled<toggleMplsFluxRouterIpNexthopEnabled, routerIpNexthopInfoSmFactory,
                    routerIdToIpNexthopInfoSmFactory>,
            auditMplsFilter, "p2mpIntfRouterNexthopInfoColl", "p2mpMplsIntfColl",
            "p2mpRouterIpNexthopInfoColl">,
      Stage<5, "interface-address filter", One<routerFilteredNexthopSmFactory>, auditAddressFilter,
            "p2mpRouterIpNexthopInfoColl", "p2mpRouterIntfIpAddrInfoColl",
            "p2mpRouterFilteredNexthopColl">,
      Stage<6, "FEC next-hops", One<fecRouterNexthopInfoSmFactory>, auditFecNexthops,
            "p2mpPeerLabelBindingTableColl", "p2mpRouterFilteredNexthopColl",
            "p2mpFecRouterNexthopInfoColl">,
      Stage<7, "LFIB", One<labelForwardingInfoSmFactory>, auditLfib, "p2mpLocalLabelBindingTable",
            "p2mpFecRouterLabelInfoColl", "p2mpFecRouterNexthopInfoColl",
            "p2mpLabelForwardingInfoColl">>;
  // ----------------------------------------------------------------------------------------------

  // Type-level plumbing over the two lists.
  template <class Tuple, class F>
  static constexpr void forEachOf(F&& f) {
    [&]<class... Rows>(std::tuple<Rows...>*) {
      (f.template operator()<Rows>(), ...);
    }(static_cast<Tuple*>(nullptr));
  }
  template <class... Tuples>
  struct Concat;
  template <class... A>
  struct Concat<std::tuple<A...>> {
    using type = std::tuple<A...>;
  };
  template <class... A, class... B, class... Rest>
  struct Concat<std::tuple<A...>, std::tuple<B...>, Rest...>
      : Concat<std::tuple<A..., B...>, Rest...> {};
  template <class>
  struct Flatten;
  template <class... Ss>
  struct Flatten<std::tuple<Ss...>> : Concat<typename Ss::Reactors...> {};
  // Every stage reactor, in attribute order (a toggled stage's hand-written one first).
  using Variants = typename Flatten<Stages>::type;
  template <class>
  struct SlotsOf;
  template <class... Rows>
  struct SlotsOf<std::tuple<Rows...>> {
    using type = std::tuple<typename Rows::Slot...>;
  };
  template <class>
  struct ReactorSlotsOf;
  template <class... Vs>
  struct ReactorSlotsOf<std::tuple<Vs...>> {
    using type = std::tuple<Vox::Ptr<typename Vs::Reactor>...>;
  };
  // Where the collection of that name is in `Collections` (its size when there is none).
  template <Quill::StaticName Name>
  static constexpr std::size_t collectionIndex() {
    std::size_t index = 0, found = std::tuple_size_v<Collections>;
    forEachOf<Collections>([&]<class Row>() {
      if (Row::kName == Name.view()) found = index;
      ++index;
    });
    return found;
  }
  template <class F>
  static void forEachCollectionRow(F&& f) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      (f.template operator()<std::tuple_element_t<I, Collections>, I>(), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<Collections>>());
  }

  using CollectionSlots = typename SlotsOf<Collections>::type;

  template <Quill::StaticName Name>
  const std::tuple_element_t<collectionIndex<Name>(), CollectionSlots>& coll() const {
    return std::get<collectionIndex<Name>()>(collections_);
  }

 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::P2mpLfibGenSmManager";

  // The fourteen collections, in the order `Collections` declares them.
  template <class... Colls>
  requires std::is_constructible_v<CollectionSlots, const Colls&...>
  explicit P2mpLfibGenSmManager(const Colls&... colls) : collections_(colls...) {
    handleInitialized();
  }
  ~P2mpLfibGenSmManager() override;

  // Allocates a manager over the fourteen collections, in the constructor's order, and turns
  // it on; its pipeline is then running.
  template <class... Colls>
  requires std::is_constructible_v<P2mpLfibGenSmManager, const Colls&...>
  static Vox::Ptr<P2mpLfibGenSmManager> P2mpLfibGenSmManagerIs(const Colls&... colls) {
    return create(colls...);
  }

  // The collections, fixed at construction.
  const auto& p2mpLocalLabelBindingTable() const { return coll<"p2mpLocalLabelBindingTable">(); }
  const auto& p2mpPeerLabelBindingTableColl() const {
    return coll<"p2mpPeerLabelBindingTableColl">();
  }
  const auto& p2mpFecRouterLabelInfoColl() const { return coll<"p2mpFecRouterLabelInfoColl">(); }
  const auto& p2mpRouterTransportIpAddrInfoColl() const {
    return coll<"p2mpRouterTransportIpAddrInfoColl">();
  }
  const auto& p2mpIpAddrRouterIdInfoColl() const { return coll<"p2mpIpAddrRouterIdInfoColl">(); }
  const auto& p2mpIpNexthopInfoColl() const { return coll<"p2mpIpNexthopInfoColl">(); }
  const auto& p2mpRouterNexthopInfoColl() const { return coll<"p2mpRouterNexthopInfoColl">(); }
  const auto& p2mpIntfRouterNexthopInfoColl() const {
    return coll<"p2mpIntfRouterNexthopInfoColl">();
  }
  const auto& p2mpMplsIntfColl() const { return coll<"p2mpMplsIntfColl">(); }
  const auto& p2mpRouterIpNexthopInfoColl() const { return coll<"p2mpRouterIpNexthopInfoColl">(); }
  const auto& p2mpRouterIntfIpAddrInfoColl() const {
    return coll<"p2mpRouterIntfIpAddrInfoColl">();
  }
  const auto& p2mpRouterFilteredNexthopColl() const {
    return coll<"p2mpRouterFilteredNexthopColl">();
  }
  const auto& p2mpFecRouterNexthopInfoColl() const {
    return coll<"p2mpFecRouterNexthopInfoColl">();
  }
  const auto& p2mpLabelForwardingInfoColl() const { return coll<"p2mpLabelForwardingInfoColl">(); }

  // The stage reactors, null until created.
  const auto& ipAddrRouterIdInfoSm() const { return stage<IpAddrRouterIdInfoSm>(); }
  const auto& ipAddrToRouterIdInfoSm() const { return stage<IpAddrToRouterIdInfoSm>(); }
  const auto& routerNexthopInfoSm() const { return stage<RouterNexthopInfoSm>(); }
  const auto& routerIdToNexthopInfoSm() const { return stage<RouterIdToNexthopInfoSm>(); }
  const auto& intfRouterNexthopInfoSm() const { return stage<IntfRouterNexthopInfoSm>(); }
  const auto& intfToRouterNexthopInfoSm() const { return stage<IntfToRouterNexthopInfoSm>(); }
  const auto& routerIpNexthopInfoSm() const { return stage<RouterIpNexthopInfoSm>(); }
  const auto& routerIdToIpNexthopInfoSm() const { return stage<RouterIdToIpNexthopInfoSm>(); }
  const auto& routerFilteredNexthopSm() const { return stage<RouterFilteredNexthopSm>(); }
  const auto& fecRouterNexthopInfoSm() const { return stage<FecRouterNexthopInfoSm>(); }
  const auto& labelForwardingInfoSm() const { return stage<LabelForwardingInfoSm>(); }

  // Stage setters, each taking what its reactor's constructor takes: return the existing reactor
  // when it was built over the very same collections, else create a new one (releasing the
  // previous), turn it on and return it.
  template <class... Colls>
  auto ipAddrRouterIdInfoSmIs(const Colls&... colls) {
    return stageIs(ipAddrRouterIdInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto ipAddrToRouterIdInfoSmIs(const Colls&... colls) {
    return stageIs(ipAddrToRouterIdInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto routerNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(routerNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto routerIdToNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(routerIdToNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto intfRouterNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(intfRouterNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto intfToRouterNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(intfToRouterNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto routerIpNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(routerIpNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto routerIdToIpNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(routerIdToIpNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto routerFilteredNexthopSmIs(const Colls&... colls) {
    return stageIs(routerFilteredNexthopSmFactory, colls...);
  }
  template <class... Colls>
  auto fecRouterNexthopInfoSmIs(const Colls&... colls) {
    return stageIs(fecRouterNexthopInfoSmFactory, colls...);
  }
  template <class... Colls>
  auto labelForwardingInfoSmIs(const Colls&... colls) {
    return stageIs(labelForwardingInfoSmFactory, colls...);
  }

  // Stage removers: null the attribute, turn the reactor's notifications off and hand it over.
  auto ipAddrRouterIdInfoSmDel() { return stageDel<IpAddrRouterIdInfoSm>(); }
  auto ipAddrToRouterIdInfoSmDel() { return stageDel<IpAddrToRouterIdInfoSm>(); }
  auto routerNexthopInfoSmDel() { return stageDel<RouterNexthopInfoSm>(); }
  auto routerIdToNexthopInfoSmDel() { return stageDel<RouterIdToNexthopInfoSm>(); }
  auto intfRouterNexthopInfoSmDel() { return stageDel<IntfRouterNexthopInfoSm>(); }
  auto intfToRouterNexthopInfoSmDel() { return stageDel<IntfToRouterNexthopInfoSm>(); }
  auto routerIpNexthopInfoSmDel() { return stageDel<RouterIpNexthopInfoSm>(); }
  auto routerIdToIpNexthopInfoSmDel() { return stageDel<RouterIdToIpNexthopInfoSm>(); }
  auto routerFilteredNexthopSmDel() { return stageDel<RouterFilteredNexthopSm>(); }
  auto fecRouterNexthopInfoSmDel() { return stageDel<FecRouterNexthopInfoSm>(); }
  auto labelForwardingInfoSmDel() { return stageDel<LabelForwardingInfoSm>(); }

  // Builds the pipeline: stages upstream first, each chosen by its feature toggle.
  void handleInitialized();
  void handleDelete();
  // Sets the manager's flag, then each existing reactor's, in declaration order.
  void hasNotificationActiveIs(bool active) override;

  // Applies `f(name, collection)` to each collection, in declaration order.
  template <class F>
  void forEachCollection(F&& f) const {
    forEachCollectionRow(
        [&]<class Row, std::size_t I>() { f(Row::kName, std::get<I>(collections_)); });
  }
  // The collections' attribute names, in declaration order.
  static std::vector<std::string_view> collectionNames() {
    std::vector<std::string_view> names;
    forEachCollectionRow([&]<class Row, std::size_t>() { names.push_back(Row::kName); });
    return names;
  }

  // Applies `f.template operator()<Stage>()` to each stage's row, in pipeline order. A row offers
  // kNumber, kName, label() ("stage 1 (inversion)") and audit(auditor, manager).
  template <class F>
  static void forEachStageRow(F&& f) {
    forEachOf<Stages>(f);
  }

  // The declaration as text, one entry per stage reactor in order, for the architecture document:
  // the stage, its name, the reactor, when the manager creates it ("always", or "compiled" /
  // "hand-written" as its toggle says) and the collections it reads and writes by number
  // ("4 -> 5").
  struct DeclaredReactor {
    int stage;
    std::string_view name;
    std::string_view reactor;
    std::string_view created;
    std::string collections;
    bool operator==(const DeclaredReactor&) const = default;
  };
  static std::vector<DeclaredReactor> declaredStages();

 private:
  template <class Sm>
  const Vox::Ptr<Sm>& stage() const {
    return std::get<Vox::Ptr<Sm>>(stages_);
  }
  // Keeps the stage's reactor when it was built over the very same collections, else creates it
  // through its factory.
  template <class Sm, class... Params, class... Colls>
  Vox::Ptr<Sm> stageIs(Vox::Ptr<Sm> (*factory)(Params...), const Colls&... colls) {
    Vox::Ptr<Sm>& attribute = std::get<Vox::Ptr<Sm>>(stages_);
    if (attribute && attribute->constructorArguments() == std::tuple(colls.ptr()...)) {
      return attribute;
    }
    attribute = factory(colls...);
    attribute->hasNotificationActiveIs(true);
    return attribute;
  }
  template <class Sm>
  Vox::Ptr<Sm> stageDel() {
    Vox::Ptr<Sm> removed = std::move(std::get<Vox::Ptr<Sm>>(stages_));
    std::get<Vox::Ptr<Sm>>(stages_) = nullptr;
    if (removed) removed->hasNotificationActiveIs(false);
    return removed;
  }
  // Applies `action` to each existing stage reactor, in declaration order.
  template <class Action>
  void forEachStage(Action&& action) const {
    std::apply([&](const auto&... stage) { ((stage ? action(*stage) : void()), ...); }, stages_);
  }

  // Released in reverse declaration order when the manager goes, after the reactors.
  CollectionSlots collections_;
  // One slot per stage reactor, null until it is created.
  typename ReactorSlotsOf<Variants>::type stages_;
};

// The manager's factory: forwards to `P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs`.
template <class... Colls>
requires std::is_constructible_v<P2mpLfibGenSmManager, const Colls&...>
    Vox::Ptr<P2mpLfibGenSmManager> p2mpLfibGenSmManagerFactory(const Colls&... colls) {
  return P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs(colls...);
}

}  // namespace Mpls
