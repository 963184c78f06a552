#include "quill/core/Version.h"

namespace Quill {

std::string_view version() {
  return "0.1.0";
}

}  // namespace Quill
