#!/usr/bin/env bash
# Builds the release build, runs every benchmark program with fixed arguments
# and prints one table of the figures against their aims, then the ratios
# measured within the same run.
#   scripts/bench.sh [--repetitions N]     (default 3; each value is the median)
#   TFSP_TREE_STORE=DIR scripts/bench.sh   (keeps the generated trees in DIR)
#   TFSP_BENCH_DIR=DIR scripts/bench.sh    (the programs of another build, not rebuilt)
#
# A figure is one line of FIGURES below:
#   kind | figure | value | unit | aim
# kind   "figure" or "ratio" (ratios are printed after the figures), or
#        "growth": a row of the growth table, whose value is PROGRAM:BENCHMARK
#        of a start-up run (time and memory per file, and against the walk)
# value  PROGRAM:BENCHMARK:FIELD, or two of those divided ("A / B"); BENCHMARK
#        is the name without the /real_time, /manual_time, /iterations:, /repeats: and /min_time: that
#        the library adds; FIELD is real_time or cpu_time (converted to the
#        row's unit; in a ratio, to ms) or a counter of the benchmark. A query
#        that runs on the caller's thread alone is read as cpu_time, which
#        other load on the machine disturbs less; parallel work as real_time.
# unit   ns, us or ms for times; anything else is printed as it is
# aim    the value must stay below it; "-" for a figure without an aim
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
REPETITIONS=3
case "${1:-}" in
  --repetitions) REPETITIONS="${2:?a number}" ;;
  "") ;;
  *) echo "usage: $0 [--repetitions N]" >&2; exit 2 ;;
esac

