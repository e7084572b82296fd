#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets optimised and runs one of them; without arguments lists them.
#   scripts/fuzz.sh [TARGET SECONDS [ARGUMENT...]]
# ARGUMENT: goes to libFuzzer, such as -runs=10000000 (SECONDS 0: no limit) or an input to run it alone.
# It begins with the kept corpus and goes on with what it found before, in build/fuzz-corpus/TARGET.
# Status 1: something was found; the input stands in build/fuzz-findings/TARGET.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ ${1-} == --help ]]; then sed -n '2,6s/^# //p' scripts/fuzz.sh; exit 0; fi
targets() { for file in Fuzz/Dictionaries/*.dict; do basename "$file" .dict; done; }
if (($# == 0)); then targets; exit 0; fi
target=$1 seconds=${2-}
grep -qxF -- "$target" <<<"$(targets)" || { echo "fuzz.sh: there is no target '$target':" $(targets) >&2; exit 2; }
[[ $seconds =~ ^[0-9]+$ ]] || { echo "fuzz.sh: SECONDS is a whole number" >&2; exit 2; }
shift 2

scripts/install-needs.sh build fuzz
echo "Building (preset fuzz)." >&2
mkdir -p "build/fuzz-corpus/$target" build/fuzz
(cmake --preset fuzz && cmake --build --preset fuzz --target "velmoratix-fuzz-$target") \
  >build/fuzz/fuzz-build.log 2>&1 || {
  tail -n 40 build/fuzz/fuzz-build.log >&2
  echo "fuzz.sh: the build failed; all of it stands in build/fuzz/fuzz-build.log" >&2
  exit 1
}
corpus=("build/fuzz-corpus/$target")
for argument in "$@"; do [[ ! -f $argument ]] || corpus=(); done
scripts/run-fuzzer.sh build/fuzz "$target" -max_total_time="$seconds" "$@" "${corpus[@]}"
