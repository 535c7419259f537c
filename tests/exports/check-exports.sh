#!/usr/bin/env bash
# The exports of the shared libraries are their interface, and a change to
# them is made on purpose.
#   check-exports.sh LIBRARY LIST HEADERS
#       the functions and variables of Thornfell::PathManagement that
#       LIBRARY exports (nm -D --defined-only -C, names only, sorted) are
#       those of LIST; every dynamic symbol it defines is either of the
#       namespace and marked TFSP_API in a header of HEADERS, or of std:: or
#       Boost (below). Only the namespace's functions and variables are
#       listed: which vtables, VTTs and type information are emitted, and
#       which instances of std:: and Boost templates, depends on what the
#       compiler inlined, so it differs between builds and compilers of the
#       same version; those are checked by the rule alone.
#   check-exports.sh --programs PROGRAM...  none of the programs, which hold
#       the library's internal objects, also loads the shared library
#   check-exports.sh --update BUILD_DIR     writes the lists anew from a build
set -euo pipefail
HERE="$(cd "$(dirname "$0")" && pwd)"
LIBRARIES=(search_path/implementation/libtfsearch_path_impl.so
           search_path/outside/path_utilities/libtfsearch_path_utilities.so)

exports() {  # LIBRARY
  nm -D --defined-only -C "$1" | cut -d' ' -f3- | LC_ALL=C sort -u
}
ours() { grep -E '^((non-)?virtual thunk to )?Thornfell::PathManagement::' || true; }

if [[ "${1:-}" == --update ]]; then
  build="${2:?--update needs the build folder}"
  for library in "${LIBRARIES[@]}"; do
    name="$(basename "$library" .so)"
    {
      echo "# The functions and variables $name.so exports (nm -D --defined-only -C, sorted)."
      echo "# Written by tests/exports/check-exports.sh --update; see the README's Layout."
      exports "$build/$library" | ours
    } >"$HERE/${name#lib}.symbols"
    echo "$HERE/${name#lib}.symbols: $(grep -vc '^#' "$HERE/${name#lib}.symbols") names"
  done
  exit 0
fi

if [[ "${1:-}" == --programs ]]; then
  shift
  status=0
  for program in "$@"; do
    if readelf -d "$program" | grep -q 'NEEDED.*libtfsearch_path_impl\.so'; then
      echo "$program holds the library's internal objects and loads libtfsearch_path_impl.so too:" \
        "two copies of the implementation; link tfsearch_path_internal or the shared library, not both" >&2
      status=1
    fi
  done
  [[ $status == 0 ]] && echo "$# programs hold one copy of the library"
  exit $status
fi

library="$1" list="$2" headers="$3"
actual="$(exports "$library")"
listed="$(ours <<<"$actual")"
expected="$(grep -v '^#' "$list")"
if [[ "$listed" != "$expected" ]]; then
  echo "$(basename "$library") exports other symbols than $list lists (< listed, > exported):" >&2
  diff <(echo "$expected") <(echo "$listed") >&2 || true
  echo "If the change is meant (a declaration marked TFSP_API or unmarked), write the list anew and commit it" \
    "with the change: tests/exports/check-exports.sh --update <build folder>" >&2
  exit 1
fi

# Each name of the namespace is declared in a public header, marked: the
# first part of its qualified name that is not a namespace (a class, a
# function, a variable) follows TFSP_API in a declaration.
status=0
namespace_names="$(grep -ho 'namespace [A-Za-z_][A-Za-z_0-9]*' "$headers"/*.hpp | cut -d' ' -f2 | sort -u)"
marked() {  # NAME
  grep -qE "TFSP_API[^;{(]*\\b$1\\b" "$headers"/*.hpp
}
while IFS= read -r symbol; do
  name="$symbol"
  for prefix in "typeinfo name for " "typeinfo for " "vtable for " "VTT for " "guard variable for " \
                "non-virtual thunk to " "virtual thunk to "; do
    name="${name#"$prefix"}"
  done
  # AddressSanitizer's indicator of an exported variable goes with it.
  if [[ "$name" == __odr_asan.* ]]; then name="$(c++filt "${name#__odr_asan.}")"; fi
  # "construction vtable for BASE-in-CLASS" belongs to CLASS.
  if [[ "$name" == "construction vtable for "*-in-* ]]; then name="${name##*-in-}"; fi
  case "$name" in
    Thornfell::PathManagement::*)
      qualified="${name#Thornfell::PathManagement::}"
      qualified="${qualified%%[(<\[ ]*}"
      part=""
      IFS=: read -ra parts <<<"${qualified//::/:}"
      for candidate in "${parts[@]}"; do
        if ! grep -qx "$candidate" <<<"$namespace_names"; then part="$candidate"; break; fi
      done
      if [[ -z "$part" ]] || ! marked "$part"; then
        echo "exported but not marked TFSP_API in a public header: $symbol" >&2
        status=1
      fi
      ;;
    # What the headers of the standard library and of Boost give default
    # visibility themselves: the instances of their templates over standard
    # or exported types, the type information of their exceptions (caught
    # across libraries) and the static data of their templates (a locale
    # facet's id, which must be one in the process). A template function's
    # name starts with its return type.
    *)
      if ! [[ "$name" =~ ^([^\<\(]*\ )?(std|boost|__gnu_cxx):: ]]; then
        echo "exported, and neither of Thornfell::PathManagement nor of std:: or Boost: $symbol" >&2
        status=1
      fi
      ;;
  esac
done <<<"$actual"
[[ $status == 0 ]] && echo "$(basename "$library"): $(wc -l <<<"$listed") functions and variables as listed," \
  "$(wc -l <<<"$actual") exported names in all, each declared or the standard library's or Boost's"
exit $status
