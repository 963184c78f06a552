#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/vox/Hash.h"
#include "quill/model/FecRouter.h"
#include "quill/model/ViaLabel.h"
#include "tests/support/ValueChecks.h"

namespace {

Mpls::ViaLabel viaLabel(std::string_view via, uint32_t label) {
  return Mpls::ViaLabel(Mpls::FibVia::sequenceToValue(via), Vela::MplsLabel(label));
}

Mpls::FecRouter fecRouter(std::string_view fec, std::string_view router) {
  return Mpls::FecRouter(Mpls::FwdEqvClass::sequenceToValue(fec),
                         Mpls::RouterId::sequenceToValue(router));
}

// Via address (IPv4 first), then interface, then label; FEC, then router.
TEST(FecRouterViaLabelTest, OrderFollowsTheFieldsInTurn) {
  QuillTest::expectStrictlyAscending(std::vector<Mpls::ViaLabel>{
      viaLabel("1.2.3.4-Ethernet9", 99),
      viaLabel("10.0.0.1-Ethernet1", 16),
      viaLabel("10.0.0.1-Ethernet1", 17),
      viaLabel("10.0.0.1-Ethernet2", 3),
      viaLabel("10.0.0.1-Ethernet10", 1),
      viaLabel("10.0.0.1-Vlan4094", 1048575),
      viaLabel("10.0.0.2-Ethernet1", 3),
      viaLabel("::ffff:1.2.3.4-Ethernet1", 1),
  });
  QuillTest::expectStrictlyAscending(std::vector<Mpls::FecRouter>{
      fecRouter("p2mp/1.1.1.1/0100040000002a", "9.9.9.9:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "1.1.1.1:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "2.2.2.2:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "2.2.2.2:1"),
      fecRouter("p2mp/2.2.2.2/", "1.1.1.1:0"),
  });
}

// Each hash is the seed's accumulator fed its fields' hashes in order: FEC then router; via (its
// unseeded hash, blind to the address family) then label. Swapped fields give other values here,
// so these fail if the two mixes trade places, or if a field or the seed is left out.
TEST(FecRouterViaLabelTest, HashesMixTheirFieldsInTheirOrder) {
  const auto mix = [](uint32_t seed, uint32_t first, uint32_t second) {
    return Vox::Hash(seed).hashMix(first).hashMix(second).result();
  };
  const auto fr = fecRouter("p2mp/1.1.1.1/0100040000002a", "2.2.2.2:0");
  const auto vl = viaLabel("10.1.1.2-Ethernet1", 16);
  for (const uint32_t seed : {0u, 7u}) {
    EXPECT_EQ(fr.hash(seed), mix(seed, fr.fwdEqvClass().hash(0), fr.routerId().hash(0)));
    EXPECT_EQ(vl.hash(seed), mix(seed, vl.via().hash(), Vox::hashSingleAttr(0, 16u)));
  }
}

TEST(ReflectedTextTest, ExactTextRoundTripsAndLogs) {
  const auto fr = QuillTest::expectTextRoundTrip<Mpls::FecRouter>(
      "Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/0100040000002a, 'routerId': "
      "2.2.2.2:0})");
  EXPECT_EQ(fr, fecRouter("p2mp/1.1.1.1/0100040000002a", "2.2.2.2:0"));
  EXPECT_EQ(Mpls::FecRouter(fr.valueToStrep()), fr);
  const auto vl = QuillTest::expectTextRoundTrip<Mpls::ViaLabel>(
      "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Port-Channel10, 'label': 16})");
  EXPECT_EQ(vl, viaLabel("10.1.1.2-Port-Channel10", 16));
  EXPECT_EQ(Mpls::ViaLabel(vl.valueToStrep()), vl);
  QuillTest::expectTextRoundTrip<Mpls::FecRouter>(Mpls::FecRouter().valueToStrep());
  QuillTest::expectTextRoundTrip<Mpls::ViaLabel>(Mpls::ViaLabel().valueToStrep());
  QuillTest::expectLogRoundTrip(fr);
  QuillTest::expectLogRoundTrip(vl);
}

TEST(ReflectedTextTest, MalformedTextsAreRejected) {
  for (std::string_view text : {
           "",
           "Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/, 'routerId': 2.2.2.2:0}",
           "Value('Mpls::FecRouter', ** {'routerId': 2.2.2.2:0, 'fwdEqvClass': p2mp/1.1.1.1/})",
           "Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/,'routerId': 2.2.2.2:0})",
           "Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/0, 'routerId': 2.2.2.2:0})",
           "Value('Mpls::ViaLabel', ** {'fwdEqvClass': p2mp/1.1.1.1/, 'routerId': 2.2.2.2:0})",
           " Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/, 'routerId': 2.2.2.2:0})",
       }) {
    QuillTest::expectParseError<Mpls::FecRouter>(text);
  }
  for (std::string_view text : {
           "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Ethernet1, 'label': 16}) ",
           "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Ethernet1, 'label': 16, 'x': 1})",
           "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Ethernet1, 'label': -16})",
           "Value('Mpls::ViaLabel', ** {'via': 10.1.1.2, 'label': 16})",
           "Value('Mpls::ViaLabel', ** {'via':10.1.1.2-Ethernet1, 'label': 16})",
           "Value(\"Mpls::ViaLabel\", ** {'via': 10.1.1.2-Ethernet1, 'label': 16})",
       }) {
    QuillTest::expectParseError<Mpls::ViaLabel>(text);
  }
}

}  // namespace
