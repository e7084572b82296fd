#!/usr/bin/env bash
# Installs what is missing, builds optimised and runs the benchmarks.
#   scripts/benchmark.sh [ARGUMENT...]
# ARGUMENT: goes to the benchmarks, such as --benchmark_filter=EDID.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ ${1-} == --help ]]; then sed -n '2,4s/^# //p' scripts/benchmark.sh; exit 0; fi

scripts/install-needs.sh build benchmark
echo "Building the benchmarks (release)." >&2
mkdir -p build/release
(cmake --preset release -DVELMORATIX_BENCHMARKS=ON && cmake --build --preset release --target velmoratix_benchmarks) \
  >build/release/benchmark-build.log 2>&1 || {
  tail -n 40 build/release/benchmark-build.log >&2
  echo "benchmark.sh: the build failed; all of it stands in build/release/benchmark-build.log" >&2
  exit 1
}
exec build/release/velmoratix_benchmarks "$@"
