#pragma once
// IP addresses as plain values.
//
// - `Vela::IpAddr`: an IPv4 address, a 32-bit value in host order ("10.0.0.1" is 0x0a000001).
// - `Vela::Ip6Addr`: an IPv6 address, 16 bytes in network order. Its unseeded `hash()` is the
//   accumulator's hash of those 16 bytes; collections that must not care about the address
//   family hash a generic address through this.
// - `Vela::IpGenAddr`: either of the two: an address family followed by a 16-byte address field.
//
// Invariant of `IpGenAddr`: an IPv4 address is held IPv4-mapped (::ffff:a.b.c.d), so IPv4 1.2.3.4
// and IPv6 ::ffff:1.2.3.4 have the same 16 bytes and the same `ip6Addr().hash()`, yet compare
// unequal because the families differ. The default is IPv4 0.0.0.0. Ordering is by family (IPv4
// first), then by the address bytes, which for IPv4 is numeric order.
//
// Text: IPv4 in dotted-decimal form without leading zeros ("010.0.0.1" is rejected, since other
// tools read it as octal); IPv6 in any standard text form on input, printed canonically (RFC 5952,
// lower case). No blanks anywhere. A text with a ':' is IPv6, so "::ffff:1.2.3.4" stays IPv6.
//
//   auto a = Vela::IpGenAddr::sequenceToValue("2001:DB8::1");
//   a.isV6();            // true
//   a.valueToStrep();    // "2001:db8::1"
//   Vela::IpGenAddr(Vela::IpAddr(0x01020304)).ip6Addr().hash() ==
//       Vela::IpGenAddr::sequenceToValue("::ffff:1.2.3.4").ip6Addr().hash();  // true
#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vox/Hash.h"
#include "platform/vox/LogStream.h"

namespace Vela {

class IpAddr {
 public:
  constexpr IpAddr() = default;
  explicit constexpr IpAddr(uint32_t hostOrder) : value_(hostOrder) {}
  explicit IpAddr(Vox::AttrLogReader& in);

  constexpr uint32_t value() const { return value_; }

  constexpr auto operator<=>(const IpAddr&) const = default;
  constexpr uint32_t hash(uint32_t seed) const { return Vox::hashSingleAttr(seed, value_); }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const IpAddr& addr);
  // Throws Vox::ParseError unless `text` is a canonical dotted quad.
  static IpAddr sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  uint32_t value_ = 0;
};

class Ip6Addr {
 public:
  using Bytes = std::array<uint8_t, 16>;

  constexpr Ip6Addr() = default;  // ::
  explicit constexpr Ip6Addr(const Bytes& bytes) : bytes_(bytes) {}
  explicit Ip6Addr(Vox::AttrLogReader& in);

  constexpr const Bytes& bytes() const { return bytes_; }

  constexpr auto operator<=>(const Ip6Addr&) const = default;
  // As two 8-byte words: every table keyed by an address, a via or a FEC compares addresses on
  // each look-up, and the byte-wise comparison became a call to memcmp.
  friend bool operator==(const Ip6Addr& a, const Ip6Addr& b) {
    uint64_t aw[2], bw[2];
    std::memcpy(aw, a.bytes_.data(), sizeof aw);
    std::memcpy(bw, b.bytes_.data(), sizeof bw);
    return ((aw[0] ^ bw[0]) | (aw[1] ^ bw[1])) == 0;
  }
  // Unseeded: the hash of the 16 bytes alone.
  uint32_t hash() const { return Vox::Hash(0).hashBytes(bytes_.data(), bytes_.size()).result(); }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const Ip6Addr& addr);
  static Ip6Addr sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  Bytes bytes_{};
};

enum class AddrFamily : uint8_t { ipv4 = 4, ipv6 = 6 };

class IpGenAddr {
 public:
  IpGenAddr() : IpGenAddr(IpAddr()) {}
  // Implicit: widening an address to the generic form loses nothing.
  IpGenAddr(IpAddr v4);
  IpGenAddr(const Ip6Addr& v6) : family_(AddrFamily::ipv6), addr_(v6) {}
  // Throws Vox::LogStreamError on truncated input or an unknown family.
  explicit IpGenAddr(Vox::AttrLogReader& in);

  AddrFamily family() const { return family_; }
  bool isV4() const { return family_ == AddrFamily::ipv4; }
  bool isV6() const { return family_ == AddrFamily::ipv6; }
  // Precondition (fatal otherwise): isV4().
  IpAddr v4() const;
  // The 16-byte address field, whatever the family.
  const Ip6Addr& ip6Addr() const { return addr_; }

  auto operator<=>(const IpGenAddr&) const = default;
  // Mixes the family, then the 16 address bytes. Inline, as the keys that hold addresses hash
  // them on each look-up.
  uint32_t hash(uint32_t seed) const {
    return Vox::Hash(seed)
        .hashMix(static_cast<uint32_t>(family_))
        .hashBytes(addr_.bytes().data(), addr_.bytes().size())
        .result();
  }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const IpGenAddr& addr);
  static IpGenAddr sequenceToValue(std::string_view text);
  // Family byte, then the IPv4 value or the 16 IPv6 bytes.
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  static IpGenAddr fromLog(Vox::AttrLogReader& in);

  AddrFamily family_;
  Ip6Addr addr_;
};

}  // namespace Vela
