#!/usr/bin/env bash
# A tfpath run session fed its commands through a pipe while this script
# changes a watched folder between them: each refresh and which that follow a
# change must answer from the disk. Each step ends with a lookup of a name
# that is never there, and the script reads the session's output up to that
# answer before it changes anything again, so nothing waits on time.
#   check-tfpath-live.sh PATH_TO_TFPATH [FILES]
set -uo pipefail
export LC_ALL=C  # names are bytes here, not all of them UTF-8
TFPATH="$(cd "$(dirname "$1")" && pwd -P)/$(basename "$1")"  # the session runs elsewhere
FILES="${2:-300}"
SCRATCH="$(cd "$(mktemp -d)" && pwd -P)"
trap 'rm -rf "$SCRATCH"' EXIT
W="$SCRATCH/w"
mkdir "$W"
failures=0
checks=0

# Written to a pipe, the tool's output waits in a block until the block is
# full; stdbuf gives it a line at a time. stdbuf preloads a library, which
# AddressSanitizer would refuse as coming before its own.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0"
# The session's input and output are named pipes that this script holds open,
# so that they stay valid whenever the session ends.
PIPES="$(mktemp -d)"
trap 'rm -rf "$SCRATCH" "$PIPES"' EXIT
mkfifo "$PIPES/in" "$PIPES/out"
(cd "$SCRATCH" && exec stdbuf -oL "$TFPATH" run <"$PIPES/in" >"$PIPES/out" 2>&1) &
exec {IN}>"$PIPES/in" {OUT}<"$PIPES/out"
trap 'exec {IN}>&-; wait; rm -rf "$SCRATCH" "$PIPES"' EXIT
trap '' PIPE  # a session that ended fails the write, not the script

steps=0
REPLY_LINES=""
# Sends the commands, then reads the session's output up to the answer to the
# closing lookup, into REPLY_LINES. A session that ends or stalls for a
# minute (a hang, not a slow answer) fails the whole run.
step() {
  steps=$((steps + 1))
  local marker="sync$steps" line
  printf '%s\n' "$@" "which $marker" 2>/dev/null >&"$IN"
  REPLY_LINES=""
  while IFS= read -r -t 60 line <&"$OUT"; do
    [[ "$line" == "'$marker' not found" ]] && return 0
    REPLY_LINES+="${REPLY_LINES:+$'\n'}$line"
  done
  echo "FAIL: the session ended or stalled after: $*"
  [[ -n "$REPLY_LINES" ]] && echo "  it said: $REPLY_LINES"
  echo "$((checks - failures - 1)) passed, $((failures + 1)) failed"
  exit 1
}
expect() {  # description, expected output, commands...
  local what="$1" want="$2"; shift 2
  checks=$((checks + 1))
  step "$@"
  if [[ "$REPLY_LINES" != "$want" ]]; then
    # %q shows the bytes that aren't text
    echo "FAIL: $what"; printf '  want: %q\n  got:  %q\n' "$want" "$REPLY_LINES"; failures=$((failures + 1))
  fi
}

expect "the watched folder goes on the path" "" "path set w"
# A miss is rare on a quiet machine (about one lookup in a hundred), so each
# file is made and removed in turn many times; the first miss is enough.
for ((i = 0; i < FILES && failures == 0; i++)); do
  touch "$W/f$i.tf"
  expect "made f$i.tf, then refresh and which" "$W/f$i.tf" "refresh" "which f$i"
  rm "$W/f$i.tf"
  expect "removed f$i.tf, then refresh and which" "'f$i' not found" "refresh" "which f$i"
done

# Names that are not UTF-8 come out as the bytes they are on disk.
touch "$W/x"$'\xff'".tf" "$W/caf"$'\xc3\xa9\xfe'".tf"
expect "a name with a byte that isn't text is printed as it is" "$W/x"$'\xff'".tf" "refresh" "which x"$'\xff'
expect "and so in the middle of text" "$W/caf"$'\xc3\xa9\xfe'".tf" "which caf"$'\xc3\xa9\xfe'
D="$SCRATCH/d"$'\xff'
mkdir "$D" && touch "$D/g.tf"
expect "a folder so named stands on the path" "$D/g.tf" "path add d"$'\xff' "which g"

echo "$((checks - failures)) passed, $failures failed"
[[ $failures -eq 0 ]]
