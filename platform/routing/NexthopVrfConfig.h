#pragma once
// The next-hop resolution requests of one VRF, keyed by the address to resolve. Requesters write
// it; the resolution service watches it and answers in `NexthopVrfStatus`.
#include "platform/routing/NexthopConfigEntry.h"
#include "platform/vox/Attribute.h"

namespace Routing {

class NexthopVrfConfig : public Vox::NamedEntity<NexthopVrfConfig> {
 public:
  explicit NexthopVrfConfig(std::string vrfName = "default") : NamedEntity(std::move(vrfName)) {}

  VOX_VALUE_MAP_ATTRIBUTE(NexthopVrfConfig, nexthop, Vela::IpGenAddr, NexthopConfigEntry)
  VOX_ATTRIBUTES(nexthop)

  // Adds or replaces the request for the entry's address; notifies only if it changed.
  void nexthopIs(const NexthopConfigEntry& entry) { nexthopIs(entry.address(), entry); }
};

}  // namespace Routing
