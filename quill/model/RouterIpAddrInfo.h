#pragma once
// The IP addresses that one LDP peer router advertised (its transport addresses, or its
// interface addresses, depending on the collection that holds it).
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/RouterId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class RouterIpAddrInfo : public Vox::KeyedEntity<RouterIpAddrInfo, Mpls::RouterId> {
 public:
  explicit RouterIpAddrInfo(const Mpls::RouterId& routerId) : KeyedEntity(routerId) {}
  const Mpls::RouterId& routerId() const { return key(); }

  VOX_SET_ATTRIBUTE(RouterIpAddrInfo, ipAddr, Vela::IpGenAddr)
  VOX_ATTRIBUTES(ipAddr)
};

}  // namespace Mpls
