#pragma once
// Addresses whose resolution answer changed and that the consumer has not processed yet. The
// resolution service adds an address whenever its answer changes; the consumer removes it once
// it has re-read the answer.
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Routing {

class NexthopBacklog : public Vox::NamedEntity<NexthopBacklog> {
 public:
  explicit NexthopBacklog(std::string vrfName = "default") : NamedEntity(std::move(vrfName)) {}

  VOX_SET_ATTRIBUTE(NexthopBacklog, backlog, Vela::IpGenAddr)
  VOX_ATTRIBUTES(backlog)
};

}  // namespace Routing
