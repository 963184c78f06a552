#include "platform/vela/IntfId.h"

#include <array>
#include <ostream>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"

namespace Vela {

namespace {

struct KindForm {
  IntfId::Kind kind;
  std::string_view name;
  std::size_t maxNumbers;
  uint32_t min;
  uint32_t max;
};

// Ethernet must start at 1: a 0 component in word1 means "absent".
constexpr std::array<KindForm, 6> kForms{{
    {IntfId::Kind::ethernet, "Ethernet", 3, 1, 65535},
    {IntfId::Kind::loopback, "Loopback", 1, 0, 65535},
    {IntfId::Kind::management, "Management", 1, 1, 65535},
    {IntfId::Kind::portChannel, "Port-Channel", 1, 1, 65535},
    {IntfId::Kind::tunnel, "Tunnel", 1, 0, 65535},
    {IntfId::Kind::vlan, "Vlan", 1, 1, 4094},
}};

const KindForm* formOf(IntfId::Kind kind) {
  for (const KindForm& form : kForms) {
    if (form.kind == kind) {
      return &form;
    }
  }
  return nullptr;
}

bool inRange(const KindForm& form, uint32_t n) {
  return n >= form.min && n <= form.max;
}

std::string acceptedForms() {
  std::string out = "one of ";
  for (const KindForm& form : kForms) {
    const std::string range = "<" + std::to_string(form.min) + "-" + std::to_string(form.max) + ">";
    out += form.name;
    out += range;
    for (std::size_t i = 1; i < form.maxNumbers; ++i) {
      out += "[/" + range;
    }
    out += std::string(form.maxNumbers - 1, ']');
    out += ", ";
  }
  out += "or the empty name";
  return out;
}

[[noreturn]] void reject(std::string_view text, std::string_view why) {
  throw Vox::ParseError("Vela::IntfId", text, acceptedForms() + " (" + std::string(why) + ")");
}

}  // namespace

IntfId::IntfId(Kind kind, uint32_t first, uint32_t second, uint32_t third)
    : word0_(static_cast<uint32_t>(kind) << 16 | first), word1_(second << 16 | third) {
  // Checked on the inputs as well, so that wider numbers cannot alias a valid encoding.
  VOX_ASSERT(kind != Kind::none && first <= 0xffff && second <= 0xffff && third <= 0xffff &&
                 valid(word0_, word1_),
             "valid interface numbers for the kind");
}

IntfId::IntfId(Vox::AttrLogReader& in) {
  const std::size_t offset = in.offset();
  const uint32_t word0 = in.u32();
  const uint32_t word1 = in.u32();
  if (!valid(word0, word1)) {
    throw Vox::LogStreamError("attribute log stream has an invalid interface at offset " +
                              std::to_string(offset));
  }
  word0_ = word0;
  word1_ = word1;
}

bool IntfId::valid(uint32_t word0, uint32_t word1) {
  if (word0 == 0 && word1 == 0) {
    return true;
  }
  if ((word0 >> 16) > 0xff) {
    return false;
  }
  const KindForm* form = formOf(static_cast<Kind>(word0 >> 16));
  if (form == nullptr || !inRange(*form, word0 & 0xffff)) {
    return false;
  }
  const uint32_t second = word1 >> 16;
  const uint32_t third = word1 & 0xffff;
  if (form->maxNumbers == 1) {
    return word1 == 0;
  }
  // A third number needs a second.
  return (second == 0 || inRange(*form, second)) &&
         (third == 0 || (second != 0 && inRange(*form, third)));
}

std::string IntfId::valueToStrep() const {
  const KindForm* form = formOf(kind());
  if (form == nullptr) {
    return "";
  }
  std::string out(form->name);
  out += std::to_string(word0_ & 0xffff);
  for (uint32_t n : {word1_ >> 16, word1_ & 0xffff}) {
    if (n == 0) {
      break;
    }
    out += '/' + std::to_string(n);
  }
  return out;
}

IntfId IntfId::sequenceToValue(std::string_view text) {
  if (text.empty()) {
    return IntfId();
  }
  const std::size_t digitsAt = text.find_first_of("0123456789");
  const std::string_view name = text.substr(0, digitsAt);
  const KindForm* form = nullptr;
  for (const KindForm& candidate : kForms) {
    if (candidate.name == name) {
      form = &candidate;
    }
  }
  if (form == nullptr) {
    reject(text, "unknown interface kind '" + std::string(name) + "'");
  }
  if (digitsAt == std::string_view::npos) {
    reject(text, "missing interface number");
  }
  std::array<uint32_t, 3> numbers{};
  std::string_view rest = text.substr(digitsAt);
  for (std::size_t i = 0;; ++i) {
    if (i == form->maxNumbers) {
      reject(text, "too many numbers for " + std::string(form->name));
    }
    const auto split = Vox::text::splitFirst(rest, '/');
    const std::string_view piece = split ? split->first : rest;
    const auto n = Vox::text::decimal(piece, form->max);
    if (!n || *n < form->min) {
      // Built by appending: `"'" + std::string(piece)` trips GCC 12's -Wrestrict false positive
      // inside std::string at -O3.
      std::string why = "'";
      why += piece;
      why += "' is not a number from ";
      why += std::to_string(form->min);
      why += " to ";
      why += std::to_string(form->max);
      reject(text, why);
    }
    numbers[i] = static_cast<uint32_t>(*n);
    if (!split) {
      break;
    }
    rest = split->second;
  }
  return IntfId(form->kind, numbers[0], numbers[1], numbers[2]);
}

void IntfId::logTo(Vox::AttrLogWriter& out) const {
  out.u32(word0_).u32(word1_);
}

}  // namespace Vela
