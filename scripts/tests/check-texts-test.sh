#!/usr/bin/env bash
# Runs check-texts.py over a small made-up tree that is good, and over copies of it with one fault each.
set -euo pipefail
check=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/check-texts.py
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree
failures=0

# put FILE LINE...: writes a file into the tree.
put() {
  local file=$tree/$1
  shift
  mkdir -p "$(dirname "$file")"
  printf '%s\n' "$@" >"$file"
}

# put_table LANGUAGE TABLE NUMBER...: a table in which each number has a text.
put_table() {
  local language=$1 table=$2 lines=() number
  shift 2
  for number in "$@"; do lines+=("<key>$number</key><string>Text $number</string>"); done
  put "Resources/$language.lproj/$table.strings" '<plist version="1.0"><!-- For translators. --><dict>' "${lines[@]}" \
    '</dict></plist>'
}

# The texts 1, 3, 4 and 10 to 12 of "Daemon", and the names of two keys and one modifier.
new_tree() {
  rm -rf "$tree"
  put Sources/Shared/Dlog.cpp \
    'std::string daemonText(std::int32_t index) { return GetBundleIndNSString("Daemon", index); }' \
    'void ask() { show(daemonText(1), daemonText(kExplanation)); }' 'constexpr int kExplanation = 3, kFirst = 10;' \
    'std::string kind() { return GetBundleIndNSString(kTable, truncateTo<std::int32_t>(kFirst + resolutionType)); }' \
    'constexpr const char* kTable = "Daemon"; // GetBundleIndNSString("Daemon", 99)' \
    'std::string name() { return GetBundleNSString("Daemon", "4", "none"); }'
  put Sources/Shared/Shortcuts.cpp \
    'kModifiers = {{{kControlBit, "^", 1006}}};' 'kKeyWords = {{ {"A", 0x00}, {"TAB", 0x30}, {"F1", 0x7A} }};'
  put Sources/Programs/Daemon/Info.plist.in '<plist version="1.0"><dict><key>NSDesktopFolderUsageDescription</key>' \
    '<string>Text NSDesktopFolderUsageDescription</string></dict></plist>'
  local language
  for language in de en fr ja; do
    put_table $language Daemon 1 3 4 10 11 12
    put_table $language KeysDescr 1006 48 122 5
    put_table $language InfoPlist NSDesktopFolderUsageDescription
  done
}

# expect WHAT STATUS OUTPUT: runs the check and compares its status and all that it printed.
expect() {
  local what=$1 status=$2 output=$3 seen_status=0 seen_output
  seen_output=$("$check" "$tree" 2>&1) || seen_status=$?
  if [[ $seen_status != "$status" || $seen_output != "$output" ]]; then
    printf 'FAILED: %s\n  wanted (%s): %s\n  got    (%s): %s\n' "$what" "$status" "$output" "$seen_status" "$seen_output"
    failures=$((failures + 1))
  fi
}

new_tree
expect 'a good tree' 0 'Texts: 44 in 3 tables of 4 languages (de, en, fr, ja), exactly those that the code asks for.'

new_tree && put_table fr Daemon 1 3 4 10 12
expect 'a missing number' 1 'Resources/fr.lproj/Daemon.strings: 11 is missing'
new_tree && put_table ja Daemon 1 3 4 5 10 11 12
expect 'a number that nobody asks for' 1 'Resources/ja.lproj/Daemon.strings: 5 is left over: nobody asks for it'
new_tree && put_table de Daemon 1 3 4 10 11 12 12
expect 'a number twice' 1 'Resources/de.lproj/Daemon.strings: 12 stands there twice'
new_tree && put_table de URL 4
expect 'a table that nobody asks for' 1 'Resources/de.lproj/URL.strings: left over: nobody asks for this table'
new_tree && rm "$tree/Resources/en.lproj/KeysDescr.strings"
expect 'a missing table' 1 'Resources/en.lproj: no table KeysDescr.strings'
new_tree && rm -r "$tree/Resources/fr.lproj"
expect 'a missing language' 1 'Resources/fr.lproj: missing'
new_tree && put_table fr KeysDescr 1006 48 5
expect 'a key without a name' 1 'Resources/fr.lproj/KeysDescr.strings: 122 is missing
Resources/fr.lproj/KeysDescr.strings: 122 is named here or in English, not in both'
new_tree && put_table fr KeysDescr 1006 48 122 5 6
expect 'a key that only one language names' 1 \
  'Resources/fr.lproj/KeysDescr.strings: 6 is named here or in English, not in both'
new_tree && put Resources/fr.lproj/Daemon.strings '"1" = "Text 1";'
expect 'a table in another form' 1 'Resources/fr.lproj/Daemon.strings: no property list: Invalid file'
new_tree && put Resources/fr.lproj/Daemon.strings '<plist version="1.0"><dict>'
expect 'a table that ends too early' 1 \
  'Resources/fr.lproj/Daemon.strings: no property list: no element found: line 2, column 0'
new_tree && sed -i 's/Text 48/→/' "$tree/Resources/ja.lproj/KeysDescr.strings"
expect 'a key name of one character' 1 \
  'Resources/ja.lproj/KeysDescr.strings: 48 has one character: the keyboard layout would be asked'
new_tree && sed -i 's/Text 3/ /' "$tree/Resources/ja.lproj/Daemon.strings"
expect 'an empty text' 1 'Resources/ja.lproj/Daemon.strings: 3 is empty'
new_tree && sed -i 's/Text N/Other N/' "$tree/Resources/en.lproj/InfoPlist.strings"
expect 'an English text that is not that of Info.plist' 1 \
  'Resources/en.lproj/InfoPlist.strings: NSDesktopFolderUsageDescription is not the text of Info.plist'
new_tree && sed -i 's/<!-- .* -->//' "$tree/Resources/fr.lproj/Daemon.strings"
expect 'no comment' 1 'Resources/fr.lproj/Daemon.strings: no comment for translators'
new_tree && put Sources/Models/Names.cpp 'std::string other(int n) { return GetBundleIndNSString("Daemon", n); }'
expect 'a number that cannot be followed' 1 \
  'Sources/Models/Names.cpp: asks the table Daemon for n: this check cannot say which numbers that are'

((failures == 0)) || { echo "check-texts-test.sh: $failures failed"; exit 1; }
echo "The check of texts finds every kind of fault."
