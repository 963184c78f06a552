// quill_sizes: sizeof and alignof of the types the pipeline keeps per element, printed as JSON
// for the memory section of docs/PERFORMANCE.md (scripts/bench runs it).
//
//   {"types": [
//     {"group": "entity", "name": "Mpls::FecLabelSet", "size": 120, "align": 8},
//     ...
//   ]}
//
// One line per type below, its name written as the code spells it; the output is sorted by group,
// then name, so two builds compare line by line. A type that is renamed, becomes an alias or goes
// away is a one-line change here.
#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string>
#include <tuple>
#include <vector>

#include "platform/brisk/Fec.h"
#include "platform/brisk/ForwardingStatus.h"
#include "platform/consistenthash/ConsistentHashCircle.h"
#include "platform/mpls/FecLabelSet.h"
#include "platform/mpls/LabelBindingTable.h"
#include "platform/mpls/LabelBindingTableColl.h"
#include "platform/routing/NexthopBacklog.h"
#include "platform/routing/NexthopConfigEntry.h"
#include "platform/routing/NexthopStatusEntry.h"
#include "platform/routing/NexthopVrfConfig.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "platform/vela/IpPrefix.h"
#include "platform/vox/Entity.h"
#include "platform/vox/KeyedTable.h"
#include "platform/vox/Reactor.h"
#include "quill/flux/IntfToRouterNexthopInfoSm.h"
#include "quill/flux/IpAddrToRouterIdInfoSm.h"
#include "quill/flux/RouterIdToIpNexthopInfoSm.h"
#include "quill/flux/RouterIdToNexthopInfoSm.h"
#include "quill/lfib/ConsistentHashInfo.h"
#include "quill/lfib/FecRouterNexthopInfoSm.h"
#include "quill/lfib/FecViaConsistentHashColl.h"
#include "quill/lfib/LabelBindingTableNotifierSm.h"
#include "quill/lfib/LabelBindingTableNotifierSmColl.h"
#include "quill/lfib/LabelBindingTableNotifierSmManager.h"
#include "quill/lfib/LabelForwardingInfoSm.h"
#include "quill/lfib/RouterFilteredNexthopSm.h"
#include "quill/model/FecRouter.h"
#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/IpAddrLdpIdInfo.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/LabelForwardingInfoColl.h"
#include "quill/model/LdpIpAddrColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/NexthopIpInfo.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"
#include "quill/model/ViaLabel.h"
#include "quill/nexthop/IntfRouterNexthopInfoSm.h"
#include "quill/nexthop/RouterIpNexthopInfoSm.h"
#include "quill/nexthop/RouterNexthopInfoSm.h"
#include "quill/pipeline/P2mpLfibGenSmManager.h"
#include "quill/resolve/IpAddrRouterIdInfoSm.h"
#include "quill/resolve/IraNexthopConfigSm.h"
#include "quill/resolve/IraNexthopStatusSm.h"
#include "sim/PeerLabelMirror.h"

