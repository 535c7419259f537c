#!/usr/bin/env bash
# Configures and builds into build/<kind>: kind is "release" or a sanitizer
# ("thread", "address").
#   scripts/build.sh [release|thread|address] [ninja targets...]
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
KIND="${1:-release}"
shift || true
case "$KIND" in
  release) SAN=""; TYPE=RelWithDebInfo ;;
  thread|address) SAN="$KIND"; TYPE=RelWithDebInfo ;;
  *) echo "unknown build kind: $KIND" >&2; exit 2 ;;
esac
BUILD="$ROOT/build/$KIND"
BENCH=ON
[[ -n "$SAN" ]] && BENCH=OFF
cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE="$TYPE" -DTFSP_SANITIZE="$SAN" -DTFSP_BUILD_BENCH="$BENCH" >/dev/null
cmake --build "$BUILD" -- "$@"
