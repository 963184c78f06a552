# AddressSanitizer + UndefinedBehaviorSanitizer for the whole build when QUILL_SANITIZE is on.
add_library(quill_sanitizers INTERFACE)
if(QUILL_SANITIZE)
  set(_quill_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(quill_sanitizers INTERFACE ${_quill_san})
  target_link_options(quill_sanitizers INTERFACE ${_quill_san})
endif()