namespace {

struct TypeSize {
  std::string group;
  std::string name;
  std::size_t size;
  std::size_t align;
};

// The type's name as written; the variadic form keeps template arguments' commas.
#define QUILL_SIZE(group, ...)                                     \
  TypeSize {                                                       \
    group, #__VA_ARGS__, sizeof(__VA_ARGS__), alignof(__VA_ARGS__) \
  }

std::vector<TypeSize> typeSizes() {
  return {
      // Values copied into keys and entries.
      QUILL_SIZE("value", Vela::IpAddr),
      QUILL_SIZE("value", Vela::IpGenAddr),
      QUILL_SIZE("value", Vela::IpPrefix),
      QUILL_SIZE("value", Vela::IntfId),
      QUILL_SIZE("value", Vela::MplsLabel),
      QUILL_SIZE("value", Mpls::RouterId),
      QUILL_SIZE("value", Mpls::FwdEqvClass),
      QUILL_SIZE("value", Mpls::FibVia),
      QUILL_SIZE("value", Mpls::FecRouter),
      QUILL_SIZE("value", Mpls::ViaLabel),
      QUILL_SIZE("value", Routing::NexthopConfigEntry),
      QUILL_SIZE("value", Routing::NexthopStatusEntry),
      QUILL_SIZE("value", Brisk::Fib::FecId),
      QUILL_SIZE("value", Brisk::Fib::Fec),

      // The framework's building blocks.
      QUILL_SIZE("framework", Vox::Entity),
      QUILL_SIZE("framework", Vox::NotifieeBase),
      QUILL_SIZE("framework", Vox::Reactor),
      QUILL_SIZE("framework", ConsistentHash::ConsistentHashCircle),
      QUILL_SIZE("framework", Mpls::ConsistentHashInfo::Hasher),

      // Keyed tables and sets, as entities and reactors hold them.
      QUILL_SIZE("table", Vox::KeyedSet<Vela::MplsLabel>),
      QUILL_SIZE("table", Vox::KeyedSet<Mpls::FibVia>),
      QUILL_SIZE("table", Vox::KeyedSet<Mpls::RouterId>),
      QUILL_SIZE("table", Vox::KeyedSet<Mpls::FecRouter>),
      QUILL_SIZE("table", Vox::KeyedSet<Vela::IpGenAddr>),
      QUILL_SIZE("table", Vox::KeyedTable<Mpls::RouterId, Vox::Ptr<Mpls::LabelBindingTable>>),
      QUILL_SIZE("table", Vox::KeyedTable<Mpls::FwdEqvClass, Vox::Ptr<Mpls::FecLabelSet>>),
      QUILL_SIZE("table", Vox::KeyedTable<Mpls::ViaLabel, Vox::Ptr<Mpls::ForwardingInfo>>),
      QUILL_SIZE("table", Vox::KeyedTable<Vela::MplsLabel, Vox::Ptr<Mpls::LabelForwardingInfo>>),

      // Entities and collections.
      QUILL_SIZE("entity", Mpls::FecLabelSet),
      QUILL_SIZE("entity", Mpls::LabelBindingTable),
      QUILL_SIZE("entity", Mpls::LabelBindingTableColl),
      QUILL_SIZE("entity", Mpls::FecRouterLabelInfo),
      QUILL_SIZE("entity", Mpls::FecRouterLabelInfoColl),
      QUILL_SIZE("entity", Mpls::RouterLabelInfo),
      QUILL_SIZE("entity", Mpls::FecRouterNexthopInfo),
      QUILL_SIZE("entity", Mpls::FecRouterNexthopInfoColl),
      QUILL_SIZE("entity", Mpls::RouterNexthopInfo),
      QUILL_SIZE("entity", Mpls::RouterNexthopInfoColl),
      QUILL_SIZE("entity", Mpls::ForwardingInfo),
      QUILL_SIZE("entity", Mpls::LabelForwardingInfo),
      QUILL_SIZE("entity", Mpls::LabelForwardingInfoColl),
      QUILL_SIZE("entity", Mpls::IntfRouterNexthopInfo),
      QUILL_SIZE("entity", Mpls::IntfRouterNexthopInfoColl),
      QUILL_SIZE("entity", Ldp::IpAddrLdpIdInfo),
      QUILL_SIZE("entity", Mpls::IpAddrRouterIdInfo),
      QUILL_SIZE("entity", Mpls::IpAddrRouterIdInfoColl),
      QUILL_SIZE("entity", Mpls::IpNexthopInfo),
      QUILL_SIZE("entity", Mpls::IpNexthopInfoColl),
      QUILL_SIZE("entity", Ldp::LdpIpAddrColl),
      QUILL_SIZE("entity", Mpls::MplsIntfColl),
      QUILL_SIZE("entity", Mpls::NexthopIpInfo),
      QUILL_SIZE("entity", Mpls::RouterIpAddrInfo),
      QUILL_SIZE("entity", Mpls::RouterIpAddrInfoColl),
      QUILL_SIZE("entity", Mpls::RouterIpNexthopInfo),
      QUILL_SIZE("entity", Mpls::RouterIpNexthopInfoColl),
      QUILL_SIZE("entity", Mpls::ConsistentHashInfo),
      QUILL_SIZE("entity", Mpls::FecViaConsistentHashColl),
      QUILL_SIZE("entity", Mpls::LabelBindingTableNotifierSmColl),
      QUILL_SIZE("entity", Routing::NexthopVrfConfig),
      QUILL_SIZE("entity", Routing::NexthopVrfStatus),
      QUILL_SIZE("entity", Routing::NexthopBacklog),
      QUILL_SIZE("entity", Brisk::Fib::ForwardingStatus),
      QUILL_SIZE("entity", Mpls::RouterIdToNexthopInfoSm::GroupByCollectionValueType0),

      // Stage reactors, one per stage and variant, and their owners.
      QUILL_SIZE("stage reactor", Mpls::P2mpLfibGenSmManager),
      QUILL_SIZE("stage reactor", Mpls::IpAddrRouterIdInfoSm),
      QUILL_SIZE("stage reactor", Mpls::IpAddrToRouterIdInfoSm),
      QUILL_SIZE("stage reactor", Mpls::IraNexthopConfigSm),
      QUILL_SIZE("stage reactor", Mpls::IraNexthopStatusSm),
      QUILL_SIZE("stage reactor", Mpls::RouterNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::RouterIdToNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::IntfRouterNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::IntfToRouterNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::RouterIpNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::RouterIdToIpNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::RouterFilteredNexthopSm),
      QUILL_SIZE("stage reactor", Mpls::FecRouterNexthopInfoSm),
      QUILL_SIZE("stage reactor", Mpls::LabelForwardingInfoSm),
      QUILL_SIZE("stage reactor", Mpls::LabelBindingTableNotifierSm),
      QUILL_SIZE("stage reactor", Mpls::LabelBindingTableNotifierSmManager),
      QUILL_SIZE("stage reactor", Sim::PeerLabelMirror),

      // Per-key reactors and observers.
      QUILL_SIZE("per-key reactor", Mpls::IpAddrRouterIdInfoSm::VoxRouterIpAddr),
      QUILL_SIZE("per-key reactor", Mpls::RouterNexthopInfoSm::VoxIpAddrRouterId),
      QUILL_SIZE("per-key reactor", Mpls::RouterNexthopInfoSm::VoxIpNexthop),
      QUILL_SIZE("per-key reactor", Mpls::IntfRouterNexthopInfoSm::VoxRouterNexthop),
      QUILL_SIZE("per-key reactor", Mpls::RouterIpNexthopInfoSm::VoxIntfRouterNexthop),
      QUILL_SIZE("per-key reactor", Mpls::RouterFilteredNexthopSm::VoxRouterIpNexthop),
      QUILL_SIZE("per-key reactor", Mpls::RouterFilteredNexthopSm::VoxRouterIpAddr),
      QUILL_SIZE("per-key reactor", Mpls::FecRouterNexthopInfoSm::VoxRouterFec),
      QUILL_SIZE("per-key reactor", Mpls::FecRouterNexthopInfoSm::VoxRouterNexthop),
      QUILL_SIZE("per-key reactor", Mpls::LabelForwardingInfoSm::VoxFecLabelSet),
      QUILL_SIZE("per-key reactor", Mpls::LabelForwardingInfoSm::VoxFecRouterLabel),
      QUILL_SIZE("per-key reactor", Mpls::LabelForwardingInfoSm::VoxFecRouterNexthop),
      QUILL_SIZE("per-key reactor", Mpls::LabelBindingTableNotifierSm::VoxBinding),
      QUILL_SIZE("per-key reactor", Sim::PeerLabelMirror::VoxTable),

      // The compiled stages' input state machines, one per watched collection or set.
      QUILL_SIZE("flux state machine", Mpls::FluxCode::IpAddrToRouterIdInfoSm::RouterIpAddrSm0),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::IpAddrToRouterIdInfoSm::IpAddrSm1),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToNexthopInfoSm::IpAddrRouterIdSm0),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToNexthopInfoSm::RouterIdSm1),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToNexthopInfoSm::IpNexthopSm2),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToNexthopInfoSm::ViaSm3),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::IntfToRouterNexthopInfoSm::RouterNexthopSm0),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::IntfToRouterNexthopInfoSm::ViaSm1),
      QUILL_SIZE("flux state machine",
                 Mpls::FluxCode::RouterIdToIpNexthopInfoSm::IntfRouterNexthopSm0),
      QUILL_SIZE("flux state machine",
                 Mpls::FluxCode::RouterIdToIpNexthopInfoSm::RouterNexthopInfoSm1),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToIpNexthopInfoSm::ViaSm2),
      QUILL_SIZE("flux state machine", Mpls::FluxCode::RouterIdToIpNexthopInfoSm::IntfIdSm3),
  };
}

#undef QUILL_SIZE

}  // namespace

int main() {
  std::vector<TypeSize> sizes = typeSizes();
  std::sort(sizes.begin(), sizes.end(), [](const TypeSize& a, const TypeSize& b) {
    return std::tie(a.group, a.name) < std::tie(b.group, b.name);
  });
  // Type names hold no character that JSON would need escaped.
  std::cout << "{\"types\": [\n";
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const TypeSize& type = sizes[i];
    std::cout << "  {\"group\": \"" << type.group << "\", \"name\": \"" << type.name
              << "\", \"size\": " << type.size << ", \"align\": " << type.align << "}"
              << (i + 1 < sizes.size() ? "," : "") << "\n";
  }
  std::cout << "]}\n";
  return 0;
}
