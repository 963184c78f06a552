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
#include <cstdint>
#include <tuple>

#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Mpls {

class RouterId : public Vox::ValueType<RouterId> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&RouterId::rtrIdValue_, Vox::DottedQuad>("rtrIdValue", "A.B.C.D"),
                      Vox::field<&RouterId::lblSpaceValue_>("lblSpaceValue", "N"));
  }
  static constexpr Vox::JoinedText kText{
      "Mpls::RouterId", ':', "a dotted-decimal IPv4 address and a label space from 0 to 65535"};

  constexpr RouterId() = default;
  constexpr RouterId(uint32_t rtrIdValue, uint16_t lblSpaceValue)
      : rtrIdValue_(rtrIdValue), lblSpaceValue_(lblSpaceValue) {}
  explicit RouterId(Vox::AttrLogReader& in) : RouterId(fromLog(in)) {}

  constexpr uint32_t rtrIdValue() const { return rtrIdValue_; }
  constexpr uint16_t lblSpaceValue() const { return lblSpaceValue_; }
  void rtrIdValueIs(uint32_t value) { rtrIdValue_ = value; }
  void lblSpaceValueIs(uint16_t value) { lblSpaceValue_ = value; }

  // Inline: every table keyed by a router hashes it on each look-up.
  [[gnu::always_inline]] constexpr uint32_t hash(uint32_t seed) const { return mixedHash(seed); }

 private:
  uint32_t rtrIdValue_ = 0;
  uint16_t lblSpaceValue_ = 0;
};

}  // namespace Mpls
