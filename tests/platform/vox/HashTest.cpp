#include "platform/vox/Hash.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Reference values of MurmurHash3_x86_32 (Appleby's SMHasher) for whole-block and tail inputs:
// the accumulator must be that function, fed block by block. Of nothing, it is the finaliser of
// the seed alone, which is also the key rehash.
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
    if (*c.input == '\0') {
      EXPECT_EQ(Vox::HashHelper::KeyAndRhashLegacy(c.seed), c.expected) << c.seed;
    }
  }
}

// Mixing words is hashing their bytes, so the order of fields counts as Murmur3's blocks do.
TEST(HashTest, HashMixEqualsBlockwiseBytes) {
  const uint32_t words[] = {0x01020304u, 0xdeadbeefu};
  unsigned char bytes[8];
  std::memcpy(bytes, words, sizeof bytes);  // little-endian host: blocks in the same order
  Vox::Hash byBytes(7);
  byBytes.hashBytes(bytes, sizeof bytes);
  EXPECT_EQ(Vox::Hash(7).hashMix(words[0]).hashMix(words[1]).result(), byBytes.result());
  EXPECT_EQ(Vox::hashSingleAttr(7, words[0]), Vox::Hash(7).hashMix(words[0]).result());
}

}  // namespace
