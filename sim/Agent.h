#pragma once
// The owning agent of the library, as the host runs it, over simulated host services.
//
// The agent owns every collection: the fourteen it hands to the pipeline manager, the
// resolution service's tables and the label binding notifiers' collection; and it keeps the
// per-FEC peer labels equal to the peers' label binding tables (`PeerLabelMirror`). `start()`
// creates, in this order, the next-hop resolution reactors (requests, then results) over the
// simulated resolution service, the label binding notifier manager and the pipeline manager;
// `stop()` destroys them in the order the host does: the pipeline manager, the resolution
// reactors, the notifier manager. Collections, outputs included, survive a stop: a restart starts
// new reactors over the state the old ones left, as an agent restart does.
//
//   Sim::Agent agent;                                   // started
//   agent.colls().transportAddrs->routerIpAddrIs(router)->ipAddrIs(address);
//   agent.resolution().connectedRouteIs(prefix, intf);
//   agent.colls().mplsIntfs->intfIdIs(intf);
//   agent.colls().routerIpNexthop                       // MPLS-filtered vias per router
#include "platform/brisk/ForwardingStatus.h"
#include "platform/routing/NexthopBacklog.h"
#include "platform/routing/NexthopVrfConfig.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "quill/lfib/LabelBindingTableNotifierSmManager.h"
#include "quill/pipeline/P2mpLfibGenSmManager.h"
#include "quill/pipeline/PipelineCollections.h"
#include "quill/resolve/IraNexthopConfigSm.h"
#include "quill/resolve/IraNexthopStatusSm.h"
#include "sim/PeerLabelMirror.h"
#include "sim/ResolutionService.h"

namespace Sim {

class Agent {
 public:
  Agent();  // started
  ~Agent();
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  void start();
  void stop();
  void restart() {
    stop();
    start();
  }
  bool running() const { return bool(manager_); }

  ResolutionService& resolution() { return resolution_; }
  const ResolutionService& resolution() const { return resolution_; }
  const Vox::Ptr<Mpls::P2mpLfibGenSmManager>& manager() const { return manager_; }
  const Vox::Ptr<Mpls::LabelBindingTableNotifierSmColl>& notifiers() const { return notifiers_; }

  // Peer label bindings, as LDP learns them: the peer's table is created on first use, a binding
  // whose last label goes is removed, and `peerTableDrop` removes a peer's bindings one by one
  // and then its table. The per-FEC peer labels follow.
  void peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                     Vela::MplsLabel label);
  void peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                      Vela::MplsLabel label);
  void peerTableDrop(const Mpls::RouterId& routerId);

  // The manager's fourteen collections.
  const Mpls::PipelineCollections& colls() const { return colls_; }

  // The resolution service's tables.
  const Vox::Ptr<Routing::NexthopVrfConfig>& nexthopConfig() const { return nexthopConfig_; }
  const Vox::Ptr<Routing::NexthopVrfStatus>& nexthopStatus() const { return nexthopStatus_; }
  const Vox::Ptr<Routing::NexthopBacklog>& nexthopBacklog() const { return nexthopBacklog_; }
  const Vox::Ptr<Brisk::Fib::ForwardingStatus>& forwardingStatus() const {
    return forwardingStatus_;
  }

 private:
  Mpls::PipelineCollections colls_;
  Vox::Ptr<Routing::NexthopVrfConfig> nexthopConfig_;
  Vox::Ptr<Routing::NexthopVrfStatus> nexthopStatus_;
  Vox::Ptr<Routing::NexthopBacklog> nexthopBacklog_;
  Vox::Ptr<Brisk::Fib::ForwardingStatus> forwardingStatus_;
  ResolutionService resolution_;
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmColl> notifiers_;
  Vox::Ptr<PeerLabelMirror> peerLabelMirror_;

  Vox::Ptr<Mpls::IraNexthopConfigSm> nexthopConfigSm_;
  Vox::Ptr<Mpls::IraNexthopStatusSm> nexthopStatusSm_;
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmManager> notifierManager_;
  Vox::Ptr<Mpls::P2mpLfibGenSmManager> manager_;
};

}  // namespace Sim
