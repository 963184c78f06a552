#pragma once
// The consistent-hash state of every router that has vias, keyed by router.
#include "platform/vox/Attribute.h"
#include "quill/lfib/ConsistentHashInfo.h"

namespace Mpls {

class FecViaConsistentHashColl : public Vox::NamedEntity<FecViaConsistentHashColl> {
 public:
  explicit FecViaConsistentHashColl(std::string name) : NamedEntity(std::move(name)) {}

  VOX_ENTITY_COLL_ATTRIBUTE(FecViaConsistentHashColl, consistentHash, RouterId, ConsistentHashInfo)
};

inline Vox::Ptr<FecViaConsistentHashColl> fecViaConsistentHashCollFactory(const std::string& name) {
  return Vox::create<FecViaConsistentHashColl>(name);
}

}  // namespace Mpls
