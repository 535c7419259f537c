// tfpath path [DIR...]: the search path of a manager made the way a host
// makes it: the current folder first, then the folders given.
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "EntryFormat.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

void AddPathCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::vector<std::string> folders;
        std::string cd;
        bool noCurrentFolder = false;
        bool tree = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("path", "show the search path a host would get for these folders");
    command->add_option("DIR", options->folders, "folders of the path, in order");
    command->add_option("--cd", options->cd, "the working folder (default: the process's)");
    command->add_flag("--no-current-folder", options->noCurrentFolder, "keep the working folder off the search path");
    command->add_flag("--tree", options->tree, "show the entries below each folder");
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        RequireFolders(options->folders);
        EngineSession session(options->cd, !options->noCurrentFolder);
        session.SetPathFolders(options->folders);
        PrintSearchPath(std::cout, *session.manager().GetSearchPath(), options->tree, options->json);
    });
}

}  // namespace tfpath
