#!/usr/bin/env bash
# Sets up (packages, configure, and a build of only what the demo runs: the
# library, the stub, the example and vrex), starts the stub results server
# with a generated plant on an ephemeral port, runs the plant overview example
# and vrex against it, and stops the server. run-tests.sh builds the rest.
set -euo pipefail
cd "$(dirname "$0")/.."
[[ -n "${VREX_SKIP_SETUP:-}" ]] ||
  VREX_SETUP_FOR=demo bash scripts/setup.sh vrex-stub plant_overview vrex >/dev/null
build_dir="${VREX_BUILD_DIR:-build}"

log="$(mktemp)"
"$build_dir/tools/stub/vrex-stub" --port 0 >"$log" 2>&1 &
stub_pid=$!
trap 'kill "$stub_pid" 2>/dev/null || true; wait "$stub_pid" 2>/dev/null || true; rm -f "$log"' EXIT

url=""
for _ in $(seq 1 100); do
  url="$(grep -o 'http://127\.0\.0\.1:[0-9]*' "$log" | head -n 1 || true)"
  [[ -n "$url" ]] && break
  kill -0 "$stub_pid" 2>/dev/null || { cat "$log" >&2; exit 1; }
  sleep 0.1
done
[[ -n "$url" ]] || { echo "vrex-stub did not report its address" >&2; exit 1; }
echo "Stub results server with a generated plant at $url"
echo
"$build_dir/examples/plant_overview" "$url"
line=(--factory Plant-North --line Line-A)
echo
echo "\$ vrex tests URL ${line[*]} --last 3"
"$build_dir/tools/vrex/vrex" tests "$url" "${line[@]}" --last 3
if command -v gnuplot >/dev/null; then
  picture="$build_dir/demo-spectrum.png"
  "$build_dir/tools/vrex/vrex" plot "$url" "${line[@]}" --clavis \
    'Idle/FFT/Mic-1/Gearbox/Spectrum/MIC-4189-A' -o "$picture"
  echo
  echo "vrex plot drew the idle spectra of the tests into $picture"
fi
