#!/usr/bin/env bash
# Installs what is missing, builds optimised, runs the benchmarks and compares what they found with the limits.
#   scripts/benchmark.sh [ARGUMENT...]
# ARGUMENT: goes to the benchmarks, such as --benchmark_filter=Discovered; what is not run is not compared.
# VELMORATIX_EDIDS  a folder of EDID files that are read; ../shared/edids when that is there, otherwise a few made here
# Status 1: a limit is not held.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ ${1-} == --help ]]; then sed -n '2,6s/^# //p' scripts/benchmark.sh; exit 0; fi

if [[ -z ${VELMORATIX_EDIDS-} && -d ../shared/edids ]]; then
  VELMORATIX_EDIDS=$(cd ../shared/edids && pwd)
  export VELMORATIX_EDIDS
fi

scripts/install-needs.sh build benchmark
echo "Building the benchmarks (release)." >&2
mkdir -p build/release
(cmake --preset release -DVELMORATIX_BENCHMARKS=ON && cmake --build --preset release --target velmoratix_benchmarks) \
  >build/release/benchmark-build.log 2>&1 || {
  tail -n 40 build/release/benchmark-build.log >&2
  echo "benchmark.sh: the build failed; all of it stands in build/release/benchmark-build.log" >&2
  exit 1
}

# The simulated Mac's disk in memory, where there is such a folder: how fast a disk flushes is not ours to hold.
if [[ -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi
program=build/release/velmoratix_benchmarks
found=build/release/benchmarks
rm -f "$found"-*.json
"$program" --benchmark_filter=-ResidentMemory --benchmark_out="$found-time.json" "$@"
# Alone, or it would see the memory of the others.
"$program" --benchmark_filter=ResidentMemory --benchmark_out="$found-memory.json" >/dev/null 2>&1

# Times are processor times, so that a busy machine finds the same.
awk '
  # A line of the results is `"key": value,`, and that with the name comes first.
  {
    key = $1; value = $2
    gsub(/[":,]/, "", key); gsub(/[",]/, "", value)
    if (key == "name") name = value
    cell[name, key] = value
    if (key == "error_occurred" && value == "true") status = 1
  }

  function time(name) { return cell[name, "cpu_time"] }
  function row(figure, isRun, value, limit, unit) {
    held = !isRun ? "not run" : value + 0 <= limit ? "held" : "NOT HELD"
    if (held == "NOT HELD") status = 1
    printf "%-58s %10s %8s %-3s %s\n", figure, isRun ? sprintf("%.2f", value) : "-", limit, unit, held
  }
  # Of one EDID of many, in microseconds.
  function each(name) { return cell[name, "each"] * 1e6 }
  function ratio(figure, ours, theirs, limit) {
    row(figure, time(ours) && time(theirs), time(theirs) ? time(ours) / time(theirs) : 0, limit, "x")
  }

  END {
    discovery = "DisplaysAreDiscovered/displays:8/modes:300/iterations:5"
    applied = "SetIsApplied/iterations:500"
    day = "Day/iterations:10"
    memory = cell["ResidentMemory/iterations:1", "kilobytes"]
    printf "\n%-58s %10s %8s\n", "figure", "found", "limit"
    ratio("saving, in libplist parse and write", "DocumentIsSaved", "LibplistParsesAndWrites", 1.5)
    ratio("loading, in libplist parse", "FileBecomesTheDocument", "LibplistParses", 1.5)
    ratio("generating timings, in libxcvt", "TimingsAreGenerated", "LibxcvtGenerates", 0.5)
    row("discovery of 8 displays, 300 modes, 50 records", time(discovery), time(discovery), 20, "ms")
    row("check marks, 50 sets of 4 displays", time("SetsAreMarked"), time("SetsAreMarked"), 200, "us")
    # All of it, with the simulated Mac at work: what is our own is less.
    row("applying a set of 4 displays, with the machine at work", time(applied), time(applied) / 1000, 1, "ms")
    row("idle tick, 4 displays", time("IdleSecond"), time("IdleSecond"), 20, "us")
    row("a day: 86,400 ticks, 2,000 events", time(day), time(day) / 1000, 2, "s")
    row("identity in an EDID", each("IdentityIsRead"), each("IdentityIsRead"), 0.5, "us")
    row("search for our extension in an EDID", each("ExtensionIsSearched"), each("ExtensionIsSearched"), 0.5, "us")
    row("comparing two equal EDIDs of 256 bytes", time("EqualEdidsAreCompared"), time("EqualEdidsAreCompared"), 50, "ns")
    row("override file of 200 entries, read and composed", time("OverrideFileIsReadAndComposed"), \
        time("OverrideFileIsReadAndComposed") / 1000, 1, "ms")
    # What the machine keeps for a while (ended transactions) comes and goes; one small entry an hour would be seen.
    row("heap grown from the first day to the tenth", time(day), cell[day, "bytesGrown"] / 1024, 16, "KB")
    row("most resident memory, laptop-and-two", memory, memory / 1024, 20, "MB")
    exit status
  }' "$found"-*.json
