#!/usr/bin/env bash
# Installs what is missing, builds the simulator and starts it: the daemon on a simulated Mac.
#   scripts/run.sh [ARGUMENT...]
# ARGUMENT: goes to the simulator; --help lists them.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$top/build/release

"$top/scripts/install-needs.sh" build
mkdir -p "$build"
[[ -x $build/velmoratix-simulator ]] || echo "Building the simulator; the first time takes a few minutes." >&2
(cd "$top" && cmake --preset release && cmake --build --preset release --target velmoratix-simulator) \
  >"$build/build.log" 2>&1 || {
  tail -n 40 "$build/build.log" >&2
  echo "run.sh: the build failed; all of it stands in build/release/build.log" >&2
  exit 1
}
exec "$build/velmoratix-simulator" "$@"
