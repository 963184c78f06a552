#pragma once
// The fourteen collections a pipeline manager is handed, owned the way an agent owns them, and
// the manager's construction over them in its argument order. An agent that keeps its
// collections in one bundle creates them all here and hands them over with `managerIs()`; a
// bundle in the wrong order does not compile (the manager's constructor checks each type).
#include <cstddef>
#include <string_view>
#include <tuple>
#include <vector>

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

  // Every collection, in the order the manager's declaration lists them.
  auto all() const {
    return std::tuple(localTable, peerTables, fecRouterLabel, transportAddrs, ipAddrRouterId,
                      ipNexthop, routerNexthop, intfRouterNexthop, mplsIntfs, routerIpNexthop,
                      intfAddrs, filteredNexthop, fecRouterNexthop, lfib);
  }

  Vox::Ptr<P2mpLfibGenSmManager> managerIs() const {
    return std::apply([](const auto&... colls) { return p2mpLfibGenSmManagerFactory(colls...); },
                      all());
  }

  // Applies `f(name, collection)` to each, named and ordered as the manager declares them.
  template <class F>
  void forEachCollection(F&& f) const {
    const std::vector<std::string_view> names = P2mpLfibGenSmManager::collectionNames();
    std::size_t i = 0;
    std::apply([&](const auto&... colls) { (f(names[i++], colls), ...); }, all());
  }
};

}  // namespace Mpls
