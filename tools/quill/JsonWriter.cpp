#include "tools/quill/JsonWriter.h"

namespace QuillTool {

void JsonWriter::separate() {
  if (afterKey_) {
    afterKey_ = false;  // a value right after its key takes no comma
    return;
  }
  if (!hasItem_.empty()) {
    if (hasItem_.back()) text_ += ',';
    hasItem_.back() = true;
  }
}

void JsonWriter::beginObject() {
  separate();
  text_ += '{';
  hasItem_.push_back(false);
}

void JsonWriter::endObject() {
  text_ += '}';
  hasItem_.pop_back();
}

void JsonWriter::beginArray() {
  separate();
  text_ += '[';
  hasItem_.push_back(false);
}

void JsonWriter::endArray() {
  text_ += ']';
  hasItem_.pop_back();
}

void JsonWriter::key(std::string_view name) {
  separate();
  text_ += quoted(name);
  text_ += ':';
  afterKey_ = true;
}

void JsonWriter::string(std::string_view value) {
  separate();
  text_ += quoted(value);
}

void JsonWriter::number(uint64_t value) {
  separate();
  text_ += std::to_string(value);
}

void JsonWriter::boolean(bool value) {
  separate();
  text_ += value ? "true" : "false";
}

void JsonWriter::null() {
  separate();
  text_ += "null";
}

std::string JsonWriter::quoted(std::string_view value) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  out.reserve(value.size() + 2);
  out += '"';
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (byte < 0x20) {
          out += "\\u00";
          out += kHex[byte >> 4];
          out += kHex[byte & 0xf];
        } else {
          out += c;
        }
    }
  }
  out += '"';
  return out;
}

}  // namespace QuillTool
