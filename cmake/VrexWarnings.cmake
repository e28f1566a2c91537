# Warnings for hand-written code (link vrex_warnings privately); generated
# code is compiled without them.
add_library(vrex_warnings INTERFACE)
target_compile_options(vrex_warnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic>)
