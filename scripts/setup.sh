#!/usr/bin/env bash
# Installs the Debian packages the project needs (only those missing),
# configures and builds into ./build (override with VREX_BUILD_DIR): the
# targets given as arguments, or everything.
#   bash scripts/setup.sh                  # library, tools, examples, tests
#   bash scripts/setup.sh vrex vrex-stub   # only these (and what they need)
set -euo pipefail

cd "$(dirname "$0")/.."
build_dir="${VREX_BUILD_DIR:-build}"

packages=(
  build-essential cmake ninja-build pkg-config
  protobuf-compiler libprotobuf-dev
  libcurl4-openssl-dev
  libcpp-httplib-dev libcli11-dev libfmt-dev
  # The stub server: Boost.Beast and Boost.Asio (header-only).
  libboost-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  # TLS tests run a local HTTPS front with a throw-away certificate.
  nginx-light openssl
  # vrex plot draws with gnuplot.
  gnuplot-nox
  # Fuzzing and sanitizer builds.
  clang-14 libfuzzer-14-dev libclang-rt-14-dev
)
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
  ${VREX_CMAKE_ARGS:-}
targets=()
for target in "$@"; do targets+=(--target "$target"); done
cmake --build "$build_dir" -j "$(nproc)" "${targets[@]}"
