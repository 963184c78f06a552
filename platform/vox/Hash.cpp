#include "platform/vox/Hash.h"

#include <cstring>

namespace Vox {

Hash& Hash::hashBytes(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::size_t offset = 0;
  for (; offset + 4 <= size; offset += 4) {
    uint32_t block = uint32_t{bytes[offset]} | uint32_t{bytes[offset + 1]} << 8 |
                     uint32_t{bytes[offset + 2]} << 16 | uint32_t{bytes[offset + 3]} << 24;
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

}  // namespace Vox
