#pragma once
// Errors of the framework.
//
// - `Vox::RangeException`: the framework's range exception (an `std::out_of_range`), thrown when
//   an argument lies outside what an operation accepts (a null entity given to a mutator, a via
//   index past the end). Its message is a fixed text that callers and tests match exactly.
// - `Vox::ParseError`: a text form that does not parse. The message quotes the text and says
//   what was expected; a parse either yields a whole value or throws, never half a value.
// - `Vox::fatal` / `VOX_ASSERT`: a broken invariant. Prints the fixed assertion text and aborts;
//   nothing is unwound. Errors a user can cause are reported, never asserted.
#include <stdexcept>
#include <string>
#include <string_view>

namespace Vox {

class RangeException : public std::out_of_range {
 public:
  using std::out_of_range::out_of_range;
};

class ParseError : public std::invalid_argument {
 public:
  // "cannot parse 'TEXT' as TYPE: expected EXPECTED"
  ParseError(std::string_view typeName, std::string_view text, std::string_view expected);
  // A message already composed by the caller.
  explicit ParseError(const std::string& message) : std::invalid_argument(message) {}
};

// Prints "<file>:<line>: fatal assertion failed: <text>" on standard error and aborts.
[[noreturn]] void fatal(std::string_view text, const char* file, int line);

}  // namespace Vox

// Fatal unless `condition` holds; `text` is the assertion's fixed text.
#define VOX_ASSERT(condition, text)             \
  do {                                          \
    if (!(condition)) [[unlikely]]              \
      ::Vox::fatal((text), __FILE__, __LINE__); \
  } while (false)
