#!/usr/bin/env bash
# End-to-end checks of tfpath on the example tree and on a scratch tree.
#   check-tfpath.sh PATH_TO_TFPATH EXAMPLES_TREE
set -uo pipefail
TFPATH="$1"
TREE="$(cd "$2" && pwd -P)"
failures=0
checks=0
expect() {  # description, expected output, command...
  local what="$1" want="$2"; shift 2
  checks=$((checks + 1))
  local got
  got="$("$@" 2>/dev/null)"
  if [[ "$got" != "$want" ]]; then
    echo "FAIL: $what"; echo "  want: $want"; echo "  got:  $got"; failures=$((failures + 1))
  fi
}
expect_status() {  # description, status, command...
  local what="$1" want="$2"; shift 2
  checks=$((checks + 1))
  "$@" >/dev/null 2>&1; local got=$?
  if [[ "$got" != "$want" ]]; then echo "FAIL: $what: status $got, want $want"; failures=$((failures + 1)); fi
}

CORE="$TREE/toolbox/core"
EXTRA="$TREE/toolbox/extra"
expect "first folder wins" "$CORE/hello.tf" "$TFPATH" which hello "$TREE/project" "$CORE" "$EXTRA"
expect "all in order" "$EXTRA/hello.tf
$CORE/hello.tf" "$TFPATH" which --all hello "$EXTRA" "$CORE"
expect "folded case finds capitals first" "$CORE/Greeting.tf" "$TFPATH" which --policy fold GREETING "$CORE"
expect "exact case" "$CORE/greeting.tf" "$TFPATH" which --policy exact greeting "$CORE"
expect "empty extension" "$CORE/README" "$TFPATH" which --ext .txt, README "$CORE"
expect "extension order" "$CORE/data.csv" "$TFPATH" which --ext .tf,.csv data "$CORE"
expect_status "absent name" 1 "$TFPATH" which nosuchname "$CORE"
expect_status "unreadable folder is skipped" 0 "$TFPATH" which hello /no/such/folder "$CORE"
expect "entry type" '"Main"' bash -c "'$TFPATH' entry --json '$CORE' | grep -m1 '\"type\"' | sed 's/.*: //; s/,//'"
expect "invalid package left out" "" bash -c "'$TFPATH' entry --json '$CORE' | grep not-valid"
expect_status "entry of a missing folder" 1 "$TFPATH" entry /no/such/folder

expect "partial pathname" "$CORE/+geometry/+shapes/circle.tf" "$TFPATH" which +geometry/+shapes/circle "$CORE"
expect "scope restricts entry types" "" "$TFPATH" which --scope main area "$CORE"
expect "current folder first" "$TREE/project/main.tf" "$TFPATH" which --cd "$TREE/project" main "$CORE"
expect "private current folder" "$TREE/project/private/localHelper.tf" "$TFPATH" which --cd "$TREE/project" localHelper "$CORE"
expect "current folder on the path stands first, once" "$EXTRA
$CORE" bash -c "'$TFPATH' path --json --cd '$EXTRA' '$CORE' '$EXTRA' | grep '\"folder\"' | sed 's/.*: \"//; s/\".*//'"
expect "special folder refused on the path" "search path, 0 folders:" "$TFPATH" path --no-current-folder "$CORE/+geometry"
expect "special folder refusal says why" "tfpath: '$CORE/+geometry' was not added to the path: package folders (with a leading '+') can't stand on the path. Add the folder that holds the package folder instead." \
  bash -c "'$TFPATH' path --no-current-folder '$CORE/+geometry' 2>&1 >/dev/null"

# The host commands, called with host arrays.
expect "dump: the current folder first, its private folder as its child" "PathEntry file://$TREE/project is up-to-date
file://$TREE/project/main.tf
PathEntry file://$TREE/project/private is up-to-date
file://$TREE/project/private/localHelper.tf
PathEntry file://$EXTRA is up-to-date
file://$EXTRA/area.tf
file://$EXTRA/hello.tf" "$TFPATH" dump --cd "$TREE/project" "$EXTRA"
expect "dump of an empty search path" "" "$TFPATH" dump --no-current-folder
expect "canonicalize against the working folder" "$CORE" "$TFPATH" canonicalize --cd "$TREE/project" ../toolbox/./core
expect "canonicalize keeps names that don't exist" "$CORE/+geometry/none.tf" "$TFPATH" canonicalize --string "$CORE/+geometry/../+geometry/none.tf"
expect "remote policy: the one before" "TimecheckDir" "$TFPATH" policy remote none
expect "warning policy: status" "always" "$TFPATH" policy warning STATUS
expect "an unknown policy" "tfpath: ORVIAN:RemotePolicy:UnknownPolicy: Unknown remote folder policy: use 'Reload', 'TimecheckDir', 'None' or 'Status'." \
  bash -c "'$TFPATH' policy remote sometimes 2>&1"
expect_status "an unknown warning option ends with status 1" 1 "$TFPATH" policy warning sometimes

