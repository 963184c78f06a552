#pragma once
// The fourteen collections a pipeline manager is handed, owned the way an agent owns them, and
// the manager's construction over them in its argument order. An agent that keeps its
// collections in one bundle creates them all here and hands them over with `managerIs()`.
#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace Mpls {

struct PipelineCollections {
  Vox::Ptr<LabelBindingTable> localTable = Vox::create<LabelBindingTable>(RouterId());
  Vox::Ptr<LabelBindingTableColl> peerTables = Vox::create<LabelBindingTableColl>();
  Vox::Ptr<FecRouterLabelInfoColl> fecRouterLabel = Vox::create<FecRouterLabelInfoColl>();
  Vox::Ptr<RouterIpAddrInfoColl> transportAddrs = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> ipAddrRouterId = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpNexthopInfoColl> ipNexthop = Vox::create<IpNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> routerNexthop = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> intfRouterNexthop = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<MplsIntfColl> mplsIntfs = Vox::create<MplsIntfColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> routerIpNexthop = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<RouterIpAddrInfoColl> intfAddrs = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> filteredNexthop = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<FecRouterNexthopInfoColl> fecRouterNexthop = Vox::create<FecRouterNexthopInfoColl>();
  Vox::Ptr<LabelForwardingInfoColl> lfib = Vox::create<LabelForwardingInfoColl>();

  Vox::Ptr<P2mpLfibGenSmManager> managerIs() const {
    return p2mpLfibGenSmManagerFactory(
        Vox::Ptr<const LabelBindingTable>(localTable),
        Vox::Ptr<const LabelBindingTableColl>(peerTables),
        Vox::Ptr<const FecRouterLabelInfoColl>(fecRouterLabel),
        Vox::Ptr<const RouterIpAddrInfoColl>(transportAddrs), ipAddrRouterId,
        Vox::Ptr<const IpNexthopInfoColl>(ipNexthop), routerNexthop, intfRouterNexthop,
        Vox::Ptr<const MplsIntfColl>(mplsIntfs), routerIpNexthop,
        Vox::Ptr<const RouterIpAddrInfoColl>(intfAddrs), filteredNexthop, fecRouterNexthop, lfib);
  }
};

}  // namespace Mpls
