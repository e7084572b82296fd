#!/usr/bin/env bash
# Installs what is missing, then runs every check and test; stops at the first that fails.
#   scripts/test.sh [--help]
# MACOS_SDK         a macOS SDK: builds and checks the macOS program, too
# VELMORATIX_EDIDS  a folder of EDID files for the tests that read many; ../shared/edids when that is there
# VELMORATIX_TIDY   1: lets clang read the tests, too, and runs clang-tidy over all files, which takes long
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if [[ ${1-} == --help ]]; then sed -n '2,6s/^# //p' scripts/test.sh; exit 0; fi
say() { printf '== %s (%d s)\n' "$*" "$SECONDS"; }

if [[ -z ${VELMORATIX_EDIDS-} && -d ../shared/edids ]]; then
  VELMORATIX_EDIDS=$(cd ../shared/edids && pwd)
  export VELMORATIX_EDIDS
fi

scripts/install-needs.sh build test
say "Layout and storeys"
scripts/check-format.sh
scripts/tests/check-storeys-test.sh
scripts/check-storeys.sh
scripts/tests/documents-test.sh
scripts/check-texts.py
scripts/tests/check-texts-test.sh

say "Build with g++ and sanitizers"
cmake --preset check >/dev/null
cmake --build --preset check || {
  echo "test.sh: when only this build fails and the preset debug does not, two files of a batch give one name to two" \
    "things: rename one, or let batch_files in CMakeLists.txt leave it alone" >&2
  exit 1
}

if [[ -x build/check/velmoratix-simulator ]]; then
  say "Scenarios"
  scripts/run-scenarios.sh build/check/velmoratix-simulator
fi

say "Warnings of clang++"
cmake --preset check-clang >/dev/null
cmake --build --preset check-clang
# The tests as well only on request: a minute more than a test run has.
if [[ ${VELMORATIX_TIDY-} == 1 ]]; then cmake --build build/check-clang; fi

if [[ ${VELMORATIX_TIDY-} == 1 ]]; then
  say "clang-tidy"
  scripts/tidy.sh
fi

if [[ -n ${MACOS_SDK-} ]]; then
  say "macOS"
  scripts/cross-build-macos.sh
  scripts/tests/cross-build-test.sh
else
  say "macOS skipped: MACOS_SDK is not set"
fi

say "Tests"
ctest --preset check
