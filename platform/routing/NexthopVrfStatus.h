#pragma once
// The resolution service's answers for one VRF, keyed by requested address. An address with no
// entry is not resolved.
#include "platform/routing/NexthopStatusEntry.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Routing {

class NexthopVrfStatus : public Vox::NamedEntity<NexthopVrfStatus> {
 public:
  explicit NexthopVrfStatus(std::string vrfName = "default") : NamedEntity(std::move(vrfName)) {}

  VOX_VALUE_MAP_ATTRIBUTE(NexthopVrfStatus, nexthop, Vela::IpGenAddr, NexthopStatusEntry)
  VOX_ATTRIBUTES(nexthop)
};

}  // namespace Routing
