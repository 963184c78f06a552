#pragma once
// One router's consistent-hash state: its ring of vias (`ch`), owned by the entry. The entry
// creates a fresh, empty ring when it is created and empties and frees it when it is destroyed.
#include <memory>

#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vox/Attribute.h"
#include "quill/lfib/ConsistentHash.h"

namespace Mpls {

class ConsistentHashInfo : public Vox::KeyedEntity<ConsistentHashInfo, RouterId> {
 public:
  using Hasher = ConsistentHash<FibVia, FwdEqvClass>;

  explicit ConsistentHashInfo(const RouterId& routerId) : KeyedEntity(routerId) { handleInit(); }
  ~ConsistentHashInfo() override { handleDestroy(); }
  const RouterId& routerId() const { return key(); }

  VOX_ATTRIBUTE_DESCRIPTOR(ConsistentHashInfo, ch, RouterId)
  Hasher* ch() const { return ch_.get(); }
  // Replaces the ring; notifies observers of `ch` only when it changed.
  void chIs(std::unique_ptr<Hasher> hasher) {
    if (hasher == ch_) return;
    ch_ = std::move(hasher);
    notifyAttribute(chAttribute::info, &key());
  }

  void handleInit() { chIs(std::make_unique<Hasher>()); }
  void handleDestroy() {
    if (!ch_) return;
    ch_->clear();
    ch_.reset();
  }

 private:
  std::unique_ptr<Hasher> ch_;
};

inline Vox::Ptr<ConsistentHashInfo> consistentHashInfoFactory(const RouterId& routerId) {
  return Vox::create<ConsistentHashInfo>(routerId);
}

}  // namespace Mpls
