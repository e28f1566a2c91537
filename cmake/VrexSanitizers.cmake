# VREX_SANITIZE=address (ASan+UBSan+LSan) or thread (TSan) instruments the
# library and everything built here; empty builds without sanitizers.

add_library(vrex_sanitizers INTERFACE)
if(VREX_SANITIZE STREQUAL "address")
  set(vrex_sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined)
elseif(VREX_SANITIZE STREQUAL "thread")
  set(vrex_sanitizer_flags -fsanitize=thread)
elseif(NOT VREX_SANITIZE STREQUAL "")
  message(FATAL_ERROR "VREX_SANITIZE must be empty, 'address' or 'thread', not '${VREX_SANITIZE}'")
endif()
# A fuzzing build also gives everything built here libFuzzer's coverage
# instrumentation, so that the fuzzers see which paths the library takes.
if(VREX_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VREX_BUILD_FUZZERS needs Clang (e.g. CXX=clang++-14), "
                        "not ${CMAKE_CXX_COMPILER_ID}")
  endif()
  list(APPEND vrex_sanitizer_flags -fsanitize=fuzzer-no-link)
endif()
if(vrex_sanitizer_flags)
  target_compile_options(vrex_sanitizers INTERFACE ${vrex_sanitizer_flags} -fno-omit-frame-pointer)
  target_link_options(vrex_sanitizers INTERFACE ${vrex_sanitizer_flags})
endif()

# Environment for tests under a sanitizer: the established Post keeps two
# things on purpose (see tests/sanitizers/lsan.supp); nothing else is excused.
# Slow unwinding on malloc gives full stacks through libcurl, which the
# suppressions need to see the Post frames.
set(VREX_SANITIZER_TEST_ENVIRONMENT
  "ASAN_OPTIONS=fast_unwind_on_malloc=0:detect_leaks=1"
  "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/sanitizers/lsan.supp:print_suppressions=0"
  "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
  "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=${PROJECT_SOURCE_DIR}/tests/sanitizers/tsan.supp")
