#pragma once
// Chosen via per FEC and router.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/vox/Attribute.h"
#include "quill/model/FecRouterNexthopInfo.h"

namespace Mpls {

class FecRouterNexthopInfoColl : public Vox::EntityBase<FecRouterNexthopInfoColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(FecRouterNexthopInfoColl, fecRouterNexthop, Mpls::FwdEqvClass,
                            FecRouterNexthopInfo)
  VOX_ATTRIBUTES(fecRouterNexthop)
};

}  // namespace Mpls
