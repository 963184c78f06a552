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
#include <string_view>
#include <tuple>
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
#include "quill/resolve/IpAddrRouterIdInfoSm.h"

namespace Mpls {

class P2mpLfibGenSmManager : public Quill::StageReactor<P2mpLfibGenSmManager> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::P2mpLfibGenSmManager";

  P2mpLfibGenSmManager(
      const Vox::Ptr<const LabelBindingTable>& p2mpLocalLabelBindingTable,
      const Vox::Ptr<const LabelBindingTableColl>& p2mpPeerLabelBindingTableColl,
      const Vox::Ptr<const FecRouterLabelInfoColl>& p2mpFecRouterLabelInfoColl,
      const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterTransportIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& p2mpIpAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& p2mpIpNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& p2mpIntfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& p2mpMplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& p2mpRouterIpNexthopInfoColl,
      const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterIntfIpAddrInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterFilteredNexthopColl,
      const Vox::Ptr<FecRouterNexthopInfoColl>& p2mpFecRouterNexthopInfoColl,
      const Vox::Ptr<LabelForwardingInfoColl>& p2mpLabelForwardingInfoColl);
  ~P2mpLfibGenSmManager() override;

  // Allocates a manager over the fourteen collections, in the constructor's order, and turns
  // it on; its pipeline is then running.
  template <class... Colls>
  requires std::is_constructible_v<P2mpLfibGenSmManager, const Colls&...>
  static Vox::Ptr<P2mpLfibGenSmManager> P2mpLfibGenSmManagerIs(const Colls&... colls) {
    return create(colls...);
  }

  // The collections, fixed at construction.
  const Vox::Ptr<const LabelBindingTable>& p2mpLocalLabelBindingTable() const {
    return p2mpLocalLabelBindingTable_;
  }
  const Vox::Ptr<const LabelBindingTableColl>& p2mpPeerLabelBindingTableColl() const {
    return p2mpPeerLabelBindingTableColl_;
  }
  const Vox::Ptr<const FecRouterLabelInfoColl>& p2mpFecRouterLabelInfoColl() const {
    return p2mpFecRouterLabelInfoColl_;
  }
  const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterTransportIpAddrInfoColl() const {
    return p2mpRouterTransportIpAddrInfoColl_;
  }
  const Vox::Ptr<IpAddrRouterIdInfoColl>& p2mpIpAddrRouterIdInfoColl() const {
    return p2mpIpAddrRouterIdInfoColl_;
  }
  const Vox::Ptr<const IpNexthopInfoColl>& p2mpIpNexthopInfoColl() const {
    return p2mpIpNexthopInfoColl_;
  }
  const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterNexthopInfoColl() const {
    return p2mpRouterNexthopInfoColl_;
  }
  const Vox::Ptr<IntfRouterNexthopInfoColl>& p2mpIntfRouterNexthopInfoColl() const {
    return p2mpIntfRouterNexthopInfoColl_;
  }
  const Vox::Ptr<const MplsIntfColl>& p2mpMplsIntfColl() const { return p2mpMplsIntfColl_; }
  const Vox::Ptr<RouterIpNexthopInfoColl>& p2mpRouterIpNexthopInfoColl() const {
    return p2mpRouterIpNexthopInfoColl_;
  }
  const Vox::Ptr<const RouterIpAddrInfoColl>& p2mpRouterIntfIpAddrInfoColl() const {
    return p2mpRouterIntfIpAddrInfoColl_;
  }
  const Vox::Ptr<RouterNexthopInfoColl>& p2mpRouterFilteredNexthopColl() const {
    return p2mpRouterFilteredNexthopColl_;
  }
  const Vox::Ptr<FecRouterNexthopInfoColl>& p2mpFecRouterNexthopInfoColl() const {
    return p2mpFecRouterNexthopInfoColl_;
  }
  const Vox::Ptr<LabelForwardingInfoColl>& p2mpLabelForwardingInfoColl() const {
    return p2mpLabelForwardingInfoColl_;
  }

