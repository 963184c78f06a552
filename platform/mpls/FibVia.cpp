#include "platform/mpls/FibVia.h"

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/TextParse.h"

namespace Mpls {

// Members initialise in declaration order, which is the stream order.
FibVia::FibVia(Vox::AttrLogReader& in) : hop_(in), intfId_(in) {}

std::string FibVia::valueToStrep() const {
  return hop_.valueToStrep() + '-' + intfId_.valueToStrep();
}

std::ostream& operator<<(std::ostream& os, const FibVia& via) {
  return os << via.valueToStrep();
}

FibVia FibVia::sequenceToValue(std::string_view text) {
  static constexpr std::string_view kTypeName = "Mpls::FibVia";
  static constexpr std::string_view kExpected = "HOP-INTF, an IP address and an interface name";
  const auto split = Vox::text::splitFirst(text, '-');
  if (!split) {
    throw Vox::ParseError(kTypeName, text, kExpected);
  }
  try {
    return FibVia(Vela::IpGenAddr::sequenceToValue(split->first),
                  Vela::IntfId::sequenceToValue(split->second));
  } catch (const Vox::ParseError& e) {
    throw Vox::ParseError(kTypeName, text, std::string(kExpected) + "; " + e.what());
  }
}

void FibVia::logTo(Vox::AttrLogWriter& out) const {
  hop_.logTo(out);
  intfId_.logTo(out);
}

}  // namespace Mpls
