#include "platform/vela/MplsLabel.h"

#include <limits>
#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Vela {

MplsLabel::MplsLabel(Vox::AttrLogReader& in) : value_(in.u32()) {}

std::string MplsLabel::valueToStrep() const {
  return std::to_string(value_);
}

std::ostream& operator<<(std::ostream& os, MplsLabel label) {
  return os << label.valueToStrep();
}

MplsLabel MplsLabel::sequenceToValue(std::string_view text) {
  const auto value = Vox::text::decimal(text, std::numeric_limits<uint32_t>::max());
  if (!value) {
    throw Vox::ParseError("Vela::MplsLabel", text,
                          "a decimal number from 0 to 4294967295 without sign or leading zeros");
  }
  return MplsLabel(static_cast<uint32_t>(*value));
}

void MplsLabel::logTo(Vox::AttrLogWriter& out) const {
  out.u32(value_);
}

}  // namespace Vela