  // The stage reactors, null until created.
  const Vox::Ptr<IpAddrRouterIdInfoSm>& ipAddrRouterIdInfoSm() const {
    return stage<IpAddrRouterIdInfoSm>();
  }
  const Vox::Ptr<IpAddrToRouterIdInfoSm>& ipAddrToRouterIdInfoSm() const {
    return stage<IpAddrToRouterIdInfoSm>();
  }
  const Vox::Ptr<RouterNexthopInfoSm>& routerNexthopInfoSm() const {
    return stage<RouterNexthopInfoSm>();
  }
  const Vox::Ptr<RouterIdToNexthopInfoSm>& routerIdToNexthopInfoSm() const {
    return stage<RouterIdToNexthopInfoSm>();
  }
  const Vox::Ptr<IntfRouterNexthopInfoSm>& intfRouterNexthopInfoSm() const {
    return stage<IntfRouterNexthopInfoSm>();
  }
  const Vox::Ptr<IntfToRouterNexthopInfoSm>& intfToRouterNexthopInfoSm() const {
    return stage<IntfToRouterNexthopInfoSm>();
  }
  const Vox::Ptr<RouterIpNexthopInfoSm>& routerIpNexthopInfoSm() const {
    return stage<RouterIpNexthopInfoSm>();
  }
  const Vox::Ptr<RouterIdToIpNexthopInfoSm>& routerIdToIpNexthopInfoSm() const {
    return stage<RouterIdToIpNexthopInfoSm>();
  }
  const Vox::Ptr<RouterFilteredNexthopSm>& routerFilteredNexthopSm() const {
    return stage<RouterFilteredNexthopSm>();
  }
  const Vox::Ptr<FecRouterNexthopInfoSm>& fecRouterNexthopInfoSm() const {
    return stage<FecRouterNexthopInfoSm>();
  }
  const Vox::Ptr<LabelForwardingInfoSm>& labelForwardingInfoSm() const {
    return stage<LabelForwardingInfoSm>();
  }

  // Stage setters: return the existing reactor when it was built over the very same collections,
  // else create a new one (releasing the previous), turn it on and return it.
  Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSmIs(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl) {
    return stageIs(ipAddrRouterIdInfoSmFactory, routerIpAddrInfoColl, ipAddrRouterIdInfoColl);
  }
  Vox::Ptr<IpAddrToRouterIdInfoSm> ipAddrToRouterIdInfoSmIs(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl) {
    return stageIs(ipAddrToRouterIdInfoSmFactory, routerIpAddrInfoColl, ipAddrRouterIdInfoColl);
  }
  Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerNexthopInfoSmFactory, ipAddrRouterIdInfoColl, ipNexthopInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<RouterIdToNexthopInfoSm> routerIdToNexthopInfoSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerIdToNexthopInfoSmFactory, ipAddrRouterIdInfoColl, ipNexthopInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSmIs(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
    return stageIs(intfRouterNexthopInfoSmFactory, routerNexthopInfoColl,
                   intfRouterNexthopInfoColl);
  }
  Vox::Ptr<IntfToRouterNexthopInfoSm> intfToRouterNexthopInfoSmIs(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
    return stageIs(intfToRouterNexthopInfoSmFactory, routerNexthopInfoColl,
                   intfRouterNexthopInfoColl);
  }
  Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSmIs(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
    return stageIs(routerIpNexthopInfoSmFactory, intfRouterNexthopInfoColl, mplsIntfColl,
                   routerIpNexthopInfoColl);
  }

