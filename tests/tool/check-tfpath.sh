#!/usr/bin/env bash
# End-to-end checks of tfpath on the example tree and on a scratch tree: what
# the lookups, the host commands and the toolbox cache answer.
#   check-tfpath.sh PATH_TO_TFPATH EXAMPLES_DIR
HERE="$(cd "$(dirname "$0")" && pwd)"
source "$HERE/checks.sh"

expect "first folder wins" "$CORE/hello.tf" "$TFPATH" which hello "$TREE/project" "$CORE" "$EXTRA"
expect "all in order" "$EXTRA/hello.tf
$CORE/hello.tf" "$TFPATH" which --all hello "$EXTRA" "$CORE"
expect "folded case finds capitals first" "$CORE/Greeting.tf" "$TFPATH" which --policy fold GREETING "$CORE"
expect "exact case" "$CORE/greeting.tf" "$TFPATH" which --policy exact greeting "$CORE"
expect "empty extension" "$CORE/README" "$TFPATH" which --ext .txt, README "$CORE"
expect "extension order" "$CORE/data.csv" "$TFPATH" which --ext .tf,.csv data "$CORE"
expect_status "absent name" 1 "$TFPATH" which nosuchname "$CORE"
expect_status "a folder that doesn't exist is refused" 2 "$TFPATH" which hello /no/such/folder "$CORE"
expect "entry type" '"Main"' bash -c "'$TFPATH' entry --json '$CORE' | grep -m1 '\"type\"' | sed 's/.*: //; s/,//'"
expect "invalid package left out" "" bash -c "'$TFPATH' entry --json '$CORE' | grep not-valid"
expect "entry of a missing folder: why, in one line" "tfpath: /no/such/folder: no such folder" \
  bash -c "'$TFPATH' entry /no/such/folder 2>&1"

# The host's rule: a class constructor anywhere first, then the plain
# folders in order; package, private and other classes' functions only by
# their partial pathnames or, for a package, the dotted name.
expect "a plain folder's file before a package function of the same name" "$EXTRA/area.tf" \
  "$TFPATH" which area "$CORE" "$EXTRA"
expect "a private function is not reached by its name" "" "$TFPATH" which secret "$CORE"
expect "nor a method of a class" "" "$TFPATH" which norm "$CORE"
expect "a constructor" "$CORE/@Point/Point.tf" "$TFPATH" which Point "$CORE"
mkdir -p "$CHECKS_SCRATCH/plain" && touch "$CHECKS_SCRATCH/plain/Point.tf"
expect "the constructor alone, not the plain function after it" "$CORE/@Point/Point.tf" \
  "$TFPATH" which Point "$CORE" "$CHECKS_SCRATCH/plain"
expect "both with --all, the constructor first" "$CORE/@Point/Point.tf
$CHECKS_SCRATCH/plain/Point.tf" "$TFPATH" which --all Point "$CORE" "$CHECKS_SCRATCH/plain"
expect "partial pathnames reach them" "$CORE/private/secret.tf
$CORE/+geometry/area.tf
$CORE/@Point/norm.tf
$CORE/+geometry/+shapes/circle.tf" bash -c \
  "for name in private/secret +geometry/area @Point/norm +geometry/+shapes/circle; do '$TFPATH' which \$name '$CORE'; done"
expect "and dotted names the package functions" "$CORE/+geometry/area.tf
$CORE/+geometry/+shapes/circle.tf" bash -c \
  "'$TFPATH' which geometry.area '$CORE' '$EXTRA' && '$TFPATH' which geometry.shapes.circle '$CORE'"
