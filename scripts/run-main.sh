#!/usr/bin/env bash
# Installs, builds and runs the main job: tfpath on the example tree.
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
"$ROOT/scripts/install-deps.sh"
"$ROOT/scripts/build.sh" release tfpath
TFPATH="$ROOT/build/release/tools/tfpath"
"$ROOT/examples/run-example.sh" "$TFPATH"
echo
echo "\$ tfpath --feature component --feature gup run ../packages.tfs   (in examples/tree)"
(cd "$ROOT/examples/tree" && "$TFPATH" --feature component --feature gup run ../packages.tfs)
