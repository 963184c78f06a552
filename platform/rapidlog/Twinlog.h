#pragma once
// Twinlog: the text path into the binary trace.
//
// A `RapidlogConverter` gathers one text record for a trace handle and level and writes it to the
// binary trace (Rapidlog.h) when it is flushed or destroyed, so that a text trace statement can
// have a twin in the binary trace:
//
//   Twinlog::RapidlogConverter(th.name(), 8) << "handleDelete" << "()";
//
// Values are formatted as `std::ostream <<` would format them (character types as characters,
// integers in decimal), so the twin reads like the text trace. While the tracer is off nothing is
// formatted at all. The record's time is the moment it is written; an empty record is not written.
#include <charconv>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace Twinlog {

class RapidlogConverter {
 public:
  // `handle` must outlive the converter; `level` must be 0 to 9 (fatal otherwise).
  RapidlogConverter(std::string_view handle, int level);
  ~RapidlogConverter();
  RapidlogConverter(const RapidlogConverter&) = delete;
  RapidlogConverter& operator=(const RapidlogConverter&) = delete;

  // Whether the tracer was on when the converter was made: text is gathered only then.
  bool active() const { return active_; }

  RapidlogConverter& write(std::string_view text) {
    if (active_) text_.append(text);
    return *this;
  }

  template <class T>
  RapidlogConverter& operator<<(const T& value) {
    if (!active_) return *this;
    if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      text_.append(std::string_view(value));
    } else if constexpr (std::is_same_v<T, char> || std::is_same_v<T, signed char> ||
                         std::is_same_v<T, unsigned char>) {
      text_.push_back(static_cast<char>(value));
    } else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
      char digits[24];
      const auto result = std::to_chars(digits, digits + sizeof digits, value);
      text_.append(digits, result.ptr);
    } else {
      std::ostringstream out;
      out << value;
      text_ += out.str();
    }
    return *this;
  }

  // Writes the gathered text as one record now; later output starts a new record.
  void flush();

 private:
  std::string_view handle_;
  int level_;
  bool active_;
  std::string text_;
};

}  // namespace Twinlog
