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
#include "tests/support/Values.h"

namespace {

using QuillTest::expectParseError;
using QuillTest::expectValueTexts;
using QuillTest::hashOf;
using QuillTest::v;

// Canonical texts, listed in their documented order, and malformed ones.
TEST(ValueTypesTest, TextsRoundTripInOrderAndMalformedOnesAreRejected) {
  // IPv4 before IPv6; IPv4 numerically, IPv6 by bytes.
  expectValueTexts<Vela::IpGenAddr>(
      {"0.0.0.0", "1.2.3.4", "9.0.0.0", "10.0.0.1", "255.255.255.255", "::", "::ffff:1.2.3.4",
       "2001:db8::1", "2001:db8::2", "fe80::1:2"},
      {"", " 10.0.0.1", "10.0.0.1 ", "010.0.0.1", "10.0.0", "10.0.0.1.5", "256.0.0.1", "10..0.1",
       "1:2:3", "2001:db8::1%eth0", "::gg"});
  expectValueTexts<Vela::IntfId>(
      {"", "Ethernet2", "Ethernet3", "Ethernet3/1", "Ethernet3/1/2", "Ethernet3/2", "Ethernet10",
       "Loopback0", "Management1", "Port-Channel9", "Port-Channel10", "Tunnel5", "Vlan1", "Vlan100",
       "Vlan4094"},
      {"ethernet1", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet3/", "Ethernet3/1/2/4",
       "Ethernet65536", "Vlan0", "Vlan4095", "Vlan1/1", "Loopback-1", "Tunnel5x", " Tunnel5",
       "Bogus7"});
  expectValueTexts<Vela::MplsLabel>(
      {"0", "3", "16", "1048575", "1048576", "4294967295"},
      {"", "-1", "+1", "01", " 1", "1 ", "4294967296", "0x10", "1e3"});
  expectValueTexts<Mpls::RouterId>({"0.0.0.0:65535", "1.1.1.1:0", "1.1.1.1:1", "1.1.1.2:0"},
                                   {"2.2.2.2", "2.2.2.2:", "2.2.2.2:65536", "2.2.2.2:00", ":0"});
  // Opaque values of up to eight bytes and longer ones interleave; bytes compare as unsigned and
  // a prefix sorts before its extensions, whichever of the two is the longer.
  expectValueTexts<Mpls::FwdEqvClass>(
      {"p2mp/0.0.0.0/", "p2mp/1.1.1.1/", "p2mp/1.1.1.1/0100010702000109",
       "p2mp/1.1.1.1/0100040000002a", "p2mp/1.1.1.1/0100040000002aff0000",
       "p2mp/1.1.1.1/0100050102030405", "p2mp/1.1.1.1/010006010203040506", "p2mp/1.1.1.1/ff0000",
       "p2mp/1.1.1.1/ff0000ff0000ff0000", "p2mp/1.1.1.1/ff0006000000000000",
       "p2mp/1.1.1.1/ff0006800000000000", "p2mp/2.2.2.2/", "p2mp/::1/", "p2mp/2001:db8::1/ff0000",
       "p2mp/2001:db8::1/ff0009000102030405060708"},
      {"", "p2mp", "p2mp/", "p2mp/1.1.1.1", "P2MP/1.1.1.1/", "p2mp/1.1.1/", "p2mp/1.1.1.1/0",
       "p2mp/1.1.1.1/zz", "p2mp/1.1.1.1/0100", "p2mp/1.1.1.1/01000400", "p2mp/1.1.1.1/010000ff"});
  expectValueTexts<Mpls::FibVia>(
      {"0.0.0.0-", "10.0.0.1-Ethernet2", "10.0.0.1-Ethernet10", "10.0.0.2-Ethernet1",
       "10.1.1.2-Port-Channel10", "::1-Ethernet1", "fe80::1-Vlan100"},
      {"", "10.1.1.2", "10.1.1.2 Ethernet1", "10.1.1.2-Ethernet", "-Ethernet1"});
  // Stored in network order, compared as numbers: 1.0.0.0 must not sort before 0.0.1.0.
  expectValueTexts<Ldp::LdpIdentifier>(
      {"0.0.0.255:1", "0.0.1.0:0", "1.0.0.0:0", "1.0.0.0:256", "1.0.0.1:0", "10.0.0.1:65535"},
      {"1.1.1.1", "1.1.1.1:x", "1.1.1.1:1:1"});
  // Trailing junk hidden behind a NUL (the message is cut at the NUL, so only the throw counts).
  EXPECT_THROW(v<Vela::IpGenAddr>(std::string_view("::1\0x", 5)), Vox::ParseError);
  // Defaults, and lenient inputs that print back in canonical form.
  EXPECT_EQ(Vela::IpGenAddr().valueToStrep(), "0.0.0.0");
  EXPECT_EQ(Mpls::FwdEqvClass().valueToStrep(), "p2mp/0.0.0.0/");
  EXPECT_EQ(Mpls::FibVia().valueToStrep(), "0.0.0.0-");
  EXPECT_EQ(v<Vela::IpGenAddr>("2001:DB8:0:0::1").valueToStrep(), "2001:db8::1");
  EXPECT_EQ(v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/FF0000").valueToStrep(), "p2mp/1.1.1.1/ff0000");
}

TEST(ValueTypesTest, ParseErrorsSayWhatWasExpected) {
  for (const char* why : {"cannot parse 'Bogus7' as Vela::IntfId: expected one of Ethernet",
                          "Vlan<1-4094>", "unknown interface kind 'Bogus'"})
    expectParseError<Vela::IntfId>("Bogus7", why);
  expectParseError<Mpls::FwdEqvClass>("p2mp/1.1.1.1/01000400",
                                      "declares 4 value bytes but 1 remain");
}

TEST(ValueTypesTest, HashesMixEveryFieldInOrder) {
  EXPECT_NE(hashOf(Mpls::RouterId(1, 2)), hashOf(Mpls::RouterId(2, 1)));
  EXPECT_NE(hashOf(v<Vela::IntfId>("Ethernet3/1")), hashOf(v<Vela::IntfId>("Ethernet1/3")));
  // p2mpLspId spells the Generic LSP Identifier TLV (FEC hashes have reference values below).
  EXPECT_EQ(Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42),
            v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a"));
  // Reference values of Thomas Wang's 32-bit hash, computed independently, plus the label space:
  // they also pin the order of the two fields.
  EXPECT_EQ(Ldp::LdpIdentifier(0, 0).hash(), 0xcaa3caa3u);
  EXPECT_EQ(Ldp::LdpIdentifier(1, 0).hash(), 0x12d60bf6u);
  EXPECT_EQ(Ldp::LdpIdentifier(0xffffffff, 0).hash(), 0xbd55fc18u);
  EXPECT_EQ(Ldp::LdpIdentifier(0x01010101, 0).hash(), 0xc747f8b0u);
  EXPECT_EQ(Ldp::LdpIdentifier(0x01010101, 1).hash(), 0xc747f8b1u);
}

// Every table keyed by a FEC, and the ring that spreads FECs over next-hops, depends on these
// exact values: a change of layout or of mixing order must not move them. Opaque values of every
// length class: none, short, exactly eight bytes, just over, and long ones with a ragged tail.
TEST(ValueTypesTest, FecHashesKeepTheirValuesForEverySeed) {
  struct Case {
    std::string_view text;
    uint32_t seed0, seed1, seedGolden;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"p2mp/0.0.0.0/", 0x99ae81bau, 0xb7bc7cc7u, 0x7c8f4902u},
           {"p2mp/1.1.1.1/0100040000002a", 0x95ea4eceu, 0x41b37e92u, 0x0c134a5bu},
           {"p2mp/2001:db8::1/ff0000", 0xaae6cecdu, 0x1559f90du, 0x1e241b43u},
           {"p2mp/::ffff:1.1.1.1/0100040000002a", 0x2c993a42u, 0xbe96b38fu, 0xdf346ff6u},
           {"p2mp/10.0.0.1/0100050102030405", 0xebd5606eu, 0xa93831f5u, 0x5c51502au},
           {"p2mp/10.0.0.1/010006010203040506", 0x490e21ecu, 0xdc8279a4u, 0x1c8f962bu},
           {"p2mp/1.1.1.1/0100040000002aff000102030000", 0x3b7f5e04u, 0x1fdbfe4du, 0x812e6cd6u},
           {"p2mp/fe80::1:2/02001000112233445566778899aabbccddeeff", 0x4c8c9f20u, 0x572146e0u,
            0x77a1fe9bu},
       }) {
    SCOPED_TRACE(c.text);
    const auto fec = v<Mpls::FwdEqvClass>(c.text);
    EXPECT_EQ(fec.hash(0), c.seed0);
    EXPECT_EQ(fec.hash(1), c.seed1);
    EXPECT_EQ(fec.hash(0x9e3779b9u), c.seedGolden);
  }
}

