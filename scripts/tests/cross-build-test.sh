#!/usr/bin/env bash
# Links a small made-up program for both processors against a made-up SDK, and lets check-program.py read it: as it is,
# and with one fault at a time. Needs what the cross build needs, but no SDK.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/cross-build
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree sdk=$scratch/sdk app="$scratch/Lamp Daemon.app"
failures=0
# What the program at hand was made of: most faults are not in it.
built=
lipo=
for name in llvm-lipo-19 llvm-lipo llvm-lipo-14; do [[ -n $lipo ]] || lipo=$(command -v "$name" || true); done

# put FILE LINE...: writes a file.
put() {
  mkdir -p "$(dirname "$1")"
  printf '%s\n' "${@:2}" >"$1"
}

# A port of two functions, one of them overloaded, and one private function that is looked up.
new_tree() {
  rm -rf "$tree" "$sdk" "$app"
  put "$tree/scripts/cross-build/run-time-names.txt" '# The C library.' 'libSystem _puts # to be read' \
    'libSystem _stat$INODE64 x86_64' 'libSystem dyld_stub_binder' 'libc++ __ZdlPv' 'libc++ __ZdlPvm'
  put "$tree/Sources/Platform/Lamp.h" 'class Lamp {' ' public:' '  virtual ~Lamp() = default;' \
    '  virtual int glow(int watts) = 0;' '  virtual int glow(double) = 0;' '  /// virtual void burn();' \
    '  virtual void darken() = 0;' '};'
  put "$tree/Sources/Platform/MacOS/Adapters.h" 'std::unique_ptr<Lamp> makeNativeLamp();'
  put "$tree/Sources/Platform/MacOS/PrivateSymbols.h" 'struct PrivateSymbols {' '  /// Brightness; returns 0.' \
    '  int (*DeskGlow)(int) = nullptr;' '};'
  put "$tree/Sources/Platform/MacOS/PrivateSymbols.mm" '  const Library desk("/System/Library/Frameworks/Desk");' \
    '  desk.lookUp("DeskGlow", symbols.DeskGlow);'
  put "$tree/Sources/Lamp.mm" '#include "Platform/Lamp.h"' 'extern "C" int DeskSwitchOn(), puts(const char*);' \
    'extern "C" int DeskHidden(), DeskGlow(int);' 'int face __asm("_OBJC_CLASS_$_Face") = 1;' \
    'namespace vlm::native { namespace {' 'struct NativeLamp final : Lamp {' \
    '  int glow(int) override { return DeskSwitchOn(); }' '  int glow(double) override { return puts("on"); }' \
    '  void darken() override { puts("off"); }' '}; }' 'Lamp* makeNativeLamp() { return new (place) NativeLamp; } }' \
    'int main() { vlm::native::makeNativeLamp()->darken(); }'
  sed -i '1a inline void* operator new(unsigned long, void* at) noexcept { return at; }\nalignas(8) char place[64];' \
    "$tree/Sources/Lamp.mm"
  put "$tree/Info.plist" '<plist version="1.0"><dict><key>CFBundleExecutable</key><string>Lamp Daemon</string>' \
    '<key>CFBundleIdentifier</key><string>org.lamp</string><key>CFBundleVersion</key><string>1.2</string>' \
    '<key>NSPrincipalClass</key><string>Face</string><key>CFBundleIconFile</key><string>Lamp</string>' \
    '<key>LSMinimumSystemVersion</key><string>10.15</string><key>LSMinimumSystemVersionByArchitecture</key>' \
    '<dict><key>arm64</key><string>11.0</string><key>x86_64</key><string>10.15</string></dict></dict></plist>'
  mkdir -p "$tree/Sources/Programs/Daemon" "$tree/docs" "$sdk/usr/include"
  put "$sdk/System/Library/Frameworks/Desk.framework/Headers/Desk.h" 'int DeskSwitchOn(void);'
  put "$sdk/System/Library/Frameworks/Desk.framework/Desk.tbd" '--- !tapi-tbd' 'tbd-version: 4' \
    'targets: [ x86_64-macos, arm64-macos ]' "install-name: '/System/Library/Frameworks/Desk.framework/Desk'" \
    'exports:' \
    '  - targets: [ x86_64-macos, arm64-macos ]' '    symbols: [ _DeskSwitchOn, _DeskHidden,' \
    '                _DeskGlow ]' '...'
  platforms=("arm64 11 14.2" "x86_64 10.15 14.2")
}

