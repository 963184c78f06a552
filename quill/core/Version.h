#pragma once
// The library's version, as the command-line tool and trace headers report it.
#include <string_view>

namespace Quill {

std::string_view version();

}  // namespace Quill
