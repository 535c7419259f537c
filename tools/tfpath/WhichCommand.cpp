// tfpath which NAME DIR...: which file a name finds in the given folders.
#include "Commands.hpp"
#include "EntryFormat.hpp"
#include "JsonText.hpp"
#include "QueryOptions.hpp"

#include "EngineSession.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

// One path of the given folders, in order. Folders that can't be read, or
// that are special folders themselves, are reported and left out.
std::shared_ptr<const IPath> PathOfFolders(const std::vector<std::string>& folders) {
    PathEntryVector entries;
    for (const auto& folder : folders) {
        try {
            auto entry = GetPathEntryFactory().GetPathEntry(GetIRIFromString(AbsoluteFolderArgument(folder)));
            if (entry->GetPathEntryType() != Main) {
                std::cerr << "tfpath: skipping " << folder << ": a " << EntryTypeName(entry->GetPathEntryType())
                          << " folder can't stand on a path by itself\n";
                continue;
            }
            entries.push_back(std::move(entry));
        } catch (const foundation::storage::vfs::Exception& e) {
            std::cerr << "tfpath: skipping " << folder << ": " << e.what() << " (storage error " << e.getErrorCode()
                      << ")\n";
        }
    }
    return GetCurrentPathFactory().CreatePath(std::move(entries));
}

} // namespace

void AddWhichCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string name;
        std::vector<std::string> folders;
        std::string extensions = ".tf";
        std::string policy = "storage";
        std::string scope = "main,package,method,private,uddclass,resources";
        std::string cd;
        bool all = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("which", "find the file that a name stands for in the given folders");
    command->add_option("NAME", options->name, "the name to find, without extension")->required();
    command->add_option("DIR", options->folders, "the folders, in order");
    command->add_option("--ext", options->extensions,
                        "extensions in order of preference, comma separated; an empty element is no extension")
        ->capture_default_str();
    command->add_option("--policy", options->policy, "name matching: exact, fold or storage")
        ->check(CLI::IsMember({"exact", "fold", "storage"}))
        ->capture_default_str();
    command->add_flag("--all", options->all, "list every file the name finds, in order");
    command->add_flag("--json", options->json, "print JSON");
    command->add_option("--scope", options->scope,
                        "entry types to look in, comma separated: main,package,method,private,uddclass,resources")
        ->capture_default_str();
    command->add_option("--cd", options->cd, "answer from a search path with this working folder first");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        const NameQuery query{options->name, options->extensions, options->policy, options->scope, options->all};
        ParseScope(query.scope);  // a bad scope is refused before any folder is read
        std::optional<EngineSession> session;
        std::optional<foundation::usm::EngineInstance> engine;
        std::optional<foundation::usm::EngineInstance::MakeCurrent> current;
        std::shared_ptr<const IPath> path;
        if (!options->cd.empty()) {
            session.emplace(options->cd);
            session->SetPathFolders(options->folders);
            path = session->manager().GetSearchPath();
        } else {
            engine.emplace();
            current.emplace(*engine);
            path = PathOfFolders(options->folders);
        }
        const std::vector<std::string> found = FindFiles(*path, query);
        path.reset();
        if (found.empty()) {
            std::cerr << "tfpath: '" << options->name << "' not found\n";
            throw CLI::RuntimeError(1);
        }
        if (options->json) {
            std::cout << JsonText(options->all ? nlohmann::json(found) : nlohmann::json(found.front()), 2) << "\n";
        } else {
            for (const auto& path : found) std::cout << path << "\n";
        }
    });
}

} // namespace tfpath
