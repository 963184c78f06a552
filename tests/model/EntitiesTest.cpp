// Every entity of the data model keeps the collection contract through its generated accessors:
// find-or-create, one notification per real change and none for a no-op, parent links, counts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
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

TEST(EntitiesTest, EveryCollectionAttributeKeepsTheContract) {
  const auto router = v<Mpls::RouterId>("2.2.2.2:0");
  const auto router2 = v<Mpls::RouterId>("3.3.3.3:0");
  const auto addr = v<Vela::IpGenAddr>("10.0.0.1");
  const auto addr2 = v<Vela::IpGenAddr>("2001:db8::1");
  const auto via = v<Mpls::FibVia>("10.1.1.2-Ethernet1");
  const auto via2 = v<Mpls::FibVia>("10.1.1.2-Ethernet2");
  const auto intf = v<Vela::IntfId>("Ethernet1");
  const auto intf2 = v<Vela::IntfId>("Port-Channel10");
  const auto fec = v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a");
  const auto fec2 = Mpls::FwdEqvClass::p2mpLspId(addr, 7);
  const auto label = v<Vela::MplsLabel>("100");
  const auto label2 = v<Vela::MplsLabel>("200");
  const Mpls::ViaLabel viaLabel(via, label), viaLabel2(via2, label);
  const Mpls::FecRouter fecRouter(fec, router), fecRouter2(fec, router2);
  const Ldp::LdpIdentifier ldpId(0x02020202, 0), ldpId2(0x02020202, 1);

  auto routerIpAddr = Vox::create<Mpls::RouterIpAddrInfoColl>();
  EXPECT_COLL_CONTRACT(routerIpAddr, routerIpAddr, router, router2);
  auto routerIpAddrInfo = routerIpAddr->routerIpAddrIs(router);
  EXPECT_SET_CONTRACT(routerIpAddrInfo, ipAddr, addr, addr2);

  auto ipAddrRouterId = Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  EXPECT_COLL_CONTRACT(ipAddrRouterId, ipAddrRouterId, addr, addr2);
  auto ipAddrRouterIdInfo = ipAddrRouterId->ipAddrRouterIdIs(addr);
  EXPECT_SET_CONTRACT(ipAddrRouterIdInfo, routerId, router, router2);

  auto ipNexthop = Vox::create<Mpls::IpNexthopInfoColl>();
  EXPECT_COLL_CONTRACT(ipNexthop, ipNexthop, addr, addr2);
  auto ipNexthopInfo = ipNexthop->ipNexthopIs(addr);
  EXPECT_SET_CONTRACT(ipNexthopInfo, via, via, via2);

  auto routerNexthop = Vox::create<Mpls::RouterNexthopInfoColl>();
  EXPECT_COLL_CONTRACT(routerNexthop, routerNexthop, router, router2);
  auto routerNexthopInfo = Mpls::RouterNexthopInfo::RouterNexthopInfoIs(router);
  EXPECT_TRUE(routerNexthopInfo->hasNotificationActive());
  EXPECT_EQ(routerNexthopInfo->parent(), nullptr);
  EXPECT_SET_CONTRACT(routerNexthopInfo, via, via, via2);
  EXPECT_COLL_CONTRACT(routerNexthopInfo, nexthopIpInfo, via, via2);
  auto nexthopIpInfo = routerNexthopInfo->nexthopIpInfoIs(via);
  EXPECT_SET_CONTRACT(nexthopIpInfo, destIp, addr, addr2);

  auto intfRouterNexthop = Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  EXPECT_COLL_CONTRACT(intfRouterNexthop, intfRouterNexthop, intf, intf2);
  auto intfRouterNexthopInfo = intfRouterNexthop->intfRouterNexthopIs(intf);
  EXPECT_COLL_CONTRACT(intfRouterNexthopInfo, routerNexthopInfo, router, router2);

  auto mplsIntf = Vox::create<Mpls::MplsIntfColl>();
  EXPECT_SET_CONTRACT(mplsIntf, intfId, intf, intf2);

  auto routerIpNexthop = Vox::create<Mpls::RouterIpNexthopInfoColl>();
  EXPECT_COLL_CONTRACT(routerIpNexthop, routerIpNexthop, router, router2);
  auto routerIpNexthopInfo = Mpls::RouterIpNexthopInfo::RouterIpNexthopInfoIs(router);
  EXPECT_COLL_CONTRACT(routerIpNexthopInfo, ipNexthopInfo, addr, addr2);

  auto fecRouterNexthop = Vox::create<Mpls::FecRouterNexthopInfoColl>();
  EXPECT_COLL_CONTRACT(fecRouterNexthop, fecRouterNexthop, fec, fec2);
  auto fecRouterNexthopInfo = fecRouterNexthop->fecRouterNexthopIs(fec);
  EXPECT_COLL_CONTRACT(fecRouterNexthopInfo, routerNexthopInfo, router, router2);

  auto fecRouterLabel = Vox::create<Mpls::FecRouterLabelInfoColl>();
  EXPECT_COLL_CONTRACT(fecRouterLabel, fecRouterLabel, fec, fec2);
  auto fecRouterLabelInfo = fecRouterLabel->fecRouterLabelIs(fec);
  EXPECT_COLL_CONTRACT(fecRouterLabelInfo, routerLabelInfo, router, router2);
  auto routerLabelInfo = fecRouterLabelInfo->routerLabelInfoIs(router);
  EXPECT_SET_CONTRACT(routerLabelInfo, routerLabel, label, label2);

  auto labelForwarding = Vox::create<Mpls::LabelForwardingInfoColl>();
  EXPECT_COLL_CONTRACT(labelForwarding, labelForwarding, label, label2);
  auto labelForwardingInfo = labelForwarding->labelForwardingIs(label);
  EXPECT_COLL_CONTRACT(labelForwardingInfo, forwardingInfo, viaLabel, viaLabel2);
  auto forwardingInfo = labelForwardingInfo->forwardingInfoIs(viaLabel);
  EXPECT_SET_CONTRACT(forwardingInfo, fecRouter, fecRouter, fecRouter2);

  auto ldpAddrs = Vox::create<Ldp::LdpIpAddrColl>();
  EXPECT_SET_CONTRACT(ldpAddrs, ipAddr, addr, addr2);
  EXPECT_COLL_CONTRACT(ldpAddrs, ipAddrLdpId, addr, addr2);
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
