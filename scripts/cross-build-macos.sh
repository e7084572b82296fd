#!/usr/bin/env bash
# Builds the macOS program from Linux, for both processors, against the SDK that MACOS_SDK names, and checks it.
#   scripts/cross-build-macos.sh [--help] [--renew] [FILE...]
# FILE: a source file of Sources/, relative to the repository's root: it is compiled for both processors, nothing more.
# Without one the program is compiled, linked and put together as "Velmoratix Daemon.app", in the place that it has in
# build/macos/Velmoratix.app; then it says what it checked. Objects go to build/macos/<processor>/; only what changed is
# compiled again.
# --renew: writes docs/platform-calls.md anew instead of comparing it with the program.
# CMAKE_BUILD_PARALLEL_LEVEL: how many files are compiled at once.
# Needs clang-19, lld-19, libc++-19-dev and llvm (installed by name when missing).
# Status 1: a file, the link or a check failed; 2: no SDK.
set -euo pipefail
# Relative to where the caller stands.
[[ -z ${MACOS_SDK-} || ! -d ${MACOS_SDK} ]] || MACOS_SDK=$(cd "$MACOS_SDK" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [[ ${1-} == --help ]]; then sed -n '2,11s/^# //p' scripts/cross-build-macos.sh; exit 0; fi
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
fail() { echo "cross-build-macos.sh: $*" >&2; exit "${status:-1}"; }
[[ -d $MACOS_SDK/System/Library/Frameworks ]] || status=2 fail "$MACOS_SDK: no System/Library/Frameworks in it"
renew=()
if [[ ${1-} == --renew ]]; then renew=(--renew); shift; fi
scripts/install-needs.sh cross

# The SDK's own C++ library says which functions the oldest supported system lacks; LLVM's headers do not know.
libcxx=$MACOS_SDK/usr/include/c++/v1
[[ -f $libcxx/__config ]] || libcxx=/usr/lib/llvm-19/include/c++/v1

processors=(arm64 x86_64)
declare -A oldest=([arm64]=11 [x86_64]=10.15)
warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror"
common="-isysroot $MACOS_SDK -nostdinc++ -isystem $libcxx -ISources -I. -std=c++20 -O2 $warnings"
# Systems back to 10.15 are supported, so the adapter calls functions that newer ones call deprecated;
# what a supported system lacks must stand behind @available.
objective="-fobjc-arc -Wno-deprecated-declarations -Wunguarded-availability"
# CMakeLists.txt names the same ones.
frameworks=(AppKit ApplicationServices AudioToolbox Carbon ColorSync CoreAudio CoreFoundation CoreGraphics CoreServices
  Foundation IOKit)

program="Velmoratix Daemon"
build=build/macos
stubs=$build/stubs

# The version that the SDK is of, which the program has to state: one that states none is told that a newer system than
# 10.15 is "10.16", on x86_64.
sdk_version() {
  if [[ -f $MACOS_SDK/SDKSettings.json ]]; then
    sed -n 's/.*"Version" *: *"\([0-9.]*\)".*/\1/p' "$MACOS_SDK/SDKSettings.json" | head -n 1
  else
    awk '/^#define __MAC_[0-9]/ { if ($3 > newest) newest = $3 }
      END { if (newest >= 110000) printf "%d.%d\n", newest / 10000, newest / 100 % 100 }' \
      "$MACOS_SDK/usr/include/AvailabilityVersions.h"
  fi
}

# print_rules FILE...: how to compile each file for both processors, and without a FILE of the caller's how to link.
print_rules() {
  echo "builddir = $build"
  local processor file libraries="" object
  for file in "${frameworks[@]}"; do libraries+=" -framework $file"; done
  for processor in "${processors[@]}"; do
    printf 'rule %s\n' "$processor"
    printf '  command = clang++-19 -target %s-apple-macos%s %s $flags -MMD -MF $out.d -c $in -o $out\n' \
      "$processor" "${oldest[$processor]}" "$common"
    printf '  description = %s $in\n  depfile = $out.d\n  deps = gcc\n' "$processor"
    for file in "$@"; do
      printf 'build %s/%s/%s.o: %s %s\n' "$build" "$processor" "$file" "$processor" "$file"
      [[ $file != *.mm ]] || printf '  flags = %s\n' "$objective"
    done
    [[ $whole == yes ]] || continue
    printf 'rule link_%s\n' "$processor"
    printf '  command = ld64.lld-19 -arch %s -platform_version macos %s %s -syslibroot %s -L%s %s%s %s\n' \
      "$processor" "${oldest[$processor]}" "$sdk" "$MACOS_SDK" "$stubs" \
      "-adhoc_codesign -dead_strip -dead_strip_dylibs -fatal_warnings -lSystem -lobjc -lc++" "$libraries" \
      '-o $out @$out.rsp'
    printf '  description = %s link\n  rspfile = $out.rsp\n  rspfile_content = $in_newline\n' "$processor"
    printf 'build %s/%s/%s: link_%s' "$build" "$processor" "${program// /\$ }" "$processor"
    for object in "$@"; do printf ' %s/%s/%s.o' "$build" "$processor" "$object"; done
    printf ' | %s\n' "${stub_files[*]}"
  done
}

compile() {
  local parallel=()
  [[ -z ${CMAKE_BUILD_PARALLEL_LEVEL-} ]] || parallel=(-j "$CMAKE_BUILD_PARALLEL_LEVEL")
  NINJA_STATUS='[%f/%t] ' ninja -f "$1" "${parallel[@]}" -k 0
}

mkdir -p "$build"
whole=no
if (($# > 0)); then
  for file in "$@"; do [[ -f $file ]] || fail "$file: no such file"; done
  print_rules "$@" >"$build/files.ninja"
  echo "Compiling $# files for arm64-apple-macos${oldest[arm64]} and x86_64-apple-macos${oldest[x86_64]}."
  compile "$build/files.ninja"
  echo "Compiled for macOS without a warning; not linked."
  exit 0
fi

whole=yes
mapfile -t files < <(find Sources -type f \( -name '*.cpp' -o -name '*.mm' \) | LC_ALL=C sort)
((${#files[@]} > 0)) || fail "no source files in Sources/"
lipo=
for name in llvm-lipo-19 llvm-lipo llvm-lipo-14; do [[ -n $lipo ]] || lipo=$(command -v "$name" || true); done
[[ -n $lipo ]] || fail "no llvm-lipo; the package llvm has it"
sdk=$(sdk_version)
[[ -n $sdk ]] || fail "$MACOS_SDK: neither SDKSettings.json nor usr/include/AvailabilityVersions.h says its version"
version=$(sed -n 's/^project(Velmoratix VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[[ -n $version ]] || echo "cross-build-macos.sh: CMakeLists.txt: project(Velmoratix VERSION ...) names no version" >&2

python3 -B scripts/cross-build/stubs.py scripts/cross-build/run-time-names.txt "$MACOS_SDK" "$stubs"
shopt -s nullglob
stub_files=("$stubs"/*.tbd)
shopt -u nullglob
print_rules "${files[@]}" scripts/cross-build/PlatformVersion.cpp >"$build/build.ninja"
echo "Compiling ${#files[@]} files for arm64-apple-macos${oldest[arm64]} and x86_64-apple-macos${oldest[x86_64]}" \
  "against the SDK of macOS $sdk, and linking them."
compile "$build/build.ninja"

# The bundle, four levels deep: the daemon looks for the control application around itself.
app="$build/Velmoratix.app/Contents/Library/LoginItems/$program.app"
rm -rf "$app"
mkdir -p "$app/Contents/MacOS" "$app/Contents/Resources"
"$lipo" -create "$build/arm64/$program" "$build/x86_64/$program" -output "$app/Contents/MacOS/$program"
chmod 755 "$app/Contents/MacOS/$program"
sed "s/@PROJECT_VERSION@/${version:-@PROJECT_VERSION@}/g" Sources/Programs/Daemon/Info.plist.in \
  >"$app/Contents/Info.plist"
printf 'APPL????' >"$app/Contents/PkgInfo"
cp -R Resources/. "$app/Contents/Resources/"
scripts/make-icons.py "$app/Contents/Resources"
echo "Built $app${version:+, version $version}. It is signed ad hoc, by the linker alone."

python3 -B scripts/cross-build/check-program.py "${renew[@]}" "$app" "$MACOS_SDK"
scripts/check-texts.py
