#!/usr/bin/env bash
# Checks that every source file is laid out as clang-format would; changes nothing.
#   scripts/check-format.sh [FILE...]
# FILE: the files to check, all of the repository without one. To mend: clang-format -i FILE
set -euo pipefail
if [[ ${1-} == --help ]]; then sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit 0; fi

files=("$@")
if ((${#files[@]} == 0)); then
  cd "$(dirname "${BASH_SOURCE[0]}")/.."
  folders=()
  for folder in Sources Simulator Tests Benchmarks Fuzz; do [[ ! -d $folder ]] || folders+=("$folder"); done
  ((${#folders[@]} == 0)) || mapfile -d '' files < <(
    find "${folders[@]}" -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) -print0 | LC_ALL=C sort -z)
fi
((${#files[@]} > 0)) || { echo "check-format.sh: no source files" >&2; exit 2; }

printf '%s\0' "${files[@]}" | xargs -0 -n 16 -P "$(nproc)" clang-format --dry-run -Werror ||
  { echo "check-format.sh: mend with clang-format -i" >&2; exit 1; }
echo "Layout: ${#files[@]} files as clang-format would write them."
