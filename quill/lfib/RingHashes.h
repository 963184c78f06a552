#pragma once
// Where vias and FECs land on a router's consistent-hash ring.
//
// A via's position, `nodeHash(via)`: the via's hash (the IPv6 hash of its address bytes XOR its
// interface's hash), the framework's key rehash, the 32 bits reversed (bit 0 becomes bit 31),
// widened to 64 bits with the upper half zero.
//
// A FEC's key, `keyHash(fec)`: the FEC's `hash(0)`, the same rehash and reversal, widened, plus 1,
// times 0x27BB2EE687B0B0FD modulo 2^64. Keys therefore spread over all 64 bits while via
// positions occupy only the lower 32; the ring derives its points from the positions, so the
// asymmetry is deliberate and must be kept: changing it would move every FEC of every router.
#include <bit>
#include <cstdint>

#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/vox/Hash.h"

namespace Mpls {

// Reverses the order of the 32 bits of `value`.
constexpr uint32_t reverseBits32(uint32_t value) {
  value = ((value >> 1) & 0x55555555u) | ((value & 0x55555555u) << 1);
  value = ((value >> 2) & 0x33333333u) | ((value & 0x33333333u) << 2);
  value = ((value >> 4) & 0x0f0f0f0fu) | ((value & 0x0f0f0f0fu) << 4);
  return __builtin_bswap32(value);
}

static_assert(reverseBits32(1) == 0x80000000u && reverseBits32(0x12345678u) == 0x1e6a2c48u);

inline uint64_t nodeHash(const FibVia& via) {
  return reverseBits32(Vox::HashHelper::KeyAndRhashLegacy(via.hash()));
}

inline uint64_t keyHash(const FwdEqvClass& fec) {
  constexpr uint64_t kMultiplier = 0x27BB2EE687B0B0FDull;  // 2862933555777941757
  const uint64_t reversed = reverseBits32(Vox::HashHelper::KeyAndRhashLegacy(fec.hash(0)));
  return (reversed + 1) * kMultiplier;
}

}  // namespace Mpls
