#!/usr/bin/env bash
# tfpath run as a shell: answers on standard output, problems on standard
# error; on a terminal a failed command is reported and the session goes
# on, from a pipe or a file it ends the run with status 2 after naming
# FILE:LINE; help, quit and exit; a UTF-8 byte order mark in front of a
# script or a package manifest is skipped.
#   check-run-shell.sh PATH_TO_TFPATH EXAMPLES_DIR
HERE="$(cd "$(dirname "$0")" && pwd)"
source "$HERE/checks.sh"
S="$CHECKS_SCRATCH"
HELLO="$CORE/hello.tf"
cd "$TREE" || exit 1

# session LINES...: the lines as a script file, and as a pipe.
printf '%s\n' 'path set toolbox/core' 'bogus' 'which hello' >"$S/failing.tfs"
UNKNOWN="unknown command 'bogus' (help lists the commands)"
expect "from a pipe: the error names the line, and nothing after it runs" "tfpath: <stdin>:2: $UNKNOWN
status 2" bash -c "'$TFPATH' run <'$S/failing.tfs' 2>&1; echo status \$?"
expect "from a file: the same, with the file's name" "tfpath: $S/failing.tfs:2: $UNKNOWN
status 2" bash -c "'$TFPATH' run '$S/failing.tfs' 2>&1; echo status \$?"
# On a terminal (a pseudo-terminal made by script(1)), the error is told
# and the next lines run. The terminal echoes the lines typed, and prompts;
# both are left out here, since they may come in any order.
expect "on a terminal: the error is told, and the session goes on" "tfpath: <stdin>:2: $UNKNOWN
$HELLO
status 0" bash -c "script -qec '$TFPATH run' /dev/null <'$S/failing.tfs' | tr -d '\r' | sed 's/tfpath> //g' |
  grep -vxF -f '$S/failing.tfs' | grep -v '^\$'; echo status \${PIPESTATUS[0]}"

capture bash -c "printf 'path set toolbox/core\nwhich nosuch\npath add no-such-folder\nwhich hello\n' | '$TFPATH' run"
checks=$((checks + 1))
[[ $STATUS == 0 && "$OUT" == "$HELLO" && "$ERR" == "'nosuch' not found
message ORVIAN:mpath:nameNonexistentOrNotADirectory: '$TREE/no-such-folder' does not exist or is not a folder." ]] ||
  fail "answers on standard output, a name not found and soft messages on standard error" \
    "status $STATUS" "stdout: $OUT" "stderr: $ERR"

expect "quit ends the session" "" bash -c "printf 'quit\nbogus\n' | '$TFPATH' run 2>&1"
expect "and so does exit" "" bash -c "printf 'exit\nbogus\n' | '$TFPATH' run 2>&1"
capture bash -c "echo help | '$TFPATH' run"
HELP="$OUT"
checks=$((checks + 1))
for command in cache cd events help memento package packages-after path policy 'quit, exit' refresh which; do
  grep -q "^  $command " <<<"$HELP" || fail "help lists '$command'" "help: $HELP"
done
expect "run --help lists the session's commands as help does" "$HELP" \
  bash -c "'$TFPATH' run --help | sed -n '/^Session commands/,/^On a terminal/p' | sed '1d;\$d'"

printf '\xEF\xBB\xBFpath set toolbox/core\nwhich hello\n' >"$S/bom.tfs"
expect "a byte order mark in front of a script is skipped" "$HELLO" "$TFPATH" run "$S/bom.tfs"
cp -r "$EXAMPLES/packages/stats" "$S/stats"
{ printf '\xEF\xBB\xBF'; cat "$EXAMPLES/packages/stats/package.manifest"; } >"$S/stats/package.manifest"
expect "and in front of a package manifest" "package installed stats@1.0" \
  bash -c "cd '$S' && echo 'package install stats' | '$TFPATH' --feature component --feature gup run"

finish
