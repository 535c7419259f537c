// tfpath path [DIR...]: the search path of a manager made the way a host
// makes it: the current folder first, then the folders given.
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "EntryFormat.hpp"

#include "tfsearch_path/PathFunctions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

void PrintTree(std::ostream& out, const IPathEntry& entry, int depth) {
    auto children = [&out, depth](const PathEntryList& list) {
        for (const auto& child : *list) PrintTree(out, *child, depth + 1);
    };
    if (depth > 0)
        out << std::string(2 * depth + 2, ' ') << ToUtf8(entry.GetIRI().getName()) << "  ["
            << EntryTypeName(entry.GetPathEntryType()) << "]\n";
    children(entry.GetPackageEntries());
    children(entry.GetMethodEntries());
    children(entry.GetUDDClassEntries());
    if (auto child = entry.GetPrivateEntry(); child && child.get() != &entry) PrintTree(out, *child, depth + 1);
    if (auto child = entry.GetResourcesEntry()) PrintTree(out, *child, depth + 1);
}

nlohmann::ordered_json TreeJson(const IPathEntry& entry) {
    nlohmann::ordered_json children = nlohmann::ordered_json::array();
    entry.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& child) {
        if (child.get() != &entry)
            children.push_back({{"folder", ToUtf8(GetStringFromIRI(child->GetIRI()))},
                                {"type", EntryTypeName(child->GetPathEntryType())}});
        return false;
    });
    return children;
}

} // namespace

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
        EngineSession session(options->cd.empty() ? std::nullopt : std::optional(options->cd), !options->noCurrentFolder);
        session.SetPathFolders(options->folders);
        const auto searchPath = session.manager().GetSearchPath();
        const auto mainEntries = searchPath->GetMainEntries();
        if (options->json) {
            nlohmann::ordered_json out = nlohmann::ordered_json::array();
            for (const auto& entry : *mainEntries) {
                nlohmann::ordered_json item{{"folder", ToUtf8(GetStringFromIRI(entry->GetIRI()))},
                                            {"type", EntryTypeName(entry->GetPathEntryType())}};
                if (options->tree) item["entries"] = TreeJson(*entry);
                out.push_back(std::move(item));
            }
            std::cout << out.dump(2) << "\n";
            return;
        }
        std::cout << "search path, " << mainEntries->size() << " folders:\n";
        std::size_t position = 0;
        for (const auto& entry : *mainEntries) {
            std::cout << "  " << ++position << "  " << ToUtf8(GetStringFromIRI(entry->GetIRI())) << "  ["
                      << EntryTypeName(entry->GetPathEntryType()) << "]\n";
            if (options->tree) PrintTree(std::cout, *entry, 0);
        }
    });
}

} // namespace tfpath
