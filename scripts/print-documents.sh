#!/usr/bin/env bash
# Renews the manual page and the shells' completions, which the simulator prints from its tables of options and commands.
#   scripts/print-documents.sh BINARY
# BINARY: the simulator.
set -euo pipefail
[[ $# == 1 && $1 != --help ]] || { sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}" >&2; exit 2; }
binary=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mkdir -p docs/man scripts/completions
"$binary" --print man >docs/man/velmoratix-simulator.1
"$binary" --print bash >scripts/completions/velmoratix-simulator.bash
"$binary" --print zsh >scripts/completions/_velmoratix-simulator
"$binary" --print fish >scripts/completions/velmoratix-simulator.fish
