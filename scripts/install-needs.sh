#!/usr/bin/env bash
# Installs what a stock Debian 12 lacks, by name; does nothing, quickly, when all is there.
#   scripts/install-needs.sh NEED...
# NEED: build, test, fuzz, benchmark, cross.
set -euo pipefail

packages_for() {
  case $1 in
    build) echo g++ cmake ninja-build pkg-config libplist-dev libcli11-dev nlohmann-json3-dev libedit-dev ;;
    test) echo libgtest-dev clang clang-format clang-tidy libplist-utils edid-decode icc-profiles-free ;;
    fuzz) echo clang libclang-rt-14-dev ;;
    benchmark) echo libbenchmark-dev libxcvt-dev ;;
    cross) echo clang-19 lld-19 libc++-19-dev llvm ninja-build ;;
    *) echo "install-needs.sh: unknown need '$1' (build, test, fuzz, benchmark, cross)" >&2; return 2 ;;
  esac
}

if [[ $# == 0 || $1 == --help ]]; then sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit 0; fi
packages=()
for need in "$@"; do
  names=$(packages_for "$need")
  read -r -a more <<<"$names"
  packages+=("${more[@]}")
done

missing=()
for package in "${packages[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $state == installed ]] || missing+=("$package")
done
((${#missing[@]} > 0)) || exit 0

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || {
    echo "install-needs.sh: missing, and neither root nor sudo to install it: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}
{ "${as_root[@]}" apt-get update -q && install; } >"$log" 2>&1 || {
  tail -n 20 "$log" >&2
  echo "install-needs.sh: could not install ${missing[*]}" >&2
  exit 1
}
