#include "quill/core/Version.h"

// The build passes the project's version (CMakeLists.txt), the one the shared objects carry.
#ifndef QUILL_VERSION
#error "QUILL_VERSION must be defined by the build"
#endif

namespace Quill {

std::string_view version() {
  return QUILL_VERSION;
}

}  // namespace Quill
