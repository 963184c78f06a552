// The model's entities keep the collection contract through their generated accessors:
// find-or-create, one notification per real change and none for a no-op, parent links, counts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quill/model/LabelForwardingInfoColl.h"
#include "quill/model/LdpIpAddrColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::v;

// Counts the notifications of one attribute of one entity.
template <class Attr>
class AttrCounter : public Attr::OwnerType::NotifieeConst {
 public:
  explicit AttrCounter(const Vox::Ptr<const typename Attr::OwnerType>& entity) {
    this->notifierIs(entity);
    this->hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    if (const auto* changed = Attr::match(attr, key)) keys.push_back(changed->valueToStrep());
  }
  std::vector<std::string> keys;
};

// Inserts `a` twice, removes absent `b`, then removes `a`: two notifications, both for `a`.
#define EXPECT_SET_CONTRACT(entity, attr, a, b)                                               \
  do {                                                                                        \
    AttrCounter<std::remove_reference_t<decltype(*entity)>::attr##Attribute> counter(entity); \
    entity->attr##Is(a);                                                                      \
    entity->attr##Is(a);                                                                      \
    EXPECT_TRUE(entity->attr(a));                                                             \
    EXPECT_EQ(entity->attr##s(), 1u);                                                         \
    entity->attr##Del(b);                                                                     \
    entity->attr##Del(a);                                                                     \
    EXPECT_EQ(entity->attr##s(), 0u);                                                         \
    EXPECT_EQ(counter.keys, std::vector<std::string>(2, (a).valueToStrep())) << #attr;        \
  } while (false)

// The same for an entity collection, which also makes members children of the entity.
#define EXPECT_COLL_CONTRACT(entity, attr, a, b)                                              \
  do {                                                                                        \
    AttrCounter<std::remove_reference_t<decltype(*entity)>::attr##Attribute> counter(entity); \
    auto member = entity->attr##Is(a);                                                        \
    EXPECT_EQ(entity->attr##Is(a), member);                                                   \
    EXPECT_EQ(member->key(), a);                                                              \
    EXPECT_EQ(member->parent(), entity.ptr());                                                \
    EXPECT_TRUE(member->hasNotificationActive());                                             \
    entity->attr##Del(b);                                                                     \
    entity->attr##Del(a);                                                                     \
    EXPECT_EQ(member->parent(), nullptr);                                                     \
    EXPECT_EQ(entity->attr(a), nullptr);                                                      \
    EXPECT_EQ(counter.keys, std::vector<std::string>(2, (a).valueToStrep())) << #attr;        \
  } while (false)

// The contract itself is the framework's (EntityTest); here, one attribute of each kind and key
// type, and the entities that have factories of their own.
TEST(EntitiesTest, CollectionAttributesKeepTheContract) {
  const auto router = v<Mpls::RouterId>("2.2.2.2:0"), router2 = v<Mpls::RouterId>("3.3.3.3:0");
  const auto addr = v<Vela::IpGenAddr>("10.0.0.1"), addr2 = v<Vela::IpGenAddr>("2001:db8::1");
  const auto via = v<Mpls::FibVia>("10.1.1.2-Ethernet1"),
             via2 = v<Mpls::FibVia>("10.1.1.2-Ethernet2");
  const auto intf = v<Vela::IntfId>("Ethernet1"), intf2 = v<Vela::IntfId>("Port-Channel10");
  const auto fec = v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a");
  const auto label = v<Vela::MplsLabel>("100"), label2 = v<Vela::MplsLabel>("200");
  const Mpls::ViaLabel viaLabel(via, label), viaLabel2(via2, label);
  const Mpls::FecRouter fecRouter(fec, router), fecRouter2(fec, router2);
  const Ldp::LdpIdentifier ldpId(0x02020202, 0), ldpId2(0x02020202, 1);

  auto mplsIntf = Vox::create<Mpls::MplsIntfColl>();
  EXPECT_SET_CONTRACT(mplsIntf, intfId, intf, intf2);

  auto routerNexthopInfo = Mpls::RouterNexthopInfo::RouterNexthopInfoIs(router);
  EXPECT_TRUE(routerNexthopInfo->hasNotificationActive());
  EXPECT_EQ(routerNexthopInfo->parent(), nullptr);
  EXPECT_SET_CONTRACT(routerNexthopInfo, via, via, via2);
  EXPECT_COLL_CONTRACT(routerNexthopInfo, nexthopIpInfo, via, via2);
  auto routerIpNexthopInfo = Mpls::RouterIpNexthopInfo::RouterIpNexthopInfoIs(router);
  EXPECT_TRUE(routerIpNexthopInfo->hasNotificationActive());
  EXPECT_COLL_CONTRACT(routerIpNexthopInfo, ipNexthopInfo, addr, addr2);

  auto labelForwarding = Vox::create<Mpls::LabelForwardingInfoColl>();
  EXPECT_COLL_CONTRACT(labelForwarding, labelForwarding, label, label2);
  auto labelForwardingInfo = labelForwarding->labelForwardingIs(label);
  EXPECT_COLL_CONTRACT(labelForwardingInfo, forwardingInfo, viaLabel, viaLabel2);
  auto forwardingInfo = labelForwardingInfo->forwardingInfoIs(viaLabel);
  EXPECT_SET_CONTRACT(forwardingInfo, fecRouter, fecRouter, fecRouter2);

  auto ldpInfo = Ldp::ipAddrLdpIdInfoFactory(addr);
  EXPECT_TRUE(ldpInfo->hasNotificationActive());
  EXPECT_SET_CONTRACT(ldpInfo, ldpId, ldpId, ldpId2);
}

TEST(EntitiesTest, MembersAreNamedByTheirKeysAndCollectionsAreUnnamed) {
  auto coll = Vox::create<Mpls::RouterIpAddrInfoColl>();
  EXPECT_EQ(coll->name(), "");
  EXPECT_EQ(coll->routerIpAddrIs(v<Mpls::RouterId>("2.2.2.2:0"))->name(), "2.2.2.2:0");
  auto lfib = Vox::create<Mpls::LabelForwardingInfoColl>();
  auto branch = lfib->labelForwardingIs(v<Vela::MplsLabel>("100"))
                    ->forwardingInfoIs(Mpls::ViaLabel(v<Mpls::FibVia>("10.1.1.2-Ethernet1"),
                                                      v<Vela::MplsLabel>("200")));
  EXPECT_EQ(branch->name(),
            "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Ethernet1, 'label': 200})");
}

}  // namespace
