#include "platform/ldp/LdpIdentifier.h"

#include <arpa/inet.h>

namespace Ldp {

LdpIdentifier::LdpIdentifier(uint32_t lsrId, uint16_t labelSpace)
    : lsrIdNet_(htonl(lsrId)), labelSpaceNet_(htons(labelSpace)) {}

uint32_t LdpIdentifier::lsrId() const {
  return ntohl(lsrIdNet_);
}

uint16_t LdpIdentifier::labelSpace() const {
  return ntohs(labelSpaceNet_);
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

}  // namespace Ldp
