#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/ldp/LdpIdentifier.h"
#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/MplsLabel.h"
#include "tests/support/ValueChecks.h"

namespace {

using QuillTest::expectParseError;
using QuillTest::expectTextRoundTrip;

template <class T>
std::vector<T> parseAll(std::initializer_list<std::string_view> texts) {
  std::vector<T> values;
  for (std::string_view text : texts)
    values.push_back(T::sequenceToValue(text));
  return values;
}

template <class T>
void roundTripAll(std::initializer_list<std::string_view> texts) {
  for (std::string_view text : texts)
    expectTextRoundTrip<T>(text);
}

template <class T>
void rejectAll(std::initializer_list<std::string_view> texts) {
  for (std::string_view text : texts)
    expectParseError<T>(text);
}

TEST(ValueTypesTest, CanonicalTextsRoundTrip) {
  roundTripAll<Vela::IpGenAddr>({"0.0.0.0", "10.0.0.1", "255.255.255.255", "::", "2001:db8::1",
                                 "::ffff:1.2.3.4", "fe80::1:2"});
  roundTripAll<Vela::IntfId>({"", "Ethernet1", "Ethernet3/1", "Ethernet3/1/2", "Port-Channel10",
                              "Vlan1", "Vlan4094", "Loopback0", "Management1", "Tunnel5"});
  roundTripAll<Vela::MplsLabel>({"0", "16", "1048575", "1048576", "4294967295"});
  roundTripAll<Mpls::RouterId>({"2.2.2.2:0", "0.0.0.0:65535"});
  roundTripAll<Mpls::FwdEqvClass>({"p2mp/0.0.0.0/", "p2mp/1.1.1.1/0100040000002a",
                                   "p2mp/2001:db8::1/ff0000", "p2mp/1.1.1.1/0100010702000109"});
  roundTripAll<Mpls::FibVia>(
      {"0.0.0.0-", "10.1.1.2-Ethernet1", "10.1.1.2-Port-Channel10", "fe80::1-Vlan100"});
  roundTripAll<Ldp::LdpIdentifier>({"1.1.1.1:0", "10.0.0.1:65535"});
  EXPECT_EQ(Vela::IpGenAddr().valueToStrep(), "0.0.0.0");
  EXPECT_EQ(Mpls::FwdEqvClass().valueToStrep(), "p2mp/0.0.0.0/");
  EXPECT_EQ(Mpls::FibVia().valueToStrep(), "0.0.0.0-");
}

// Lenient inputs that print back in canonical form.
TEST(ValueTypesTest, NonCanonicalInputPrintsCanonically) {
  EXPECT_EQ(Vela::IpGenAddr::sequenceToValue("2001:DB8:0:0::1").valueToStrep(), "2001:db8::1");
  EXPECT_EQ(Mpls::FwdEqvClass::sequenceToValue("p2mp/1.1.1.1/FF0000").valueToStrep(),
            "p2mp/1.1.1.1/ff0000");
}

TEST(ValueTypesTest, MalformedTextsAreRejected) {
  rejectAll<Vela::IpGenAddr>({"", " 10.0.0.1", "10.0.0.1 ", "010.0.0.1", "10.0.0", "10.0.0.1.5",
                              "256.0.0.1", "10..0.1", "1:2:3", "2001:db8::1%eth0", "::gg"});
  // Trailing junk hidden behind a NUL (the message is cut at the NUL, so only the throw counts).
  EXPECT_THROW(Vela::IpGenAddr::sequenceToValue(std::string_view("::1\0x", 5)), Vox::ParseError);
  rejectAll<Vela::IntfId>({"ethernet1", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet3/",
                           "Ethernet3/1/2/4", "Ethernet65536", "Vlan0", "Vlan4095", "Vlan1/1",
                           "Loopback-1", "Tunnel5x", " Tunnel5", "Bogus7"});
  rejectAll<Vela::MplsLabel>({"", "-1", "+1", "01", " 1", "1 ", "4294967296", "0x10", "1e3"});
  rejectAll<Mpls::RouterId>({"2.2.2.2", "2.2.2.2:", "2.2.2.2:65536", "2.2.2.2:00", ":0"});
  rejectAll<Mpls::FwdEqvClass>({"", "p2mp", "p2mp/", "p2mp/1.1.1.1", "P2MP/1.1.1.1/", "p2mp/1.1.1/",
                                "p2mp/1.1.1.1/0", "p2mp/1.1.1.1/zz", "p2mp/1.1.1.1/0100",
                                "p2mp/1.1.1.1/01000400", "p2mp/1.1.1.1/010000ff"});
  rejectAll<Mpls::FibVia>(
      {"", "10.1.1.2", "10.1.1.2 Ethernet1", "10.1.1.2-Ethernet", "-Ethernet1"});
  rejectAll<Ldp::LdpIdentifier>({"1.1.1.1", "1.1.1.1:x", "1.1.1.1:1:1"});
}

TEST(ValueTypesTest, ParseErrorsSayWhatWasExpected) {
  try {
    (void)Vela::IntfId::sequenceToValue("Bogus7");
    FAIL();
  } catch (const Vox::ParseError& e) {
    const std::string message = e.what();
    EXPECT_EQ(message.rfind("cannot parse 'Bogus7' as Vela::IntfId: expected one of Ethernet", 0),
              0u)
        << message;
    EXPECT_NE(message.find("Vlan<1-4094>"), std::string::npos) << message;
    EXPECT_NE(message.find("unknown interface kind 'Bogus'"), std::string::npos) << message;
  }
  try {
    (void)Mpls::FwdEqvClass::sequenceToValue("p2mp/1.1.1.1/01000400");
    FAIL();
  } catch (const Vox::ParseError& e) {
    EXPECT_NE(std::string(e.what()).find("declares 4 value bytes but 1 remain"), std::string::npos)
        << e.what();
  }
}

TEST(ValueTypesTest, OrderingFollowsDocumentedKeys) {
  // IPv4 before IPv6; IPv4 numerically, IPv6 by bytes.
  QuillTest::expectStrictlyAscending(
      parseAll<Vela::IpGenAddr>({"0.0.0.0", "1.2.3.4", "9.0.0.0", "10.0.0.0", "255.255.255.255",
                                 "::", "::ffff:1.2.3.4", "2001:db8::1", "2001:db8::2"}));
  QuillTest::expectStrictlyAscending(
      parseAll<Vela::IntfId>({"", "Ethernet2", "Ethernet3", "Ethernet3/1", "Ethernet3/1/2",
                              "Ethernet3/2", "Ethernet10", "Loopback0", "Management1",
                              "Port-Channel9", "Port-Channel10", "Tunnel5", "Vlan2", "Vlan100"}));
  QuillTest::expectStrictlyAscending(parseAll<Vela::MplsLabel>({"0", "3", "16", "1048575"}));
  QuillTest::expectStrictlyAscending(
      parseAll<Mpls::RouterId>({"1.1.1.1:0", "1.1.1.1:1", "1.1.1.2:0", "2.2.2.2:0"}));
  QuillTest::expectStrictlyAscending(
      parseAll<Mpls::FwdEqvClass>({"p2mp/1.1.1.1/", "p2mp/1.1.1.1/0100040000002a",
                                   "p2mp/1.1.1.1/ff0000", "p2mp/2.2.2.2/", "p2mp/::1/"}));
  QuillTest::expectStrictlyAscending(parseAll<Mpls::FibVia>(
      {"10.0.0.1-Ethernet2", "10.0.0.1-Ethernet10", "10.0.0.2-Ethernet1", "::1-Ethernet1"}));
  // Stored in network order, compared as numbers: 1.0.0.0 must not sort before 0.0.1.0.
  QuillTest::expectStrictlyAscending(parseAll<Ldp::LdpIdentifier>(
      {"0.0.0.255:1", "0.0.1.0:0", "1.0.0.0:0", "1.0.0.0:256", "1.0.0.1:0"}));
}

TEST(ValueTypesTest, HashesMixEveryFieldInOrder) {
  QuillTest::expectFieldSwapChangesHash(Mpls::RouterId(1, 2), Mpls::RouterId(2, 1));
  QuillTest::expectFieldSwapChangesHash(Ldp::LdpIdentifier(1, 2), Ldp::LdpIdentifier(2, 1));
  QuillTest::expectFieldSwapChangesHash(Vela::IntfId::sequenceToValue("Ethernet3/1"),
                                        Vela::IntfId::sequenceToValue("Ethernet1/3"));
  // The seed and the opaque bytes count; p2mpLspId spells the Generic LSP Identifier TLV.
  const auto fec = Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42);
  EXPECT_NE(fec.hash(0), fec.hash(1));
  EXPECT_NE(fec.hash(0), Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 43).hash(0));
  EXPECT_EQ(fec, Mpls::FwdEqvClass::sequenceToValue("p2mp/1.1.1.1/0100040000002a"));
}

