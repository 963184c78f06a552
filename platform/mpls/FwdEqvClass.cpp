#include "platform/mpls/FwdEqvClass.h"

#include <ostream>
#include <utility>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Mpls {

namespace {
constexpr std::string_view kTypeName = "Mpls::FwdEqvClass";
constexpr std::string_view kPrefix = "p2mp/";
constexpr std::string_view kExpected =
    "p2mp/ROOT/OPAQUE, ROOT an IPv4 or IPv6 address and OPAQUE hex bytes forming opaque TLVs";
constexpr uint8_t kGenericLspIdType = 1;
constexpr std::size_t kTlvHeaderSize = 3;
}  // namespace

FwdEqvClass::FwdEqvClass(const Vela::IpGenAddr& root, std::string opaque)
    : root_(root), opaque_(std::move(opaque)) {
  VOX_ASSERT(opaqueDefect(opaque_).empty(), "well-formed opaque value");
  hash0_ = computeHash(0);
}

FwdEqvClass::FwdEqvClass(Vox::AttrLogReader& in) : FwdEqvClass(fromLog(in)) {}

FwdEqvClass FwdEqvClass::fromLog(Vox::AttrLogReader& in) {
  const Vela::IpGenAddr root(in);
  const std::size_t offset = in.offset();
  std::string opaque(in.bytes());
  if (const std::string defect = opaqueDefect(opaque); !defect.empty()) {
    throw Vox::LogStreamError("attribute log stream has a malformed opaque value at offset " +
                              std::to_string(offset) + ": " + defect);
  }
  return FwdEqvClass(root, std::move(opaque));
}

FwdEqvClass FwdEqvClass::p2mpLspId(const Vela::IpGenAddr& root, uint32_t lspId) {
  std::string opaque{static_cast<char>(kGenericLspIdType), 0, 4};
  for (int shift = 24; shift >= 0; shift -= 8) {
    opaque.push_back(static_cast<char>((lspId >> shift) & 0xff));
  }
  return FwdEqvClass(root, std::move(opaque));
}

std::string FwdEqvClass::opaqueDefect(std::string_view opaque) {
  std::size_t at = 0;
  while (at < opaque.size()) {
    if (opaque.size() - at < kTlvHeaderSize) {
      return "truncated TLV header at byte " + std::to_string(at);
    }
    const std::size_t length = std::size_t{static_cast<unsigned char>(opaque[at + 1])} << 8 |
                               static_cast<unsigned char>(opaque[at + 2]);
    if (opaque.size() - at - kTlvHeaderSize < length) {
      return "TLV at byte " + std::to_string(at) + " declares " + std::to_string(length) +
             " value bytes but " + std::to_string(opaque.size() - at - kTlvHeaderSize) + " remain";
    }
    at += kTlvHeaderSize + length;
  }
  return "";
}

uint32_t FwdEqvClass::computeHash(uint32_t seed) const {
  const auto& rootBytes = root_.ip6Addr().bytes();
  return Vox::Hash(seed)
      .hashMix(static_cast<uint32_t>(root_.family()))
      .hashBytes(rootBytes.data(), rootBytes.size())
      .hashMix(static_cast<uint32_t>(opaque_.size()))
      .hashBytes(opaque_.data(), opaque_.size())
      .result();
}

std::string FwdEqvClass::valueToStrep() const {
  return std::string(kPrefix) + root_.valueToStrep() + '/' + Vox::text::hexText(opaque_);
}

std::ostream& operator<<(std::ostream& os, const FwdEqvClass& fec) {
  return os << fec.valueToStrep();
}

FwdEqvClass FwdEqvClass::sequenceToValue(std::string_view text) {
  // Neither address form contains '/', so the first '/' after the prefix ends the root.
  const auto split = text.starts_with(kPrefix)
                         ? Vox::text::splitFirst(text.substr(kPrefix.size()), '/')
                         : std::nullopt;
  if (!split) {
    throw Vox::ParseError(kTypeName, text, kExpected);
  }
  Vela::IpGenAddr root;
  try {
    root = Vela::IpGenAddr::sequenceToValue(split->first);
  } catch (const Vox::ParseError& e) {
    throw Vox::ParseError(kTypeName, text, std::string(kExpected) + "; the root: " + e.what());
  }
  auto opaque = Vox::text::hexBytes(split->second);
  if (!opaque) {
    throw Vox::ParseError(kTypeName, text,
                          std::string(kExpected) +
                              "; the opaque value is not an even number of "
                              "hex digits");
  }
  if (const std::string defect = opaqueDefect(*opaque); !defect.empty()) {
    throw Vox::ParseError(kTypeName, text, std::string(kExpected) + "; " + defect);
  }
  return FwdEqvClass(root, std::move(*opaque));
}

void FwdEqvClass::logTo(Vox::AttrLogWriter& out) const {
  root_.logTo(out);
  out.bytes(opaque_);
}

}  // namespace Mpls
