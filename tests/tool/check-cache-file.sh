#!/usr/bin/env bash
# tfpath never loses a good toolbox cache: every refused write leaves the
# file's bytes as they were, and says why in one line; the temporary file of
# a write fits beside any valid target name, and those of writers that ended
# half-way are removed by the next write.
#   check-cache-file.sh PATH_TO_TFPATH EXAMPLES_DIR
HERE="$(cd "$(dirname "$0")" && pwd)"
source "$HERE/checks.sh"
S="$CHECKS_SCRATCH"
cp -r "$TREE/toolbox" "$S/toolbox"
TB="$S/toolbox"
CACHE="$S/good.cache"
"$TFPATH" cache write "$CACHE" --root "$TB" || { echo "FAIL: the first cache can't be written"; exit 1; }
cp "$CACHE" "$S/good.bytes"

# refused DESCRIPTION MESSAGE COMMAND...: status 2, MESSAGE alone on
# standard error, and the cache's bytes unchanged.
refused() {
  local what="$1" message="$2"; shift 2
  checks=$((checks + 1))
  capture "$@"
  if [[ $STATUS != 2 || "$ERR" != "$message" ]]; then
    fail "$what" "want status 2 and: $message" "got status $STATUS and: $ERR"
  elif ! cmp -s "$CACHE" "$S/good.bytes"; then
    fail "$what: the cache's bytes changed"
  fi
}
refused "a folder with a typo" "tfpath: $TB/cor: no such folder" \
  "$TFPATH" cache write "$CACHE" --root "$TB" "$TB/core" "$TB/cor"
refused "a file where a folder belongs" "tfpath: $TB/core/hello.tf: not a folder" \
  "$TFPATH" cache write "$CACHE" --root "$TB" "$TB/core/hello.tf"
refused "a folder outside the root" "tfpath: $TREE/project: lies outside the root $TB" \
  "$TFPATH" cache write "$CACHE" --root "$TB" "$TB/core" "$TREE/project"
refused "a folder that the path refuses" "tfpath: '$TB/core/+geometry' was not added to the path: package folders (with a leading '+') can't stand on the path. Add the folder that holds the package folder instead.
tfpath: cache write: nothing written, $CACHE is as it was" \
  "$TFPATH" cache write "$CACHE" --root "$TB" "$TB/core/+geometry"
refused "a root that doesn't exist" "tfpath: --root $S/none: no such folder" \
  "$TFPATH" cache write "$CACHE" --root "$S/none"
refused "a session's root that doesn't exist" "tfpath: <stdin>:1: cache write: $S/none: no such folder" \
  bash -c "cd '$S' && echo 'cache write good.cache none' | '$TFPATH' run"
mkdir "$S/folder.cache"
refused "a target that is a folder" "tfpath: can't replace $S/folder.cache: Is a directory" \
  "$TFPATH" cache write "$S/folder.cache" --root "$TB"
refused "a load of a folder" "tfpath: $S: a folder, not a file" "$TFPATH" cache load "$S" --root "$TB"
refused "a load against a root that doesn't exist" "tfpath: --root $S/none: no such folder" \
  "$TFPATH" cache load "$CACHE" --root "$S/none"

# In a session, the file is taken against the session's working folder, as
# the root is.
mkdir "$S/session"
expect "a session writes where its working folder is" "9 folders, 16 files" bash -c \
  "cd '$S' && printf 'cd session\npath set ../toolbox/core ../toolbox/extra\ncache write relative.cache ../toolbox\n' | '$TFPATH' --root '$TB' run >/dev/null &&
   '$TFPATH' cache check '$S/session/relative.cache'"

# Temporary files: a short name of fixed length beside the target. A target
# name of 251 bytes, valid where names have 255, is written.
mkdir "$S/long" "$S/stale"
LONG="$S/long/$(printf 'c%.0s' $(seq 245)).cache"
expect "a target name of 251 bytes" "9 folders, 16 files" bash -c \
  "'$TFPATH' cache write '$LONG' --root '$TB' && '$TFPATH' cache check '$LONG'"
expect "and nothing else is left beside it" "$(basename "$LONG")" ls -A "$S/long"
# Leftovers of a writer that is gone are removed by the next write into the
# folder; those of a running process, and other files, stay.
bash -c 'exit 0' & ended=$!; wait $ended
touch "$S/stale/$(printf '.tfcache-%08x-00000003.tmp' "$ended")" "$S/stale/$(printf '.tfcache-%08x-00000000.tmp' $$)" \
  "$S/stale/.tfcache-notes.tmp"
expect "a write removes the temporary files of ended writers" "$(printf '.tfcache-%08x-00000000.tmp' $$)
.tfcache-notes.tmp
tb.cache" bash -c "'$TFPATH' cache write '$S/stale/tb.cache' --root '$TB' && ls -A '$S/stale'"

finish
