#pragma once
// The fourteen collections a pipeline manager is handed, owned the way an agent owns them, and
// the manager's construction over them in its argument order.
#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace Sim {

struct PipelineCollections {
  Vox::Ptr<Mpls::LabelBindingTable> localTable =
      Vox::create<Mpls::LabelBindingTable>(Mpls::RouterId());
  Vox::Ptr<Mpls::LabelBindingTableColl> peerTables = Vox::create<Mpls::LabelBindingTableColl>();
  Vox::Ptr<Mpls::FecRouterLabelInfoColl> fecRouterLabel =
      Vox::create<Mpls::FecRouterLabelInfoColl>();
  Vox::Ptr<Mpls::RouterIpAddrInfoColl> transportAddrs = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::IpAddrRouterIdInfoColl> ipAddrRouterId =
      Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  Vox::Ptr<Mpls::IpNexthopInfoColl> ipNexthop = Vox::create<Mpls::IpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> routerNexthop = Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::IntfRouterNexthopInfoColl> intfRouterNexthop =
      Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::MplsIntfColl> mplsIntfs = Vox::create<Mpls::MplsIntfColl>();
  Vox::Ptr<Mpls::RouterIpNexthopInfoColl> routerIpNexthop =
      Vox::create<Mpls::RouterIpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterIpAddrInfoColl> intfAddrs = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> filteredNexthop =
      Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::FecRouterNexthopInfoColl> fecRouterNexthop =
      Vox::create<Mpls::FecRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::LabelForwardingInfoColl> lfib = Vox::create<Mpls::LabelForwardingInfoColl>();

  Vox::Ptr<Mpls::P2mpLfibGenSmManager> managerIs() const {
    return Mpls::p2mpLfibGenSmManagerFactory(
        Vox::Ptr<const Mpls::LabelBindingTable>(localTable),
        Vox::Ptr<const Mpls::LabelBindingTableColl>(peerTables),
        Vox::Ptr<const Mpls::FecRouterLabelInfoColl>(fecRouterLabel),
        Vox::Ptr<const Mpls::RouterIpAddrInfoColl>(transportAddrs), ipAddrRouterId,
        Vox::Ptr<const Mpls::IpNexthopInfoColl>(ipNexthop), routerNexthop, intfRouterNexthop,
        Vox::Ptr<const Mpls::MplsIntfColl>(mplsIntfs), routerIpNexthop,
        Vox::Ptr<const Mpls::RouterIpAddrInfoColl>(intfAddrs), filteredNexthop, fecRouterNexthop,
        lfib);
  }
};

}  // namespace Sim
