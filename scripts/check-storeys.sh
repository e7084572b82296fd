#!/usr/bin/env bash
# Holds the includes of the code to the storeys of the house: a file includes from its own storey or a lower one.
#   scripts/check-storeys.sh [ROOT]
# ROOT: the tree to check, this repository without it. Prints "file:line: reason" for each fault.
# Status 0: no fault; 1: faults; 2: nothing to check.
#
#   0 Sources/Platform   1 Sources/Shared   2 Sources/Models, Sources/Colour, Sources/Graphics   3 Sources/Daemon
#   4 Sources/Daemon/Controllers   5 Sources/Programs, Simulator/Program   6 Tests, Benchmarks, Fuzz
# The adapters Sources/Platform/MacOS and Simulator/Mac include storey 0 and themselves; storeys 5 and 6 include them.
# Portable code (storeys 0 to 4) includes nothing but itself and the C++ standard library.
set -euo pipefail
if [[ ${1-} == --help ]]; then sed -n '2,10s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0; fi
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

folders=()
for folder in Sources Simulator Tests Benchmarks Fuzz; do [[ ! -d $folder ]] || folders+=("$folder"); done
files=()
if ((${#folders[@]} > 0)); then
  mapfile -d '' files < <(find "${folders[@]}" -type f \
    \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' -o -name '*.mm' -o -name '*.m' \) -print0 | LC_ALL=C sort -z)
fi
((${#files[@]} > 0)) || { echo "check-storeys.sh: no source files in $PWD" >&2; exit 2; }

LC_ALL=C awk '
BEGIN {
  count = split("algorithm any array atomic barrier bit bitset charconv chrono codecvt compare complex concepts " \
    "condition_variable coroutine deque exception execution expected filesystem format forward_list fstream " \
    "functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map " \
    "memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex " \
    "scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf " \
    "string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo " \
    "unordered_map unordered_set utility valarray variant vector version cassert cctype cerrno cfenv cfloat " \
    "cinttypes climits clocale cmath csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar " \
    "cwchar cwctype", names, " ")
  for (i = 1; i <= count; i++) standard[names[i]] = 1
  for (i = 1; i < ARGC; i++) exists[ARGV[i]] = 1
}

# "0" to "6", "mac" or "simulator" for the adapters, "" for a folder that stands on no storey.
function storey_of(path) {
  if (path ~ /^Sources\/Platform\/MacOS\//) return "mac"
  if (path ~ /^Sources\/Platform\//) return "0"
  if (path ~ /^Sources\/Shared\//) return "1"
  if (path ~ /^Sources\/(Models|Colour|Graphics)\//) return "2"
  if (path ~ /^Sources\/Daemon\/[^\/]+$/) return "3"
  if (path ~ /^Sources\/Daemon\/Controllers\//) return "4"
  if (path ~ /^(Sources\/Programs|Simulator\/Program)\//) return "5"
  if (path ~ /^Simulator\/Mac\//) return "simulator"
  if (path ~ /^(Tests|Benchmarks|Fuzz)\//) return "6"
  return ""
}
function is_adapter(storey) { return storey == "mac" || storey == "simulator" }
function is_portable(storey) { return !is_adapter(storey) && storey <= "4" }
function called(storey) { return is_adapter(storey) ? "an adapter" : "storey " storey }
function fault(reason) { print FILENAME ":" FNR ": " reason; faults++ }

# The file of the tree that the compiler would find for a quoted name; "" when there is none.
function resolved(name,   folder) {
  folder = FILENAME; sub(/[^\/]*$/, "", folder)
  if ((folder name) in exists) return folder name
  if (("Sources/" name) in exists) return "Sources/" name
  if (name in exists) return name
  return ""
}

function check_angle(name) {
  if (resolved(name) != "") fault("<" name "> is a file of this project: write it with quotes")
  else if (is_portable(storey) && !(name in standard))
    fault("<" name "> is not of the C++ standard library, which is all that portable code includes")
}

function check_quoted(name,   path, other) {
  if (name ~ /(^|\/)\.\.?\//) { fault("\"" name "\": write the path from Sources/ or from the root"); return }
  path = resolved(name)
  if (path == "") { fault("\"" name "\" is no file of this project"); return }
  other = storey_of(path)
  if (other == "") fault("\"" name "\" stands on no storey")
  else if (is_adapter(storey)) {
    if (other != "0" && other != storey) fault("an adapter includes storey 0 and itself, \"" name "\" is " called(other))
  }
  else if (is_adapter(other)) {
    if (storey < "5") fault("storey " storey " includes the adapter \"" name "\"")
  }
  else if (other > storey) fault("storey " storey " includes \"" name "\" of storey " other)
}

FNR == 1 {
  storey = storey_of(FILENAME)
  checked++
  if (storey == "") fault("this folder stands on no storey")
  else if (is_portable(storey) && FILENAME ~ /\.mm?$/) fault("Objective-C stands in the macOS adapter and programs alone")
}
storey == "" { next }
/^[ \t]*#[ \t]*(include|include_next|import)[^a-zA-Z0-9_]/ {
  line = $0
  sub(/^[ \t]*#[ \t]*[a-z_]+[ \t]*/, "", line)
  if (line ~ /^<[^>]+>/) { sub(/^</, "", line); sub(/>.*$/, "", line); check_angle(line) }
  else if (line ~ /^"[^"]+"/) { sub(/^"/, "", line); sub(/".*$/, "", line); check_quoted(line) }
  else fault("an include that names no file")
}
END {
  if (faults) exit 1
  print "Storeys: " checked " files, every include keeps to its storey."
}
' "${files[@]}"
