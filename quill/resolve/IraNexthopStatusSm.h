#pragma once
// Turns next-hop resolution answers into next-hop vias per address.
//
// The resolution service answers each request in `Routing::NexthopVrfStatus` (the FEC that
// resolves the address, and the route type), keeps the FEC's vias in
// `Brisk::Fib::ForwardingStatus`, and lists in `Routing::NexthopBacklog` the addresses whose
// answer changed. This reactor drains the backlog and keeps `IpNexthopInfoColl` (address -> set
// of `Mpls::FibVia`) equal to what the forwarding table says:
// - an unresolved address (no status, an unknown FEC, or a FEC without vias) has no entry;
// - a resolved address has one via per distinct (hop, interface) of its FEC; on a connected
//   route (type 11) the peer is its own next hop, so the hop is the address itself.
// When the vias change, new vias are added before stale ones are removed, so a reader never
// sees a resolved address without vias.
//
// A FEC reporting more than 600 vias makes `processNexthop` throw the range exception
// "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed" once 600 were read; the
// address's entry then keeps its previous vias and the address is no longer in the backlog.
#include <tuple>

#include "platform/brisk/ForwardingStatus.h"
#include "platform/routing/NexthopBacklog.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "quill/core/StageReactor.h"
#include "quill/model/IpNexthopInfoColl.h"

namespace Mpls {

class IraNexthopStatusSm : public Quill::StageReactor<IraNexthopStatusSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IraNexthopStatusSm";

  // `nexthopBacklog` may be null: the reactor then only follows initialization.
  IraNexthopStatusSm(const Vox::Ptr<Routing::NexthopBacklog>& nexthopBacklog,
                     const Vox::Ptr<const Routing::NexthopVrfStatus>& nexthopStatus,
                     const Vox::Ptr<const Brisk::Fib::ForwardingStatus>& forwardingStatus,
                     const Vox::Ptr<IpNexthopInfoColl>& ipNexthopInfoColl);
  ~IraNexthopStatusSm() override;

  static Vox::Ptr<IraNexthopStatusSm> IraNexthopStatusSmIs(
      const Vox::Ptr<Routing::NexthopBacklog>& nexthopBacklog,
      const Vox::Ptr<const Routing::NexthopVrfStatus>& nexthopStatus,
      const Vox::Ptr<const Brisk::Fib::ForwardingStatus>& forwardingStatus,
      const Vox::Ptr<IpNexthopInfoColl>& ipNexthopInfoColl) {
    return create(nexthopBacklog, nexthopStatus, forwardingStatus, ipNexthopInfoColl);
  }

  auto constructorArguments() const {
    return std::tuple(nexthopBacklog_.ptr(), nexthopStatus_.ptr(), forwardingStatus_.ptr(),
                      ipNexthopInfoColl_.ptr());
  }

  // Re-derives the output for one address and takes it off the backlog.
  void processNexthop(const Vela::IpGenAddr& ipAddr);
  // Drains the backlog. Fatal "initialized()" while uninitialized.
  void handleNexthopBacklog();
  void handleInitialized();
  void handleDelete();

 private:
  Vox::Ptr<Routing::NexthopBacklog> nexthopBacklog_;
  Vox::Ptr<const Routing::NexthopVrfStatus> nexthopStatus_;
  Vox::Ptr<const Brisk::Fib::ForwardingStatus> forwardingStatus_;
  Vox::Ptr<IpNexthopInfoColl> ipNexthopInfoColl_;
  bool draining_ = false;
  using VoxNexthopBacklog = Vox::KeyObserver<Routing::NexthopBacklog::backlogAttribute,
                                             &IraNexthopStatusSm::handleNexthopBacklog>;
  VoxNexthopBacklog voxNexthopBacklog_{*this};
};

Vox::Ptr<IraNexthopStatusSm> iraNexthopStatusSmFactory(
    const Vox::Ptr<Routing::NexthopBacklog>& nexthopBacklog,
    const Vox::Ptr<const Routing::NexthopVrfStatus>& nexthopStatus,
    const Vox::Ptr<const Brisk::Fib::ForwardingStatus>& forwardingStatus,
    const Vox::Ptr<IpNexthopInfoColl>& ipNexthopInfoColl);

}  // namespace Mpls
