// Every per-key collection of every stage refuses a null member with its own text: as a range
// exception that a caller can catch, and, where nothing catches it, as the end of the process with
// that text. One row per (stage, attribute), nested per-key collections included.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "quill/lfib/FecRouterNexthopInfoSm.h"
#include "quill/lfib/LabelBindingTableNotifierSm.h"
#include "quill/lfib/LabelForwardingInfoSm.h"
#include "quill/lfib/RouterFilteredNexthopSm.h"
#include "quill/nexthop/IntfRouterNexthopInfoSm.h"
#include "quill/nexthop/RouterIpNexthopInfoSm.h"
#include "quill/nexthop/RouterNexthopInfoSm.h"
#include "quill/pipeline/PipelineCollections.h"
#include "quill/resolve/IpAddrRouterIdInfoSm.h"
#include "tests/support/Values.h"

namespace {

using namespace Mpls;
using QuillTest::v;

// Builds one stage over the bundle's collections (adding the input entry a nested per-key
// collection needs) and hands the stage a null member.
using NullCall = std::function<void(PipelineCollections&)>;

struct NullMutatorCase {
  const char* attribute;  // <Class>::<attr>, as the text names it
  NullCall call;
};

const FwdEqvClass kFec = FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), 1);
const RouterId kRouter = v<RouterId>("2.2.2.2:0");

// Each stage over the bundle's collections.
auto inversion(PipelineCollections& c) {
  return IpAddrRouterIdInfoSm::IpAddrRouterIdInfoSmIs(c.transportAddrs, c.ipAddrRouterId);
}
auto routerNexthops(PipelineCollections& c) {
  return RouterNexthopInfoSm::RouterNexthopInfoSmIs(c.ipAddrRouterId, c.ipNexthop, c.routerNexthop);
}
auto interfaceGrouping(PipelineCollections& c) {
  return IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(c.routerNexthop, c.intfRouterNexthop);
}
auto mplsFilter(PipelineCollections& c) {
  return RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(c.intfRouterNexthop, c.mplsIntfs,
                                                        c.routerIpNexthop);
}
auto addressFilter(PipelineCollections& c) {
  return RouterFilteredNexthopSm::RouterFilteredNexthopSmIs(c.routerIpNexthop, c.intfAddrs,
                                                            c.filteredNexthop);
}
auto fecNexthops(PipelineCollections& c) {
  return FecRouterNexthopInfoSm::FecRouterNexthopInfoSmIs(c.peerTables, c.filteredNexthop,
                                                          c.fecRouterNexthop);
}
auto lfib(PipelineCollections& c) {
  return LabelForwardingInfoSm::LabelForwardingInfoSmIs(c.localTable, c.fecRouterLabel,
                                                        c.fecRouterNexthop, c.lfib);
}

