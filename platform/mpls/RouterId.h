#pragma once
// An LDP router identifier: the router's IPv4 address (host order) and a label space.
//
// Ordering is by address, then label space. The hash mixes the address, then the label space.
// Text: "A.B.C.D:N", the address as a dotted quad and the label space in decimal (0-65535), both
// canonical (no leading zeros, no blanks).
//
//   Mpls::RouterId id(0x02020202, 0);
//   id.valueToStrep();                                  // "2.2.2.2:0"
//   id == Mpls::RouterId::sequenceToValue("2.2.2.2:0"); // true
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vox/Hash.h"
#include "platform/vox/LogStream.h"

namespace Mpls {

class RouterId {
 public:
  constexpr RouterId() = default;
  constexpr RouterId(uint32_t rtrIdValue, uint16_t lblSpaceValue)
      : rtrIdValue_(rtrIdValue), lblSpaceValue_(lblSpaceValue) {}
  explicit RouterId(Vox::AttrLogReader& in);

  constexpr uint32_t rtrIdValue() const { return rtrIdValue_; }
  constexpr uint16_t lblSpaceValue() const { return lblSpaceValue_; }
  void rtrIdValueIs(uint32_t value) { rtrIdValue_ = value; }
  void lblSpaceValueIs(uint16_t value) { lblSpaceValue_ = value; }

  constexpr auto operator<=>(const RouterId&) const = default;
  // Inline: every table keyed by a router hashes it on each look-up.
  uint32_t hash(uint32_t seed) const {
    return Vox::Hash(seed).hashMix(rtrIdValue_).hashMix(lblSpaceValue_).result();
  }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const RouterId& id);
  static RouterId sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  uint32_t rtrIdValue_ = 0;
  uint16_t lblSpaceValue_ = 0;
};

}  // namespace Mpls
