# Warnings for hand-written code; generated code is compiled without them.
set(VREX_WARNING_FLAGS $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall;-Wextra;-Wpedantic>)

add_library(vrex_warnings INTERFACE)
target_compile_options(vrex_warnings INTERFACE ${VREX_WARNING_FLAGS})
