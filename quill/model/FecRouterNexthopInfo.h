#pragma once
// For one FEC, the via chosen towards each router (a `via` set of exactly one member).
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/FwdEqvClass.h"
#include "platform/vox/Attribute.h"
#include "quill/model/RouterNexthopInfo.h"

namespace Mpls {

class FecRouterNexthopInfo : public Vox::KeyedEntity<FecRouterNexthopInfo, Mpls::FwdEqvClass> {
 public:
  explicit FecRouterNexthopInfo(const Mpls::FwdEqvClass& fwdEqvClass) : KeyedEntity(fwdEqvClass) {}
  const Mpls::FwdEqvClass& fwdEqvClass() const { return key(); }

  VOX_ENTITY_COLL_ATTRIBUTE(FecRouterNexthopInfo, routerNexthopInfo, Mpls::RouterId,
                            RouterNexthopInfo)
  VOX_ATTRIBUTES(routerNexthopInfo)
};

}  // namespace Mpls