expect "--scope overrides the rule" "$CORE/+geometry/area.tf" "$TFPATH" which --scope package area "$EXTRA" "$CORE"
expect "scope restricts entry types" "" "$TFPATH" which --scope main area "$CORE"
expect "current folder first" "$TREE/project/main.tf" "$TFPATH" which --cd "$TREE/project" main "$CORE"
expect "without folders, the working folder alone" "$TREE/project/main.tf" bash -c "cd '$TREE/project' && '$TFPATH' which main"
expect "the working folder's private functions only by partial pathname" "
$TREE/project/private/localHelper.tf" bash -c \
  "'$TFPATH' which --cd '$TREE/project' localHelper '$CORE'; echo; '$TFPATH' which --cd '$TREE/project' private/localHelper"
expect "current folder on the path stands first, once" "$EXTRA
$CORE" bash -c "'$TFPATH' path --json --cd '$EXTRA' '$CORE' '$EXTRA' | grep '\"folder\"' | sed 's/.*: \"//; s/\".*//'"
expect "special folder refused on the path" "search path, 0 folders:" "$TFPATH" path --no-current-folder "$CORE/+geometry"
expect "one folder, in the singular" "search path, 1 folder:" bash -c "'$TFPATH' path --no-current-folder '$CORE' | head -1"
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
expect_status "an unknown warning option ends with status 2" 2 "$TFPATH" policy warning sometimes

expect "the example session" "$(cat "$HERE/session.expected")" \
  bash -c "cd '$TREE' && '$TFPATH' run ../session.tfs 2>&1 | sed 's|$TREE|TREE|g'"
expect "a missing argument" "tfpath: <stdin>:1: path add: missing folder" bash -c "echo 'path add' | '$TFPATH' run 2>&1"

# The toolbox cache, on a scratch copy of the toolbox.
SCRATCH="$CHECKS_SCRATCH"
cp -r "$TREE/toolbox" "$SCRATCH/toolbox"
TB="$SCRATCH/toolbox"
expect_status "cache written" 0 "$TFPATH" cache write "$SCRATCH/tb.cache" --root "$TB"
expect "cache counted" "9 folders, 16 files" "$TFPATH" cache check "$SCRATCH/tb.cache"
expect "the shipped cache is the toolbox's" "9 folders, 16 files" "$TFPATH" cache check "$EXAMPLES/tree.cache"
expect "a session writes the same cache" "9 folders, 16 files" bash -c \
  "printf 'path set $TB/core $TB/extra\\ncache write $SCRATCH/session.cache $TB\\n' | '$TFPATH' --root '$TB' run >/dev/null &&
   '$TFPATH' cache check '$SCRATCH/session.cache'"
expect "a session's cache load of a missing file names its line" "tfpath: <stdin>:1: cache load: $SCRATCH/missing.cache: no such file" \
  bash -c "echo 'cache load $SCRATCH/missing.cache $TB' | '$TFPATH' run 2>&1"
rm "$TB/core/hello.tf"
expect "a lookup served from the cache" "$TB/core/hello.tf" "$TFPATH" cache load "$SCRATCH/tb.cache" --root "$TB" which hello "$TB/core"
expect_status "without the cache the file is gone" 1 "$TFPATH" which hello "$TB/core"
printf '<Thornfell type="Path Cache File" version="2.0" date="x">\n <D name="core">\n <X/>' >"$SCRATCH/bad.cache"
expect "fault offset" "tfpath: $SCRATCH/bad.cache: not a toolbox cache file: fault at byte 77" \
  bash -c "'$TFPATH' cache check '$SCRATCH/bad.cache' 2>&1"
expect_status "faulty cache check" 2 "$TFPATH" cache check "$SCRATCH/bad.cache"
expect_status "faulty cache load" 2 "$TFPATH" cache load "$SCRATCH/bad.cache" --root "$TB"
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
expect "a deep package checked" "101 folders, 1 file" "$TFPATH" cache check "$SCRATCH/deep.cache"
expect "a deep package loaded" "$DEEP/top/$(printf '+p/%.0s' $(seq 100))bottom.tf" \
  "$TFPATH" cache load "$SCRATCH/deep.cache" --root "$DEEP" which "$(printf '+p/%.0s' $(seq 100))bottom" "$DEEP/top"

finish
