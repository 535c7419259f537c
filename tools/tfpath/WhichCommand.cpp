// tfpath which NAME DIR...: the file a name stands for on a path of the
// given folders, found by the host's rule (LookUpName) unless --scope names
// the entry types to look in.
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "ExitStatus.hpp"
#include "QueryOptions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

void AddWhichCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        NameQuery query;
        std::string scope;
        std::vector<std::string> folders;
        std::string cd;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("which", "find the file that a name stands for on a path of the given folders");
    command
        ->add_option("NAME", options->query.name,
                     "the name, without extension; a partial pathname (+pkg/name, @Cls/name, private/name) or a "
                     "package function's dotted name (pkg.name) reaches those folders")
        ->required();
    command->add_option("DIR", options->folders, "the folders, in order; without any, the working folder alone");
    command
        ->add_option("--ext", options->query.extensions,
                     "extensions in order of preference, comma separated; an empty element is no extension")
        ->capture_default_str();
    command->add_option("--policy", options->query.policy, "name matching: exact, fold or storage")
        ->check(CLI::IsMember({"exact", "fold", "storage"}))
        ->capture_default_str();
    command->add_flag("--all", options->query.all, "list every file the name finds, in order");
    command->add_flag("--json", options->json, "print JSON: the file's object, null, or with --all an array");
    CLI::Option* scope =
        command->add_option("--scope", options->scope,
                            std::string("look for NAME itself in these entry types, comma separated: ") +
                                kEntryTypeNames);
    command->add_option("--cd", options->cd, "the working folder, put first on the path");
    command->callback([options, scope, &global] {
        ApplyGlobalOptions(global);
        NameQuery query = options->query;
        if (scope->count()) {
            query.scope = options->scope;
            ParseScope(options->scope);  // a bad scope is refused before any folder is read
        }
        RequireFolders(options->folders);
        // As `tfpath path` shows it: the working folder stands first with
        // --cd, and alone when no folder is given.
        EngineSession session(options->cd, !options->cd.empty() || options->folders.empty());
        session.SetPathFolders(options->folders);
        const auto found = FindFiles(*session.manager().GetSearchPath(), query);
        PrintFound(std::cout, found, query.all, options->json);
        if (found.empty()) {
            std::cout << std::flush;
            std::cerr << "tfpath: '" << query.name << "' not found\n";
            throw NothingFound();
        }
    });
}

}  // namespace tfpath