TEST(ValueTypesTest, SameBytesDifferentFamilies) {
  const Vela::IpGenAddr v4(Vela::IpAddr(0x01020304));
  const auto v6 = Vela::IpGenAddr::sequenceToValue("::ffff:1.2.3.4");
  EXPECT_TRUE(v4.isV4());
  EXPECT_TRUE(v6.isV6());
  EXPECT_EQ(v4.v4().value(), 0x01020304u);
  EXPECT_NE(v4, v6);
  EXPECT_EQ(v4.ip6Addr(), v6.ip6Addr());
  EXPECT_EQ(v4.ip6Addr().hash(), v6.ip6Addr().hash());
  EXPECT_NE(v4.hash(0), v6.hash(0));  // the generic address mixes its family

  // A via's hash ignores the family; equality does not.
  const auto intf = Vela::IntfId::sequenceToValue("Ethernet1");
  const Mpls::FibVia via4(v4, intf);
  const Mpls::FibVia via6(v6, intf);
  EXPECT_NE(via4, via6);
  EXPECT_EQ(via4.hash(), via6.hash());
  EXPECT_NE(via4.hash(), Mpls::FibVia(v4, Vela::IntfId()).hash());
}

TEST(ValueTypesTest, LdpIdentifierHashIsWangPlusLabelSpace) {
  // Reference values of Thomas Wang's 32-bit hash, computed independently.
  EXPECT_EQ(Ldp::LdpIdentifier(0, 0).hash(), 0xcaa3caa3u);
  EXPECT_EQ(Ldp::LdpIdentifier(1, 0).hash(), 0x12d60bf6u);
  EXPECT_EQ(Ldp::LdpIdentifier(0xffffffff, 0).hash(), 0xbd55fc18u);
  const Ldp::LdpIdentifier space0(0x01010101, 0);
  const Ldp::LdpIdentifier space1(0x01010101, 1);
  EXPECT_EQ(space0.hash(), 0xc747f8b0u);
  EXPECT_EQ(space1.hash(), space0.hash() + 1);
  EXPECT_EQ(space1.lsrId(), 0x01010101u);
  EXPECT_EQ(space1.labelSpace(), 1u);
}

