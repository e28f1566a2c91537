#!/usr/bin/env bash
# Installs the Debian packages the project needs (only those missing),
# configures and builds into ./build (override with VREX_BUILD_DIR): the
# targets given as arguments, or everything.
#   bash scripts/setup.sh                  # library, tools, examples, tests
#   bash scripts/setup.sh vrex vrex-stub   # only these (and what they need)
#   VREX_SETUP_FOR=demo bash scripts/setup.sh ...   # without the tests' packages
set -euo pipefail

cd "$(dirname "$0")/.."
build_dir="${VREX_BUILD_DIR:-build}"

# What builds the library and the tools (and so the demo).
packages=(
  build-essential cmake ninja-build pkg-config
  # The stub server's plant database, and the shell to open it with.
  libsqlite3-dev sqlite3
  # Lines' local times and the plant's summer time: the time-zone database.
  tzdata
  protobuf-compiler libprotobuf-dev
  libcurl4-openssl-dev
  libcpp-httplib-dev libcli11-dev libfmt-dev
  # The stub server: Boost.Beast and Boost.Asio (header-only).
  libboost-dev
  # vrex plot draws with gnuplot.
  gnuplot-nox
)
# VREX_SETUP_FOR=demo: only that, without the tests (scripts/run-demo.sh).
testing=OFF
if [[ "${VREX_SETUP_FOR:-}" != demo ]]; then
  testing=ON
  packages+=(
    libgtest-dev libgmock-dev libbenchmark-dev
    # openssl makes the TLS tests' throw-away certificates; the large-answer
    # benchmark serves its files with nginx.
    nginx-light openssl
    # Fuzzing and sanitizer builds.
    clang-14 libfuzzer-14-dev libclang-rt-14-dev
  )
fi
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" \
    || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "Installing missing packages: ${missing[*]}"
  sudo_cmd=()
  [[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
fi

cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE="${VREX_BUILD_TYPE:-RelWithDebInfo}" \
  -DBUILD_TESTING="$testing" ${VREX_CMAKE_ARGS:-}
targets=()
for target in "$@"; do targets+=(--target "$target"); done
cmake --build "$build_dir" -j "$(nproc)" "${targets[@]}"
