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
#include <tuple>

#include "platform/mpls/LabelBindingTable.h"
#include "platform/mpls/LabelBindingTableColl.h"
#include "quill/core/StageReactor.h"
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
    return ipAddrRouterIdInfoSm_;
  }
  const Vox::Ptr<IpAddrToRouterIdInfoSm>& ipAddrToRouterIdInfoSm() const {
    return ipAddrToRouterIdInfoSm_;
  }
  const Vox::Ptr<RouterNexthopInfoSm>& routerNexthopInfoSm() const { return routerNexthopInfoSm_; }
  const Vox::Ptr<RouterIdToNexthopInfoSm>& routerIdToNexthopInfoSm() const {
    return routerIdToNexthopInfoSm_;
  }
  const Vox::Ptr<IntfRouterNexthopInfoSm>& intfRouterNexthopInfoSm() const {
    return intfRouterNexthopInfoSm_;
  }
  const Vox::Ptr<IntfToRouterNexthopInfoSm>& intfToRouterNexthopInfoSm() const {
    return intfToRouterNexthopInfoSm_;
  }
  const Vox::Ptr<RouterIpNexthopInfoSm>& routerIpNexthopInfoSm() const {
    return routerIpNexthopInfoSm_;
  }
  const Vox::Ptr<RouterIdToIpNexthopInfoSm>& routerIdToIpNexthopInfoSm() const {
    return routerIdToIpNexthopInfoSm_;
  }
  const Vox::Ptr<RouterFilteredNexthopSm>& routerFilteredNexthopSm() const {
    return routerFilteredNexthopSm_;
  }
  const Vox::Ptr<FecRouterNexthopInfoSm>& fecRouterNexthopInfoSm() const {
    return fecRouterNexthopInfoSm_;
  }
  const Vox::Ptr<LabelForwardingInfoSm>& labelForwardingInfoSm() const {
    return labelForwardingInfoSm_;
  }

  // Stage setters: return the existing reactor when it was built over the very same collections,
  // else create a new one (releasing the previous), turn it on and return it.
  Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSmIs(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl) {
    return stageIs(ipAddrRouterIdInfoSm_, routerIpAddrInfoColl, ipAddrRouterIdInfoColl);
  }
  Vox::Ptr<IpAddrToRouterIdInfoSm> ipAddrToRouterIdInfoSmIs(
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl) {
    return stageIs(ipAddrToRouterIdInfoSm_, routerIpAddrInfoColl, ipAddrRouterIdInfoColl);
  }
  Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerNexthopInfoSm_, ipAddrRouterIdInfoColl, ipNexthopInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<RouterIdToNexthopInfoSm> routerIdToNexthopInfoSmIs(
      const Vox::Ptr<const IpAddrRouterIdInfoColl>& ipAddrRouterIdInfoColl,
      const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerIdToNexthopInfoSm_, ipAddrRouterIdInfoColl, ipNexthopInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSmIs(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
    return stageIs(intfRouterNexthopInfoSm_, routerNexthopInfoColl, intfRouterNexthopInfoColl);
  }
  Vox::Ptr<IntfToRouterNexthopInfoSm> intfToRouterNexthopInfoSmIs(
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl) {
    return stageIs(intfToRouterNexthopInfoSm_, routerNexthopInfoColl, intfRouterNexthopInfoColl);
  }
  Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSmIs(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
    return stageIs(routerIpNexthopInfoSm_, intfRouterNexthopInfoColl, mplsIntfColl,
                   routerIpNexthopInfoColl);
  }

  Vox::Ptr<RouterIdToIpNexthopInfoSm> routerIdToIpNexthopInfoSmIs(
      const Vox::Ptr<const IntfRouterNexthopInfoColl>& intfRouterNexthopInfoColl,
      const Vox::Ptr<const MplsIntfColl>& mplsIntfColl,
      const Vox::Ptr<RouterIpNexthopInfoColl>& routerIpNexthopInfoColl) {
    return stageIs(routerIdToIpNexthopInfoSm_, intfRouterNexthopInfoColl, mplsIntfColl,
                   routerIpNexthopInfoColl);
  }
  Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSmIs(
      const Vox::Ptr<const RouterIpNexthopInfoColl>& routerIpNexthopInfoColl,
      const Vox::Ptr<const RouterIpAddrInfoColl>& routerIpAddrInfoColl,
      const Vox::Ptr<RouterNexthopInfoColl>& routerNexthopInfoColl) {
    return stageIs(routerFilteredNexthopSm_, routerIpNexthopInfoColl, routerIpAddrInfoColl,
                   routerNexthopInfoColl);
  }
  Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSmIs(
      const Vox::Ptr<const LabelBindingTableColl>& labelBindingTableColl,
      const Vox::Ptr<const RouterNexthopInfoColl>& routerNexthopInfoColl,
      const Vox::Ptr<FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl) {
    return stageIs(fecRouterNexthopInfoSm_, labelBindingTableColl, routerNexthopInfoColl,
                   fecRouterNexthopInfoColl);
  }
  Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSmIs(
      const Vox::Ptr<const LabelBindingTable>& localLabelBindingTable,
      const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl,
      const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl,
      const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl) {
    return stageIs(labelForwardingInfoSm_, localLabelBindingTable, fecRouterLabelInfoColl,
                   fecRouterNexthopInfoColl, labelForwardingInfoColl);
  }

  // Stage removers: null the attribute, turn the reactor's notifications off and hand it over.
  Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSmDel() {
    return stageDel(ipAddrRouterIdInfoSm_);
  }
  Vox::Ptr<IpAddrToRouterIdInfoSm> ipAddrToRouterIdInfoSmDel() {
    return stageDel(ipAddrToRouterIdInfoSm_);
  }
  Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSmDel() { return stageDel(routerNexthopInfoSm_); }
  Vox::Ptr<RouterIdToNexthopInfoSm> routerIdToNexthopInfoSmDel() {
    return stageDel(routerIdToNexthopInfoSm_);
  }
  Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSmDel() {
    return stageDel(intfRouterNexthopInfoSm_);
  }
  Vox::Ptr<IntfToRouterNexthopInfoSm> intfToRouterNexthopInfoSmDel() {
    return stageDel(intfToRouterNexthopInfoSm_);
  }
  Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSmDel() {
    return stageDel(routerIpNexthopInfoSm_);
  }
  Vox::Ptr<RouterIdToIpNexthopInfoSm> routerIdToIpNexthopInfoSmDel() {
    return stageDel(routerIdToIpNexthopInfoSm_);
  }
  Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSmDel() {
    return stageDel(routerFilteredNexthopSm_);
  }
  Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSmDel() {
    return stageDel(fecRouterNexthopInfoSm_);
  }
  Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSmDel() {
    return stageDel(labelForwardingInfoSm_);
  }

  // Builds the pipeline: stages upstream first, each chosen by its feature toggle.
  void handleInitialized();
  void handleDelete();
  // Sets the manager's flag, then each existing reactor's, in declaration order.
  void hasNotificationActiveIs(bool active) override;

 private:
  template <class Sm, class... Colls>
  static Vox::Ptr<Sm> stageIs(Vox::Ptr<Sm>& attribute, const Colls&... colls) {
    if (attribute && attribute->constructorArguments() == std::tuple(colls.ptr()...)) {
      return attribute;
    }
    attribute = Sm::create(colls...);
    attribute->hasNotificationActiveIs(true);
    return attribute;
  }
  template <class Sm>
  static Vox::Ptr<Sm> stageDel(Vox::Ptr<Sm>& attribute) {
    Vox::Ptr<Sm> removed = std::move(attribute);
    attribute = nullptr;
    if (removed) removed->hasNotificationActiveIs(false);
    return removed;
  }
  // Applies `action` to each existing stage reactor, in declaration order.
  template <class Action>
  void forEachStage(Action&& action) const {
    if (ipAddrRouterIdInfoSm_) action(*ipAddrRouterIdInfoSm_);
    if (ipAddrToRouterIdInfoSm_) action(*ipAddrToRouterIdInfoSm_);
    if (routerNexthopInfoSm_) action(*routerNexthopInfoSm_);
    if (routerIdToNexthopInfoSm_) action(*routerIdToNexthopInfoSm_);
    if (intfRouterNexthopInfoSm_) action(*intfRouterNexthopInfoSm_);
    if (intfToRouterNexthopInfoSm_) action(*intfToRouterNexthopInfoSm_);
    if (routerIpNexthopInfoSm_) action(*routerIpNexthopInfoSm_);
    if (routerIdToIpNexthopInfoSm_) action(*routerIdToIpNexthopInfoSm_);
    if (routerFilteredNexthopSm_) action(*routerFilteredNexthopSm_);
    if (fecRouterNexthopInfoSm_) action(*fecRouterNexthopInfoSm_);
    if (labelForwardingInfoSm_) action(*labelForwardingInfoSm_);
  }

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
  Vox::Ptr<IpAddrRouterIdInfoSm> ipAddrRouterIdInfoSm_;
  Vox::Ptr<IpAddrToRouterIdInfoSm> ipAddrToRouterIdInfoSm_;
  Vox::Ptr<RouterNexthopInfoSm> routerNexthopInfoSm_;
  Vox::Ptr<RouterIdToNexthopInfoSm> routerIdToNexthopInfoSm_;
  Vox::Ptr<IntfRouterNexthopInfoSm> intfRouterNexthopInfoSm_;
  Vox::Ptr<IntfToRouterNexthopInfoSm> intfToRouterNexthopInfoSm_;
  Vox::Ptr<RouterIpNexthopInfoSm> routerIpNexthopInfoSm_;
  Vox::Ptr<RouterIdToIpNexthopInfoSm> routerIdToIpNexthopInfoSm_;
  Vox::Ptr<RouterFilteredNexthopSm> routerFilteredNexthopSm_;
  Vox::Ptr<FecRouterNexthopInfoSm> fecRouterNexthopInfoSm_;
  Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSm_;
};

// The manager's factory: forwards to `P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs`.
template <class... Colls>
requires std::is_constructible_v<P2mpLfibGenSmManager, const Colls&...>
    Vox::Ptr<P2mpLfibGenSmManager> p2mpLfibGenSmManagerFactory(const Colls&... colls) {
  return P2mpLfibGenSmManager::P2mpLfibGenSmManagerIs(colls...);
}

}  // namespace Mpls
