#pragma once
// The IP addresses learned over LDP, and for each the peers that advertised it.
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"
#include "quill/model/IpAddrLdpIdInfo.h"

namespace Ldp {

class LdpIpAddrColl : public Vox::EntityBase<LdpIpAddrColl> {
 public:
  VOX_SET_ATTRIBUTE(LdpIpAddrColl, ipAddr, Vela::IpGenAddr)
  VOX_ENTITY_COLL_ATTRIBUTE(LdpIpAddrColl, ipAddrLdpId, Vela::IpGenAddr, IpAddrLdpIdInfo)
  VOX_ATTRIBUTES(ipAddr, ipAddrLdpId)
};

}  // namespace Ldp
