#!/usr/bin/env bash
# Fuzzes the toolbox cache reader under AddressSanitizer and
# UndefinedBehaviorSanitizer with libFuzzer, built by clang in build/fuzz.
#   scripts/fuzz.sh [SECONDS] [libFuzzer options...]
# Without SECONDS it runs until stopped. New inputs gather in
# build/fuzz/corpus; the seeds are fuzz/seeds (real cache files and the
# reader tests' cases). A finding is written to build/fuzz/ and the script
# fails.
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
SECONDS_TO_RUN="${1:-0}"
shift || true
BUILD="$ROOT/build/fuzz"
CXX=clang++-14 cmake -S "$ROOT/fuzz" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD"
mkdir -p "$BUILD/corpus"
cd "$BUILD"
# No single allocation of an input may come near 64 MB: the reader holds
# no more than a small multiple of what it has read.
ASAN_OPTIONS="detect_leaks=1" UBSAN_OPTIONS="print_stacktrace=1" \
  ./PathCacheReaderFuzz -dict="$ROOT/fuzz/cache.dict" -max_total_time="$SECONDS_TO_RUN" -rss_limit_mb=2048 -malloc_limit_mb=64 \
  -timeout=10 -print_final_stats=1 "$@" corpus "$ROOT/fuzz/seeds"
