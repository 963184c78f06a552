#include "platform/vela/IpPrefix.h"

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Vela {

namespace {
constexpr std::string_view kTypeName = "Vela::IpPrefix";
constexpr std::string_view kExpected =
    "ADDRESS/LENGTH, an IPv4 address with a length of 0 to 32 or an IPv6 address with a length "
    "of 0 to 128, and no address bits set past the length";

// An IPv4 address is held IPv4-mapped, in the last 4 of the 16 address bytes, so its prefix bits
// start 96 bits into the field; working on the 16 bytes serves both families.
uint32_t firstBit(AddrFamily family) {
  return family == AddrFamily::ipv4 ? 96 : 0;
}

// `bytes` with every bit from `bit` on (counting from the top bit of byte 0) cleared.
Ip6Addr::Bytes clearedFrom(Ip6Addr::Bytes bytes, uint32_t bit) {
  for (uint32_t i = 0; i < bytes.size(); ++i) {
    const uint32_t start = i * 8;
    if (start + 8 <= bit) {
      continue;
    }
    const uint32_t kept = bit > start ? bit - start : 0;  // leading bits of this byte that stay
    bytes[i] &= static_cast<uint8_t>(0xff00u >> kept);
  }
  return bytes;
}

bool hasHostBits(const IpGenAddr& address, uint32_t length) {
  const auto& bytes = address.ip6Addr().bytes();
  return clearedFrom(bytes, firstBit(address.family()) + length) != bytes;
}

IpGenAddr fromBytes(AddrFamily family, const Ip6Addr::Bytes& b) {
  if (family == AddrFamily::ipv6) {
    return Ip6Addr(b);
  }
  return IpAddr(uint32_t{b[12]} << 24 | uint32_t{b[13]} << 16 | uint32_t{b[14]} << 8 | b[15]);
}
}  // namespace

IpPrefix::IpPrefix(const IpGenAddr& address, uint32_t length) : address_(address), length_(length) {
  VOX_ASSERT(length_ <= maxLength(address_.family()), "prefix length within the address width");
  VOX_ASSERT(!hasHostBits(address_, length_), "no host bits in a prefix address");
}

IpPrefix IpPrefix::masked(const IpGenAddr& address, uint32_t length) {
  VOX_ASSERT(length <= maxLength(address.family()), "prefix length within the address width");
  const auto bytes = clearedFrom(address.ip6Addr().bytes(), firstBit(address.family()) + length);
  return IpPrefix(fromBytes(address.family(), bytes), length);
}

bool IpPrefix::contains(const IpGenAddr& address) const {
  return address.family() == family() &&
         clearedFrom(address.ip6Addr().bytes(), firstBit(family()) + length_) ==
             address_.ip6Addr().bytes();
}

uint32_t IpPrefix::hash(uint32_t seed) const {
  const auto& bytes = address_.ip6Addr().bytes();
  return Vox::Hash(seed)
      .hashMix(static_cast<uint32_t>(address_.family()))
      .hashBytes(bytes.data(), bytes.size())
      .hashMix(length_)
      .result();
}

std::string IpPrefix::valueToStrep() const {
  return address_.valueToStrep() + '/' + std::to_string(length_);
}

std::ostream& operator<<(std::ostream& os, const IpPrefix& prefix) {
  return os << prefix.valueToStrep();
}

IpPrefix IpPrefix::sequenceToValue(std::string_view text) {
  const auto fail = [text](std::string_view why) {
    return Vox::ParseError(kTypeName, text, std::string(kExpected) + "; " + std::string(why));
  };
  // Neither address form contains '/', so the first one ends the address.
  const auto split = Vox::text::splitFirst(text, '/');
  if (!split) {
    throw fail("the '/LENGTH' is missing");
  }
  IpGenAddr address;
  try {
    address = IpGenAddr::sequenceToValue(split->first);
  } catch (const Vox::ParseError& e) {
    throw fail(std::string("the address: ") + e.what());
  }
  const uint32_t width = maxLength(address.family());
  const auto length = Vox::text::decimal(split->second, width);
  if (!length) {
    throw fail("the length '" + std::string(split->second) + "' is not a decimal number of 0 to " +
               std::to_string(width));
  }
  const auto bits = static_cast<uint32_t>(*length);
  if (hasHostBits(address, bits)) {
    throw fail("host bits are set past /" + std::to_string(bits) + " (the network is " +
               masked(address, bits).valueToStrep() + ")");
  }
  return IpPrefix(address, bits);
}

}  // namespace Vela
