#pragma once
// The next-hop vias through which one address is reached. Also used, keyed by a next-hop
// address, for the vias of a router that share that hop address.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/FibVia.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class IpNexthopInfo : public Vox::KeyedEntity<IpNexthopInfo, Vela::IpGenAddr> {
 public:
  explicit IpNexthopInfo(const Vela::IpGenAddr& destIp) : KeyedEntity(destIp) {}
  const Vela::IpGenAddr& destIp() const { return key(); }

  VOX_SET_ATTRIBUTE(IpNexthopInfo, via, Mpls::FibVia)
  VOX_ATTRIBUTES(via)
};

}  // namespace Mpls