FIGURES=(
  "figure|Path build, 2,000 folders, 100,000 items|PathBench:PathBuild:real_time|ms|10"
  "figure|FindFirstInScope, name held by one folder|PathBench:FindFirstInScope/heldByOneFolder/policy:1:cpu_time|ns|120"
  "figure|FindFirstInScope, name held by 1,000 folders|PathBench:FindFirstInScope/heldBy1000Folders/policy:1:cpu_time|ns|150"
  "figure|FindFirstInScope, absent name|PathBench:FindFirstInScope/absent/policy:1:cpu_time|ns|50"
  "figure|FindAllInScope, name held by 100 folders|PathBench:FindAllInScope/heldBy100Folders:real_time|us|8"
  "figure|index memory per item|PathBench:PathIndexMemory:index_bytes_per_item|B|80"
  "figure|entry build, 2,000 folders, live observers|EntryBench:BM_BuildEntries:build_ms|ms|-"
  "ratio|entry build vs bare opendir/readdir walk|EntryBench:BM_BuildEntries:build_ms / EntryBench:BM_BuildEntries:bare_walk_ms|x|1.5"
  "ratio|current folder change vs main path build|ManagerBench:BM_CurrentFolderChange:real_time / ManagerBench:BM_CurrentFolderChange:build_ms|x|-"
  "figure|Refresh(0), nothing changed, live observers|ManagerBench:BM_RefreshNothingChanged:real_time|us|50"
  "figure|watches of the 2,000 folders on the path|ManagerBench:BM_RefreshNothingChanged:folder_watches|watches|-"
  "figure|extra watches of their ancestors|ManagerBench:BM_RefreshNothingChanged:ancestor_watches|watches|-"
  "figure|file created to found, 1 folder on the path|ManagerBench:BM_CreationToVisible/1:real_time|us|-"
  "figure|file created to found, whole tree on the path|ManagerBench:BM_CreationToVisible/2000:real_time|us|-"
  "figure|Refresh(0) after one file added, of listing + build|ManagerBench:BM_RefreshOneFileAdded:percent_of_budget|%|100"
  "ratio|alteration (entries cached) vs path build|ManagerBench:BM_SetPathFoldersWarm:real_time / ManagerBench:BM_SetPathFoldersWarm:build_ms|x|1.3"
  "ratio|cache load vs listing the same folders|CacheBench:BM_LoadCacheAgainstListing:load_ms / CacheBench:BM_LoadCacheAgainstListing:listing_ms|x|0.2"
  "figure|cache write, 2,000 folders|CacheBench:BM_WriteCache:real_time|ms|-"
  "ratio|package coordinator's own work vs the path build|PackagesBench:BM_InstallOnePackage:percent_of_build|%|10"
  "figure|FindFirstInScope, main folders, name held by one folder|FacadeBench:BM_FindFirstInScope:cpu_time|ns|120"
  "figure|LookUpName, the facade's rule on the same path|FacadeBench:BM_LookUpName:cpu_time|ns|170"
  "figure|SearchPath::Find, the same name on the same path|FacadeBench:BM_SearchPathFind:cpu_time|ns|170"
  "figure|the std::filesystem::path of that hit, made alone|FacadeBench:BM_ResultPathAlone:cpu_time|ns|-"
  "figure|SearchPath::Find, absent name|FacadeBench:BM_SearchPathFindAbsent:cpu_time|ns|100"
  "figure|SearchPath::Find, 1 thread, wall time per lookup|FacadeBench:BM_SearchPathFindThreads/threads:1:real_time|ns|-"
  "figure|SearchPath::Find, 2 threads, wall time per lookup of both|FacadeBench:BM_SearchPathFindThreads/threads:2:real_time|ns|-"
  "figure|SearchPath::Find, 8 threads, wall time per lookup of all|FacadeBench:BM_SearchPathFindThreads/threads:8:real_time|ns|-"
  "ratio|Find, 8 threads vs 1, wall time per lookup (1/cores when it scales)|FacadeBench:BM_SearchPathFindThreads/threads:8:real_time / FacadeBench:BM_SearchPathFindThreads/threads:1:real_time|x|-"
  "figure|start-up, 2,000 folders: cold entries, then the path|StartupBench:BM_StartUp/folders:2000/serial:0:startup_ms|ms|-"
  "figure|the same with the entries built in turn|StartupBench:BM_StartUp/folders:2000/serial:1:startup_ms|ms|-"
  "figure|python3's first import lookup on the same folders|StartupBench:BM_StartUp/folders:2000/serial:0:python_first_lookup_ms|ms|-"
  "figure|resident bytes per file on the path, 2,000 folders|StartupBench:BM_StartUp/folders:2000/serial:0:resident_bytes_per_file|B|100"
  "figure|python3's listing caches, resident bytes per file|StartupBench:BM_StartUp/folders:2000/serial:0:python_resident_bytes_per_file|B|-"
  "ratio|start-up vs a serial bare walk of the same folders|StartupBench:BM_StartUp/folders:2000/serial:0:vs_bare_walk|x|0.7"
  "figure|start-up's CPU time, all threads, 2,000 folders|StartupBench:BM_StartUp/folders:2000/serial:0:startup_cpu_ms|ms|-"
  "figure|the serial bare walk's CPU time|StartupBench:BM_StartUp/folders:2000/serial:0:bare_walk_cpu_ms|ms|-"
  "ratio|start-up CPU vs the walk's (0.7x of its time on 2 cores needs 1.4)|StartupBench:BM_StartUp/folders:2000/serial:0:cpu_vs_bare_walk|x|-"
  "ratio|start-up vs python3's first import lookup|StartupBench:BM_StartUp/folders:2000/serial:0:vs_python|x|0.34"
  "ratio|cache load vs listing, 20,000 folders|StartupBench:BM_CacheLoadAgainstListing/20000:load_vs_listing|x|0.2"
  "growth|200 folders, 10,000 files|StartupBench:BM_StartUp/folders:200/serial:0|-|-"
  "growth|2,000 folders, 100,000 files|StartupBench:BM_StartUp/folders:2000/serial:0|-|-"
  "growth|20,000 folders, 1,000,000 files|StartupBench:BM_StartUp/folders:20000/serial:0|-|-"
  "ratio|start-up per file, 20,000 folders vs 200|StartupBench:BM_StartUp/folders:20000/serial:0:ns_per_file / StartupBench:BM_StartUp/folders:200/serial:0:ns_per_file|x|1.2"
  "ratio|resident bytes per file, 20,000 folders vs 200|StartupBench:BM_StartUp/folders:20000/serial:0:resident_bytes_per_file / StartupBench:BM_StartUp/folders:200/serial:0:resident_bytes_per_file|x|1.2"
)

# TFSP_BENCH_DIR names the benchmark programs of another build (an older
# one, to compare): nothing is built, and figures of programs it lacks are
# left without a value.
if [[ -n "${TFSP_BENCH_DIR:-}" ]]; then
  BENCH_DIR="$TFSP_BENCH_DIR"
else
  "$ROOT/scripts/install-deps.sh"
  "$ROOT/scripts/build.sh" release >/dev/null
  BENCH_DIR="$ROOT/build/release/bench"
fi
OUT="$(mktemp -d)"
trap 'rm -rf "$OUT"' EXIT
# Programs that ask for a tree of the same options share one, written once;
# a store the caller names is kept, so that later runs skip the writing.
export TFSP_TREE_STORE="${TFSP_TREE_STORE:-$OUT/trees}"

