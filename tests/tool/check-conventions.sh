#!/usr/bin/env bash
# Every command of tfpath against the conventions of the command line: for
# success, nothing found, a usage error and bad input, the exit status (0, 1,
# 2) and which stream got the text; then the --json of every command that
# prints data, parsed, with the fields the README documents.
#   check-conventions.sh PATH_TO_TFPATH EXAMPLES_DIR
HERE="$(cd "$(dirname "$0")" && pwd)"
source "$HERE/checks.sh"
T="$TFPATH"
S="$CHECKS_SCRATCH"
mkdir "$S/empty"
printf '<Thornfell type="Path Cache File" version="2.0" date="x">\n <X/>' >"$S/bad.cache"

#   description                              status streams command
row "no command"                                 2 err  "$T"
row "an unknown option"                          2 err  "$T" --bogus ls "$CORE"
row "--version"                                  0 out  "$T" --version
row "version"                                    0 out  "$T" version
row "ls"                                         0 out  "$T" ls "$CORE"
row "ls of an empty folder"                      1 both "$T" ls "$S/empty"
row "ls without a folder"                        2 err  "$T" ls
row "ls of a folder that doesn't exist"          2 err  "$T" ls "$S/none"
row "ls of a file"                               2 err  "$T" ls "$CORE/hello.tf"
row "entry"                                      0 out  "$T" entry "$CORE"
row "entry of an empty folder"                   1 both "$T" entry "$S/empty"
row "entry with two folders"                     2 err  "$T" entry "$CORE" "$EXTRA"
row "entry of a folder that doesn't exist"       2 err  "$T" entry "$S/none"
row "which"                                      0 out  "$T" which hello "$CORE"
row "which of an absent name"                    1 err  "$T" which nosuch "$CORE"
row "which without a name"                       2 err  "$T" which
row "which of a folder that doesn't exist"       2 err  "$T" which hello "$CORE" "$S/none"
row "which of an unknown scope"                  2 err  "$T" which --scope nosuch hello "$CORE"
row "which of a name that ends in a separator"   2 err  "$T" which +geometry/ "$CORE"
row "which of an unknown policy"                 2 err  "$T" which --policy loose hello "$CORE"
row "path"                                       0 out  "$T" path "$CORE"
row "path of an unknown option"                  2 err  "$T" path --flat "$CORE"
row "path of a folder that doesn't exist"        2 err  "$T" path "$S/none"
row "path with a working folder that isn't one"  2 err  "$T" path --cd "$CORE/hello.tf"
row "dump"                                       0 out  "$T" dump --no-current-folder "$CORE"
row "dump of an unknown option"                  2 err  "$T" dump --all
row "dump of a folder that doesn't exist"        2 err  "$T" dump "$S/none"
row "canonicalize"                               0 out  "$T" canonicalize --cd "$CORE" ..
row "canonicalize without a path"                2 err  "$T" canonicalize
row "canonicalize against no folder"             2 err  "$T" canonicalize --cd "$S/none" x
row "policy"                                     0 out  "$T" policy remote status
row "policy of an unknown kind"                  2 err  "$T" policy colour
row "policy of an unknown value"                 2 err  "$T" policy remote sometimes
row "cache write"                                0 none "$T" cache write "$S/tb.cache" --root "$TREE/toolbox"
row "cache write without a file"                 2 err  "$T" cache write --root "$TREE/toolbox"
row "cache write without a root"                 2 err  "$T" cache write "$S/tb.cache"
row "cache write of a folder that doesn't exist" 2 err  "$T" cache write "$S/tb.cache" --root "$TREE/toolbox" "$S/none"
row "cache check"                                0 out  "$T" cache check "$S/tb.cache"
row "cache check without a file"                 2 err  "$T" cache check
row "cache check of a malformed file"            2 err  "$T" cache check "$S/bad.cache"
row "cache load, then which"                     0 out  "$T" cache load "$S/tb.cache" --root "$TREE/toolbox" which hello "$CORE"
row "cache load, then which of an absent name"   1 err  "$T" cache load "$S/tb.cache" --root "$TREE/toolbox" which nosuch "$CORE"
row "cache load of an unknown lookup"            2 err  "$T" cache load "$S/tb.cache" --root "$TREE/toolbox" find hello
row "cache load of a malformed file"             2 err  "$T" cache load "$S/bad.cache" --root "$TREE/toolbox"
row "cache of an unknown action"                 2 err  "$T" cache clear
row "run"                                        0 out  bash -c "echo 'path show' | '$T' run"
row "run of an unknown option"                   2 err  "$T" run --quiet
row "run of a file that doesn't exist"           2 err  "$T" run "$S/none.tfs"
row "run of an unknown session command"          2 err  bash -c "echo 'path shw' | '$T' run"
row "watch without a folder"                     2 err  "$T" watch
row "watch every 0 ms"                           2 err  "$T" watch --interval 0 "$CORE"

