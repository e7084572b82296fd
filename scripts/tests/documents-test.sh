#!/usr/bin/env bash
# Lets the manual page and the completions be read by those that they are for, as far as they are installed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
read_by=(bash)
bash -n scripts/completions/velmoratix-simulator.bash
if command -v zsh >/dev/null; then
  zsh -n scripts/completions/_velmoratix-simulator
  read_by+=(zsh)
fi
if command -v fish >/dev/null; then
  fish -n scripts/completions/velmoratix-simulator.fish
  read_by+=(fish)
fi
if command -v mandoc >/dev/null; then
  # Where a page comes from, and whether its date is today's, is a packager's business.
  complaints=$(mandoc -T lint -W warning docs/man/velmoratix-simulator.1 || true)
  [[ -z $complaints ]] || { echo "$complaints"; exit 1; }
  read_by+=(mandoc)
fi
echo "Manual page and completions: read by ${read_by[*]}."
