#pragma once
// Interface identifiers: a small value, two 32-bit words, passed by value.
//
// An interface is a kind plus one to three numbers:
//
//   Ethernet<1-65535>[/<1-65535>[/<1-65535>]]   Ethernet1, Ethernet3/1, Ethernet3/1/2
//   Loopback<0-65535>                           Loopback0
//   Management<1-65535>                         Management1
//   Port-Channel<1-65535>                       Port-Channel10
//   Tunnel<0-65535>                             Tunnel5
//   Vlan<1-4094>                                Vlan100
//
// and the empty identifier (the default), whose text is "". Names are case-sensitive and numbers
// canonical (no leading zeros), so each interface has exactly one text.
//
// Encoding: word0 = kind << 16 | first number, word1 = second << 16 | third. Ethernet numbers
// start at 1, so 0 in word1 means "component absent"; other kinds use word1 = 0. Comparing
// (word0, word1) therefore orders by kind (in the alphabetical order of the names above, the
// empty identifier first), then numerically component by component, a shorter name before its
// extensions: Ethernet2 < Ethernet3 < Ethernet3/1 < Ethernet10 < Loopback0.
//
//   auto intf = Vela::IntfId::sequenceToValue("Ethernet3/1");
//   intf == Vela::IntfId(Vela::IntfId::Kind::ethernet, 3, 1);   // true
//   intf.valueToStrep();                                        // "Ethernet3/1"
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Vela {

// The two words are the fields: comparison and hash derive from them. The text is the interface's
// name, not a join of the words, so it is written out below.
class IntfId : public Vox::ValueType<IntfId> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&IntfId::word0_>("word0"), Vox::field<&IntfId::word1_>("word1"));
  }

  // Declared in the order identifiers sort.
  enum class Kind : uint8_t { none, ethernet, loopback, management, portChannel, tunnel, vlan };

  constexpr IntfId() = default;
  // Precondition (fatal otherwise): the numbers are in range for `kind`, and unused trailing
  // numbers are 0 (only Ethernet has a second and third).
  IntfId(Kind kind, uint32_t first, uint32_t second = 0, uint32_t third = 0);
  // Throws Vox::LogStreamError on truncated input or words that encode no interface.
  explicit IntfId(Vox::AttrLogReader& in);

  Kind kind() const { return static_cast<Kind>(word0_ >> 16); }

  // Unseeded: mixes word0 then word1.
  uint32_t hash() const { return mixedHash(0); }

  std::string valueToStrep() const;
  static IntfId sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  constexpr IntfId(uint32_t word0, uint32_t word1) : word0_(word0), word1_(word1) {}
  static bool valid(uint32_t word0, uint32_t word1);

  uint32_t word0_ = 0;
  uint32_t word1_ = 0;
};

}  // namespace Vela
