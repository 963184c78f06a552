#pragma once
// Keeps the per-FEC peer label collection (`FecRouterLabelInfoColl`: FEC -> router -> labels)
// equal to what the peers' label binding tables say, as the host's LDP agent does for the
// library. Every label of every binding of every peer table appears under (FEC, router); entries
// go when their last label goes. A binding or table removed as a whole withdraws what it held.
#include "platform/mpls/LabelBindingTableColl.h"
#include "platform/vox/Reactor.h"
#include "quill/model/FecRouterLabelInfoColl.h"

namespace Sim {

class PeerLabelMirror : public Vox::Reactor {
 public:
  PeerLabelMirror(const Vox::Ptr<const Mpls::LabelBindingTableColl>& peerTables,
                  const Vox::Ptr<Mpls::FecRouterLabelInfoColl>& fecRouterLabel);

  // Makes (fec, router, label) in the mirror agree with the tables.
  void mirror(const Mpls::FwdEqvClass& fec, const Mpls::RouterId& routerId, Vela::MplsLabel label);
  // The same, keyed as the per-key reactors see it: table, then binding.
  void mirrorBinding(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                     Vela::MplsLabel label) {
    mirror(fec, routerId, label);
  }

  // Follows the bindings of one peer table, and under each (`VoxBinding`) its labels.
  struct VoxTable : Vox::MemberCollForwarder<
                        VoxTable, PeerLabelMirror, Mpls::LabelBindingTable::bindingAttribute,
                        Mpls::FecLabelSet::mplsLabelAttribute, &PeerLabelMirror::mirrorBinding> {
    static constexpr const char* kClassName = "Sim::PeerLabelMirror::VoxTable";
    using MemberCollForwarder::MemberCollForwarder;
  };
  using VoxBinding = VoxTable::Nested;

 private:
  Vox::Ptr<const Mpls::LabelBindingTableColl> peerTables_;
  Vox::Ptr<Mpls::FecRouterLabelInfoColl> fecRouterLabel_;
  Vox::PerKeyReactorColl<VoxTable> table_{*this, "Sim::PeerLabelMirror", "table"};
  Vox::CollectionObserver<Mpls::LabelBindingTableColl::bindingTableAttribute, VoxTable> observer_{
      *this, table_};
};

}  // namespace Sim
