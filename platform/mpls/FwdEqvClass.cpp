#include "platform/mpls/FwdEqvClass.h"

#include <atomic>
#include <new>
#include <ostream>

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

// Allocated as one block: this header, then `size` bytes. Immutable once built; freed with the
// last reference.
struct FwdEqvClass::HeapOpaque {
#if VOX_THREAD_SAFE_PTR
  mutable std::atomic<uint32_t> refs;
#else
  mutable uint32_t refs;
#endif
  std::size_t size;

  const char* bytes() const {
    return reinterpret_cast<const char*>(this + 1);
  }

  static const HeapOpaque* make(std::string_view bytes) {
    void* raw = ::operator new(sizeof(HeapOpaque) + bytes.size());
    auto* heap = new (raw) HeapOpaque{1, bytes.size()};
    bytes.copy(reinterpret_cast<char*>(heap + 1), bytes.size());
    return heap;
  }
};

FwdEqvClass::FwdEqvClass(const Vela::IpGenAddr& root, std::string_view opaque) : root_(root) {
  VOX_ASSERT(opaqueDefect(opaque).empty(), "well-formed opaque value");
  if (opaque.size() <= kInlineOpaque) {
    opaque.copy(opaque_.bytes, opaque.size());
    opaqueSize_ = static_cast<uint8_t>(opaque.size());
  } else {
    opaque_.heap = HeapOpaque::make(opaque);
    opaqueSize_ = kOnHeap;
  }
  hash0_ = computeHash(0);
}

std::string_view FwdEqvClass::heapOpaque() const {
  return std::string_view(opaque_.heap->bytes(), opaque_.heap->size);
}

void FwdEqvClass::retain(const HeapOpaque* heap) noexcept {
#if VOX_THREAD_SAFE_PTR
  heap->refs.fetch_add(1, std::memory_order_relaxed);
#else
  ++heap->refs;
#endif
}

void FwdEqvClass::release(const HeapOpaque* heap) noexcept {
#if VOX_THREAD_SAFE_PTR
  if (heap->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
#else
  if (--heap->refs != 0) return;
#endif
  heap->~HeapOpaque();
  ::operator delete(const_cast<HeapOpaque*>(heap));
}

void FwdEqvClass::becomeDefault() noexcept {
  opaque_ = Opaque{};
  root_ = Vela::IpGenAddr();
  opaqueSize_ = 0;
  hash0_ = computeHash(0);
}

FwdEqvClass::FwdEqvClass(Vox::AttrLogReader& in) : FwdEqvClass(fromLog(in)) {}

FwdEqvClass FwdEqvClass::fromLog(Vox::AttrLogReader& in) {
  const Vela::IpGenAddr root(in);
  const std::size_t offset = in.offset();
  const std::string_view opaque = in.bytes();
  if (const std::string defect = opaqueDefect(opaque); !defect.empty()) {
    throw Vox::LogStreamError("attribute log stream has a malformed opaque value at offset " +
                              std::to_string(offset) + ": " + defect);
  }
  return FwdEqvClass(root, opaque);
}

FwdEqvClass FwdEqvClass::p2mpLspId(const Vela::IpGenAddr& root, uint32_t lspId) {
  const char opaque[] = {static_cast<char>(kGenericLspIdType),
                         0,
                         4,
                         static_cast<char>(lspId >> 24),
                         static_cast<char>(lspId >> 16),
                         static_cast<char>(lspId >> 8),
                         static_cast<char>(lspId)};
  return FwdEqvClass(root, std::string_view(opaque, sizeof(opaque)));
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

uint32_t FwdEqvClass::defaultHash0() {
  static const uint32_t hash = FwdEqvClass(Vela::IpGenAddr{}, std::string_view{}).hash0_;
  return hash;
}

uint32_t FwdEqvClass::computeHash(uint32_t seed) const {
  const auto& rootBytes = root_.ip6Addr().bytes();
  const std::string_view bytes = opaque();
  return Vox::Hash(seed)
      .hashMix(static_cast<uint32_t>(root_.family()))
      .hashBytes(rootBytes.data(), rootBytes.size())
      .hashMix(static_cast<uint32_t>(bytes.size()))
      .hashBytes(bytes.data(), bytes.size())
      .result();
}

std::string FwdEqvClass::valueToStrep() const {
  return std::string(kPrefix) + root_.valueToStrep() + '/' + Vox::text::hexText(opaque());
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
  return FwdEqvClass(root, *opaque);
}

void FwdEqvClass::logTo(Vox::AttrLogWriter& out) const {
  root_.logTo(out);
  out.bytes(opaque());
}

}  // namespace Mpls
