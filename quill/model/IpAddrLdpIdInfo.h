#pragma once
// For one IP address learned over LDP, the LDP identifiers of the peers that advertised it.
// Offered to the owning agent, which keeps its peers' addresses by LDP identifier and feeds the
// per-router address collections from them; no stage reads it.
#include "platform/ldp/LdpIdentifier.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Ldp {

class IpAddrLdpIdInfo : public Vox::KeyedEntity<IpAddrLdpIdInfo, Vela::IpGenAddr> {
 public:
  explicit IpAddrLdpIdInfo(const Vela::IpGenAddr& ipAddr) : KeyedEntity(ipAddr) {}
  const Vela::IpGenAddr& ipAddr() const { return key(); }

  // Hashed with `Ldp::LdpIdentifier::hash()`, which takes no seed.
  VOX_SET_ATTRIBUTE(IpAddrLdpIdInfo, ldpId, Ldp::LdpIdentifier)
  VOX_ATTRIBUTES(ldpId)
};

// A free-standing `IpAddrLdpIdInfo` for `ipAddr`, notifications on.
inline Vox::Ptr<IpAddrLdpIdInfo> ipAddrLdpIdInfoFactory(const Vela::IpGenAddr& ipAddr) {
  return Vox::create<IpAddrLdpIdInfo>(ipAddr);
}

}  // namespace Ldp