TEST(ValueTypesTest, AttrLogRoundTrip) {
  QuillTest::expectLogRoundTrip(Vela::IpGenAddr::sequenceToValue("10.0.0.1"));
  QuillTest::expectLogRoundTrip(Vela::IpGenAddr::sequenceToValue("::ffff:10.0.0.1"));
  QuillTest::expectLogRoundTrip(Vela::IntfId::sequenceToValue("Ethernet3/1/2"));
  QuillTest::expectLogRoundTrip(Vela::MplsLabel(Vela::MplsLabel::kOutOfRange));
  QuillTest::expectLogRoundTrip(Mpls::RouterId(0x02020202, 7));
  QuillTest::expectLogRoundTrip(Mpls::FwdEqvClass());
  QuillTest::expectLogRoundTrip(Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42));
  QuillTest::expectLogRoundTrip(Mpls::FibVia::sequenceToValue("2001:db8::1-Port-Channel10"));
  QuillTest::expectLogRoundTrip(Ldp::LdpIdentifier(0x01020304, 3));
}

TEST(ValueTypesTest, AttrLogRejectsValuesNoTextCouldSpell) {
  const auto expectRejected = [](const std::string& record, auto read) {
    Vox::AttrLogReader reader(record);
    EXPECT_THROW(read(reader), Vox::LogStreamError);
  };
  std::string family;
  Vox::AttrLogWriter(family).u8(5).u32(0);
  expectRejected(family, [](Vox::AttrLogReader& r) { Vela::IpGenAddr{r}; });
  std::string vlan;
  Vox::AttrLogWriter(vlan).u32(6u << 16 | 4095).u32(0);
  expectRejected(vlan, [](Vox::AttrLogReader& r) { Vela::IntfId{r}; });
  std::string opaque;
  Vox::AttrLogWriter(opaque).u8(4).u32(0).bytes(std::string("\x01\x00\x04", 3));
  expectRejected(opaque, [](Vox::AttrLogReader& r) { Mpls::FwdEqvClass{r}; });
}

}  // namespace
