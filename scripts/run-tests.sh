#!/usr/bin/env bash
# Sets up (packages, configure, build) and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
ctest --test-dir "${VREX_BUILD_DIR:-build}" --output-on-failure -j "$(nproc)"
