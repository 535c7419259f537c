#!/usr/bin/env bash
# tfpath run with packages: the example session end to end, and refusals
# that name their line. Usage: check-packages.sh PATH_TO_TFPATH EXAMPLES_DIR
set -uo pipefail
TFPATH="$(cd "$(dirname "${1:?path to the tfpath binary}")" && pwd)/$(basename "$1")"
EXAMPLES="$(cd "${2:?examples folder}" && pwd)"
HERE="$(cd "$(dirname "$0")" && pwd)"
RUN=("$TFPATH" --feature component --feature gup run)
RUN_ZPM=("$TFPATH" --feature component --feature gup --feature zpm run)
failures=0
expect() {  # expect NAME EXPECTED COMMAND...
    local name="$1" expected="$2"; shift 2
    local actual; actual="$("$@")"
    if [[ "$actual" == "$expected" ]]; then echo "ok: $name"
    else echo "FAILED: $name"; diff <(echo "$expected") <(echo "$actual"); failures=$((failures + 1)); fi
}

expect "the example package session" "$(cat "$HERE/packages.expected")" \
  bash -c "cd '$EXAMPLES/tree' && $(printf '%q ' "${RUN[@]}") ../packages.tfs 2>&1 | sed 's|$EXAMPLES|EXAMPLES|g'"
expect "a folder without a manifest: an error of that line that names the file" \
  "tfpath: <stdin>:2: $EXAMPLES/tree/package.manifest: no package manifest can be read there" \
  bash -c "cd '$EXAMPLES/tree' && printf 'path set toolbox/core\npackage install .\n' | $(printf '%q ' "${RUN[@]}") 2>&1"
expect "an unknown package" "tfpath: <stdin>:1: no installed package is named 'nothing'" \
  bash -c "echo 'package remove nothing' | $(printf '%q ' "${RUN[@]}") 2>&1"
expect "packages installed after a stamp: the latest at the front first" "front:
back:
package installed stats@1.0
package installed geometry@1.0
front: EXAMPLES/packages/geometry-1;EXAMPLES/packages/geometry-1/shapes
back: EXAMPLES/packages/stats
front:
back:
front: EXAMPLES/packages/geometry-1;EXAMPLES/packages/geometry-1/shapes
back:" \
  bash -c "cd '$EXAMPLES/tree' && printf 'packages-after 0\npackage install ../packages/stats\npackage install ../packages/geometry-1\npackages-after 0\npackages-after 2\npackages-after 1\n' |
    $(printf '%q ' "${RUN_ZPM[@]}") 2>&1 | sed 's|$EXAMPLES|EXAMPLES|g'"

echo "$((4 - failures)) passed, $failures failed"

[[ $failures -eq 0 ]]
