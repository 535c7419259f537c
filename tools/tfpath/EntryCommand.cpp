// tfpath entry DIR: the entry of one folder as the entry factory builds it.
#include "Commands.hpp"
#include "EntryFormat.hpp"
#include "ExitStatus.hpp"
#include "JsonText.hpp"

#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

void AddEntryCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string folder;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "entry", "show the entry of a folder: its files and special subfolders; status 1 when it holds neither");
    command->add_option("DIR", options->folder, "the folder")->required();
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        RequireFolder(options->folder);
        PathEntryPointer entry;
        try {
            entry = GetPathEntryFactory().GetPathEntry(GetIRIFromString(AbsoluteFolderArgument(options->folder)));
        } catch (const foundation::storage::vfs::Exception& e) {
            throw BadInput(options->folder + ": can't be read (storage error " + std::to_string(e.getErrorCode()) +
                           ")");
        }
        const nlohmann::ordered_json json = EntryToJson(*entry);
        if (options->json)
            std::cout << JsonText(json, 2) << "\n";
        else
            PrintEntry(std::cout, *entry, 0);
        if (json["files"].empty() && json["entries"].empty()) {
            std::cout << std::flush;
            std::cerr << "tfpath: " << options->folder << ": no files and no special folders\n";
            throw NothingFound();
        }
    });
}

}  // namespace tfpath
