#!/usr/bin/env bash
# The main job: tfpath on the example tree. Usage: run-example.sh PATH_TO_TFPATH
set -euo pipefail
TFPATH="${1:?path to the tfpath binary}"
HERE="$(cd "$(dirname "$0")" && pwd)"
TREE="$HERE/tree"
run() { echo; echo "\$ tfpath $*"; "$TFPATH" "$@"; }

run --version
run ls "$TREE/toolbox/core"
run entry "$TREE/toolbox/core"
run entry --json "$TREE/project"
run which hello "$TREE/project" "$TREE/toolbox/core" "$TREE/toolbox/extra"
run which --all hello "$TREE/toolbox/extra" "$TREE/toolbox/core"
run which --policy fold GREETING "$TREE/toolbox/core"
run which --policy exact --all greeting "$TREE/toolbox/core"
run which --ext .csv data "$TREE/toolbox/core"
run which --ext .txt, README "$TREE/toolbox/core"
run which --ext . notes "$TREE/toolbox/core"
run which +geometry/+shapes/circle "$TREE/toolbox/core"
run which geometry.shapes.circle "$TREE/toolbox/core"
run which --json area "$TREE/toolbox/core" "$TREE/toolbox/extra"
run which --scope method,uddclass lift "$TREE/toolbox/core"
run path --cd "$TREE/project" "$TREE/toolbox/core" "$TREE/toolbox/extra"
run --root "$TREE/toolbox" path --tree --cd "$TREE/toolbox/extra" "$TREE/toolbox/core" "$TREE/toolbox/extra"
run which --cd "$TREE/project" private/localHelper "$TREE/toolbox/core"
# The toolbox cache, written from examples/tree/toolbox by
#   tfpath cache write examples/tree.cache --root examples/tree/toolbox
# A lookup after the load lists no folder: the entries come from the file.
run cache check "$HERE/tree.cache"
run cache load "$HERE/tree.cache" --root "$TREE/toolbox" which --all hello "$TREE/toolbox/extra" "$TREE/toolbox/core"
echo
echo "\$ tfpath which nosuchname ...   (exits with status 1)"
if "$TFPATH" which nosuchname "$TREE/toolbox/core"; then exit 1; fi
echo
echo "\$ tfpath run ../session.tfs   (in $TREE)"
(cd "$TREE" && "$TFPATH" run ../session.tfs)
