#pragma once
// The routers that advertised one address; the inverse of `RouterIpAddrInfo`.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/RouterId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class IpAddrRouterIdInfo : public Vox::KeyedEntity<IpAddrRouterIdInfo, Vela::IpGenAddr> {
 public:
  explicit IpAddrRouterIdInfo(const Vela::IpGenAddr& ipAddr) : KeyedEntity(ipAddr) {}
  const Vela::IpGenAddr& ipAddr() const { return key(); }

  VOX_SET_ATTRIBUTE(IpAddrRouterIdInfo, routerId, Mpls::RouterId)
  VOX_ATTRIBUTES(routerId)
};

}  // namespace Mpls
