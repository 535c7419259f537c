// tfpath ls DIR: the files and folders of a folder as the storage layer lists them.
#include "Commands.hpp"
#include "JsonText.hpp"

#include "foundation/storage/vfs/Folder.hpp"

#include <nlohmann/json.hpp>

#include <iostream>

namespace tfpath {

namespace vfs = foundation::storage::vfs;

void AddListCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string folder;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("ls", "list a folder as the storage layer sees it");
    command->add_option("DIR", options->folder, "the folder")->required();
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        try {
            const vfs::Folder folder(vfs::toAbsoluteIRI(u"file", AbsoluteFolderArgument(options->folder)),
                                     OrvianStorageSystem::GetStorageSystemReference());
            const auto canonical = folder.getCanonicalLocation();
            nlohmann::json out{{"folder", ToUtf8(canonical.getPath())}, {"files", nlohmann::json::array()},
                               {"folders", nlohmann::json::array()}};
            for (const auto& file : folder.listFiles(ustring())) out["files"].push_back(ToUtf8(file.getName()));
            for (const auto& sub : folder.listFolders(ustring())) out["folders"].push_back(ToUtf8(sub.getName()));
            if (options->json) {
                std::cout << JsonText(out, 2) << "\n";
            } else {
                std::cout << out["folder"].get<std::string>() << "\n";
                for (const auto& name : out["folders"]) std::cout << "  " << name.get<std::string>() << "/\n";
                for (const auto& name : out["files"]) std::cout << "  " << name.get<std::string>() << "\n";
            }
        } catch (const vfs::Exception& e) {
            std::cerr << "tfpath: " << e.what() << " (storage error " << e.getErrorCode() << ")\n";
            throw CLI::RuntimeError(1);
        }
    });
}

} // namespace tfpath
