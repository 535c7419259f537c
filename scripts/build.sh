#!/usr/bin/env bash
# Configures and builds into build/<kind>: kind is "release", a sanitizer
# ("thread", "address"), or "clang" (the release build made by clang 14, so
# that the code stays free of what only one compiler accepts or warns of).
#   scripts/build.sh [release|clang|thread|address] [ninja targets...]
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
KIND="${1:-release}"
shift || true
case "$KIND" in
  release) SAN=""; TYPE=RelWithDebInfo ;;
  thread|address) SAN="$KIND"; TYPE=RelWithDebInfo ;;
  clang) SAN=""; TYPE=RelWithDebInfo ;;
  *) echo "unknown build kind: $KIND" >&2; exit 2 ;;
esac
BUILD="$ROOT/build/$KIND"
BENCH=ON
[[ -n "$SAN" ]] && BENCH=OFF
EXTRA=()
# Sanitizer builds compile sources in batches of 16 (a unity build): each
# batch parses the heavy headers once, which more than halves the time of
# these builds in CI. The release build keeps one object per source, so it
# still shows a source that doesn't include what it uses.
if [[ -n "$SAN" || "$KIND" == clang ]]; then
  EXTRA+=(-DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=16)
else
  EXTRA+=(-DCMAKE_UNITY_BUILD=OFF)
fi
# The clang build checks the code, not its speed: no benchmarks.
[[ "$KIND" == clang ]] && EXTRA+=(-DCMAKE_CXX_COMPILER=clang++-14) && BENCH=OFF
# The thread build links a oneTBB built for ThreadSanitizer, made once.
[[ "$SAN" == thread ]] && EXTRA+=(-DTFSP_TSAN_TBB_PREFIX="$("$ROOT/scripts/build-tbb-tsan.sh")")
cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE="$TYPE" -DTFSP_SANITIZE="$SAN" -DTFSP_BUILD_TESTS=ON -DTFSP_WERROR=ON -DTFSP_BUILD_BENCH="$BENCH" \
  "${EXTRA[@]}" >/dev/null
cmake --build "$BUILD" -- "$@"
