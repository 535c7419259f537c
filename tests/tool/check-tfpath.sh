#!/usr/bin/env bash
# End-to-end checks of tfpath on the example tree and on a scratch tree.
#   check-tfpath.sh PATH_TO_TFPATH EXAMPLES_TREE
set -uo pipefail
TFPATH="$1"
TREE="$(cd "$2" && pwd -P)"
failures=0
expect() {  # description, expected output, command...
  local what="$1" want="$2"; shift 2
  local got
  got="$("$@" 2>/dev/null)"
  if [[ "$got" != "$want" ]]; then
    echo "FAIL: $what"; echo "  want: $want"; echo "  got:  $got"; failures=$((failures + 1))
  fi
}
expect_status() {  # description, status, command...
  local what="$1" want="$2"; shift 2
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

HERE="$(cd "$(dirname "$0")" && pwd)"
expect "the example session" "$(cat "$HERE/session.expected")" \
  bash -c "cd '$TREE' && '$TFPATH' run ../session.tfs 2>&1 | sed 's|$TREE|TREE|g'"
expect "a hard failure names its line and why" "tfpath: <stdin>:2: unknown command 'bogus'" \
  bash -c "printf 'path show\nbogus x\npath show\n' | '$TFPATH' run 2>&1 >/dev/null"
expect "a missing argument" "tfpath: <stdin>:1: path add: missing folder" bash -c "echo 'path add' | '$TFPATH' run 2>&1"
expect_status "a hard failure ends the run with status 1" 1 bash -c "echo 'cd /no/such/folder' | '$TFPATH' run"

echo "$((22 - failures)) passed, $failures failed"
[[ $failures -eq 0 ]]