expect "an unknown command is named" "tfpath: unknown command 'bogus'" bash -c "'$T' bogus 2>&1 | head -1"
expect "--version: the tool's and the library's, from the project's version" "tfpath 1
libtfsearch_path_impl 1" bash -c "'$T' --version | sed 's/ [0-9][0-9]*\.[0-9][0-9]*\.[0-9][0-9]*$/ 1/'"
expect "watch reports each folder that doesn't exist, and ends when none is left" "tfpath: $S/none: no such folder; not watched
tfpath: $S/none2: no such folder; not watched
tfpath: watch: no folder left to watch
status 2" bash -c "'$T' watch '$S/none' '$S/none2' 2>&1; echo status \$?"
expect "a refusal of --interval is plain" "tfpath: watch --interval 0: the milliseconds between refreshes, from 1 to 86400000" \
  bash -c "'$T' watch --interval 0 '$CORE' 2>&1"
# --root is the installation root wherever it stands.
expect "--root before the command as after it" "9 folders, 16 files" \
  bash -c "'$T' --root '$TREE/toolbox' cache write '$S/before.cache' && '$T' cache check '$S/before.cache'"

# Each --json parses, with the documented fields: "folder" is a folder's
# native path, "file" a file's, and lists are arrays.
is_folder='(type == "string" and startswith("/") and (startswith("file:") | not))'
expect_json "ls --json" "keys_unsorted == [\"folder\", \"files\", \"folders\"] and .folder == \"$TREE/project\" and
  .files == [{file: \"$TREE/project/main.tf\", name: \"main.tf\"}] and
  .folders == [{folder: \"$TREE/project/private\", name: \"private\"}]" "$T" ls --json "$TREE/project"
expect_json "ls --json of an empty folder: empty arrays" '.files == [] and .folders == []' "$T" ls --json "$S/empty"
expect_json "entry --json" "keys_unsorted == [\"folder\", \"type\", \"files\", \"entries\"] and .type == \"Main\" and
  .files[0] == {file: \"$TREE/project/main.tf\", name: \"main.tf\", stem: \"main\", extension: \".tf\"} and
  .entries[0].folder == \"$TREE/project/private\" and .entries[0].type == \"Private\" and
  .entries[0].files[0].file == \"$TREE/project/private/localHelper.tf\"" "$T" entry --json "$TREE/project"
expect_json "entry --json: every folder below, files in arrays" \
  "[.. | objects | select(has(\"type\")) | (.folder | $is_folder) and (.files | type == \"array\") and (.entries | type == \"array\")] | all" \
  "$T" entry --json "$CORE"
expect_json "which --json: the file's object" \
  ". == {file: \"$CORE/+geometry/area.tf\", folder: \"$CORE/+geometry\", type: \"Package\"}" \
  "$T" which --json geometry.area "$CORE"
expect_json "which --json of an absent name: null" '. == null' "$T" which --json nosuch "$CORE"
expect_json "which --all --json: an array, of one element too" "[.[].file] == [\"$CORE/hello.tf\"]" \
  "$T" which --all --json hello "$CORE"
expect_json "which --all --json of an absent name: an empty array" '. == []' "$T" which --all --json nosuch "$CORE"
expect_json "path --json" "[.[] | keys_unsorted] == [[\"folder\", \"type\"], [\"folder\", \"type\"]] and
  [.[].folder] == [\"$CORE\", \"$EXTRA\"]" "$T" path --json --no-current-folder "$CORE" "$EXTRA"
expect_json "path --tree --json: the entries below each" \
  "[.[0].entries[] | .folder] | index(\"$CORE/@Point\") != null and all(.[]; $is_folder)" \
  "$T" path --tree --json --no-current-folder "$CORE"
expect_json "dump --json" "[.[].folder] == [\"$TREE/project\", \"$TREE/project/private\"] and
  .[0] == {folder: \"$TREE/project\", type: \"Main\", upToDate: true, files: [{file: \"$TREE/project/main.tf\"}]}" \
  "$T" dump --json --cd "$TREE/project"
expect_json "cache check --json" ". == {file: \"$S/tb.cache\", folderCount: 9, fileCount: 16}" \
  "$T" cache check --json "$S/tb.cache"
expect_json "canonicalize --json" ". == {input: \"../extra\", canonical: \"$EXTRA\"}" \
  "$T" canonicalize --json --cd "$CORE" ../extra
expect_json "policy --json" '. == {policy: "warning", previous: "always"}' "$T" policy --json warning status
expect_json "package list --json, in a session" "[.[] | keys_unsorted] == [[\"name\", \"version\", \"managed\", \"onPath\", \"folder\"]] and
  .[0] == {name: \"stats\", version: \"1.0\", managed: true, onPath: true, folder: \"$EXAMPLES/packages/stats\"}" \
  bash -c "printf 'package install packages/stats\npackage list --json\n' | '$T' --feature component --feature gup run | sed 1d"
expect_json "path show --json, in a session" "[.[].folder] == [\"$TREE\", \"$CORE\"]" \
  bash -c "cd '$TREE' && printf 'path set toolbox/core\npath show --json\n' | '$T' run"

finish
