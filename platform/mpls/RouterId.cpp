#include "platform/mpls/RouterId.h"

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Mpls {

// Members initialise in declaration order, which is the stream order.
RouterId::RouterId(Vox::AttrLogReader& in) : rtrIdValue_(in.u32()), lblSpaceValue_(in.u16()) {}

std::string RouterId::valueToStrep() const {
  return Vox::text::dottedQuadText(rtrIdValue_) + ':' + std::to_string(lblSpaceValue_);
}

std::ostream& operator<<(std::ostream& os, const RouterId& id) {
  return os << id.valueToStrep();
}

RouterId RouterId::sequenceToValue(std::string_view text) {
  const auto split = Vox::text::splitFirst(text, ':');
  if (split) {
    const auto rtrId = Vox::text::dottedQuad(split->first);
    const auto lblSpace = Vox::text::decimal(split->second, 0xffff);
    if (rtrId && lblSpace) {
      return RouterId(*rtrId, static_cast<uint16_t>(*lblSpace));
    }
  }
  throw Vox::ParseError("Mpls::RouterId", text,
                        "A.B.C.D:N, a dotted-decimal IPv4 address and a label space from 0 to "
                        "65535");
}

void RouterId::logTo(Vox::AttrLogWriter& out) const {
  out.u32(rtrIdValue_).u16(lblSpaceValue_);
}

}  // namespace Mpls
