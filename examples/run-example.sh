#!/usr/bin/env bash
# Runs an example program against a freshly started vrex-stub and checks its
# exit status and output; used by the example tests.
#
#   run-example.sh --stub VREX_STUB [--overlay DIR] [--now EPOCH] --exit N
#                  [--expect REGEX]... -- EXAMPLE [ARGUMENTS...]
#
# The stub answers from its generated plant (seed 1; with --now, its present
# moment fixed, so the tests' times are too), the cases of the overlay
# directory first. The example gets the stub's URL as its first argument,
# before ARGUMENTS. Each REGEX (grep -E) must match a line of its output.
set -euo pipefail

stub="" overlay="" now="" expected_exit=0
patterns=()
while [[ $# -gt 0 && "$1" != "--" ]]; do
  case "$1" in
    --stub) stub="$2"; shift 2 ;;
    --overlay) overlay="$2"; shift 2 ;;
    --now) now="$2"; shift 2 ;;
    --exit) expected_exit="$2"; shift 2 ;;
    --expect) patterns+=("$2"); shift 2 ;;
    *) echo "run-example.sh: unknown option $1" >&2; exit 2 ;;
  esac
done
[[ "${1:-}" == "--" && -n "$stub" ]] || { echo "run-example.sh: bad usage" >&2; exit 2; }
shift

scratch="$(mktemp -d "${TMPDIR:-/tmp}/vrex-example-XXXXXX")"
stub_pid=""
cleanup() {
  [[ -n "$stub_pid" ]] && { kill "$stub_pid" 2>/dev/null || true; wait "$stub_pid" 2>/dev/null || true; }
  rm -rf "$scratch"
}
trap cleanup EXIT

# The plant is generated for this run: commands change it, and no run sees
# another's changes.
moment=()
[[ -n "$now" ]] && moment=(--now "$now")
"$stub" generate-plant -o "$scratch/plant.sqlite" --seed 1 "${moment[@]}" 2>/dev/null
cases=()
[[ -n "$overlay" ]] && cases=(--data "$overlay")
: >"$scratch/stub.log"
"$stub" --port 0 --plant "$scratch/plant.sqlite" "${cases[@]}" >"$scratch/stub.log" 2>&1 &
stub_pid=$!
url=""
for _ in $(seq 1 100); do
  url="$(grep -o 'http://127\.0\.0\.1:[0-9]*' "$scratch/stub.log" | head -n 1 || true)"
  [[ -n "$url" ]] && break
  kill -0 "$stub_pid" 2>/dev/null || { cat "$scratch/stub.log" >&2; exit 1; }
  sleep 0.1
done
[[ -n "$url" ]] || { echo "vrex-stub did not report its address" >&2; exit 1; }

program="$1"
shift
status=0
"$program" "$url" "$@" >"$scratch/output" 2>&1 || status=$?
cat "$scratch/output"
if [[ "$status" -ne "$expected_exit" ]]; then
  echo "run-example.sh: exit status $status, expected $expected_exit" >&2
  exit 1
fi
for pattern in "${patterns[@]}"; do
  grep -Eq -- "$pattern" "$scratch/output" || { echo "run-example.sh: no line matches: $pattern" >&2; exit 1; }
done
