#!/usr/bin/env bash
# Plays every scenario of Simulator/Scenarios; each must end with status 0.
#   scripts/run-scenarios.sh BINARY
# BINARY: the simulator. A scenario's first line "# machine: NAME" names the machine it is played on.
set -euo pipefail
[[ $# == 1 && $1 != --help ]] || { sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}" >&2; exit 2; }
binary=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
shopt -s nullglob

# Longer than any scenario takes, so that one that hangs ends the run.
limit_seconds=120
played=0 failed=0
output=$(mktemp)
trap 'rm -f "$output"' EXIT
for scenario in Simulator/Scenarios/*.scenario; do
  arguments=(--script "$scenario")
  machine=$(sed -n '1s/^# machine: *\([^ ]*\) *$/\1/p' "$scenario")
  [[ -z $machine ]] || arguments=(--machine "$machine" "${arguments[@]}")
  played=$((played + 1))
  status=0
  timeout "$limit_seconds" "$binary" "${arguments[@]}" </dev/null >"$output" 2>&1 || status=$?
  ((status != 0)) || continue
  failed=$((failed + 1))
  echo "$scenario: status $status; its last lines:"
  tail -n 30 "$output"
done
((failed == 0)) || { echo "Scenarios: $failed of $played failed."; exit 1; }
echo "Scenarios: $played played, each to its end."
