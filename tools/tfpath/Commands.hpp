#pragma once
// The commands of tfpath. Each returns the process exit status.
#include "fl/ustring.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tfpath {

// Settings every command shares; applied before a command runs.
struct GlobalOptions {
    std::string installRoot;           // --root
    std::vector<std::string> features; // --feature component|gup|zpm
    bool verbose = false;              // --verbose: diagnostic log to stderr
};

void AddListCommand(CLI::App& app, const GlobalOptions& global);
void AddEntryCommand(CLI::App& app, const GlobalOptions& global);
void AddWhichCommand(CLI::App& app, const GlobalOptions& global);
void AddPathCommand(CLI::App& app, const GlobalOptions& global);
void AddRunCommand(CLI::App& app, const GlobalOptions& global);
void AddWatchCommand(CLI::App& app, const GlobalOptions& global);
void AddCacheCommand(CLI::App& app, const GlobalOptions& global);
// dump, canonicalize, policy: the library's host commands.
void AddHostCommands(CLI::App& app, const GlobalOptions& global);

// Applies the global options to the process (install root, feature switches).
void ApplyGlobalOptions(const GlobalOptions& global);

// A command line folder argument as a file IRI text, made absolute against
// the process's working folder.
ustring AbsoluteFolderArgument(const std::string& argument);

std::string ToUtf8(const ustring& text);

} // namespace tfpath