HERE="$(cd "$(dirname "$0")" && pwd)"
expect "the example session" "$(cat "$HERE/session.expected")" \
  bash -c "cd '$TREE' && '$TFPATH' run ../session.tfs 2>&1 | sed 's|$TREE|TREE|g'"
expect "a hard failure names its line and why" "tfpath: <stdin>:2: unknown command 'bogus'" \
  bash -c "printf 'path show\nbogus x\npath show\n' | '$TFPATH' run 2>&1 >/dev/null"
expect "a missing argument" "tfpath: <stdin>:1: path add: missing folder" bash -c "echo 'path add' | '$TFPATH' run 2>&1"
expect_status "a hard failure ends the run with status 1" 1 bash -c "echo 'cd /no/such/folder' | '$TFPATH' run"

# The toolbox cache, on a scratch copy of the toolbox.
SCRATCH="$(mktemp -d)"
trap 'rm -rf "$SCRATCH"' EXIT
cp -r "$TREE/toolbox" "$SCRATCH/toolbox"
TB="$SCRATCH/toolbox"
expect_status "cache written" 0 "$TFPATH" cache write "$SCRATCH/tb.cache" --root "$TB"
expect "cache counted" "9 folders, 16 files" "$TFPATH" cache check "$SCRATCH/tb.cache"
expect "the shipped cache is the toolbox's" "9 folders, 16 files" "$TFPATH" cache check "$TREE/../tree.cache"
expect "a session writes the same cache" "9 folders, 16 files" bash -c \
  "printf 'path set $TB/core $TB/extra\\ncache write $SCRATCH/session.cache $TB\\n' | '$TFPATH' --root '$TB' run >/dev/null &&
   '$TFPATH' cache check '$SCRATCH/session.cache'"
expect "a session's cache load of a missing file names its line" "tfpath: <stdin>:1: cache load: can't open $SCRATCH/missing.cache" \
  bash -c "echo 'cache load $SCRATCH/missing.cache $TB' | '$TFPATH' run 2>&1"
rm "$TB/core/hello.tf"
expect "a lookup served from the cache" "$TB/core/hello.tf" "$TFPATH" cache load "$SCRATCH/tb.cache" --root "$TB" which hello "$TB/core"
expect_status "without the cache the file is gone" 1 "$TFPATH" which hello "$TB/core"
printf '<Thornfell type="Path Cache File" version="2.0" date="x">\n <D name="core">\n <X/>' >"$SCRATCH/bad.cache"
expect "fault offset" "tfpath: $SCRATCH/bad.cache: not a toolbox cache file: fault at byte 77" \
  bash -c "'$TFPATH' cache check '$SCRATCH/bad.cache' 2>&1"
expect_status "faulty cache check" 1 "$TFPATH" cache check "$SCRATCH/bad.cache"
expect_status "faulty cache load" 1 "$TFPATH" cache load "$SCRATCH/bad.cache" --root "$TB"
# A nested folder of a plain name, 2,000 good folders after it: check and
# load refuse it alike, at the same byte, just past the offending name.
{ printf '<Thornfell type="Path Cache File" version="2.0" date="x">\n <D name="extra">\n  <D name="extra/sub">\n  </D>\n </D>\n'
  for i in $(seq 2000); do printf ' <D name="f%d">\n  <C name="a.tf"/>\n </D>\n' "$i"; done
  printf '</Thornfell>\n'; } >"$SCRATCH/nested.cache"
expect "a nested plain folder is a fault for check" "tfpath: $SCRATCH/nested.cache: not a toolbox cache file: fault at byte 97" \
  bash -c "'$TFPATH' cache check '$SCRATCH/nested.cache' 2>&1"
expect "and for load, at the same byte" "tfpath: $SCRATCH/nested.cache: not a toolbox cache file: fault at byte 97" \
  bash -c "'$TFPATH' cache load '$SCRATCH/nested.cache' --root '$TB' 2>&1"
# A package 100 levels deep is written, checked and loaded whole.
DEEP="$SCRATCH/deep"
mkdir -p "$DEEP/top/$(printf '+p/%.0s' $(seq 100))"
touch "$DEEP/top/$(printf '+p/%.0s' $(seq 100))bottom.tf"
expect_status "a deep package written" 0 "$TFPATH" cache write "$SCRATCH/deep.cache" --root "$DEEP"
expect "a deep package checked" "101 folders, 1 files" "$TFPATH" cache check "$SCRATCH/deep.cache"
expect "a deep package loaded" "$DEEP/top/$(printf '+p/%.0s' $(seq 100))bottom.tf" \
  "$TFPATH" cache load "$SCRATCH/deep.cache" --root "$DEEP" which "$(printf '+p/%.0s' $(seq 100))bottom" "$DEEP/top"
mkdir "$SCRATCH/dir.cache"
expect_status "unwritable cache file" 1 "$TFPATH" cache write "$SCRATCH/dir.cache" --root "$TB"

echo "$((checks - failures)) passed, $failures failed"
[[ $failures -eq 0 ]]