// A nested per-key collection is reached through the per-key reactor of an input entry added
// while the stage is alive.
const NullMutatorCase kCases[] = {
    {"Mpls::IpAddrRouterIdInfoSm::routerIpAddr",
     [](auto& c) { inversion(c)->routerIpAddrIs(nullptr); }},
    {"Mpls::RouterNexthopInfoSm::ipAddrRouterId",
     [](auto& c) { routerNexthops(c)->ipAddrRouterIdIs(nullptr); }},
    {"Mpls::RouterNexthopInfoSm::ipNexthop",
     [](auto& c) { routerNexthops(c)->ipNexthopIs(nullptr); }},
    {"Mpls::IntfRouterNexthopInfoSm::routerNexthop",
     [](auto& c) { interfaceGrouping(c)->routerNexthopIs(nullptr); }},
    {"Mpls::RouterIpNexthopInfoSm::intfRouterNexthop",
     [](auto& c) { mplsFilter(c)->intfRouterNexthopIs(nullptr); }},
    {"Mpls::RouterIpNexthopInfoSm::VoxIntfRouterNexthop::routerNexthopInfo",
     [](auto& c) {
       const auto sm = mplsFilter(c);
       sm->intfRouterNexthopIs(
             c.intfRouterNexthop->intfRouterNexthopIs(v<Vela::IntfId>("Ethernet1")))
           ->routerNexthopInfoIs(nullptr);
     }},
    {"Mpls::RouterFilteredNexthopSm::routerIpNexthop",
     [](auto& c) { addressFilter(c)->routerIpNexthopIs(nullptr); }},
    {"Mpls::RouterFilteredNexthopSm::routerIpAddr",
     [](auto& c) { addressFilter(c)->routerIpAddrIs(nullptr); }},
    {"Mpls::RouterFilteredNexthopSm::VoxRouterIpNexthop::ipNexthopInfo",
     [](auto& c) {
       const auto sm = addressFilter(c);
       sm->routerIpNexthopIs(c.routerIpNexthop->routerIpNexthopIs(kRouter))
           ->ipNexthopInfoIs(nullptr);
     }},
    {"Mpls::FecRouterNexthopInfoSm::routerFec",
     [](auto& c) { fecNexthops(c)->routerFecIs(nullptr); }},
    {"Mpls::FecRouterNexthopInfoSm::routerNexthop",
     [](auto& c) { fecNexthops(c)->routerNexthopIs(nullptr); }},
    {"Mpls::LabelForwardingInfoSm::fecLabelSet", [](auto& c) { lfib(c)->fecLabelSetIs(nullptr); }},
    {"Mpls::LabelForwardingInfoSm::fecRouterLabel",
     [](auto& c) { lfib(c)->fecRouterLabelIs(nullptr); }},
    {"Mpls::LabelForwardingInfoSm::fecRouterNexthop",
     [](auto& c) { lfib(c)->fecRouterNexthopIs(nullptr); }},
    {"Mpls::LabelForwardingInfoSm::VoxFecRouterLabel::routerLabelInfo",
     [](auto& c) {
       const auto sm = lfib(c);
       sm->fecRouterLabelIs(c.fecRouterLabel->fecRouterLabelIs(kFec))->routerLabelInfoIs(nullptr);
     }},
    {"Mpls::LabelForwardingInfoSm::VoxFecRouterNexthop::routerNexthopInfo",
     [](auto& c) {
       const auto sm = lfib(c);
       sm->fecRouterNexthopIs(c.fecRouterNexthop->fecRouterNexthopIs(kFec))
           ->routerNexthopInfoIs(nullptr);
     }},
    {"Mpls::LabelBindingTableNotifierSm::binding",
     [](auto& c) {
       LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs(
           c.peerTables->bindingTableIs(kRouter))
           ->bindingIs(nullptr);
     }},
};

// "null _<attr> parameter to mutator for <Class>::<attr> not allowed\""
std::string expectedText(const std::string& attribute) {
  const std::string attr = attribute.substr(attribute.rfind("::") + 2);
  return "null _" + attr + " parameter to mutator for " + attribute + " not allowed\"";
}

class NullMutatorTest : public ::testing::TestWithParam<NullMutatorCase> {};

TEST_P(NullMutatorTest, IsARangeErrorWithItsText) {
  PipelineCollections colls;
  try {
    GetParam().call(colls);
    FAIL() << "no range exception";
  } catch (const Vox::RangeException& error) {
    EXPECT_EQ(error.what(), expectedText(GetParam().attribute));
  }
}

using NullMutatorDeathTest = NullMutatorTest;

TEST_P(NullMutatorDeathTest, UncaughtEndsTheProcessWithItsText) {
  PipelineCollections colls;
  // The text holds no regular-expression character but the dots of "::", which match themselves.
  EXPECT_DEATH([&]() noexcept { GetParam().call(colls); }(), expectedText(GetParam().attribute));
}

// "Mpls::A::b" -> "A__b".
std::string caseName(const ::testing::TestParamInfo<NullMutatorCase>& info) {
  std::string name(info.param.attribute + 6);
  std::ranges::replace(name, ':', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(EveryStage, NullMutatorTest, ::testing::ValuesIn(kCases), caseName);
INSTANTIATE_TEST_SUITE_P(EveryStage, NullMutatorDeathTest, ::testing::ValuesIn(kCases), caseName);

}  // namespace
