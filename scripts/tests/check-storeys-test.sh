#!/usr/bin/env bash
# Runs check-storeys.sh over small made-up trees: one that is good, and one for each kind of fault.
set -euo pipefail
check=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/check-storeys.sh
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

# Starts a tree that holds one empty header for each storey and adapter, to be included.
new_tree() {
  rm -rf "$scratch/tree"
  local header
  for header in Sources/Platform/Port.h Sources/Platform/MacOS/Native.h Sources/Shared/Prefs.h Sources/Models/Model.h \
    Sources/Colour/Profile.h Sources/Graphics/Switch.h Sources/Daemon/Power.h Sources/Daemon/Controllers/Main.h \
    Sources/Programs/Daemon/Face.h Simulator/Mac/Machine.h Simulator/Program/Prompt.h Tests/Helper.h; do
    put "$header" '#pragma once'
  done
}

# put FILE LINE...: writes a file into the tree.
put() {
  local file=$scratch/tree/$1
  shift
  mkdir -p "$(dirname "$file")"
  printf '%s\n' "$@" >"$file"
}

# expect WHAT STATUS OUTPUT: runs the check and compares its status and all that it printed.
expect() {
  local what=$1 status=$2 output=$3 seen_status=0 seen_output
  seen_output=$("$check" "$scratch/tree" 2>&1) || seen_status=$?
  if [[ $seen_status != "$status" || $seen_output != "$output" ]]; then
    printf 'FAILED: %s\n  wanted (%s): %s\n  got    (%s): %s\n' "$what" "$status" "$output" "$seen_status" "$seen_output"
    failures=$((failures + 1))
  fi
}

# expect_fault FILE LINE REASON: a tree with this one file more has this one fault, in the file's first line.
expect_fault() {
  new_tree
  put "$1" "$2"
  expect "$1: $2" 1 "$1:1: $3"
}

new_tree
put Sources/Platform/Port.cpp '#include "Platform/Port.h"' '#include <string>' '#include <cstdint>  // std::uint8_t'
put Sources/Platform/MacOS/Native.mm '#import <AppKit/AppKit.h>' '#include "Platform/MacOS/Native.h"' '#include "Platform/Port.h"'
put Sources/Models/Model+Sets.cpp '#include "Models/Model.h"' '#include "Colour/Profile.h"' '#include "Shared/Prefs.h"'
put Sources/Daemon/Power.cpp '#include "Power.h"' '#include "Models/Model.h"'
put Sources/Daemon/Controllers/Main.cpp '#include "Daemon/Power.h"' '// #include "Platform/MacOS/Native.h"'
put Sources/Programs/Daemon/main.mm '#include "Platform/MacOS/Native.h"' '#include "Daemon/Controllers/Main.h"'
put Simulator/Mac/Machine.cpp '#include <plist/plist.h>' '#include "Simulator/Mac/Machine.h"' '#include "Platform/Port.h"'
put Simulator/Program/main.cpp '#include <CLI/CLI.hpp>' '#include "Simulator/Mac/Machine.h"' '#include "Daemon/Controllers/Main.h"'
put Tests/ModelTest.cpp '#include <gtest/gtest.h>' '#include "Tests/Helper.h"' '#include "Simulator/Mac/Machine.h"'
expect 'a good tree' 0 'Storeys: 21 files, every include keeps to its storey.'

expect_fault Sources/Platform/A.h '#include "Shared/Prefs.h"' 'storey 0 includes "Shared/Prefs.h" of storey 1'
expect_fault Sources/Shared/A.h '#include "Models/Model.h"' 'storey 1 includes "Models/Model.h" of storey 2'
expect_fault Sources/Colour/A.cpp '  #  include "Daemon/Power.h"' 'storey 2 includes "Daemon/Power.h" of storey 3'
expect_fault Sources/Daemon/A.cpp '#include "Daemon/Controllers/Main.h"' \
  'storey 3 includes "Daemon/Controllers/Main.h" of storey 4'
expect_fault Sources/Daemon/Controllers/A.cpp '#include "Programs/Daemon/Face.h"' \
  'storey 4 includes "Programs/Daemon/Face.h" of storey 5'
expect_fault Simulator/Program/A.cpp '#include "Tests/Helper.h"' 'storey 5 includes "Tests/Helper.h" of storey 6'
expect_fault Sources/Shared/A.cpp '#include "Platform/MacOS/Native.h"' \
  'storey 1 includes the adapter "Platform/MacOS/Native.h"'
expect_fault Sources/Daemon/Controllers/A.cpp '#include "Simulator/Mac/Machine.h"' \
  'storey 4 includes the adapter "Simulator/Mac/Machine.h"'
expect_fault Simulator/Mac/A.cpp '#include "Shared/Prefs.h"' \
  'an adapter includes storey 0 and itself, "Shared/Prefs.h" is storey 1'
expect_fault Simulator/Mac/A.cpp '#include "Platform/MacOS/Native.h"' \
  'an adapter includes storey 0 and itself, "Platform/MacOS/Native.h" is an adapter'
expect_fault Sources/Platform/MacOS/A.mm '#import "Models/Model.h"' \
  'an adapter includes storey 0 and itself, "Models/Model.h" is storey 2'
expect_fault Sources/Models/A.cpp '#include <plist/plist.h>' \
  '<plist/plist.h> is not of the C++ standard library, which is all that portable code includes'
expect_fault Sources/Platform/A.h '#include <stdint.h>' \
  '<stdint.h> is not of the C++ standard library, which is all that portable code includes'
expect_fault Simulator/Mac/A.cpp '#include <Models/Model.h>' \
  '<Models/Model.h> is a file of this project: write it with quotes'
expect_fault Sources/Models/A.cpp '#include "../Daemon/Power.h"' \
  '"../Daemon/Power.h": write the path from Sources/ or from the root'
expect_fault Sources/Models/A.cpp '#include "plist/plist.h"' '"plist/plist.h" is no file of this project'
expect_fault Sources/Models/A.cpp '#include HEADER' 'an include that names no file'
expect_fault Sources/Attic/A.h '#pragma once' 'this folder stands on no storey'
expect_fault Sources/Daemon/Menus/A.h '#pragma once' 'this folder stands on no storey'
expect_fault Sources/Shared/A.mm '#pragma once' 'Objective-C stands in the macOS adapter and programs alone'

new_tree
put Sources/Shared/A.h '#pragma once' '#include <string>' '#include "Models/Model.h"' '#include <unistd.h>'
expect 'two faults in one file' 1 'Sources/Shared/A.h:3: storey 1 includes "Models/Model.h" of storey 2
Sources/Shared/A.h:4: <unistd.h> is not of the C++ standard library, which is all that portable code includes'

rm -rf "$scratch/tree" && mkdir "$scratch/tree"
expect 'an empty tree' 2 "check-storeys.sh: no source files in $scratch/tree"

((failures == 0)) || { echo "check-storeys-test.sh: $failures failed"; exit 1; }
echo "The storey check finds every kind of fault."
