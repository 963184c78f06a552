#pragma once
// Hashing for keys and value types.
//
// `Vox::Hash` is an incremental 32-bit hash accumulator built on MurmurHash3 (x86, 32-bit) by
// Austin Appleby: each `hashMix` feeds one 4-byte block through Murmur3's block mix, and
// `result()` applies Murmur3's length step and `fmix32` finaliser. A value type hashes by starting
// an accumulator from the seed it is given and mixing one 32-bit value per field, in declaration
// order; equality of the type must compare exactly those fields.
//
//   uint32_t FecRouter::hash(uint32_t seed) const {
//     return Vox::Hash(seed).hashMix(fec_.hash(0)).hashMix(router_.hash(0)).result();
//   }
//
// `Vox::HashHelper::KeyAndRhashLegacy` is the key rehash that every keyed collection applies to a
// key's own hash before choosing a bucket (Murmur3's `fmix32` again), so that keys whose hashes
// differ only in high bits still spread over a small table.
//
// `Vox::fmix64` and `Vox::splitMix64` are the two well-known 64-bit bijective mixers, for code
// that derives 64-bit positions or pseudo-random keys from a counter or a hash.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vox {

class Hash {
 public:
  explicit constexpr Hash(uint32_t seed = 0) : h_(seed) {}

  // Mixes one 4-byte block.
  constexpr Hash& hashMix(uint32_t block) {
    block *= 0xcc9e2d51u;
    block = std::rotl(block, 15);
    block *= 0x1b873593u;
    h_ ^= block;
    h_ = std::rotl(h_, 13);
    h_ = h_ * 5u + 0xe6546b64u;
    length_ += 4;
    return *this;
  }

  // Mixes `size` bytes: whole 4-byte blocks little-endian, then Murmur3's tail step. Inline, so
  // that a fixed-size field (an IPv6 address) compiles to its four block mixes.
  inline Hash& hashBytes(const void* data, std::size_t size);

  constexpr uint32_t result() const { return finalMix(h_ ^ length_); }

  // Murmur3 `fmix32`: a bijective avalanche of 32 bits.
  static constexpr uint32_t finalMix(uint32_t h) {
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    return h;
  }

 private:
  uint32_t h_;
  uint32_t length_ = 0;
};

inline Hash& Hash::hashBytes(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::size_t offset = 0;
  for (; offset + 4 <= size; offset += 4) {
    uint32_t block;
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(&block, bytes + offset, 4);  // the same little-endian block, in one load
    } else {
      block = uint32_t{bytes[offset]} | uint32_t{bytes[offset + 1]} << 8 |
              uint32_t{bytes[offset + 2]} << 16 | uint32_t{bytes[offset + 3]} << 24;
    }
    hashMix(block);
  }
  const std::size_t tail = size - offset;
  if (tail != 0) {
    uint32_t block = 0;
    switch (tail) {
      case 3:
        block ^= uint32_t{bytes[offset + 2]} << 16;
        [[fallthrough]];
      case 2:
        block ^= uint32_t{bytes[offset + 1]} << 8;
        [[fallthrough]];
      default:
        block ^= uint32_t{bytes[offset]};
    }
    block *= 0xcc9e2d51u;
    block = std::rotl(block, 15);
    block *= 0x1b873593u;
    h_ ^= block;
    length_ += static_cast<uint32_t>(tail);
  }
  return *this;
}

// The hash of a one-field value: an accumulator seeded with `seed` that mixes `value` once.
constexpr uint32_t hashSingleAttr(uint32_t seed, uint32_t value) {
  return Hash(seed).hashMix(value).result();
}

// Murmur3's 64-bit finaliser `fmix64`: a bijective avalanche of 64 bits (0 maps to 0).
constexpr uint64_t fmix64(uint64_t z) {
  z ^= z >> 33;
  z *= 0xff51afd7ed558ccdull;
  z ^= z >> 33;
  z *= 0xc4ceb9fe1a85ec53ull;
  z ^= z >> 33;
  return z;
}

// SplitMix64's output function: a bijective avalanche of 64 bits. The generator SplitMix64 is
// `splitMix64(state += 0x9e3779b97f4a7c15)`.
constexpr uint64_t splitMix64(uint64_t z) {
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  return z ^ (z >> 31);
}

struct HashHelper {
  // The rehash applied by keyed collections (and by anyone who needs the collection's view of a
  // key's hash) to the key's own `hash(0)`.
  static constexpr uint32_t KeyAndRhashLegacy(uint32_t keyHash) { return Hash::finalMix(keyHash); }
};

// The hash a keyed collection starts from for a key: `hash(0)` for seeded value types, `hash()`
// for the few types whose hash takes no seed. Always call it qualified (`Vox::hashOfKey`): an
// unqualified call could find, by argument-dependent lookup, a function of the key's own
// namespace that hashes for another purpose, and tables built in different files would disagree.
// Forced inline: it stands between every table look-up and the key's own (inline) hash.
template <class Key>
[[gnu::always_inline]] constexpr uint32_t hashOfKey(const Key& key) {
  if constexpr (requires { key.hash(0u); }) {
    return key.hash(0u);
  } else {
    return key.hash();
  }
}

}  // namespace Vox
