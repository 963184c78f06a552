# The warnings every target of the project is built with. They are errors only where Quill itself
# is developed (QUILL_WARNINGS_AS_ERRORS, on in scripts/ and CI): a consumer building a release
# with another compiler must not fail on a warning that compiler adds.
add_library(quill_warnings INTERFACE)
target_compile_options(quill_warnings INTERFACE
  -Wall -Wextra -Wpedantic
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow-uncaptured-local>
  $<$<BOOL:${QUILL_WARNINGS_AS_ERRORS}>:-Werror>)