# Compiles and links the program, and puts the application together.
build() {
  local made_of
  made_of=$(cat "$tree/Sources/Lamp.mm" "$tree/Sources/Platform/Lamp.h"; echo "${platforms[@]}")
  if [[ $made_of != "$built" ]]; then link; fi
  mkdir -p "$app/Contents/MacOS" "$app/Contents/Resources"
  cp "$scratch/program" "$app/Contents/MacOS/Lamp Daemon"
  cp "$tree/Info.plist" "$app/Contents/Info.plist"
  touch "$app/Contents/Resources/Lamp.icns"
}

# Makes the program anew.
link() {
  local processor oldest version platform parts=()
  built=
  python3 -B "$here/stubs.py" "$tree/scripts/cross-build/run-time-names.txt" "$sdk" "$scratch/stubs"
  for platform in "${platforms[@]}"; do
    read -r processor oldest version <<<"$platform"
    clang++-19 -target "$processor-apple-macos$oldest" -nostdinc++ -std=c++20 -O1 -fno-rtti -fno-exceptions -w -x c++ \
      -I"$tree/Sources" -c "$tree/Sources/Lamp.mm" -o "$scratch/$processor.o"
    ld64.lld-19 -arch "$processor" -platform_version macos "$oldest" "$version" -syslibroot "$sdk" -L"$scratch/stubs" \
      -adhoc_codesign -lSystem -lc++ -framework Desk \
      -o "$scratch/$processor" "$scratch/$processor.o" || return 1
    parts+=("$scratch/$processor")
  done
  "$lipo" -create "${parts[@]}" -output "$scratch/program"
  built=${made_of-}
}

check() { python3 -B "$here/check-program.py" "$@" "$app" "$sdk" "$tree"; }

