#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, on all processors.
#   scripts/tidy.sh [FILE...]
# FILE: source files relative to the repository's root; without one, every file of the build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ ${1-} == --help ]]; then sed -n '2,4s/^# //p' scripts/tidy.sh; exit 0; fi

scripts/install-needs.sh build test
cmake --preset debug-clang -B build/tidy -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
files=("$@")
if ((${#files[@]} == 0)); then
  mapfile -t files < <(sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' build/tidy/compile_commands.json)
fi
((${#files[@]} > 0)) || { echo "tidy.sh: no source files" >&2; exit 2; }
echo "clang-tidy over ${#files[@]} files."
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/tidy \
  2> >(grep -v " warnings\? generated\.$" >&2) ||
  { echo "tidy.sh: clang-tidy found faults" >&2; exit 1; }