TEST(ValueTypesTest, SameBytesDifferentFamilies) {
  const Vela::IpGenAddr v4(Vela::IpAddr(0x01020304));
  const auto v6 = v<Vela::IpGenAddr>("::ffff:1.2.3.4");
  EXPECT_TRUE(v4.isV4() && v6.isV6());
  EXPECT_EQ(v4.v4().value(), 0x01020304u);
  EXPECT_NE(v4, v6);
  EXPECT_EQ(v4.ip6Addr(), v6.ip6Addr());
  EXPECT_EQ(v4.ip6Addr().hash(), v6.ip6Addr().hash());
  EXPECT_NE(v4.hash(0), v6.hash(0));  // the generic address mixes its family
  // A via's hash ignores the family; equality does not.
  const auto intf = v<Vela::IntfId>("Ethernet1");
  EXPECT_NE(Mpls::FibVia(v4, intf), Mpls::FibVia(v6, intf));
  EXPECT_EQ(Mpls::FibVia(v4, intf).hash(), Mpls::FibVia(v6, intf).hash());
  EXPECT_NE(Mpls::FibVia(v4, intf).hash(), Mpls::FibVia(v4, Vela::IntfId()).hash());
}

TEST(ValueTypesTest, AttrLogRoundTripsAndRejectsValuesNoTextCouldSpell) {
  const auto roundTrip = [](const auto&... values) {
    (QuillTest::expectLogRoundTrip(values), ...);
  };
  roundTrip(v<Vela::IpGenAddr>("10.0.0.1"), v<Vela::IpGenAddr>("::ffff:10.0.0.1"),
            v<Vela::IntfId>("Ethernet3/1/2"), Vela::MplsLabel(Vela::MplsLabel::kOutOfRange),
            Mpls::RouterId(0x02020202, 7), Mpls::FwdEqvClass(),
            Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42),
            v<Mpls::FwdEqvClass>("p2mp/2001:db8::1/ff0009000102030405060708"),
            v<Mpls::FibVia>("2001:db8::1-Port-Channel10"), Ldp::LdpIdentifier(0x01020304, 3));
  std::string family, vlan, opaque;
  Vox::AttrLogWriter(family).u8(5).u32(0);
  Vox::AttrLogWriter(vlan).u32(6u << 16 | 4095).u32(0);
  Vox::AttrLogWriter(opaque).u8(4).u32(0).bytes(std::string("\x01\x00\x04", 3));
  Vox::AttrLogReader familyReader(family), vlanReader(vlan), opaqueReader(opaque);
  EXPECT_THROW(Vela::IpGenAddr{familyReader}, Vox::LogStreamError);
  EXPECT_THROW(Vela::IntfId{vlanReader}, Vox::LogStreamError);
  EXPECT_THROW(Mpls::FwdEqvClass{opaqueReader}, Vox::LogStreamError);
}

// Building a value from parts that no text form could produce is a programming error.
TEST(ValueTypesDeathTest, ImpossiblePartsAreFatal) {
  EXPECT_DEATH(Vela::IntfId(Vela::IntfId::Kind::vlan, 4095),
               "valid interface numbers for the kind");
  EXPECT_DEATH(Vela::IntfId(Vela::IntfId::Kind::none, 1), "valid interface numbers for the kind");
  EXPECT_DEATH(Mpls::FwdEqvClass(Vela::IpGenAddr(), std::string("\x01\x00\x05", 3)),
               "well-formed opaque value");
  EXPECT_DEATH(v<Vela::IpGenAddr>("2001:db8::1").v4(), "isV4\\(\\)");
  EXPECT_DEATH(VOX_ASSERT(false, "initialized()"),
               "ValueTypesTest.cpp:[0-9]+: fatal assertion failed: initialized\\(\\)");
}

}  // namespace
