#pragma once
// For one FEC, each router's advertised labels.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/FwdEqvClass.h"
#include "platform/vox/Attribute.h"
#include "quill/model/RouterLabelInfo.h"

namespace Mpls {

class FecRouterLabelInfo : public Vox::KeyedEntity<FecRouterLabelInfo, Mpls::FwdEqvClass> {
 public:
  explicit FecRouterLabelInfo(const Mpls::FwdEqvClass& fwdEqvClass) : KeyedEntity(fwdEqvClass) {}
  const Mpls::FwdEqvClass& fwdEqvClass() const { return key(); }

  VOX_ENTITY_COLL_ATTRIBUTE(FecRouterLabelInfo, routerLabelInfo, Mpls::RouterId, RouterLabelInfo)
  VOX_ATTRIBUTES(routerLabelInfo)
};

}  // namespace Mpls
