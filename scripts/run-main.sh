#!/usr/bin/env bash
# Installs, builds and runs the main job: tfpath on the example tree.
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
"$ROOT/scripts/install-deps.sh"
"$ROOT/scripts/build.sh" release tfpath
exec "$ROOT/examples/run-example.sh" "$ROOT/build/release/tools/tfpath"
