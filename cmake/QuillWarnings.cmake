# Every target of the project builds warning-free: warnings are errors.
add_library(quill_warnings INTERFACE)
target_compile_options(quill_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow-uncaptured-local>)
