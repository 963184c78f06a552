#include "platform/vox/Exception.h"

#include <cstdio>
#include <cstdlib>

namespace Vox {

namespace {
std::string parseMessage(std::string_view typeName, std::string_view text,
                         std::string_view expected) {
  std::string message = "cannot parse '";
  message.append(text);
  message += "' as ";
  message.append(typeName);
  message += ": expected ";
  message.append(expected);
  return message;
}
}  // namespace

ParseError::ParseError(std::string_view typeName, std::string_view text, std::string_view expected)
    : std::invalid_argument(parseMessage(typeName, text, expected)) {}

void fatal(std::string_view text, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: fatal assertion failed: %.*s\n", file, line,
               static_cast<int>(text.size()), text.data());
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vox