  Vox::Ptr<RouterIdToIpNexthopInfoSm> routerIdToIpNexthopInfoSmIs(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
    return stageIs(routerIdToIpNexthopInfoSmFactory, intfRouterNexthopInfoColl, mplsIntfColl,
                   routerIpNexthopInfoColl);
  }
  Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSmIs(
      const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl,
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerFilteredNexthopSmFactory, routerIpNexthopInfoColl, routerIpAddrInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSmIs(
      const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl) {
    return stageIs(fecRouterNexthopInfoSmFactory, labelBindingTableColl, routerNexthopInfoColl,
                   fecRouterNexthopInfoColl);
  }
  Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSmIs(
      const Vox::Ptr<const LabelBindingTable>& localLabelBindingTable,
      const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl,
      const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl,
      const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl) {
    return stageIs(labelForwardingInfoSmFactory, localLabelBindingTable, fecRouterLabelInfoColl,
                   fecRouterNexthopInfoColl, labelForwardingInfoColl);
  }

  // Stage removers: null the attribute, turn the reactor's notifications off and hand it over.
  Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSmDel() {
    return stageDel<IpAddrRouterIdInfoSm>();
  }
  Vox::Ptr<IpAddrToRouterIdInfoSm> ipAddrToRouterIdInfoSmDel() {
    return stageDel<IpAddrToRouterIdInfoSm>();
  }
  Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSmDel() { return stageDel<RouterNexthopInfoSm>(); }
  Vox::Ptr<RouterIdToNexthopInfoSm> routerIdToNexthopInfoSmDel() {
    return stageDel<RouterIdToNexthopInfoSm>();
  }
  Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSmDel() {
    return stageDel<IntfRouterNexthopInfoSm>();
  }
  Vox::Ptr<IntfToRouterNexthopInfoSm> intfToRouterNexthopInfoSmDel() {
    return stageDel<IntfToRouterNexthopInfoSm>();
  }
  Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSmDel() {
    return stageDel<RouterIpNexthopInfoSm>();
  }
  Vox::Ptr<RouterIdToIpNexthopInfoSm> routerIdToIpNexthopInfoSmDel() {
    return stageDel<RouterIdToIpNexthopInfoSm>();
  }
  Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSmDel() {
    return stageDel<RouterFilteredNexthopSm>();
  }
  Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSmDel() {
    return stageDel<FecRouterNexthopInfoSm>();
  }
  Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSmDel() {
    return stageDel<LabelForwardingInfoSm>();
  }

  // The stage declaration as text, one entry per row in order: the reactor's qualified name and
  // when the manager creates it ("always", or "compiled" / "hand-written" as its toggle says).
  struct DeclaredStage {
    std::string_view reactor;
    std::string_view created;
    bool operator==(const DeclaredStage&) const = default;
  };
  static std::vector<DeclaredStage> declaredStages() {
    std::vector<DeclaredStage> rows;
    forEachRow([&]<class Row>() {
      rows.push_back({Row::Reactor::kQualifiedName.view(), Row::kCreated});
    });
    return rows;
  }

  // Builds the pipeline: stages upstream first, each chosen by its feature toggle.
  void handleInitialized();
  void handleDelete();
  // Sets the manager's flag, then each existing reactor's, in declaration order.
  void hasNotificationActiveIs(bool active) override;

 private:
  // Declaration order is the constructor's argument order; members are released in reverse.
  Vox::Ptr<const LabelBindingTable> p2mpLocalLabelBindingTable_;
  Vox::Ptr<const LabelBindingTableColl> p2mpPeerLabelBindingTableColl_;
  Vox::Ptr<const FecRouterLabelInfoColl> p2mpFecRouterLabelInfoColl_;
  Vox::Ptr<const RouterIpAddrInfoColl> p2mpRouterTransportIpAddrInfoColl_;
  Vox::Ptr<IpAddrRouterIdInfoColl> p2mpIpAddrRouterIdInfoColl_;
  Vox::Ptr<const IpNexthopInfoColl> p2mpIpNexthopInfoColl_;
  Vox::Ptr<RouterNexthopInfoColl> p2mpRouterNexthopInfoColl_;
  Vox::Ptr<IntfRouterNexthopInfoColl> p2mpIntfRouterNexthopInfoColl_;
  Vox::Ptr<const MplsIntfColl> p2mpMplsIntfColl_;
  Vox::Ptr<RouterIpNexthopInfoColl> p2mpRouterIpNexthopInfoColl_;
  Vox::Ptr<const RouterIpAddrInfoColl> p2mpRouterIntfIpAddrInfoColl_;
  Vox::Ptr<RouterNexthopInfoColl> p2mpRouterFilteredNexthopColl_;
  Vox::Ptr<FecRouterNexthopInfoColl> p2mpFecRouterNexthopInfoColl_;
  Vox::Ptr<LabelForwardingInfoColl> p2mpLabelForwardingInfoColl_;
  // The pipeline, declared once: every stage reactor in pipeline order, when the manager creates
  // it, its factory and the manager's collections it is built over. Creation,
  // iteration, switching and removal all follow this list; adding a stage is one row here, its
  // reactor's own files and its named getter, setter and remover above.
  template <class>
  struct FactoryReactor;
  template <class Sm, class... Params>
  struct FactoryReactor<Vox::Ptr<Sm> (*)(Params...)> {
    using type = Sm;
  };
  // A row: when the stage is created, the factory that creates it, and the collections it is
  // handed (inputs first, its output last).
  template <class When, auto Factory, auto... Colls>
  struct Stage {
    using Reactor = typename FactoryReactor<decltype(Factory)>::type;
    static constexpr std::string_view kCreated = When::kCreated;
    static bool chosen() { return When::chosen(); }
    static void createIn(P2mpLfibGenSmManager& manager) {
      manager.stageIs(Factory, manager.*Colls...);
    }
  };
  // Stages 5 to 7 have one variant; stages 1 to 4 two, of which the toggle picks one.
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
  using M = P2mpLfibGenSmManager;
  using Stages = std::tuple<
      // 1: routers per address
      Stage<HandWritten<toggleMplsFluxInversionEnabled>, ipAddrRouterIdInfoSmFactory,
            &M::p2mpRouterTransportIpAddrInfoColl_, &M::p2mpIpAddrRouterIdInfoColl_>,
      Stage<Compiled<toggleMplsFluxInversionEnabled>, ipAddrToRouterIdInfoSmFactory,
            &M::p2mpRouterTransportIpAddrInfoColl_, &M::p2mpIpAddrRouterIdInfoColl_>,
      // 2: vias per router
      Stage<HandWritten<toggleMplsFluxConcatEnabled>, routerNexthopInfoSmFactory,
            &M::p2mpIpAddrRouterIdInfoColl_, &M::p2mpIpNexthopInfoColl_,
            &M::p2mpRouterNexthopInfoColl_>,
      Stage<Compiled<toggleMplsFluxConcatEnabled>, routerIdToNexthopInfoSmFactory,
            &M::p2mpIpAddrRouterIdInfoColl_, &M::p2mpIpNexthopInfoColl_,
            &M::p2mpRouterNexthopInfoColl_>,
      // 3: router vias per interface
      Stage<HandWritten<toggleMplsFluxIntfRouterSmEnabled>, intfRouterNexthopInfoSmFactory,
            &M::p2mpRouterNexthopInfoColl_, &M::p2mpIntfRouterNexthopInfoColl_>,
      Stage<Compiled<toggleMplsFluxIntfRouterSmEnabled>, intfToRouterNexthopInfoSmFactory,
            &M::p2mpRouterNexthopInfoColl_, &M::p2mpIntfRouterNexthopInfoColl_>,
      // 4: router vias per hop address, MPLS interfaces only
      Stage<HandWritten<toggleMplsFluxRouterIpNexthopEnabled>, routerIpNexthopInfoSmFactory,
            &M::p2mpIntfRouterNexthopInfoColl_, &M::p2mpMplsIntfColl_,
            &M::p2mpRouterIpNexthopInfoColl_>,
      Stage<Compiled<toggleMplsFluxRouterIpNexthopEnabled>, routerIdToIpNexthopInfoSmFactory,
            &M::p2mpIntfRouterNexthopInfoColl_, &M::p2mpMplsIntfColl_,
            &M::p2mpRouterIpNexthopInfoColl_>,
      // 5: vias leading straight to the peer
      Stage<Always, routerFilteredNexthopSmFactory, &M::p2mpRouterIpNexthopInfoColl_,
            &M::p2mpRouterIntfIpAddrInfoColl_, &M::p2mpRouterFilteredNexthopColl_>,
      // 6: one via per FEC and router
      Stage<Always, fecRouterNexthopInfoSmFactory, &M::p2mpPeerLabelBindingTableColl_,
            &M::p2mpRouterFilteredNexthopColl_, &M::p2mpFecRouterNexthopInfoColl_>,
      // 7: the p2mp LFIB
      Stage<Always, labelForwardingInfoSmFactory, &M::p2mpLocalLabelBindingTable_,
            &M::p2mpFecRouterLabelInfoColl_, &M::p2mpFecRouterNexthopInfoColl_,
            &M::p2mpLabelForwardingInfoColl_>>;

  // Applies `f` to every row of the declaration, in order, as `f.template operator()<Row>()`.
  template <class F>
  static void forEachRow(F&& f) {
    [&]<class... Rows>(std::tuple<Rows...>*) {
      (f.template operator()<Rows>(), ...);
    }(static_cast<Stages*>(nullptr));
  }

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

  // One slot per row of `Stages`, null until the row's reactor is created.
  template <class>
  struct SlotsOf;
  template <class... Rows>
  struct SlotsOf<std::tuple<Rows...>> {
    using type = std::tuple<Vox::Ptr<typename Rows::Reactor>...>;
  };
  typename SlotsOf<Stages>::type stages_;
};

// The manager's factory: forwards to `P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs`.
template <class... Colls>
requires std::is_constructible_v<P2mpLfibGenSmManager, const Colls&...>
    Vox::Ptr<P2mpLfibGenSmManager> p2mpLfibGenSmManagerFactory(const Colls&... colls) {
  return P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs(colls...);
}

}  // namespace Mpls
