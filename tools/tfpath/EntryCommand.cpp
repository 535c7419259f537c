// tfpath entry DIR: the entry of one folder as the entry factory builds it.
#include "Commands.hpp"
#include "EntryFormat.hpp"
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
    CLI::App* command = app.add_subcommand("entry", "show the entry of a folder: its files and special subfolders");
    command->add_option("DIR", options->folder, "the folder")->required();
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        try {
            const auto entry = GetPathEntryFactory().GetPathEntry(GetIRIFromString(AbsoluteFolderArgument(options->folder)));
            if (options->json)
                std::cout << JsonText(EntryToJson(*entry), 2) << "\n";
            else
                PrintEntry(std::cout, *entry, 0);
        } catch (const foundation::storage::vfs::Exception& e) {
            std::cerr << "tfpath: " << e.what() << " (storage error " << e.getErrorCode() << ")\n";
            throw CLI::RuntimeError(1);
        }
    });
}

} // namespace tfpath
