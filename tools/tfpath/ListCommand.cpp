// tfpath ls DIR: the files and folders of a folder as the storage layer lists them.
#include "Commands.hpp"
#include "ExitStatus.hpp"
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
    CLI::App* command =
        app.add_subcommand("ls", "list a folder as the storage layer sees it; status 1 when it is empty");
    command->add_option("DIR", options->folder, "the folder")->required();
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        RequireFolder(options->folder);
        try {
            const vfs::Folder folder(vfs::toAbsoluteIRI(u"file", AbsoluteFolderArgument(options->folder)),
                                     OrvianStorageSystem::GetStorageSystemReference());
            const std::string path = ToUtf8(folder.getCanonicalLocation().getPath());
            const std::string prefix = path.ends_with('/') ? path : path + "/";
            nlohmann::ordered_json out{{"folder", path},
                                       {"files", nlohmann::ordered_json::array()},
                                       {"folders", nlohmann::ordered_json::array()}};
            for (const auto& file : folder.listFiles(ustring())) {
                const std::string name = ToUtf8(file.getName());
                out["files"].push_back({{"file", prefix + name}, {"name", name}});
            }
            for (const auto& sub : folder.listFolders(ustring())) {
                const std::string name = ToUtf8(sub.getName());
                out["folders"].push_back({{"folder", prefix + name}, {"name", name}});
            }
            if (options->json) {
                std::cout << JsonText(out, 2) << "\n";
            } else {
                std::cout << path << "\n";
                for (const auto& sub : out["folders"]) std::cout << "  " << sub["name"].get<std::string>() << "/\n";
                for (const auto& file : out["files"]) std::cout << "  " << file["name"].get<std::string>() << "\n";
            }
            if (out["files"].empty() && out["folders"].empty()) {
                std::cout << std::flush;
                std::cerr << "tfpath: " << options->folder << ": an empty folder\n";
                throw NothingFound();
            }
        } catch (const vfs::Exception& e) {
            throw BadInput(options->folder + ": can't be listed (storage error " + std::to_string(e.getErrorCode()) +
                           ")");
        }
    });
}

}  // namespace tfpath
