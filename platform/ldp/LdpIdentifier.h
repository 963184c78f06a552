#pragma once
// An LDP identifier: the LSR id (a 32-bit address) and a label space (16 bits).
//
// Both are held in network byte order, as they appear in LDP PDUs, so that an identifier can be
// copied to or from a message header without conversion. The constructor takes and the accessors
// return host-order values; ordering is numeric on the host-order values (LSR id, then label
// space), not on the stored bytes.
//
// The hash takes no seed: Thomas Wang's 32-bit integer hash of the host-order LSR id, plus the
// label space. Identifiers of one LSR therefore hash to consecutive values by label space.
//
// Text: "A.B.C.D:N", e.g. "1.1.1.1:0", canonical (no leading zeros, no blanks).
//
//   Ldp::LdpIdentifier id(0x01010101, 1);
//   id.hash() == Ldp::LdpIdentifier(0x01010101, 0).hash() + 1;   // true
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vox/LogStream.h"

namespace Ldp {

class LdpIdentifier {
 public:
  LdpIdentifier() = default;
  LdpIdentifier(uint32_t lsrId, uint16_t labelSpace);
  explicit LdpIdentifier(Vox::AttrLogReader& in);

  uint32_t lsrId() const;
  uint16_t labelSpace() const;

  bool operator==(const LdpIdentifier&) const = default;
  std::strong_ordering operator<=>(const LdpIdentifier& other) const;
  uint32_t hash() const;

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const LdpIdentifier& id);
  static LdpIdentifier sequenceToValue(std::string_view text);
  // Host-order values, like every other integer on the stream.
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  uint32_t lsrIdNet_ = 0;
  uint16_t labelSpaceNet_ = 0;
};

}  // namespace Ldp
