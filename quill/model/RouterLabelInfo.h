#pragma once
// The labels one router advertised for one FEC.
//
// A data-model entity: it holds no logic; the stages that read and write it keep its
// invariants. Collection attributes notify their observers once per inserted or removed key.
#include "platform/mpls/RouterId.h"
#include "platform/vela/MplsLabel.h"
#include "platform/vox/Attribute.h"

namespace Mpls {

class RouterLabelInfo : public Vox::KeyedEntity<RouterLabelInfo, Mpls::RouterId> {
 public:
  explicit RouterLabelInfo(const Mpls::RouterId& routerId) : KeyedEntity(routerId) {}
  const Mpls::RouterId& routerId() const { return key(); }

  VOX_SET_ATTRIBUTE(RouterLabelInfo, routerLabel, Vela::MplsLabel)
  VOX_ATTRIBUTES(routerLabel)
};

}  // namespace Mpls
