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
#include "platform/brisk/ForwardingStatus.h"
#include "platform/routing/NexthopBacklog.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "quill/core/Stage.h"
#include "quill/model/IpNexthopInfoColl.h"

namespace Mpls {

class IraNexthopStatusSm
    : public Quill::Stage<IraNexthopStatusSm, Routing::NexthopBacklog,
                          const Routing::NexthopVrfStatus, const Brisk::Fib::ForwardingStatus,
                          IpNexthopInfoColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "Mpls::IraNexthopStatusSm";
  // (nexthopBacklog, nexthopStatus, forwardingStatus, ipNexthopInfoColl). `nexthopBacklog` may
  // be null: the reactor then only follows initialization.
  using Stage::Stage;
  ~IraNexthopStatusSm() override { handleDelete(); }
  static constexpr auto IraNexthopStatusSmIs = &stageIs;

  // Re-derives the output for one address and takes it off the backlog.
  void processNexthop(const Vela::IpGenAddr& ipAddr);
  // Drains the backlog. Fatal "initialized()" while uninitialized.
  void handleNexthopBacklog();
  void handleInitialized();
  void handleDelete() { leaveInitialized(); }

 private:
  const Vox::Ptr<Routing::NexthopBacklog>& nexthopBacklog() const { return collection<0>(); }
  const Vox::Ptr<const Routing::NexthopVrfStatus>& nexthopStatus() const { return collection<1>(); }
  const Vox::Ptr<const Brisk::Fib::ForwardingStatus>& forwardingStatus() const {
    return collection<2>();
  }
  const Vox::Ptr<IpNexthopInfoColl>& ipNexthopInfoColl() const { return collection<3>(); }
  bool draining_ = false;
  Vox::KeyObserver<Routing::NexthopBacklog::backlogAttribute,
                   &IraNexthopStatusSm::handleNexthopBacklog>
      backlogObserver_{*this, nexthopBacklog()};
};

inline constexpr auto iraNexthopStatusSmFactory = IraNexthopStatusSm::IraNexthopStatusSmIs;

}  // namespace Mpls
