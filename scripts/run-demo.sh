#!/usr/bin/env bash
# Sets up (packages, configure, build), starts the stub results server with
# the sample plant on an ephemeral port, runs the plant overview example
# against it, and stops the server.
set -euo pipefail
cd "$(dirname "$0")/.."
[[ -n "${VREX_SKIP_SETUP:-}" ]] || bash scripts/setup.sh >/dev/null
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
echo "Stub results server with the sample plant at $url"
echo
"$build_dir/examples/plant_overview" "$url"
