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
#include <tuple>

#include "platform/mpls/LabelBindingTable.h"
#include "quill/core/StageReactor.h"
#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/LabelForwardingInfoColl.h"

namespace Mpls {

class LabelForwardingInfoSm : public Quill::StageReactor<LabelForwardingInfoSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelForwardingInfoSm";

  LabelForwardingInfoSm(const Vox::Ptr<const LabelBindingTable>& localLabelBindingTable,
                        const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl,
                        const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl,
                        const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl);
  ~LabelForwardingInfoSm() override;

  static Vox::Ptr<LabelForwardingInfoSm> LabelForwardingInfoSmIs(
      const Vox::Ptr<const LabelBindingTable>& localLabelBindingTable,
      const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl,
      const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl,
      const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl) {
    return create(localLabelBindingTable, fecRouterLabelInfoColl, fecRouterNexthopInfoColl,
                  labelForwardingInfoColl);
  }
  auto constructorArguments() const {
    return std::tuple(fecLabelColl_.ptr(), fecRouterLabelInfoColl_.ptr(),
                      fecRouterNexthopInfoColl_.ptr(), labelForwardingInfoColl_.ptr());
  }

  // The local label binding table.
  const Vox::Ptr<const LabelBindingTable>& fecLabelColl() const { return fecLabelColl_; }

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
  void handleDelete();

  VoxFecLabelSet* fecLabelSetIs(const Vox::Ptr<const FecLabelSet>& entity) {
    return fecLabelSet_.is(entity);
  }
  void fecLabelSetDel(const FwdEqvClass& fec) { fecLabelSet_.del(fec); }
  void fecLabelSetDelAll() { fecLabelSet_.delAll(); }
  VoxFecRouterLabel* fecRouterLabelIs(const Vox::Ptr<const FecRouterLabelInfo>& entity) {
    return fecRouterLabel_.is(entity);
  }
  void fecRouterLabelDel(const FwdEqvClass& fec) { fecRouterLabel_.del(fec); }
  void fecRouterLabelDelAll() { fecRouterLabel_.delAll(); }
  VoxFecRouterNexthop* fecRouterNexthopIs(const Vox::Ptr<const FecRouterNexthopInfo>& entity) {
    return fecRouterNexthop_.is(entity);
  }
  void fecRouterNexthopDel(const FwdEqvClass& fec) { fecRouterNexthop_.del(fec); }
  void fecRouterNexthopDelAll() { fecRouterNexthop_.delAll(); }

 private:
  Vox::Ptr<const LabelBindingTable> fecLabelColl_;
  Vox::Ptr<const FecRouterLabelInfoColl> fecRouterLabelInfoColl_;
  Vox::Ptr<const FecRouterNexthopInfoColl> fecRouterNexthopInfoColl_;
  Vox::Ptr<LabelForwardingInfoColl> labelForwardingInfoColl_;
  Vox::PerKeyReactorColl<VoxFecLabelSet> fecLabelSet_{*this, "Mpls::LabelForwardingInfoSm",
                                                      "fecLabelSet"};
  Vox::PerKeyReactorColl<VoxFecRouterLabel> fecRouterLabel_{*this, "Mpls::LabelForwardingInfoSm",
                                                            "fecRouterLabel"};
  Vox::PerKeyReactorColl<VoxFecRouterNexthop> fecRouterNexthop_{
      *this, "Mpls::LabelForwardingInfoSm", "fecRouterNexthop"};
  Vox::CollectionObserver<LabelBindingTable::bindingAttribute, VoxFecLabelSet> voxFecLabelColl_{
      *this, fecLabelSet_};
  Vox::CollectionObserver<FecRouterLabelInfoColl::fecRouterLabelAttribute, VoxFecRouterLabel>
      voxFecRouterLabelInfoColl_{*this, fecRouterLabel_};
  Vox::CollectionObserver<FecRouterNexthopInfoColl::fecRouterNexthopAttribute, VoxFecRouterNexthop>
      voxFecRouterNexthopInfoColl_{*this, fecRouterNexthop_};
};

// The reactor's factory: forwards to `LabelForwardingInfoSm::LabelForwardingInfoSmIs`.
inline Vox::Ptr<LabelForwardingInfoSm> labelForwardingInfoSmFactory(
    const Vox::Ptr<const LabelBindingTable>& localLabelBindingTable,
    const Vox::Ptr<const FecRouterLabelInfoColl>& fecRouterLabelInfoColl,
    const Vox::Ptr<const FecRouterNexthopInfoColl>& fecRouterNexthopInfoColl,
    const Vox::Ptr<LabelForwardingInfoColl>& labelForwardingInfoColl) {
  return LabelForwardingInfoSm::LabelForwardingInfoSmIs(
      localLabelBindingTable, fecRouterLabelInfoColl, fecRouterNexthopInfoColl,
      labelForwardingInfoColl);
}

}  // namespace Mpls