# expect WHAT STATUS LINE...: builds, checks, and compares the status and the lines that tell of faults.
expect() {
  local what=$1 status=$2 wanted="" seen_status=0 seen
  shift 2
  (($# == 0)) || wanted=$(printf 'check-program.py: %s\n' "$@")
  build
  [[ $what == *document* ]] || check --renew >/dev/null 2>&1 || true
  seen=$(check 2>&1 >/dev/null) || seen_status=$?
  if [[ $seen_status != "$status" || $seen != "$wanted" ]]; then
    printf 'FAILED: %s\n  wanted (%s): %s\n  got    (%s): %s\n' "$what" "$status" "$wanted" "$seen_status" "$seen"
    failures=$((failures + 1))
  fi
}

# edit FILE SCRIPT...: changes a file by sed.
edit() { sed -i "${@:2}" "$1"; }

new_tree
expect 'a good program' 0
new_tree
expect 'no document' 1 'docs/platform-calls.md: missing; scripts/cross-build-macos.sh --renew writes it'
put "$tree/docs/platform-calls.md" '# Platform calls' '`DeskSwitchOn`, `DeskSwitchOff`'
expect 'a document of another program' 1 \
  'docs/platform-calls.md: DeskGlow is new, DeskSwitchOff is gone; scripts/cross-build-macos.sh --renew writes it anew'

new_tree && edit "$tree/Sources/Lamp.mm" 's/return DeskSwitchOn()/return DeskHidden()/'
expect 'a function that no header has' 1 'DeskHidden is linked, but no header of the SDK has it'
new_tree && edit "$tree/Sources/Lamp.mm" 's/return DeskSwitchOn()/return DeskGlow(1)/'
put "$sdk/usr/include/glow.h" 'int DeskGlow(int);'
expect 'a private function that is linked' 1 'DeskGlow is private and linked; it must be looked up by name'
new_tree && edit "$tree/Sources/Platform/MacOS/PrivateSymbols.mm" '2d'
expect 'a private function that nobody looks up' 1 'PrivateSymbols.mm: nobody looks DeskGlow up'
new_tree && edit "$tree/Sources/Platform/MacOS/PrivateSymbols.h" '2d'
expect 'a private function without a word' 1 'PrivateSymbols.h: no line says what DeskGlow takes and returns'
new_tree && put "$tree/Sources/Face.mm" 'void* found = dlsym(desk, "DeskGlow");'
expect 'a look-up elsewhere' 1 'Sources/Face.mm: looks a symbol up; PrivateSymbols.mm does that'

new_tree && edit "$tree/Sources/Platform/Lamp.h" 's/darken() = 0/darken() {}/'
edit "$tree/Sources/Lamp.mm" '/void darken() override/d'
expect 'a function that the adapter leaves out' 1 'Lamp.h: Lamp::darken is not pure: an adapter could leave it out' \
  'arm64: Lamp::darken is not overridden by NativeLamp (0 of 1)' \
  'x86_64: Lamp::darken is not overridden by NativeLamp (0 of 1)'
new_tree && edit "$tree/Sources/Platform/Lamp.h" 's/glow(double) = 0/glow(double) { return 0; }/'
edit "$tree/Sources/Lamp.mm" '/int glow(double) override/d'
expect 'an overload that the adapter leaves out' 1 'Lamp.h: Lamp::glow is not pure: an adapter could leave it out' \
  'arm64: Lamp::glow is not overridden by NativeLamp (1 of 2)' \
  'x86_64: Lamp::glow is not overridden by NativeLamp (1 of 2)'

new_tree && platforms=("x86_64 10.15 14.2")
expect 'one processor' 1 'the program is for x86_64, not for arm64, x86_64'
new_tree && platforms=("arm64 11 14.2" "x86_64 10.15 10.15")
expect 'an SDK that is not stated' 1 'x86_64: says that its SDK is 10.15'
new_tree && platforms=("arm64 11 14.2" "x86_64 11 14.2")
expect 'a system that is too new' 1 'x86_64: made for platform 1 from 11.0 on'

new_tree && edit "$tree/Info.plist" 's/1\.2/@PROJECT_VERSION@/'
expect 'a version that is not filled in' 1 'Info.plist: @PROJECT_VERSION@ was not filled in'
new_tree && edit "$tree/Info.plist" 's/Face/Back/'
expect 'a principal class that is not there' 1 'Info.plist: arm64: no class _OBJC_CLASS_$_Back in the program' \
  'Info.plist: x86_64: no class _OBJC_CLASS_$_Back in the program'
new_tree && edit "$tree/Info.plist" 's/>11\.0</>11.1</'
expect 'another oldest system' 1 \
  "Info.plist: LSMinimumSystemVersionByArchitecture is not that of the program: {'arm64': '11.0', 'x86_64': '10.15'}"
new_tree && put "$tree/Sources/Programs/Daemon/org.lamp.plist" '<plist version="1.0"><dict><key>Label</key>' \
  '<string>org.lamp</string><key>ProgramArguments</key><array><string>/Lamp</string></array></dict></plist>'
expect 'a launch agent of something else' 1 \
  'org.lamp.plist: does not start /Lamp Daemon.app/Contents/MacOS/Lamp Daemon'
new_tree && put "$tree/Sources/Programs/Daemon/Daemon.entitlements" '<plist version="1.0"><dict>'
expect 'a property list that cannot be read' 1 \
  "$tree/Sources/Programs/Daemon/Daemon.entitlements: no property list: no element found: line 2, column 0"

# What the linker would refuse: the stub and the list that the check reads have lost the names since.
new_tree && link && build && edit "$tree/scripts/cross-build/run-time-names.txt" '/_puts/d'
edit "$sdk/System/Library/Frameworks/Desk.framework/Desk.tbd" 's/_DeskSwitchOn, //'
seen=$(check --renew 2>&1 >/dev/null || true)
for processor in arm64 x86_64; do
  for name in _puts _DeskSwitchOn; do
    [[ $seen == *"$processor: $name, of "* ]] ||
      { echo "FAILED: an unexplained symbol: $processor $name in: $seen"; failures=$((failures + 1)); }
  done
done
# And it does refuse them.
if (link) >/dev/null 2>&1; then
  echo "FAILED: the program was linked without its names"
  failures=$((failures + 1))
fi

((failures == 0)) || { echo "cross-build-test.sh: $failures failed"; exit 1; }
echo "The check of the macOS program finds every kind of fault."
