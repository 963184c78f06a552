#include "platform/ldp/LdpIdentifier.h"

#include <arpa/inet.h>

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/TextParse.h"

namespace Ldp {

LdpIdentifier::LdpIdentifier(uint32_t lsrId, uint16_t labelSpace)
    : lsrIdNet_(htonl(lsrId)), labelSpaceNet_(htons(labelSpace)) {}

// Members initialise in declaration order, which is the stream order.
LdpIdentifier::LdpIdentifier(Vox::AttrLogReader& in)
    : lsrIdNet_(htonl(in.u32())), labelSpaceNet_(htons(in.u16())) {}

uint32_t LdpIdentifier::lsrId() const {
  return ntohl(lsrIdNet_);
}

uint16_t LdpIdentifier::labelSpace() const {
  return ntohs(labelSpaceNet_);
}

std::strong_ordering LdpIdentifier::operator<=>(const LdpIdentifier& other) const {
  if (const auto byLsr = lsrId() <=> other.lsrId(); byLsr != 0) {
    return byLsr;
  }
  return labelSpace() <=> other.labelSpace();
}

uint32_t LdpIdentifier::hash() const {
  // Thomas Wang's 32-bit integer hash, in unsigned arithmetic.
  uint32_t x = lsrId();
  x = (x << 15) - x - 1;
  x ^= x >> 12;
  x *= 5;
  x ^= x >> 4;
  x *= 2057;
  x ^= x >> 16;
  return x + labelSpace();
}

std::string LdpIdentifier::valueToStrep() const {
  return Vox::text::dottedQuadText(lsrId()) + ':' + std::to_string(labelSpace());
}

std::ostream& operator<<(std::ostream& os, const LdpIdentifier& id) {
  return os << id.valueToStrep();
}

LdpIdentifier LdpIdentifier::sequenceToValue(std::string_view text) {
  const auto split = Vox::text::splitFirst(text, ':');
  if (split) {
    const auto lsrId = Vox::text::dottedQuad(split->first);
    const auto labelSpace = Vox::text::decimal(split->second, 0xffff);
    if (lsrId && labelSpace) {
      return LdpIdentifier(*lsrId, static_cast<uint16_t>(*labelSpace));
    }
  }
  throw Vox::ParseError("Ldp::LdpIdentifier", text,
                        "A.B.C.D:N, a dotted-decimal LSR id and a label space from 0 to 65535");
}

void LdpIdentifier::logTo(Vox::AttrLogWriter& out) const {
  out.u32(lsrId()).u16(labelSpace());
}

}  // namespace Ldp
