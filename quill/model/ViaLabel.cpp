#include "quill/model/ViaLabel.h"

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Mpls {

namespace {
constexpr std::string_view kTypeName = "Mpls::ViaLabel";
constexpr std::string_view kExpected = "Value('Mpls::ViaLabel', ** {'via': HOP-INTF, 'label': N})";
}  // namespace

// Members initialise in declaration order, which is the stream order.
ViaLabel::ViaLabel(Vox::AttrLogReader& in) : via_(in), label_(in) {}

ViaLabel::ViaLabel(std::string_view text) : ViaLabel(sequenceToValue(text)) {}

bool ViaLabel::operator==(const ViaLabel& other) const {
  return via_ == other.via_ && label_ == other.label_;
}

bool ViaLabel::operator<(const ViaLabel& other) const {
  if (via_ != other.via_) {
    // Spelled out on the via's parts so that the branch order does not hang on how FibVia
    // happens to order itself.
    if (via_.hop() < other.via_.hop()) {
      return true;
    }
    if (via_.hop() != other.via_.hop()) {
      return false;
    }
    return via_.intfId() < other.via_.intfId();
  }
  return label_ < other.label_;
}

uint32_t ViaLabel::hash(uint32_t seed) const {
  return Vox::Hash(seed)
      .hashMix(via_.hash())
      .hashMix(Vox::hashSingleAttr(0, label_.value()))
      .result();
}

std::string ViaLabel::valueToStrep() const {
  return Vox::text::reflectedText(kTypeName,
                                  {{"via", via_.valueToStrep()}, {"label", label_.valueToStrep()}});
}

std::ostream& operator<<(std::ostream& os, const ViaLabel& value) {
  return os << value.valueToStrep();
}

ViaLabel ViaLabel::sequenceToValue(std::string_view text) {
  const auto fields = Vox::text::reflectedFields(text, kTypeName, {"via", "label"});
  if (!fields) {
    throw Vox::ParseError(kTypeName, text, kExpected);
  }
  try {
    return ViaLabel(FibVia::sequenceToValue((*fields)[0]),
                    Vela::MplsLabel::sequenceToValue((*fields)[1]));
  } catch (const Vox::ParseError& e) {
    throw Vox::ParseError(kTypeName, text, std::string(kExpected) + "; " + e.what());
  }
}

void ViaLabel::logTo(Vox::AttrLogWriter& out) const {
  via_.logTo(out);
  label_.logTo(out);
}

}  // namespace Mpls
