#include "quill/model/FecRouter.h"

#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Mpls {

namespace {
constexpr std::string_view kTypeName = "Mpls::FecRouter";
constexpr std::string_view kExpected =
    "Value('Mpls::FecRouter', ** {'fwdEqvClass': FEC, 'routerId': A.B.C.D:N})";
}  // namespace

// Members initialise in declaration order, which is the stream order.
FecRouter::FecRouter(Vox::AttrLogReader& in) : fwdEqvClass_(in), routerId_(in) {}

FecRouter::FecRouter(std::string_view text) : FecRouter(sequenceToValue(text)) {}

bool FecRouter::operator==(const FecRouter& other) const {
  return fwdEqvClass_ == other.fwdEqvClass_ && routerId_ == other.routerId_;
}

bool FecRouter::operator<(const FecRouter& other) const {
  if (fwdEqvClass_ != other.fwdEqvClass_) {
    return fwdEqvClass_ < other.fwdEqvClass_;
  }
  return routerId_ < other.routerId_;
}

uint32_t FecRouter::hash(uint32_t seed) const {
  return Vox::Hash(seed).hashMix(fwdEqvClass_.hash(0)).hashMix(routerId_.hash(0)).result();
}

std::string FecRouter::valueToStrep() const {
  return Vox::text::reflectedText(kTypeName, {{"fwdEqvClass", fwdEqvClass_.valueToStrep()},
                                              {"routerId", routerId_.valueToStrep()}});
}

std::ostream& operator<<(std::ostream& os, const FecRouter& value) {
  return os << value.valueToStrep();
}

FecRouter FecRouter::sequenceToValue(std::string_view text) {
  const auto fields = Vox::text::reflectedFields(text, kTypeName, {"fwdEqvClass", "routerId"});
  if (!fields) {
    throw Vox::ParseError(kTypeName, text, kExpected);
  }
  try {
    return FecRouter(FwdEqvClass::sequenceToValue((*fields)[0]),
                     RouterId::sequenceToValue((*fields)[1]));
  } catch (const Vox::ParseError& e) {
    throw Vox::ParseError(kTypeName, text, std::string(kExpected) + "; " + e.what());
  }
}

void FecRouter::logTo(Vox::AttrLogWriter& out) const {
  fwdEqvClass_.logTo(out);
  routerId_.logTo(out);
}

}  // namespace Mpls
