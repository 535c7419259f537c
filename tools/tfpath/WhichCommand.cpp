// tfpath which NAME DIR...: which file a name finds in the given folders.
#include "Commands.hpp"
#include "EntryFormat.hpp"

#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
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

} // namespace

void AddWhichCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string name;
        std::vector<std::string> folders;
        std::string extensions = ".tf";
        std::string policy = "storage";
        bool all = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("which", "find the file that a name stands for in the given folders");
    command->add_option("NAME", options->name, "the name to find, without extension")->required();
    command->add_option("DIR", options->folders, "the folders, in order")->required();
    command->add_option("--ext", options->extensions,
                        "extensions in order of preference, comma separated; an empty element is no extension")
        ->capture_default_str();
    command->add_option("--policy", options->policy, "name matching: exact, fold or storage")
        ->check(CLI::IsMember({"exact", "fold", "storage"}))
        ->capture_default_str();
    command->add_flag("--all", options->all, "list every file the name finds, in order");
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        const detail::SearchTarget target(fl::i18n::utf8_to_ustring(options->name), ParseExtensions(options->extensions));
        const FilenameMatchingPolicy policy = ParsePolicy(options->policy);
        std::vector<std::string> found;
        for (const auto& folder : options->folders) {
            PathEntryPointer entry;
            try {
                entry = GetPathEntryFactory().GetPathEntry(GetIRIFromString(AbsoluteFolderArgument(folder)));
            } catch (const foundation::storage::vfs::Exception& e) {
                std::cerr << "tfpath: skipping " << folder << ": " << e.what() << " (storage error "
                          << e.getErrorCode() << ")\n";
                continue;
            }
            if (options->all) {
                for (const auto& item : entry->FindAll(target, policy)) found.push_back(ItemPath(*item));
            } else if (auto item = entry->FindFirst(target, policy)) {
                found.push_back(ItemPath(*item));
                break;
            }
        }
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
