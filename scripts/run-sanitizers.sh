#!/usr/bin/env bash
# Sanitizer runs: the whole test suite under ASan+UBSan (with LeakSanitizer;
# tests/sanitizers/lsan.supp excuses only the two intended leaks of the
# established Post) in build-asan/, and the concurrency tests (ctest label
# "concurrency") under TSan in build-tsan/. One build per sanitizer, both with
# clang-14 (its sanitizer headers are installed; gcc's are not). The ASan
# build also builds the fuzzers, so scripts/run-fuzz.sh can use it
# (VREX_FUZZ_BUILD_DIR=build-asan) instead of compiling the library again.
# TSan builds only the programs of the concurrency tests.
#
#   VREX_SANITIZERS            which runs (default: "address thread")
#   VREX_ASAN_BUILD_DIR        default build-asan
#   VREX_TSAN_BUILD_DIR        default build-tsan
#   VREX_SANITIZER_BUILD_TYPE  default RelWithDebInfo
set -euo pipefail
cd "$(dirname "$0")/.."
read -r -a runs <<<"${VREX_SANITIZERS:-address thread}"
build_type="${VREX_SANITIZER_BUILD_TYPE:-RelWithDebInfo}"
jobs="$(nproc)"

# The test programs of the concurrency tests; a test labelled "concurrency"
# in another program shows up as not built, and the run fails.
tsan_targets=(vrex_reliability_concurrency_tests vrex_async_tests)

configure() {  # <build dir> <sanitizer> [cmake arguments...]
  local dir="$1" sanitizer="$2"
  shift 2
  CC=clang-14 CXX=clang++-14 cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$build_type" \
    -DVREX_SANITIZE="$sanitizer" -DVREX_BUILD_BENCHMARKS=OFF "$@" >/dev/null
}

timed() {  # <label> <command...>: runs the command and reports its wall time
  local label="$1" start=$SECONDS
  shift
  "$@"
  echo "-- $label: $((SECONDS - start)) s"
}

# Tests that run programs through add_test (the demo, the examples) get no
# per-test sanitizer options; these are the same as the GoogleTest programs
# get. Slow unwinding gives full stacks through libcurl, which the leak
# suppressions need to see the Post frames.
export ASAN_OPTIONS="fast_unwind_on_malloc=0:detect_leaks=1"
export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/tests/sanitizers/tsan.supp"

run_address() {
  local dir="${VREX_ASAN_BUILD_DIR:-build-asan}"
  configure "$dir" address -DVREX_BUILD_FUZZERS=ON
  timed "ASan+UBSan build" cmake --build "$dir" -j "$jobs"
  # The installed-package test builds a consumer without the sanitizers
  # against the instrumented library, which cannot link; it checks the
  # package, not behaviour, and runs in the normal suite.
  timed "ASan+UBSan tests" ctest --test-dir "$dir" --output-on-failure -j "$jobs" \
    --no-tests=error -LE '^package$'
}

run_thread() {
  local dir="${VREX_TSAN_BUILD_DIR:-build-tsan}"
  configure "$dir" thread -DVREX_BUILD_EXAMPLES=OFF
  timed "TSan build" cmake --build "$dir" -j "$jobs" --target "${tsan_targets[@]}"
  timed "TSan concurrency tests" ctest --test-dir "$dir" -L concurrency --output-on-failure \
    -j "$jobs" --no-tests=error
}

for run in "${runs[@]}"; do
  case "$run" in
    address) run_address ;;
    thread) run_thread ;;
    *) echo "unknown sanitizer run '$run' (address or thread)" >&2; exit 2 ;;
  esac
done
