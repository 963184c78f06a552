#pragma once
// For one via of a router, the router's addresses that resolve through it: the via's
// justification set. The via stays with the router while this set is non-empty.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/FibVia.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class NexthopIpInfo : public Vox::KeyedEntity<NexthopIpInfo, Mpls::FibVia> {
 public:
  explicit NexthopIpInfo(const Mpls::FibVia& fibVia) : KeyedEntity(fibVia) {}
  const Mpls::FibVia& fibVia() const { return key(); }

  VOX_SET_ATTRIBUTE(NexthopIpInfo, destIp, Vela::IpGenAddr)
  VOX_ATTRIBUTES(destIp)
};

}  // namespace Mpls
