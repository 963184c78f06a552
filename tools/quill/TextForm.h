#pragma once
// The text form of any value the tool prints: the value type's own `valueToStrep()` when it has
// one (the same text scenario files use), `operator<<` otherwise, and "true"/"false" for flags.
// One function, so that the human tables and the JSON dumps always spell a value alike.
#include <concepts>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace QuillTool {

template <class T>
concept HasStrep = requires(const T& value) {
  { value.valueToStrep() } -> std::convertible_to<std::string>;
};

// `text` with control bytes other than tab spelled \xHH, for quoting user input in messages:
// a stray byte in a scenario must neither garble the terminal nor cut a message short.
inline std::string printable(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x20 && c != '\t') || byte == 0x7f) {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xf];
    } else {
      out += c;
    }
  }
  return out;
}

template <class T>
std::string textOf(const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (HasStrep<T>) {
    return value.valueToStrep();
  } else {
    std::ostringstream out;
    out << value;
    return out.str();
  }
}

}  // namespace QuillTool
