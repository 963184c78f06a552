#include "platform/vox/ValueType.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/ValueChecks.h"

namespace {

// Two value types over the same two fields, declared in opposite orders: everything derived from
// the field list must follow the order of the list, not the order of the members.
template <bool kTagFirst>
class Tagged : public Vox::ValueType<Tagged<kTagFirst>> {
 public:
  static constexpr auto fields() {
    constexpr auto address = Vox::field<&Tagged::address_, Vox::DottedQuad>("address", "A.B.C.D");
    constexpr auto tag = Vox::field<&Tagged::tag_>("tag", "N");
    if constexpr (kTagFirst) {
      return std::tuple(tag, address);
    } else {
      return std::tuple(address, tag);
    }
  }
  static constexpr Vox::JoinedText kText{"Test::Tagged", '/', "an address and a tag"};

  Tagged() = default;
  Tagged(uint32_t first, uint32_t second)
      : address_(kTagFirst ? second : first),
        tag_(static_cast<uint16_t>(kTagFirst ? first : second)) {}
  uint32_t hash(uint32_t seed) const { return this->mixedHash(seed); }

  uint32_t address_ = 0;
  uint16_t tag_ = 0;
};
using AddressFirst = Tagged<false>;
using TagFirst = Tagged<true>;

// A composite of a composite, in the framework's reflected form.
class Pair : public Vox::ValueType<Pair> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&Pair::key_>("key"), Vox::field<&Pair::count_>("count", "N"));
  }
  static constexpr Vox::ReflectedText kText{"Test::Pair"};

  Pair() = default;
  Pair(const AddressFirst& key, uint32_t count) : key_(key), count_(count) {}
  uint32_t hash(uint32_t seed) const { return mixedHash(seed); }

 private:
  AddressFirst key_;
  uint32_t count_ = 0;
};

TEST(ValueTypeTest, OrderEqualityAndHashFollowTheFieldList) {
  // address 1.0.0.0 with tag 2 against address 0.0.0.9 with tag 3.
  const AddressFirst a(0x01000000, 2), b(0x00000009, 3);
  EXPECT_TRUE(b < a);  // the address decides first
  const TagFirst ta(2, 0x01000000), tb(3, 0x00000009);
  EXPECT_TRUE(ta < tb);  // the tag decides first
  EXPECT_EQ(AddressFirst(5, 6), AddressFirst(5, 6));
  EXPECT_NE(AddressFirst(5, 6), AddressFirst(5, 7));
  EXPECT_NE(AddressFirst(5, 6), AddressFirst(4, 6));
  for (uint32_t seed : {0u, 7u}) {
    EXPECT_EQ(a.hash(seed), Vox::Hash(seed).hashMix(0x01000000).hashMix(2).result());
    EXPECT_EQ(ta.hash(seed), Vox::Hash(seed).hashMix(2).hashMix(0x01000000).result());
  }
  const Pair pair(a, 4);
  EXPECT_EQ(pair.hash(1), Vox::Hash(1).hashMix(a.hash(0)).hashMix(4).result());
}

TEST(ValueTypeTest, TextParseAndLogFollowTheFieldList) {
  const AddressFirst a(0x0a000001, 7);
  EXPECT_EQ(QuillTest::expectTextRoundTrip<AddressFirst>("10.0.0.1/7"), a);
  EXPECT_EQ(QuillTest::expectTextRoundTrip<TagFirst>("7/10.0.0.1"), TagFirst(7, 0x0a000001));

  const Pair pair(a, 3);
  EXPECT_EQ(QuillTest::expectTextRoundTrip<Pair>(
                "Value('Test::Pair', ** {'key': 10.0.0.1/7, 'count': 3})"),
            pair);
  EXPECT_EQ(Pair::textPlaceholder(), "Value('Test::Pair', ** {'key': A.B.C.D/N, 'count': N})");

  std::string bytes;
  Vox::AttrLogWriter out(bytes);
  pair.logTo(out);
  EXPECT_EQ(bytes, std::string("\x01\x00\x00\x0a\x07\x00\x03\x00\x00\x00", 10));
  Vox::AttrLogReader in(bytes);
  EXPECT_EQ(Pair::fromLog(in), pair);
}

TEST(ValueTypeTest, ParseErrorsNameTheFormAndTheFieldThatFailed) {
  const auto message = [](auto parse) {
    try {
      parse();
    } catch (const Vox::ParseError& e) {
      return std::string(e.what());
    }
    return std::string("no error");
  };
  EXPECT_EQ(message([] { AddressFirst::sequenceToValue("10.0.0.1"); }),
            "cannot parse '10.0.0.1' as Test::Tagged: expected A.B.C.D/N, an address and a tag");
  EXPECT_EQ(message([] { AddressFirst::sequenceToValue("10.0.0.1/65536"); }),
            "cannot parse '10.0.0.1/65536' as Test::Tagged: expected A.B.C.D/N, an address and a "
            "tag");
  EXPECT_EQ(
      message([] { Pair::sequenceToValue("Value('Test::Pair', ** {'key': 1/2, 'count': 3})"); }),
      "cannot parse 'Value('Test::Pair', ** {'key': 1/2, 'count': 3})' as Test::Pair: "
      "expected Value('Test::Pair', ** {'key': A.B.C.D/N, 'count': N}); cannot parse '1/2' "
      "as Test::Tagged: expected A.B.C.D/N, an address and a tag");
  EXPECT_EQ(message([] { Pair::sequenceToValue("Value('Test::Pair', ** {'count': 3})"); }),
            "cannot parse 'Value('Test::Pair', ** {'count': 3})' as Test::Pair: expected "
            "Value('Test::Pair', ** {'key': A.B.C.D/N, 'count': N})");
}

}  // namespace
