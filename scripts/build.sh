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
EXTRA=()
# The thread build links a oneTBB built for ThreadSanitizer, made once.
[[ "$SAN" == thread ]] && EXTRA+=(-DTFSP_TSAN_TBB_PREFIX="$("$ROOT/scripts/build-tbb-tsan.sh")")
cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE="$TYPE" -DTFSP_SANITIZE="$SAN" -DTFSP_BUILD_BENCH="$BENCH" \
  "${EXTRA[@]}" >/dev/null
cmake --build "$BUILD" -- "$@"
