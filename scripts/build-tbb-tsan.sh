#!/usr/bin/env bash
# Builds oneTBB's libraries (tbb, tbbmalloc) with ThreadSanitizer from
# Debian's source package of the installed version, into
# build/tbb-tsan/<version>-<flags hash>, and prints that install prefix.
# Built once: a prefix whose version and flags match is reused as it is.
#   scripts/build-tbb-tsan.sh
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
VERSION="$(dpkg-query -W -f='${Version}' libtbb-dev)"
# oneTBB's own sanitizer switch: it also leaves out what doesn't mix with
# ThreadSanitizer (link-time optimisation, tbbmalloc's profiling hooks).
OPTIONS=(
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTBB_SANITIZE=thread
  # The sanitizer doesn't model fences, and g++ says so at each of the
  # library's; the warnings would only drown the log.
  "-DCMAKE_CXX_FLAGS=-fno-omit-frame-pointer -Wno-tsan"
  # Only the libraries: no tests, examples, malloc proxy or hwloc binding.
  -DTBB_TEST=OFF -DTBB_EXAMPLES=OFF -DTBB_STRICT=OFF -DTBB_CPF=OFF
  -DTBBMALLOC_BUILD=ON -DTBBMALLOC_PROXY_BUILD=OFF -DTBB_DISABLE_HWLOC_AUTOMATIC_SEARCH=ON
)
CXX_VERSION="$(c++ -dumpfullversion)"
KEY="$VERSION-$(printf '%s|' "${OPTIONS[@]}" "$CXX_VERSION" | sha1sum | cut -c1-12)"
BASE="$ROOT/build/tbb-tsan"
PREFIX="$BASE/$KEY"
if [[ -f "$PREFIX/.complete" ]]; then
  echo "$PREFIX"
  exit 0
fi

{
  echo "-- oneTBB $VERSION with ThreadSanitizer: building once into $PREFIX"
  "$ROOT/scripts/install-deps.sh" --tbb-source
  # Builds of other versions or flags are of no further use.
  rm -rf "$BASE"
  WORK="$BASE/work"
  mkdir -p "$WORK"
  (cd "$WORK" && apt-get source -qq -o APT::Sandbox::User=root "onetbb=$VERSION")
  SRC="$(find "$WORK" -mindepth 1 -maxdepth 1 -type d -name 'onetbb-*' | head -n 1)"
  cmake -S "$SRC" -B "$WORK/build" -G Ninja "${OPTIONS[@]}" \
    -DCMAKE_INSTALL_PREFIX="$PREFIX" -DCMAKE_INSTALL_LIBDIR=lib >/dev/null
  cmake --build "$WORK/build"
  cmake --install "$WORK/build" >/dev/null
  rm -rf "$WORK"
  touch "$PREFIX/.complete"
} >&2
echo "$PREFIX"
