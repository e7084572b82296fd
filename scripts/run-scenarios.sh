#!/usr/bin/env bash
# Plays every scenario of Simulator/Scenarios, on all processors; each must end with status 0.
#   scripts/run-scenarios.sh BINARY
# BINARY: the simulator. A scenario's first line "# machine: NAME" names the machine it is played on.
set -euo pipefail
[[ $# == 1 && $1 != --help ]] || { sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}" >&2; exit 2; }
binary=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
shopt -s nullglob

outputs=$(mktemp -d)
trap 'rm -rf "$outputs"' EXIT

# Leaves the output of one that failed, under its name.
play() {
  # Longer than any scenario takes, so that one that hangs ends the run.
  local limit_seconds=120 scenario=$1 machine status=0
  local output=$outputs/${scenario##*/} arguments=(--script "$scenario")
  machine=$(sed -n '1s/^# machine: *\([^ ]*\) *$/\1/p' "$scenario")
  [[ -z $machine ]] || arguments=(--machine "$machine" "${arguments[@]}")
  timeout "$limit_seconds" "$binary" "${arguments[@]}" </dev/null >"$output" 2>&1 || status=$?
  if ((status == 0)); then rm "$output"; else echo "status $status" >>"$output"; fi
}
export -f play
export binary outputs

scenarios=(Simulator/Scenarios/*.scenario)
((${#scenarios[@]} == 0)) ||
  printf '%s\0' "${scenarios[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'set -euo pipefail; play "$1"' play
failed=("$outputs"/*)
for output in "${failed[@]}"; do
  echo "Simulator/Scenarios/${output##*/}: its last lines:"
  tail -n 30 "$output"
done
((${#failed[@]} == 0)) || { echo "Scenarios: ${#failed[@]} of ${#scenarios[@]} failed."; exit 1; }
echo "Scenarios: ${#scenarios[@]} played, each to its end."
