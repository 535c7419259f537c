#pragma once
// The tool's exit statuses, one rule for every command:
//   0  the command did what it was asked
//   1  it found nothing (which, ls, entry), and nothing went wrong
//   2  a usage error or bad input: an unknown command or option, a missing
//      argument, a folder that doesn't exist, a malformed file; and any
//      other failure that stops the command
#include <CLI/CLI.hpp>

#include <stdexcept>

namespace tfpath {

enum ExitStatus : int { kSucceeded = 0, kNothingFound = 1, kFailed = 2 };

// Stops a command with status 2. main prints "tfpath: " and the text, one
// line on standard error, so the text says what was wrong and with what
// ("toolbox/cor: no such folder").
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Stops a command with status 1, quietly: the command has said on standard
// error what it didn't find, and has printed what its --json form prints.
inline CLI::RuntimeError NothingFound() { return CLI::RuntimeError(kNothingFound); }

}  // namespace tfpath
