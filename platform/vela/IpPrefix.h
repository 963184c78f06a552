#pragma once
// An IP prefix as a plain value: a network address and a length in bits.
//
// Invariant: the length is at most the family's width (32 for IPv4, 128 for IPv6) and every
// host bit of the address (those past the length) is zero, so each prefix has exactly one
// value and one text. "10.0.0.1/24" is therefore rejected rather than silently masked: a routing
// entry written that way is usually a typo for a host route or for another network.
//
// Ordering is by address (family, IPv4 first, then the address bytes), then by length, which
// lists a routing table the way operators read it: 10.0.0.0/8 < 10.0.0.0/24 < 10.1.0.0/16. The
// hash mixes the family, the 16 address bytes and the length, in that order; equality compares
// the same.
//
// Text: "ADDRESS/LENGTH", the address as `Vela::IpGenAddr` prints it and the length as a
// canonical decimal ("10.0.0.0/024" is rejected).
//
//   auto net = Vela::IpPrefix::sequenceToValue("10.1.0.0/16");
//   net.contains(Vela::IpGenAddr::sequenceToValue("10.1.2.3"));      // true
//   net.contains(Vela::IpGenAddr::sequenceToValue("::ffff:10.1.2.3")); // false: another family
//   Vela::IpPrefix::masked(Vela::IpGenAddr::sequenceToValue("10.1.2.3"), 8);  // 10.0.0.0/8
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vela/IpAddr.h"

namespace Vela {

class IpPrefix {
 public:
  IpPrefix() = default;  // 0.0.0.0/0
  // Precondition (fatal otherwise): `length` fits the family and `address` has no host bits.
  IpPrefix(const IpGenAddr& address, uint32_t length);

  // The prefix of `length` bits that holds `address`: its host bits cleared. Precondition (fatal
  // otherwise): `length` fits the address's family.
  static IpPrefix masked(const IpGenAddr& address, uint32_t length);
  // The width of an address of `family` in bits: 32 or 128.
  static uint32_t maxLength(AddrFamily family) { return family == AddrFamily::ipv4 ? 32 : 128; }

  const IpGenAddr& address() const { return address_; }
  uint32_t length() const { return length_; }
  AddrFamily family() const { return address_.family(); }

  // Whether `address` lies inside this prefix; an address of the other family never does.
  bool contains(const IpGenAddr& address) const;

  auto operator<=>(const IpPrefix&) const = default;
  uint32_t hash(uint32_t seed) const;

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const IpPrefix& prefix);
  // Throws Vox::ParseError, naming the fault (host bits set, length too long, ...).
  static IpPrefix sequenceToValue(std::string_view text);

 private:
  IpGenAddr address_;
  uint32_t length_ = 0;
};

}  // namespace Vela
