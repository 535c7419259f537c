#pragma once
// The commands of tfpath. Each returns the process exit status.
#include "fl/ustring.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tfpath {

// Settings every command shares; applied before a command runs.
struct GlobalOptions {
    std::string installRoot;            // --root
    std::vector<std::string> features;  // --feature component|gup|zpm
    bool verbose = false;               // --verbose: diagnostic log to stderr
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
// tfpath version, which prints what --version prints.
void AddVersionCommand(CLI::App& app);
// The tool's version and the version of the library it runs with.
std::string VersionText();

// Applies the global options to the process (install root, feature
// switches). Throws BadInput when --root names no folder.
void ApplyGlobalOptions(const GlobalOptions& global);

// A command line path argument made absolute against the process's working
// folder, as UTF-8 text or as a ustring.
std::string AbsolutePath(const std::string& argument);
ustring AbsoluteFolderArgument(const std::string& argument);
// Checks made before a command does anything; each throws BadInput naming
// `label` (the argument as given, by default) and what is wrong with it.
void RequireFolder(const std::string& path, const std::string& label = "");
void RequireFile(const std::string& path, const std::string& label = "");
// RequireFolder of each.
void RequireFolders(const std::vector<std::string>& paths);

std::string ToUtf8(const ustring& text);

}  // namespace tfpath
