#!/usr/bin/env bash
# Compiles the macOS program from Linux, for both processors, against the SDK that MACOS_SDK names.
#   scripts/cross-build-macos.sh [--help] [FILE...]
# FILE: a source file of Sources/, relative to the repository's root; without one, all of Sources/ is compiled.
# Objects go to build/macos/<processor>/; only what changed is compiled again. Nothing is linked yet.
# Needs clang-19, lld-19 and libc++-19-dev (installed by name when missing). Status 1: a file failed; 2: no SDK.
set -euo pipefail
# Relative to where the caller stands.
[[ -z ${MACOS_SDK-} || ! -d ${MACOS_SDK} ]] || MACOS_SDK=$(cd "$MACOS_SDK" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [[ ${1-} == --help ]]; then sed -n '2,6s/^# //p' scripts/cross-build-macos.sh; exit 0; fi
if [[ -z ${MACOS_SDK-} ]]; then
  cat >&2 <<'TEXT'
cross-build-macos.sh: MACOS_SDK is not set. It names a macOS SDK laid out as a sysroot:
  $MACOS_SDK/System/Library/Frameworks  the frameworks, with headers and .tbd stubs
  $MACOS_SDK/usr/include                the C headers (and c++/v1, where the SDK has it)
  $MACOS_SDK/usr/lib                    the .tbd stubs of the libraries
On a Mac it is what "xcrun --show-sdk-path" prints. Then: MACOS_SDK=/path/to/sdk scripts/cross-build-macos.sh
TEXT
  exit 2
fi
[[ -d $MACOS_SDK/System/Library/Frameworks ]] ||
  { echo "cross-build-macos.sh: $MACOS_SDK: no System/Library/Frameworks in it" >&2; exit 2; }
scripts/install-needs.sh cross

# The SDK's own C++ library says which functions the oldest supported system lacks; LLVM's headers do not know.
libcxx=$MACOS_SDK/usr/include/c++/v1
[[ -f $libcxx/__config ]] || libcxx=/usr/lib/llvm-19/include/c++/v1

warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror"
common="-isysroot $MACOS_SDK -nostdinc++ -isystem $libcxx -ISources -I. -std=c++20 -O2 $warnings"
# Systems back to 10.15 are supported, so the adapter calls functions that newer ones call deprecated;
# what a supported system lacks must stand behind @available.
objective="-fobjc-arc -Wno-deprecated-declarations -Wunguarded-availability"

if (($# > 0)); then
  files=("$@")
else
  mapfile -t files < <(find Sources -type f \( -name '*.cpp' -o -name '*.mm' \) | LC_ALL=C sort)
fi
((${#files[@]} > 0)) || { echo "cross-build-macos.sh: no source files in Sources/" >&2; exit 1; }

mkdir -p build/macos
{
  echo "builddir = build/macos"
  for processor in arm64 x86_64; do
    target=arm64-apple-macos11
    [[ $processor == arm64 ]] || target=x86_64-apple-macos10.15
    printf 'rule %s\n' "$processor"
    printf '  command = clang++-19 -target %s %s $flags -MMD -MF $out.d -c $in -o $out\n' "$target" "$common"
    printf '  description = %s $in\n  depfile = $out.d\n  deps = gcc\n' "$processor"
    for file in "${files[@]}"; do
      [[ -f $file ]] || { echo "cross-build-macos.sh: $file: no such file" >&2; exit 1; }
      printf 'build build/macos/%s/%s.o: %s %s\n' "$processor" "$file" "$processor" "$file"
      [[ $file != *.mm ]] || printf '  flags = %s\n' "$objective"
    done
  done
} >build/macos/build.ninja

echo "Compiling ${#files[@]} files for arm64-apple-macos11 and x86_64-apple-macos10.15 (objects only, no link yet)."
NINJA_STATUS='[%f/%t] ' ninja -f build/macos/build.ninja -k 0
echo "Compiled for macOS without a warning; not linked."
