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
  class VoxTable;

  // Follows the labels of one binding of one peer.
  class VoxBinding : public Vox::MemberReactor<VoxBinding, VoxTable, Mpls::FecLabelSet> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    using MemberReactor::MemberReactor;
    void mirrorAll();
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;
    static constexpr auto kWholeMemberHandler = &VoxBinding::mirrorAll;
  };

  // Follows the bindings of one peer table.
  class VoxTable : public Vox::MemberReactor<VoxTable, PeerLabelMirror, Mpls::LabelBindingTable> {
   public:
    static constexpr Vox::Removal kRemoval = Vox::Removal::kZombie;
    VoxTable(const Vox::Ptr<const Mpls::LabelBindingTable>& table, PeerLabelMirror* owner);
    void mirrorAll() {}  // each binding mirrors itself
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override;
    static constexpr auto kWholeMemberHandler = &VoxTable::mirrorAll;

   private:
    Vox::PerKeyReactorColl<VoxBinding> binding_{*this, "Sim::PeerLabelMirror::VoxTable", "binding"};
  };

  PeerLabelMirror(const Vox::Ptr<const Mpls::LabelBindingTableColl>& peerTables,
                  const Vox::Ptr<Mpls::FecRouterLabelInfoColl>& fecRouterLabel);

  // Makes (fec, router, label) in the mirror agree with the tables.
  void mirror(const Mpls::FwdEqvClass& fec, const Mpls::RouterId& routerId, Vela::MplsLabel label);

 private:
  Vox::Ptr<const Mpls::LabelBindingTableColl> peerTables_;
  Vox::Ptr<Mpls::FecRouterLabelInfoColl> fecRouterLabel_;
  Vox::PerKeyReactorColl<VoxTable> table_{*this, "Sim::PeerLabelMirror", "table"};
  Vox::CollectionObserver<Mpls::LabelBindingTableColl::bindingTableAttribute, VoxTable> observer_{
      *this, table_};
};

}  // namespace Sim
