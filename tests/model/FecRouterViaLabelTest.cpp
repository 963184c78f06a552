#include <gtest/gtest.h>

#include <string>
#include <string_view>

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

TEST(ViaLabelTest, OrdersByViaAddressThenInterfaceThenLabel) {
  struct Case {
    Mpls::ViaLabel lhs;
    Mpls::ViaLabel rhs;
    bool less;
  };
  const Case cases[] = {
      // Equal vias: the label alone decides.
      {viaLabel("10.0.0.1-Ethernet1", 16), viaLabel("10.0.0.1-Ethernet1", 17), true},
      {viaLabel("10.0.0.1-Ethernet1", 17), viaLabel("10.0.0.1-Ethernet1", 16), false},
      {viaLabel("10.0.0.1-Ethernet1", 16), viaLabel("10.0.0.1-Ethernet1", 16), false},
      // A greater via address orders after, whatever the interface and label.
      {viaLabel("10.0.0.2-Ethernet1", 3), viaLabel("10.0.0.1-Vlan4094", 1048575), false},
      {viaLabel("10.0.0.1-Vlan4094", 1048575), viaLabel("10.0.0.2-Ethernet1", 3), true},
      // Same address: the interface decides before the label.
      {viaLabel("10.0.0.1-Ethernet2", 3), viaLabel("10.0.0.1-Ethernet10", 1), true},
      {viaLabel("10.0.0.1-Ethernet10", 1), viaLabel("10.0.0.1-Ethernet2", 3), false},
      // Same bytes, different families: IPv4 first.
      {viaLabel("1.2.3.4-Ethernet9", 99), viaLabel("::ffff:1.2.3.4-Ethernet1", 1), true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.lhs < c.rhs, c.less) << c.lhs << " < " << c.rhs;
  }
}

TEST(ViaLabelTest, SameAddressBytesInOtherFamilyHashAlikeButDiffer) {
  const auto v4 = viaLabel("1.2.3.4-Ethernet1", 16);
  const auto v6 = viaLabel("::ffff:1.2.3.4-Ethernet1", 16);
  EXPECT_NE(v4, v6);
  EXPECT_EQ(v4.hash(0), v6.hash(0));
  EXPECT_EQ(v4.hash(7), v6.hash(7));
  EXPECT_NE(v4.hash(0), v4.hash(7));
  EXPECT_NE(v4.hash(0), viaLabel("1.2.3.4-Ethernet1", 17).hash(0));
  EXPECT_NE(v4.hash(0), viaLabel("1.2.3.4-Ethernet2", 16).hash(0));
}

TEST(FecRouterTest, OrdersByFecThenRouter) {
  QuillTest::expectStrictlyAscending(std::vector<Mpls::FecRouter>{
      fecRouter("p2mp/1.1.1.1/0100040000002a", "9.9.9.9:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "1.1.1.1:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "2.2.2.2:0"),
      fecRouter("p2mp/1.1.1.1/0100040000002b", "2.2.2.2:1"),
      fecRouter("p2mp/2.2.2.2/", "1.1.1.1:0"),
  });
}

TEST(FecRouterTest, HashMixesFecThenRouter) {
  const auto value = fecRouter("p2mp/1.1.1.1/0100040000002a", "2.2.2.2:0");
  EXPECT_NE(value.hash(0), value.hash(1));
  EXPECT_NE(value.hash(0), fecRouter("p2mp/1.1.1.1/0100040000002a", "2.2.2.2:1").hash(0));
  EXPECT_NE(value.hash(0), fecRouter("p2mp/1.1.1.1/0100040000002b", "2.2.2.2:0").hash(0));
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
           "Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/, 'routerId': 2.2.2.2})",
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
