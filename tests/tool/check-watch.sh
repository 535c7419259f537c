#!/usr/bin/env bash
# tfpath watch says what each refresh changed: the files added and removed
# in a folder, a folder that vanished, each with an ISO 8601 time; Ctrl-C
# ends it with status 0. Each change is made in one step (a rename), and the
# script reads the one line it gives before making the next, so nothing
# waits on time but the interval of the watch itself.
#   check-watch.sh PATH_TO_TFPATH
HERE="$(cd "$(dirname "$0")" && pwd)"
source "$HERE/checks.sh"
S="$(cd "$CHECKS_SCRATCH" && pwd -P)"
W="$S/watched"
mkdir -p "$W/a/+pkg" "$W/b" "$S/staging"
touch "$W/a/old.tf" "$W/b/b.tf"

# watch ARGS...: starts a watch whose standard output and error are the
# pipes read through WATCH_OUT and WATCH_ERR, and waits for the line that says it is watching.
watch_started() {
  rm -f "$S/watch-out" "$S/watch-err"; mkfifo "$S/watch-out" "$S/watch-err"
  "$TFPATH" watch --interval 20 "$@" >"$S/watch-out" 2>"$S/watch-err" &
  WATCH=$!
  exec {WATCH_OUT}<"$S/watch-out" {WATCH_ERR}<"$S/watch-err"
  local line; IFS= read -r -t 60 line <&"$WATCH_ERR"
  [[ "$line" == "tfpath: watching "* ]] || { echo "FAIL: the watch didn't start: $line"; kill "$WATCH"; exit 1; }
}
# next_line: the watch's next line of output, in LINE; a watch that says
# nothing for a minute has hung.
next_line() {
  LINE=""
  IFS= read -r -t 60 LINE <&"$WATCH_OUT" || { echo "FAIL: the watch said nothing more"; kill "$WATCH"; exit 1; }
}
# arrive FOLDER NAME: a file appears in FOLDER in one step.
arrive() { touch "$S/staging/$2"; mv "$S/staging/$2" "$1/$2"; }
stopped_with() {  # description, status: Ctrl-C ends the watch
  checks=$((checks + 1))
  kill -INT "$WATCH"; wait "$WATCH"; local status=$?
  [[ $status == "$2" ]] || fail "$1: status $status, want $2"
  exec {WATCH_OUT}<&- {WATCH_ERR}<&-
}

watch_started --json "$W/a" "$W/b"
arrive "$W/a" new.tf
next_line
expect_json "a file added, as JSON" "(.time | test(\"^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\\\.[0-9]{3}[+-][0-9]{2}:[0-9]{2}\$\")) and
  .refreshed == [{folder: \"$W/a\", added: [{file: \"$W/a/new.tf\"}], removed: []}] and
  .added == [] and .removed == [] and .reordered == [] and .vanished == []" echo "$LINE"
arrive "$W/a/+pkg" inner.tf
next_line
expect_json "a file added in a package folder below" \
  ".refreshed == [{folder: \"$W/a\", added: [{file: \"$W/a/+pkg/inner.tf\"}], removed: []}]" echo "$LINE"
rm "$W/a/old.tf"
next_line
expect_json "a file removed" ".refreshed == [{folder: \"$W/a\", added: [], removed: [{file: \"$W/a/old.tf\"}]}]" echo "$LINE"
mv "$W/b" "$S/b-gone"
next_line
expect_json "a folder that vanished" ".vanished == [{folder: \"$W/b\"}] and .refreshed[0].removed == [{file: \"$W/b/b.tf\"}]" \
  echo "$LINE"
stopped_with "Ctrl-C ends the watch" 0

watch_started "$W/a"
arrive "$W/a" plain.tf
next_line
checks=$((checks + 1))
[[ "$LINE" =~ ^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3}[+-][0-9]{2}:[0-9]{2}\ \ $W/a:\ added\ plain\.tf$ ]] ||
  fail "a file added, as text with the date and time" "got: $LINE"
stopped_with "and so it does in text" 0

finish
