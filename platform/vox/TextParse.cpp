#include "platform/vox/TextParse.h"

namespace Vox::text {

std::optional<uint64_t> decimal(std::string_view text, uint64_t max) {
  if (text.empty() || (text.size() > 1 && text.front() == '0')) {
    return std::nullopt;
  }
  uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    const auto digit = static_cast<uint64_t>(c - '0');
    // Checked before each step, so that long inputs cannot wrap around into range.
    if (value > max / 10) {
      return std::nullopt;
    }
    value *= 10;
    if (digit > max - value) {
      return std::nullopt;
    }
    value += digit;
  }
  return value;
}

std::optional<uint32_t> dottedQuad(std::string_view text) {
  uint32_t value = 0;
  for (int part = 0; part < 4; ++part) {
    std::string_view piece = text;
    if (part < 3) {
      const auto split = splitFirst(text, '.');
      if (!split) {
        return std::nullopt;
      }
      piece = split->first;
      text = split->second;
    }
    const auto octet = decimal(piece, 255);
    if (!octet) {
      return std::nullopt;
    }
    value = value << 8 | static_cast<uint32_t>(*octet);
  }
  return value;
}

std::string dottedQuadText(uint32_t hostOrder) {
  std::string out;
  for (int shift = 24; shift >= 0; shift -= 8) {
    out += std::to_string((hostOrder >> shift) & 0xff);
    if (shift != 0) {
      out += '.';
    }
  }
  return out;
}

namespace {
int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
}  // namespace

std::optional<std::string> hexBytes(std::string_view text) {
  if (text.size() % 2 != 0) {
    return std::nullopt;
  }
  std::string bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigit(text[i]);
    const int low = hexDigit(text[i + 1]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<char>(high << 4 | low));
  }
  return bytes;
}

std::string hexText(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0xf];
  }
  return out;
}

std::optional<std::pair<std::string_view, std::string_view>> splitFirst(std::string_view text,
                                                                        char separator) {
  const std::size_t at = text.find(separator);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  return std::pair{text.substr(0, at), text.substr(at + 1)};
}

namespace {
std::string reflectedHead(std::string_view typeName) {
  std::string head = "Value('";
  head.append(typeName);
  head += "', ** {";
  return head;
}

std::string fieldKey(bool first, std::string_view name) {
  std::string key = first ? "'" : ", '";
  key.append(name);
  key += "': ";
  return key;
}

constexpr std::string_view kReflectedTail = "})";
}  // namespace

std::string reflectedText(std::string_view typeName,
                          std::initializer_list<std::pair<std::string_view, std::string>> fields) {
  return reflectedText(typeName, std::span(fields.begin(), fields.size()));
}

std::string reflectedText(std::string_view typeName,
                          std::span<const std::pair<std::string_view, std::string>> fields) {
  std::string out = reflectedHead(typeName);
  bool first = true;
  for (const auto& [name, fieldText] : fields) {
    out += fieldKey(first, name);
    out += fieldText;
    first = false;
  }
  out += kReflectedTail;
  return out;
}

std::optional<std::vector<std::string_view>> reflectedFields(
    std::string_view text, std::string_view typeName,
    std::initializer_list<std::string_view> fieldNames) {
  return reflectedFields(text, typeName, std::span(fieldNames.begin(), fieldNames.size()));
}

std::optional<std::vector<std::string_view>> reflectedFields(
    std::string_view text, std::string_view typeName,
    std::span<const std::string_view> fieldNames) {
  const std::string head = reflectedHead(typeName);
  if (text.size() < head.size() + kReflectedTail.size() || !text.starts_with(head) ||
      !text.ends_with(kReflectedTail)) {
    return std::nullopt;
  }
  std::string_view rest =
      text.substr(head.size(), text.size() - head.size() - kReflectedTail.size());
  std::vector<std::string_view> fields;
  bool first = true;
  for (std::string_view name : fieldNames) {
    const std::string key = fieldKey(first, name);
    const std::size_t at =
        first ? (rest.starts_with(key) ? 0 : std::string_view::npos) : rest.find(key);
    if (at == std::string_view::npos) {
      return std::nullopt;
    }
    if (!first) {
      fields.push_back(rest.substr(0, at));
    }
    rest.remove_prefix(at + key.size());
    first = false;
  }
  fields.push_back(rest);
  return fields;
}

}  // namespace Vox::text
