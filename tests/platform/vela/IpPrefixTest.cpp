#include "platform/vela/IpPrefix.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>

#include "tests/support/ValueChecks.h"
#include "tests/support/Values.h"

namespace {

using QuillTest::v;
using Vela::IpGenAddr;
using Vela::IpPrefix;

TEST(IpPrefixTest, TextsRoundTripInOrderAndMalformedOnesSayWhatIsWrong) {
  // Family, then address bytes, then length.
  QuillTest::expectValueTexts<IpPrefix>(
      {"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/24", "10.1.0.0/16", "10.1.2.0/23", "10.1.2.3/32",
       "::/0", "::/128", "::ffff:10.0.0.0/104", "2001:db8::/32", "2001:db8::1/128", "fe80::/10"},
      {});
  EXPECT_EQ(IpPrefix().valueToStrep(), "0.0.0.0/0");
  EXPECT_EQ(v<IpPrefix>("2001:DB8::/32").valueToStrep(), "2001:db8::/32");
  EXPECT_NE(QuillTest::hashOf(v<IpPrefix>("10.0.0.0/8")),
            QuillTest::hashOf(v<IpPrefix>("10.0.0.0/9")));
  const std::pair<std::string_view, std::string_view> malformed[] = {
      {"10.0.0.1/24", "host bits are set past /24 (the network is 10.0.0.0/24)"},
      {"10.1.3.0/23", "host bits are set past /23 (the network is 10.1.2.0/23)"},
      {"2001:db8::1/64", "host bits are set past /64 (the network is 2001:db8::/64)"},
      {"10.0.0.0/33", "the length '33' is not a decimal number of 0 to 32"},
      {"2001:db8::/129", "the length '129' is not a decimal number of 0 to 128"},
      {"10.0.0.0/08", "the length '08'"},
      {"10.0.0.0/", "the length ''"},
      {"10.0.0.0/8/8", "the length '8/8'"},
      {"10.0.0.0/ 8", "the length ' 8'"},
      {"10.0.0.0", "the '/LENGTH' is missing"},
      {"", "the '/LENGTH' is missing"},
      {"10.0.0/8", "the address: cannot parse '10.0.0'"},
      {"/8", "the address: cannot parse ''"},
  };
  for (const auto& [text, why] : malformed)
    QuillTest::expectParseError<IpPrefix>(text, why);
}

// IPv4 containment is checked against a bitwise oracle below; here, families and IPv6 bits.
TEST(IpPrefixTest, ContainsOnlyAddressesOfItsFamilyUnderItsBits) {
  const struct {
    std::string_view prefix, address;
    bool inside;
  } cases[] = {
      {"0.0.0.0/0", "::", false},
      {"10.0.0.0/8", "::ffff:10.0.0.1", false},
      {"::/0", "10.0.0.1", false},
      {"::/0", "::1", true},
      {"::ffff:0.0.0.0/96", "::ffff:10.0.0.1", true},
      {"::ffff:0.0.0.0/96", "10.0.0.1", false},
      {"2001:db8:8000::/33", "2001:db8:8000::1", true},
      {"2001:db8:8000::/33", "2001:db8:7fff::", false},
      {"2001:db8::1/128", "2001:db8::1", true},
      {"2001:db8::1/128", "2001:db8::2", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(v<IpPrefix>(c.prefix).contains(v<IpGenAddr>(c.address)), c.inside)
        << c.prefix << " " << c.address;
  }
}

// Oracle: two IPv4 addresses share a prefix of `length` bits exactly when their leading `length`
// bits agree, computed here with integer shifts rather than the byte-wise masks of IpPrefix.
TEST(IpPrefixTest, MaskedPrefixHoldsExactlyTheAddressesSharingItsBits) {
  constexpr uint32_t kSeed = 20260402;
  std::mt19937 random(kSeed);
  for (int round = 0; round < 200; ++round) {
    const uint32_t a = static_cast<uint32_t>(random());
    // Flip one random bit so that every length from 0 to 32 is exercised on both sides.
    const uint32_t b = a ^ (1u << (random() % 32));
    for (uint32_t length = 0; length <= 32; ++length) {
      const IpPrefix prefix = IpPrefix::masked(Vela::IpAddr(a), length);
      const bool shared = length == 0 || ((a ^ b) >> (32 - length)) == 0;
      ASSERT_TRUE(prefix.contains(Vela::IpAddr(a))) << "seed " << kSeed << " " << prefix;
      ASSERT_EQ(prefix.contains(Vela::IpAddr(b)), shared) << "seed " << kSeed << " " << prefix;
      ASSERT_EQ(prefix, v<IpPrefix>(prefix.valueToStrep()));
    }
  }
  EXPECT_EQ(IpPrefix::masked(v<IpGenAddr>("2001:db8:ffff::1"), 33),
            v<IpPrefix>("2001:db8:8000::/33"));
}

TEST(IpPrefixDeathTest, ImpossiblePartsAreFatal) {
  EXPECT_DEATH(IpPrefix(v<IpGenAddr>("10.0.0.1"), 24), "no host bits in a prefix address");
  EXPECT_DEATH(IpPrefix(v<IpGenAddr>("10.0.0.0"), 33), "prefix length within the address width");
  EXPECT_DEATH(IpPrefix::masked(v<IpGenAddr>("::1"), 129),
               "prefix length within the address width");
}

}  // namespace
