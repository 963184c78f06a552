#include "sim/Agent.h"

namespace Sim {

Agent::Agent()
    : nexthopConfig_(Vox::create<Routing::NexthopVrfConfig>()),
      nexthopStatus_(Vox::create<Routing::NexthopVrfStatus>()),
      nexthopBacklog_(Vox::create<Routing::NexthopBacklog>()),
      forwardingStatus_(Vox::create<Brisk::Fib::ForwardingStatus>()),
      resolution_(nexthopConfig_, nexthopStatus_, forwardingStatus_, nexthopBacklog_) {
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
}

}  // namespace Sim
