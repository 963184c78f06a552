#pragma once
// Stage 7: the p2mp LFIB. Joins each FEC's local labels with the via chosen towards each peer
// router and the labels that router advertised for the FEC.
//
// Inputs: the local label binding table (`fecLabelColl()`: FEC -> local labels), per-FEC peer
// labels (`FecRouterLabelInfoColl`: FEC -> router -> labels) and per-FEC chosen vias
// (`FecRouterNexthopInfoColl`: FEC -> router -> one via). Output `LabelForwardingInfoColl`:
// local label -> (via, peer label) -> the (FEC, router) pairs that justify the branch.
// Call (L, V, P, F, R) justified when L is a local label of F, P a label of R for F, and V the via
// of R for F. Invariant once initialized: the `fecRouter` set of (L, (V, P)) is exactly the
// (F, R) for which the tuple is justified; branches and labels exist exactly while non-empty.
// Labels are copied as they are; none is treated specially.
//
// Every per-key reactor, when its input entity is removed, runs its whole-entity handler once
// more as a zombie, which withdraws what that entity justified. Initialization rebuilds the
// output from nothing.
#include "platform/mpls/LabelBindingTable.h"
#include "quill/core/Stage.h"
#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/LabelForwardingInfoColl.h"

namespace Mpls {

class LabelForwardingInfoSm
    : public Quill::Stage<LabelForwardingInfoSm, const LabelBindingTable,
                          const FecRouterLabelInfoColl, const FecRouterNexthopInfoColl,
                          LabelForwardingInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelForwardingInfoSm";
  // (localLabelBindingTable, fecRouterLabelInfoColl, fecRouterNexthopInfoColl,
  //  labelForwardingInfoColl)
  using Stage::Stage;
  ~LabelForwardingInfoSm() override { handleDelete(); }
  static constexpr auto LabelForwardingInfoSmIs = &stageIs;

  // The local label binding table.
  const Vox::Ptr<const LabelBindingTable>& fecLabelColl() const { return collection<0>(); }

  // Re-evaluates one 5-tuple; the single writer of the output.
  void processLabelForwardingInfo(Vela::MplsLabel localLabel, const FibVia& via,
                                  Vela::MplsLabel peerLabel, const FwdEqvClass& fec,
                                  const RouterId& routerId);
  // Local label L of F added or removed. Fatal "initialized()" while uninitialized.
  void handleFecLabel(const FwdEqvClass& fec, Vela::MplsLabel localLabel);
  // Peer label P of (F, R) added or removed. Fatal "initialized()" while uninitialized.
  void handleFecRouterLabel(const FwdEqvClass& fec, const RouterId& routerId,
                            Vela::MplsLabel peerLabel);
  // Via V of (F, R) added or removed. Fatal "initialized()" while uninitialized.
  void handleFecRouterNexthop(const FwdEqvClass& fec, const RouterId& routerId, const FibVia& via);

  // Per-key reactors: what each followed member's changes go to.
  // The local labels of one FEC.
  using VoxFecLabelSet = Vox::KeyForwarder<LabelForwardingInfoSm, FecLabelSet::mplsLabelAttribute,
                                           &LabelForwardingInfoSm::handleFecLabel>;
  // The peer labels of one FEC: each router's labels (`VoxRouterLabelInfo`) followed through it.
  struct VoxFecRouterLabel
      : Vox::MemberCollForwarder<
            VoxFecRouterLabel, LabelForwardingInfoSm, FecRouterLabelInfo::routerLabelInfoAttribute,
            RouterLabelInfo::routerLabelAttribute, &LabelForwardingInfoSm::handleFecRouterLabel> {
    static constexpr const char* kClassName = "Mpls::LabelForwardingInfoSm::VoxFecRouterLabel";
    using MemberCollForwarder::MemberCollForwarder;
    // Re-derives what one of its members contributes, as the member joining does.
    void routerLabelInfoIs(const Vox::Ptr<const RouterLabelInfo>& entity) { nestedIs(entity); }
  };
  using VoxRouterLabelInfo = VoxFecRouterLabel::Nested;
  // The chosen vias of one FEC: each router's via (`VoxRouterNexthopInfo`) followed through it.
  struct VoxFecRouterNexthop
      : Vox::MemberCollForwarder<VoxFecRouterNexthop, LabelForwardingInfoSm,
                                 FecRouterNexthopInfo::routerNexthopInfoAttribute,
                                 RouterNexthopInfo::viaAttribute,
                                 &LabelForwardingInfoSm::handleFecRouterNexthop> {
    static constexpr const char* kClassName = "Mpls::LabelForwardingInfoSm::VoxFecRouterNexthop";
    using MemberCollForwarder::MemberCollForwarder;
    // Re-derives what one of its members contributes, as the member joining does.
    void routerNexthopInfoIs(const Vox::Ptr<const RouterNexthopInfo>& entity) { nestedIs(entity); }
  };
  using VoxRouterNexthopInfo = VoxFecRouterNexthop::Nested;

  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl() const {
    return collection<1>();
  }
  const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl() const {
    return collection<2>();
  }
  const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl() const {
    return collection<3>();
  }
  QUILL_PER_KEY_REACTORS(fecLabelSet, VoxFecLabelSet, VoxFecLabelColl,
                         LabelBindingTable::bindingAttribute)
  QUILL_PER_KEY_REACTORS(fecRouterLabel, VoxFecRouterLabel, VoxFecRouterLabelInfoColl,
                         FecRouterLabelInfoColl::fecRouterLabelAttribute)
  QUILL_PER_KEY_REACTORS(fecRouterNexthop, VoxFecRouterNexthop, VoxFecRouterNexthopInfoColl,
                         FecRouterNexthopInfoColl::fecRouterNexthopAttribute)
};

inline constexpr auto labelForwardingInfoSmFactory = LabelForwardingInfoSm::LabelForwardingInfoSmIs;

}  // namespace Mpls
