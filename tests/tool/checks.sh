# The checks that the tool's end-to-end scripts share; sourced, not run.
# Each check counts, and prints what it wanted and what it got when it
# fails; a script ends with `finish`, whose status is the verdict. The
# script's first argument is the tool, kept in TFPATH as an absolute path,
# since checks run it from other folders; the second, where there is one,
# the examples folder (EXAMPLES), with the example tree in TREE and its
# toolbox folders in CORE and EXTRA.
set -uo pipefail
TFPATH="$(cd "$(dirname "${1:?path to the tfpath binary}")" && pwd)/$(basename "$1")"
if [[ $# -gt 1 ]]; then
  EXAMPLES="$(cd "$2" && pwd -P)"
  TREE="$EXAMPLES/tree"
  CORE="$TREE/toolbox/core"
  EXTRA="$TREE/toolbox/extra"
fi
failures=0
checks=0
CHECKS_SCRATCH="$(mktemp -d)"
trap 'rm -rf "$CHECKS_SCRATCH"' EXIT

fail() {  # description, lines that say why...
  echo "FAIL: $1"; shift
  local line; for line in "$@"; do echo "  $line"; done
  failures=$((failures + 1))
}

# capture COMMAND...: runs it; its status, standard output and standard
# error are left in STATUS, OUT and ERR.
capture() {
  "$@" >"$CHECKS_SCRATCH/out" 2>"$CHECKS_SCRATCH/err"; STATUS=$?
  OUT="$(cat "$CHECKS_SCRATCH/out")"; ERR="$(cat "$CHECKS_SCRATCH/err")"
}

expect() {  # description, expected standard output, command...
  local what="$1" want="$2"; shift 2
  checks=$((checks + 1))
  capture "$@"
  [[ "$OUT" == "$want" ]] || fail "$what" "want: $want" "got:  $OUT"
}

expect_status() {  # description, status, command...
  local what="$1" want="$2"; shift 2
  checks=$((checks + 1))
  capture "$@"
  [[ "$STATUS" == "$want" ]] || fail "$what: status $STATUS, want $want" "stderr: $ERR"
}

# One row of a table: the status, and which streams got text: "out" (the
# answer on standard output, nothing on standard error), "err" (the reverse),
# "both" or "none". A refusal (status 2) says what it refuses in one line
# that starts with "tfpath: ", and a usage error adds where to find help.
row() {  # description, status, streams, command...
  local what="$1" want="$2" streams="$3"; shift 3
  checks=$((checks + 1))
  capture "$@"
  local got="none"
  [[ -n "$OUT" && -z "$ERR" ]] && got="out"
  [[ -z "$OUT" && -n "$ERR" ]] && got="err"
  [[ -n "$OUT" && -n "$ERR" ]] && got="both"
  if [[ "$STATUS" != "$want" || "$got" != "$streams" ]]; then
    fail "$what: status $STATUS on $got, want $want on $streams" "stdout: ${OUT:0:300}" "stderr: $ERR"
  elif [[ "$want" == 2 && ( "$ERR" != "tfpath: "* || "$ERR" == *$'\n'*$'\n'* ) ]]; then
    fail "$what: a refusal in one line, with at most a line of help after it" "stderr: $ERR"
  fi
}

# expect_json DESCRIPTION JQ_TEST COMMAND...: the standard output parses as
# JSON and the jq expression holds for it.
expect_json() {
  local what="$1" test="$2"; shift 2
  checks=$((checks + 1))
  capture "$@"
  if ! jq -e "$test" >/dev/null 2>&1 <<<"$OUT"; then
    fail "$what" "jq: $test" "stdout: ${OUT:0:600}" "stderr: $ERR"
  fi
}

finish() {
  echo "$((checks - failures)) passed, $failures failed"
  [[ $failures -eq 0 ]]
}