# The programs named by the figures, each run once, with only the benchmarks
# that the figures read (a name's /real_time or /manual_time may come before
# its thread count).
for program in $(printf '%s\n' "${FIGURES[@]}" | cut -d'|' -f3 | sed 's| / |\n|' | cut -d: -f1 | sort -u); do
  names=$(printf '%s\n' "${FIGURES[@]}" | cut -d'|' -f3 | sed 's| / |\n|' | grep "^$program:" | cut -d: -f2- |
    sed 's|:[^:]*$||' | sort -u | sed -E 's#/#/((real|manual)_time/)?#g' | paste -sd'|')
  if [[ ! -x "$BENCH_DIR/$program" ]]; then
    echo "no $program in $BENCH_DIR" >&2
    echo '{"benchmarks": []}' >"$OUT/$program.json"
    continue
  fi
  echo "running $program ..." >&2
  "$BENCH_DIR/$program" --benchmark_filter="^($names)(/|\$)" \
    --benchmark_repetitions="$REPETITIONS" --benchmark_report_aggregates_only=true \
    --benchmark_out="$OUT/$program.json" --benchmark_out_format=json >/dev/null
done

# The median of one field of one benchmark (its only run, for a benchmark that
# fixes its own repetitions); real_time in the unit asked for.
value_of() {  # PROGRAM:BENCHMARK:FIELD unit
  local ref="$1" unit="$2"
  local program="${ref%%:*}" rest="${ref#*:}"
  local field="${rest##*:}" name="${rest%:*}"
  jq -r --arg name "$name" --arg field "$field" --arg unit "$unit" '
    def scale: {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9};
    [.benchmarks[] | select((.run_name | gsub("/(real_time|manual_time|iterations:[0-9]+|repeats:[0-9]+|min_time:[0-9.]+)"; "")) == $name)]
    | ([.[] | select(.aggregate_name == "median")] + [.[] | select(.run_type == "iteration")])[0]
    | if . == null then "missing"
      elif ($field == "real_time" or $field == "cpu_time") and (scale[$unit] != null)
        then .[$field] * scale[.time_unit] / scale[$unit]
      else (.[$field] // "missing") end' "$OUT/$program.json"
}

evaluate() {  # value expression, unit
  local expression="$1" unit="$2"
  if [[ "$expression" == *" / "* ]]; then
    local numerator denominator
    numerator=$(value_of "${expression%% / *}" ms)
    denominator=$(value_of "${expression##* / }" ms)
    awk -v a="$numerator" -v b="$denominator" 'BEGIN { if (a == "missing" || b == "missing" || b == 0) print "missing"; else print a / b }'
  else
    value_of "$expression" "$unit"
  fi
}

print_rows() {  # kind
  local line kind figure expression unit aim value verdict
  for line in "${FIGURES[@]}"; do
    IFS='|' read -r kind figure expression unit aim <<<"$line"
    [[ "$kind" == "$1" ]] || continue
    value=$(evaluate "$expression" "$unit")
    if [[ "$value" == missing ]]; then
      verdict="no value"
    elif [[ "$aim" == - ]]; then
      verdict="-"
    else
      verdict=$(awk -v v="$value" -v a="$aim" 'BEGIN { print (v < a) ? "holds" : "MISSED" }')
    fi
    [[ "$value" == missing ]] || value=$(awk -v v="$value" 'BEGIN { printf (v < 0.1 ? "%.4f" : v < 10 ? "%.2f" : "%.0f"), v }')
    [[ "$aim" == - ]] || aim="< $aim $unit"
    printf '%-48s %12s %-3s %-12s %s\n' "$figure" "$value" "$unit" "$aim" "$verdict"
  done
}

printf '%-48s %16s %-12s %s\n' "figure" "value" "aim" "holds"
print_rows figure
echo
printf '%-48s %16s %-12s %s\n' "ratio (same run)" "value" "aim" "holds"
print_rows ratio
echo
# How start-up grows with the path: per file, the time and the resident
# memory should stay flat from the smallest tree to the largest.
printf '%-48s %12s %12s %12s %12s\n' "growth of start-up" "ms" "ns/file" "B/file" "vs walk"
for line in "${FIGURES[@]}"; do
  IFS='|' read -r kind figure expression unit aim <<<"$line"
  [[ "$kind" == growth ]] || continue
  printf '%-48s' "$figure"
  for field in startup_ms ns_per_file resident_bytes_per_file vs_bare_walk; do
    value=$(value_of "$expression:$field" -)
    [[ "$value" == missing ]] || value=$(awk -v v="$value" 'BEGIN { printf (v < 10 ? "%.2f" : "%.0f"), v }')
    printf ' %12s' "$value"
  done
  echo
done
