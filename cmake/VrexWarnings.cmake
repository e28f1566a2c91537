# Warnings for hand-written code; generated code is compiled without them.
set(VREX_WARNING_FLAGS)
foreach(flag IN ITEMS -Wall -Wextra -Wpedantic)
  list(APPEND VREX_WARNING_FLAGS "$<$<CXX_COMPILER_ID:GNU,Clang>:${flag}>")
endforeach()

add_library(vrex_warnings INTERFACE)
target_compile_options(vrex_warnings INTERFACE ${VREX_WARNING_FLAGS})
