#include "platform/vox/Hash.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Reference values of MurmurHash3_x86_32 (Appleby's SMHasher) for whole-block and tail inputs:
// the accumulator must be that function, fed block by block.
TEST(HashTest, MatchesMurmur3ReferenceValues) {
  struct Case {
    const char* input;
    uint32_t seed;
    uint32_t expected;
  };
  const Case cases[] = {
      {"", 0, 0x00000000u},
      {"", 1, 0x514E28B7u},
      {"", 0xffffffffu, 0x81F16F39u},
      {"test", 0, 0xba6bd213u},
      {"Hello, world!", 0, 0xc0363e43u},
      {"The quick brown fox jumps over the lazy dog", 0x9747b28cu, 0x2FA826CDu},
  };
  for (const Case& c : cases) {
    Vox::Hash h(c.seed);
    h.hashBytes(c.input, std::strlen(c.input));
    EXPECT_EQ(h.result(), c.expected) << "input '" << c.input << "' seed " << c.seed;
  }
}

TEST(HashTest, HashMixEqualsBlockwiseBytes) {
  const uint32_t words[] = {0x01020304u, 0xdeadbeefu};
  unsigned char bytes[8];
  std::memcpy(bytes, words, sizeof bytes);  // little-endian host: blocks in the same order
  Vox::Hash byBytes(7);
  byBytes.hashBytes(bytes, sizeof bytes);
  EXPECT_EQ(Vox::Hash(7).hashMix(words[0]).hashMix(words[1]).result(), byBytes.result());
}

TEST(HashTest, FieldOrderMatters) {
  EXPECT_NE(Vox::Hash(0).hashMix(1).hashMix(2).result(),
            Vox::Hash(0).hashMix(2).hashMix(1).result());
  EXPECT_EQ(Vox::hashSingleAttr(5, 42), Vox::Hash(5).hashMix(42).result());
  EXPECT_NE(Vox::hashSingleAttr(0, 42), Vox::hashSingleAttr(1, 42));
}

TEST(HashTest, KeyRehashIsMurmurFinaliser) {
  EXPECT_EQ(Vox::HashHelper::KeyAndRhashLegacy(0), 0u);
  // fmix32 is a bijection with full avalanche: neighbouring inputs land far apart.
  const uint32_t a = Vox::HashHelper::KeyAndRhashLegacy(1);
  const uint32_t b = Vox::HashHelper::KeyAndRhashLegacy(2);
  EXPECT_GE(__builtin_popcount(a ^ b), 8);
  EXPECT_EQ(Vox::HashHelper::KeyAndRhashLegacy(1), 0x514E28B7u);
}

}  // namespace
