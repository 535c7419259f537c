#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy over the sources of the
# library, the stand-ins and the tool, on the release build's compile
# commands; any finding fails the run.
#   scripts/tidy.sh [JOBS]
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
"$ROOT/scripts/install-deps.sh"
"$ROOT/scripts/build.sh" release >/dev/null
# The build's flags are g++'s; clang-tidy reads them with clang, which knows
# some of them not.
run-clang-tidy-14 -p "$ROOT/build/release" -j "${1:-$(nproc)}" -quiet -extra-arg=-Wno-unknown-warning-option \
  "$ROOT/(search_path|tools)/.*\.cpp"
