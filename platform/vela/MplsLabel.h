#pragma once
// An MPLS label as a plain 32-bit value.
//
// A label on the wire has 20 bits, but the value is 32 bits wide so that out-of-band values can
// travel in the same type: `kOutOfRange` stands for "no label" and sorts after every real one.
// Any 32-bit value is a valid `MplsLabel`; whether it is usable on the wire is `<= kMaxValid`.
//
// Text: the value in canonical decimal (no sign, blanks or leading zeros), e.g. "16".
//
//   auto label = Vela::MplsLabel::sequenceToValue("16");
//   label.value();                                   // 16
//   label < Vela::MplsLabel(Vela::MplsLabel::kOutOfRange);   // true
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vox/Hash.h"
#include "platform/vox/LogStream.h"

namespace Vela {

class MplsLabel {
 public:
  // The largest label a 20-bit label field can carry.
  static constexpr uint32_t kMaxValid = 0xFFFFF;
  // One above the largest 20-bit label: no packet can carry it, so it is free to mean "no label".
  static constexpr uint32_t kOutOfRange = 0x100000;

  constexpr MplsLabel() = default;
  explicit constexpr MplsLabel(uint32_t value) : value_(value) {}
  explicit MplsLabel(Vox::AttrLogReader& in);

  constexpr uint32_t value() const { return value_; }

  constexpr auto operator<=>(const MplsLabel&) const = default;
  // Inline: every table keyed by a label hashes it on each look-up.
  constexpr uint32_t hash(uint32_t seed) const { return Vox::hashSingleAttr(seed, value_); }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, MplsLabel label);
  // Accepts any canonical decimal from 0 to 4294967295.
  static MplsLabel sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  uint32_t value_ = 0;
};

}  // namespace Vela
