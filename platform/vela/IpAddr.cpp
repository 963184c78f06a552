#include "platform/vela/IpAddr.h"

#include <arpa/inet.h>

#include <cstring>
#include <optional>
#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Vela {

namespace {
constexpr std::string_view kV4Expected = "a dotted-decimal IPv4 address without leading zeros";
constexpr std::string_view kV6Expected = "an IPv6 address";

std::string v6Text(const Ip6Addr::Bytes& bytes) {
  in6_addr raw;
  std::memcpy(&raw, bytes.data(), bytes.size());
  char buffer[INET6_ADDRSTRLEN];
  // Cannot fail: the buffer fits the longest IPv6 text.
  inet_ntop(AF_INET6, &raw, buffer, sizeof buffer);
  return buffer;
}

// inet_pton wants a terminated string; an embedded NUL would otherwise hide trailing junk.
std::optional<Ip6Addr::Bytes> v6Parse(std::string_view text) {
  if (text.size() >= INET6_ADDRSTRLEN || text.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  const std::string terminated(text);
  in6_addr raw;
  if (inet_pton(AF_INET6, terminated.c_str(), &raw) != 1) {
    return std::nullopt;
  }
  Ip6Addr::Bytes bytes;
  std::memcpy(bytes.data(), &raw, bytes.size());
  return bytes;
}

Ip6Addr::Bytes v4Mapped(uint32_t hostOrder) {
  Ip6Addr::Bytes bytes{};
  bytes[10] = 0xff;
  bytes[11] = 0xff;
  for (int i = 0; i < 4; ++i) {
    bytes[static_cast<std::size_t>(12 + i)] = static_cast<uint8_t>(hostOrder >> (24 - 8 * i));
  }
  return bytes;
}
}  // namespace

// IpAddr

IpAddr::IpAddr(Vox::AttrLogReader& in) : value_(in.u32()) {}

std::string IpAddr::valueToStrep() const {
  return Vox::text::dottedQuadText(value_);
}

std::ostream& operator<<(std::ostream& os, const IpAddr& addr) {
  return os << addr.valueToStrep();
}

IpAddr IpAddr::sequenceToValue(std::string_view text) {
  const auto value = Vox::text::dottedQuad(text);
  if (!value) {
    throw Vox::ParseError("Vela::IpAddr", text, kV4Expected);
  }
  return IpAddr(*value);
}

void IpAddr::logTo(Vox::AttrLogWriter& out) const {
  out.u32(value_);
}

// Ip6Addr

Ip6Addr::Ip6Addr(Vox::AttrLogReader& in) {
  const std::string_view raw = in.raw(bytes_.size());
  std::memcpy(bytes_.data(), raw.data(), bytes_.size());
}

std::string Ip6Addr::valueToStrep() const {
  return v6Text(bytes_);
}

std::ostream& operator<<(std::ostream& os, const Ip6Addr& addr) {
  return os << addr.valueToStrep();
}

Ip6Addr Ip6Addr::sequenceToValue(std::string_view text) {
  const auto bytes = v6Parse(text);
  if (!bytes) {
    throw Vox::ParseError("Vela::Ip6Addr", text, kV6Expected);
  }
  return Ip6Addr(*bytes);
}

void Ip6Addr::logTo(Vox::AttrLogWriter& out) const {
  out.raw(bytes_.data(), bytes_.size());
}

// IpGenAddr

IpGenAddr::IpGenAddr(IpAddr v4) : family_(AddrFamily::ipv4), addr_(v4Mapped(v4.value())) {}

IpGenAddr::IpGenAddr(Vox::AttrLogReader& in) : IpGenAddr(fromLog(in)) {}

IpGenAddr IpGenAddr::fromLog(Vox::AttrLogReader& in) {
  const std::size_t offset = in.offset();
  switch (in.u8()) {
    case static_cast<uint8_t>(AddrFamily::ipv4):
      return IpAddr(in);
    case static_cast<uint8_t>(AddrFamily::ipv6):
      return Ip6Addr(in);
    default:
      throw Vox::LogStreamError("attribute log stream has an unknown address family at offset " +
                                std::to_string(offset));
  }
}

IpAddr IpGenAddr::v4() const {
  VOX_ASSERT(isV4(), "isV4()");
  const auto& b = addr_.bytes();
  return IpAddr(uint32_t{b[12]} << 24 | uint32_t{b[13]} << 16 | uint32_t{b[14]} << 8 | b[15]);
}

std::string IpGenAddr::valueToStrep() const {
  return isV4() ? v4().valueToStrep() : addr_.valueToStrep();
}

std::ostream& operator<<(std::ostream& os, const IpGenAddr& addr) {
  return os << addr.valueToStrep();
}

IpGenAddr IpGenAddr::sequenceToValue(std::string_view text) {
  if (text.find(':') != std::string_view::npos) {
    if (const auto bytes = v6Parse(text)) {
      return IpGenAddr(Ip6Addr(*bytes));
    }
  } else if (const auto value = Vox::text::dottedQuad(text)) {
    return IpGenAddr(IpAddr(*value));
  }
  throw Vox::ParseError("Vela::IpGenAddr", text,
                        std::string(kV4Expected) + " or " + std::string(kV6Expected));
}

void IpGenAddr::logTo(Vox::AttrLogWriter& out) const {
  out.u8(static_cast<uint8_t>(family_));
  if (isV4()) {
    v4().logTo(out);
  } else {
    addr_.logTo(out);
  }
}

}  // namespace Vela
