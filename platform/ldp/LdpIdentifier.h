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
#include <cstdint>
#include <tuple>

#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Ldp {

class LdpIdentifier : public Vox::ValueType<LdpIdentifier> {
 public:
  // Named by their host-order getters, so comparison, text and log see host-order values.
  static constexpr auto fields() {
    return std::tuple(Vox::field<&LdpIdentifier::lsrId, Vox::DottedQuad>("lsrId", "A.B.C.D"),
                      Vox::field<&LdpIdentifier::labelSpace>("labelSpace", "N"));
  }
  static constexpr Vox::JoinedText kText{
      "Ldp::LdpIdentifier", ':', "a dotted-decimal LSR id and a label space from 0 to 65535"};

  LdpIdentifier() = default;
  LdpIdentifier(uint32_t lsrId, uint16_t labelSpace);
  // Host-order values, like every other integer on the stream.
  explicit LdpIdentifier(Vox::AttrLogReader& in) : LdpIdentifier(fromLog(in)) {}

  uint32_t lsrId() const;
  uint16_t labelSpace() const;

  // Not a mix of the fields (see above).
  uint32_t hash() const;

 private:
  uint32_t lsrIdNet_ = 0;
  uint16_t labelSpaceNet_ = 0;
};

}  // namespace Ldp
