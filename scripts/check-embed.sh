#!/usr/bin/env bash
# The installed package as another project sees it: a build installed into an
# empty prefix, examples/embed configured and built against that prefix
# alone, and run on the example tree; what it prints must be what the tree
# holds, line for line.
#   scripts/check-embed.sh [BUILD_DIR]    (default build/release)
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="${1:-$ROOT/build/release}"
WORK="$(mktemp -d)"
trap 'rm -rf "$WORK"' EXIT

cmake --install "$BUILD" --prefix "$WORK/prefix" >/dev/null
cmake -S "$ROOT/examples/embed" -B "$WORK/build" -G Ninja -DCMAKE_PREFIX_PATH="$WORK/prefix" >/dev/null
cmake --build "$WORK/build" >/dev/null

# Names are looked up in the plain folders only: "area" is the one of extra,
# not core's +geometry/area.tf, and a private function isn't found.
TREE="$(cd "$ROOT/examples/tree" && pwd -P)"
actual="$("$WORK/build/embed" "$TREE/project" "$TREE/toolbox/core" "$TREE/toolbox/extra" -- \
  main hello area localHelper nosuchname)"
expected="main: $TREE/project/main.tf
hello: $TREE/toolbox/core/hello.tf
area: $TREE/toolbox/extra/area.tf
localHelper: not found
nosuchname: not found"
if [[ "$actual" != "$expected" ]]; then
  echo "examples/embed printed what the tree does not hold:" >&2
  diff <(echo "$expected") <(echo "$actual") >&2 || true
  exit 1
fi
echo "examples/embed: built against the installed package, $(echo "$actual" | wc -l) lookups as expected"
