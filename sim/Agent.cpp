#include "sim/Agent.h"

namespace Sim {

Agent::Agent()
    : nexthopConfig_(Vox::create<Routing::NexthopVrfConfig>()),
      nexthopStatus_(Vox::create<Routing::NexthopVrfStatus>()),
      nexthopBacklog_(Vox::create<Routing::NexthopBacklog>()),
      forwardingStatus_(Vox::create<Brisk::Fib::ForwardingStatus>()),
      resolution_(nexthopConfig_, nexthopStatus_, forwardingStatus_, nexthopBacklog_),
      notifiers_(Mpls::labelBindingTableNotifierSmCollFactory("p2mp")),
      peerLabelMirror_(new PeerLabelMirror(colls_.peerTables, colls_.fecRouterLabel)) {
  start();
}

Agent::~Agent() {
  stop();
}

void Agent::start() {
  if (running()) return;
  nexthopConfigSm_ =
      Mpls::IraNexthopConfigSm::IraNexthopConfigSmIs(colls_.ipAddrRouterId, nexthopConfig_);
  nexthopStatusSm_ = Mpls::iraNexthopStatusSmFactory(nexthopBacklog_, nexthopStatus_,
                                                     forwardingStatus_, colls_.ipNexthop);
  notifierManager_ = Mpls::LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs(
      colls_.peerTables, notifiers_);
  manager_ = colls_.managerIs();
}

void Agent::stop() {
  // The pipeline first, then the resolution reactors; those assert that no change reaches them
  // once deleted, so each is silenced before its last reference goes.
  manager_ = nullptr;
  for (Vox::Reactor* reactor : {static_cast<Vox::Reactor*>(nexthopConfigSm_.ptr()),
                                static_cast<Vox::Reactor*>(nexthopStatusSm_.ptr())}) {
    if (reactor) reactor->hasNotificationActiveIs(false);
  }
  nexthopConfigSm_ = nullptr;
  nexthopStatusSm_ = nullptr;
  notifierManager_ = nullptr;
}

void Agent::peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                          Vela::MplsLabel label) {
  colls_.peerTables->bindingTableIs(routerId)->bindingIs(fec)->mplsLabelIs(label);
}

void Agent::peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                           Vela::MplsLabel label) {
  const auto table = colls_.peerTables->bindingTable(routerId);
  const auto binding = table ? table->binding(fec) : nullptr;
  if (!binding) return;
  binding->mplsLabelDel(label);
  if (binding->mplsLabels() == 0) table->bindingDel(fec);
}

void Agent::peerTableDrop(const Mpls::RouterId& routerId) {
  const auto table = colls_.peerTables->bindingTable(routerId);
  if (!table) return;
  for (auto it = table->bindingColl().begin(); it != table->bindingColl().end(); ++it) {
    const auto binding = it.member();
    for (auto label = binding->mplsLabelColl().begin(); label != binding->mplsLabelColl().end();
         ++label) {
      peerBindingDel(routerId, binding->fwdEqvClass(), *label);
    }
  }
  colls_.peerTables->bindingTableDel(routerId);
}

}  // namespace Sim
