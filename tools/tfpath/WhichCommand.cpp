// tfpath which NAME DIR...: which file a name finds in the given folders.
#include "Commands.hpp"
#include "EntryFormat.hpp"

#include "EngineSession.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

// "--ext .a,.b," lists ".a", ".b" and the empty extension, in that order.
std::vector<ustring> ParseExtensions(const std::string& text) {
    std::vector<ustring> extensions;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        extensions.push_back(fl::i18n::utf8_to_ustring(text.substr(start, comma - start)));
        if (comma == std::string::npos) return extensions;
        start = comma + 1;
    }
}

FilenameMatchingPolicy ParsePolicy(const std::string& text) {
    if (text == "exact") return CaseRuleOne;
    if (text == "fold") return CaseRuleTwo;
    return StorageSystemRule;
}

std::vector<PathEntryType> ParseScope(const std::string& text) {
    static const std::pair<const char*, PathEntryType> names[] = {{"main", Main},         {"package", Package},
                                                                  {"method", Method},     {"private", Private},
                                                                  {"uddclass", UDDClass}, {"resources", Resources}};
    std::vector<PathEntryType> scope;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t comma = text.find(',', start);
        if (comma == std::string::npos) comma = text.size();
        const std::string name = text.substr(start, comma - start);
        bool known = false;
        for (const auto& [word, type] : names)
            if (name == word) scope.push_back(type), known = true;
        if (!known && !name.empty()) throw CLI::ValidationError("--scope", "unknown entry type '" + name + "'");
        start = comma + 1;
    }
    return scope;
}

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
        const detail::SearchTarget target(fl::i18n::utf8_to_ustring(options->name), ParseExtensions(options->extensions));
        const FilenameMatchingPolicy policy = ParsePolicy(options->policy);
        const std::vector<PathEntryType> types = ParseScope(options->scope);
        const SearchScope scope(types.data(), types.data() + types.size());

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
        std::vector<std::string> found;
        if (options->all) {
            for (const auto& hit : path->FindAllInScope(scope, target, policy)) found.push_back(ItemPath(*hit.GetPathItem()));
        } else if (auto hit = path->FindFirstInScope(scope, target, policy)) {
            found.push_back(ItemPath(*hit->GetPathItem()));
        }
        path.reset();
        if (found.empty()) {
            std::cerr << "tfpath: '" << options->name << "' not found\n";
            throw CLI::RuntimeError(1);
        }
        if (options->json) {
            std::cout << (options->all ? nlohmann::json(found) : nlohmann::json(found.front())).dump(2) << "\n";
        } else {
            for (const auto& path : found) std::cout << path << "\n";
        }
    });
}

} // namespace tfpath
