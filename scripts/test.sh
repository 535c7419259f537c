#!/usr/bin/env bash
# Installs, builds and runs the whole test suite.
#   scripts/test.sh                 the suite, then the suite again under ThreadSanitizer,
#                                   then the cache reader fuzzed for 60 seconds
#   scripts/test.sh --sanitize thread|address
#                                   the whole suite in that sanitizer build only
#   scripts/test.sh --plain         the suite without any sanitizer run
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
MODE=default
case "${1:-}" in
  --sanitize) MODE="${2:?thread or address}" ;;
  --plain) MODE=plain ;;
  "") ;;
  *) echo "usage: $0 [--plain | --sanitize thread|address]" >&2; exit 2 ;;
esac
"$ROOT/scripts/install-deps.sh"
JOBS=$(nproc)

run_suite() {  # kind, extra ctest args...
  local kind="$1"; shift
  "$ROOT/scripts/build.sh" "$kind"
  (cd "$ROOT/build/$kind" && ctest --output-on-failure -j "$JOBS" "$@")
}

case "$MODE" in
  default)
    run_suite release
    # Again under ThreadSanitizer: the observers' reader thread, the event bus,
    # the parallel index builds and queries, and the worker thread are
    # exercised throughout the suite.
    TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" run_suite thread
    # The cache reader against inputs no test thought of (scripts/fuzz.sh).
    "$ROOT/scripts/fuzz.sh" 60
    ;;
  plain) run_suite release ;;
  thread) TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" run_suite thread ;;
  address) ASAN_OPTIONS="detect_leaks=1" UBSAN_OPTIONS="print_stacktrace=1" run_suite address ;;
  *) echo "unknown sanitizer: $MODE" >&2; exit 2 ;;
esac
