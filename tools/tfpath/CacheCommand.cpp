// tfpath cache write|load|check: the toolbox cache file.
#include "CacheCommand.hpp"

#include "Commands.hpp"
#include "EngineSession.hpp"

#include "PathCacheReader.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/ToolboxPathCache.hpp"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

foundation::storage::vfs::AbsoluteIRI ArgumentIRI(const std::string& argument) {
    return GetIRIFromString(AbsoluteFolderArgument(argument));
}

// Without --root, the cache's root is taken as the installation: the folders
// below it are frozen, as the entries of a cache are, so that a lookup finds
// the loaded entries and a write finds the listed ones.
void UseRootAsInstallation(const GlobalOptions& global, const std::string& root) {
    if (global.installRoot.empty()) fl::filesystem::set_install_path(AbsoluteFolderArgument(root));
}

// The plain subfolders of `root`: what a cache of the whole root holds.
std::vector<std::string> MainFoldersOf(const std::string& root) {
    std::vector<std::string> folders;
    for (const auto& item : std::filesystem::directory_iterator(root))
        if (item.is_directory() &&
            GetPathEntryTypeFromBaseName(fl::i18n::utf8_to_ustring(item.path().filename().string())) == Main)
            folders.push_back(item.path().string());
    std::sort(folders.begin(), folders.end());
    return folders;
}

void Count(const PathCacheReader::FolderContents& folder, CacheCheck& check) {
    ++check.folders;
    check.files += folder.files.size();
    for (const auto& subfolder : folder.subfolders) Count(subfolder, check);
}

void AddWriteCommand(CLI::App& cache, const GlobalOptions& global) {
    struct Options {
        std::string file;
        std::string root;
        std::vector<std::string> folders;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = cache.add_subcommand("write", "put folders on a path, then write the cache of those below the root");
    command->add_option("FILE", options->file, "the cache file to write")->required();
    command->add_option("--root", options->root, "the folder the cache's names are relative to")->required();
    command->add_option("DIR", options->folders, "the folders to put on the path; all plain folders of the root if none");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        UseRootAsInstallation(global, options->root);
        EngineSession session(std::nullopt, false);
        session.SetPathFolders(options->folders.empty() ? MainFoldersOf(options->root) : options->folders);
        try {
            foundation::core::except::Notification leftOut;
            WriteCacheFile(options->file, options->root, leftOut);
            for (const auto& message : leftOut)
                std::cout << "message " << message.getIdentifier() << ": "
                          << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
        } catch (const UnableToSaveToolboxCacheException& e) {
            std::cerr << "tfpath: " << e.what() << "\n";
            throw CLI::RuntimeError(1);
        }
    });
}

void AddLoadCommand(CLI::App& cache, const GlobalOptions& global) {
    struct Options {
        std::string file;
        std::string root;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        cache.add_subcommand("load", "load a cache, then run the lookup command that follows (which, entry, path)");
    command->add_option("FILE", options->file, "the cache file")->required();
    command->add_option("--root", options->root, "the folder the cache's names are relative to")->required();
    command->require_subcommand(0, 1);
    // The load runs when its own arguments are parsed, before the callback
    // of the lookup command that follows.
    command->parse_complete_callback([options, &global] {
        ApplyGlobalOptions(global);
        UseRootAsInstallation(global, options->root);
        try {
            LoadCacheFile(options->file, options->root);
        } catch (const std::exception& e) {
            std::cerr << "tfpath: " << e.what() << "\n";
            throw CLI::RuntimeError(1);
        }
    });
    AddWhichCommand(*command, global);
    AddEntryCommand(*command, global);
    AddPathCommand(*command, global);
}

void AddCheckCommand(CLI::App& cache) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = cache.add_subcommand("check", "read a cache file and count what it holds");
    command->add_option("FILE", *file, "the cache file")->required()->check(CLI::ExistingFile);
    command->callback([file] {
        std::ifstream in(*file, std::ios::binary);
        const CacheCheck check = CheckCacheFile(in);
        if (check.faultAt) {
            std::cerr << "tfpath: " << *file << ": not a toolbox cache file: fault at byte " << *check.faultAt << "\n";
            throw CLI::RuntimeError(1);
        }
        std::cout << check.folders << " folders, " << check.files << " files\n";
    });
}

} // namespace

void WriteCacheFile(const std::string& file, const std::string& root, foundation::core::except::Notification& leftOut) {
    WriteToolboxPathCache(GetIRIFromString(AbsoluteFolderArgument(file)), ArgumentIRI(root), GetPathEntryFactory(),
                          &leftOut);
}

void LoadCacheFile(const std::string& file, const std::string& root) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("can't open " + file);
    try {
        GetPathEntryFactory().LoadToolboxCache(in, ArgumentIRI(root));
    } catch (const ToolboxCacheWrongFormatException&) {
        in.clear();
        throw std::runtime_error(file + ": not a toolbox cache file: fault at byte " + std::to_string(in.tellg()));
    } catch (const foundation::storage::vfs::Exception& e) {
        throw std::runtime_error(root + ": " + e.what());
    }
}

CacheCheck CheckCacheFile(std::istream& in) {
    CacheCheck check;
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    PathCacheReader reader(in, fromUtf8);
    try {
        reader.ReadFolders([&check](std::shared_ptr<PathCacheReader::FolderContents> folder) { Count(*folder, check); });
    } catch (const ToolboxCacheWrongFormatException&) {
        in.clear();
        check.faultAt = in.tellg();
    }
    return check;
}

void AddCacheCommand(CLI::App& app, const GlobalOptions& global) {
    CLI::App* cache = app.add_subcommand("cache", "the toolbox cache file: write, load, check");
    cache->require_subcommand(1);
    AddWriteCommand(*cache, global);
    AddLoadCommand(*cache, global);
    AddCheckCommand(*cache);
}

} // namespace tfpath
