#!/usr/bin/env bash
# Runs one fuzz target that is built, from the kept corpus on, and says how it went.
#   scripts/run-fuzzer.sh FOLDER TARGET [ARGUMENT...]
# FOLDER: of the build, such as build/fuzz. ARGUMENT: goes to libFuzzer; a folder is one more corpus, which it adds to,
# and files are inputs to be run alone.
# Status 1: something was found; the input stands in build/fuzz-findings/TARGET.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ $# -lt 2 || $1 == --help ]]; then sed -n '2,6s/^# //p' scripts/run-fuzzer.sh; exit 0; fi
folder=$1 target=$2
shift 2
findings=build/fuzz-findings/$target
mkdir -p "$findings"

# Longer inputs take their time without saying more.
declare -A longest=([ddc]=200 [edid]=700 [overrides]=800 [scenario]=160 [settings]=1200)
# The simulated Mac's home in memory, where there is such a folder. Of an allocation one frame is kept: an input alone
# tells more with ASAN_OPTIONS=malloc_context_size=30. libFuzzer's look for leaks takes longer than the executions.
if [[ -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi
export ASAN_OPTIONS=quarantine_size_mb=1:thread_local_quarantine_size_kb=64:malloc_context_size=1:${ASAN_OPTIONS-} UBSAN_OPTIONS=print_stacktrace=1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
log=$scratch/log
# It writes into the first folder, which must not be the kept corpus.
corpus=("$scratch/corpus" "Fuzz/Corpus/$target")
mkdir "${corpus[0]}"
for argument in "$@"; do [[ ! -f $argument ]] || corpus=(); done
status=0
"$folder/velmoratix-fuzz-$target" -dict="Fuzz/Dictionaries/$target.dict" -max_len="${longest[$target]}" -entropic=0 \
  -detect_leaks=0 -timeout=20 -print_final_stats=1 -artifact_prefix="$findings/" "$@" "${corpus[@]}" \
  >"$log" 2>&1 || status=$?
if ((status != 0)); then
  grep -vE '^#|NEW|REDUCE|pulse|^(INFO|stat):' "$log" | head -n 60 >&2
  echo "run-fuzzer.sh: $target found something: scripts/fuzz.sh $target 0 INPUT runs it alone; the input is" >&2
  sed -n 's/.*Test unit written to //p' "$log" >&2
  exit 1
fi
awk -v target="$target" '
  /number_of_executed_units/ { executions = $2 }
  /DONE +cov:/ { for (i = 1; i < NF; ++i) if ($i == "cov:") edges = $(i + 1) }
  END { printf "%s: %d executions, %d edges reached, nothing found.\n", target, executions, edges }' "$log"
