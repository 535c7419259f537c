#!/usr/bin/env bash
# The library as other projects take it, each way checked by what the program
# prints, line for line, on the example tree:
#  1. examples/embed against the installed package alone: a build installed
#     into an empty prefix, found with range-v3 and ICU out of reach (no
#     exported target may ask for them);
#  2. examples/embed with the source tree added by add_subdirectory: no test
#     or benchmark target may come with it;
#  3. a three-line program built with `pkg-config --cflags --libs`;
#  4. the code block of the README's Embedding section, as it stands.
#   scripts/check-embed.sh [BUILD_DIR]    (default build/release)
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="${1:-$ROOT/build/release}"
WORK="$(mktemp -d)"
trap 'rm -rf "$WORK"' EXIT
PREFIX="$WORK/prefix"

# Names are looked up as a host does: a class constructor, then the plain
# folders; "area" is the one of extra, not core's +geometry/area.tf, which
# "geometry.area" reaches; a private function isn't found.
TREE="$(cd "$ROOT/examples/tree" && pwd -P)"
expected="main: $TREE/project/main.tf
hello: $TREE/toolbox/core/hello.tf
area: $TREE/toolbox/extra/area.tf
geometry.area: $TREE/toolbox/core/+geometry/area.tf
Point: $TREE/toolbox/core/@Point/Point.tf
localHelper: not found
nosuchname: not found"
compare() {  # WHAT ACTUAL
  if [[ "$2" != "$expected" ]]; then
    echo "$1 printed what the tree does not hold:" >&2
    diff <(echo "$expected") <(echo "$2") >&2 || true
    exit 1
  fi
}
run_embed() {  # BINARY
  "$1" "$TREE/project" "$TREE/toolbox/core" "$TREE/toolbox/extra" -- \
    main hello area geometry.area Point localHelper nosuchname
}

cmake --install "$BUILD" --prefix "$PREFIX" >/dev/null
# Test hooks stay in the source tree: no header of theirs, and no
# declaration of one in an installed header.
if find "$PREFIX" -name '*TestHooks*' | grep -q . || grep -rlE 'ForTesting\b' "$PREFIX/include" | grep -q .; then
  echo "test hooks are installed:" >&2
  find "$PREFIX" -name '*TestHooks*' >&2
  grep -rlE 'ForTesting\b' "$PREFIX/include" >&2
  exit 1
fi
cmake -S "$ROOT/examples/embed" -B "$WORK/installed" -G Ninja --no-warn-unused-cli -DCMAKE_PREFIX_PATH="$PREFIX" \
  -DCMAKE_DISABLE_FIND_PACKAGE_range-v3=TRUE -DCMAKE_DISABLE_FIND_PACKAGE_ICU=TRUE >/dev/null
cmake --build "$WORK/installed" >/dev/null
compare "examples/embed (installed package)" "$(run_embed "$WORK/installed/embed")"

cmake -S "$ROOT/examples/embed" -B "$WORK/added" -G Ninja -DTFSP_SOURCE_DIR="$ROOT" >/dev/null
if extra="$(ninja -C "$WORK/added" -t targets all | cut -d: -f1 | grep -E '_tests$|Bench$|tfsp_test_support|tfsp_support')"; then
  echo "add_subdirectory brings test or benchmark targets:" >&2
  echo "$extra" >&2
  exit 1
fi
cmake --build "$WORK/added" >/dev/null
compare "examples/embed (source tree added)" "$(run_embed "$WORK/added/embed")"

export PKG_CONFIG_PATH="$(dirname "$(find "$PREFIX" -name tfsearch_path.pc)")"
cat >"$WORK/three.cpp" <<'EOF'
#include "tfsearch_path/SearchPath.hpp"
#include <iostream>
int main(int, char** argv) { Thornfell::PathManagement::SearchPath p; p.SetFolders(std::vector<std::filesystem::path>{argv[1]}); std::cout << p.Find("hello").value_or("not found").string() << "\n"; }
EOF
# shellcheck disable=SC2046
c++ "$WORK/three.cpp" -o "$WORK/three" $(pkg-config --cflags --libs tfsearch_path)
actual="$("$WORK/three" "$TREE/toolbox/core")"
if [[ "$actual" != "$TREE/toolbox/core/hello.tf" ]]; then
  echo "the pkg-config program printed '$actual'" >&2
  exit 1
fi

# The README's block is a whole program: extracted and built as it stands.
awk '/^## Embedding/ { section = 1; next } /^## / { section = 0 }
     section && /^```cpp/ { block = 1; next } block && /^```/ { exit } block { print }' \
  "$ROOT/README.md" >"$WORK/readme.cpp"
if [[ ! -s "$WORK/readme.cpp" ]]; then
  echo "the README's Embedding section has no C++ block" >&2
  exit 1
fi
# shellcheck disable=SC2046
c++ "$WORK/readme.cpp" -o "$WORK/readme" $(pkg-config --cflags --libs tfsearch_path)
(cd "$WORK" && ./readme "$TREE/toolbox/core" >/dev/null)

echo "examples/embed: built against the installed package and with the source tree added," \
  "$(echo "$expected" | wc -l) lookups each as expected; pkg-config and README programs built and run"
