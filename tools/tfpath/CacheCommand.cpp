// tfpath cache write|load|check: the toolbox cache file.
#include "CacheCommand.hpp"

#include "Commands.hpp"
#include "EngineSession.hpp"
#include "ExitStatus.hpp"
#include "JsonText.hpp"
#include "Plural.hpp"

#include "fl/i18n/MessageCatalog.hpp"
#include "fl/i18n/TextConverters.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/ToolboxCacheCheck.hpp"
#include "tfsearch_path/ToolboxPathCache.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

// The cache's names are relative to the installation root, so the cache
// commands need one. The folders below it are frozen, as the entries of a
// cache are, so that a lookup finds the loaded entries and a write finds the
// listed ones.
std::string CacheRoot(const GlobalOptions& global, const char* command) {
    ApplyGlobalOptions(global);
    if (global.installRoot.empty())
        throw BadInput(std::string(command) + " needs --root DIR: the folder the cache's names are relative to");
    return AbsolutePath(global.installRoot);
}

foundation::storage::vfs::AbsoluteIRI ArgumentIRI(const std::string& argument) {
    return GetIRIFromString(AbsoluteFolderArgument(argument));
}

// The plain subfolders of `root`: what a cache of the whole root holds.
std::vector<std::string> MainFoldersOf(const std::string& root) {
    std::vector<std::string> folders;
    std::error_code error;
    for (std::filesystem::directory_iterator item(root, error), end; !error && item != end; item.increment(error))
        if (item->is_directory() &&
            GetPathEntryTypeFromBaseName(fl::i18n::utf8_to_ustring(item->path().filename().string())) == Main)
            folders.push_back(item->path().string());
    if (error) throw BadInput(root + ": can't be listed: " + error.message());
    std::sort(folders.begin(), folders.end());
    return folders;
}

// A folder to be written must be one, and lie below the root; checked for
// every folder before anything is written, so that a typo leaves the old
// cache as it was.
void RequireFolderBelow(const std::string& folder, const std::string& root) {
    RequireFolder(folder);
    std::error_code error;
    const auto canonicalRoot = std::filesystem::canonical(root, error);
    const auto canonicalFolder = std::filesystem::canonical(AbsolutePath(folder), error);
    if (error) throw BadInput(folder + ": " + error.message());
    const auto relative = canonicalFolder.lexically_relative(canonicalRoot);
    if (relative.empty() || *relative.begin() == "..") throw BadInput(folder + ": lies outside the root " + root);
    if (relative == ".") throw BadInput(folder + ": is the root itself; a cache holds the folders below it");
}

void AddWriteCommand(CLI::App& cache, const GlobalOptions& global) {
    struct Options {
        std::string file;
        std::vector<std::string> folders;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = cache.add_subcommand(
        "write", "put folders on a path, then write the cache of those below --root; nothing is written when a "
                 "folder is refused");
    command->add_option("FILE", options->file, "the cache file to write")->required();
    command->add_option("DIR", options->folders,
                        "the folders to put on the path; all plain folders of the root if none");
    command->callback([options, &global] {
        const std::string root = CacheRoot(global, "cache write");
        for (const auto& folder : options->folders) RequireFolderBelow(folder, root);
        EngineSession session("", false);
        if (session.SetPathFolders(options->folders.empty() ? MainFoldersOf(root) : options->folders) != 0)
            throw BadInput("cache write: nothing written, " + options->file + " is as it was");
        foundation::core::except::Notification leftOut;
        WriteCacheFile(AbsolutePath(options->file), root, leftOut);
        for (const auto& message : leftOut)
            std::cerr << "tfpath: left out of the cache: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    });
}

void AddLoadCommand(CLI::App& cache, const GlobalOptions& global) {
    auto file = std::make_shared<std::string>();
    CLI::App* command =
        cache.add_subcommand("load", "load a cache, then run the lookup command that follows (which, entry, path)");
    command->add_option("FILE", *file, "the cache file")->required();
    command->require_subcommand(0, 1);
    // The load runs when its own arguments are parsed, before the callback
    // of the lookup command that follows.
    command->parse_complete_callback([file, &global] {
        const std::string root = CacheRoot(global, "cache load");
        LoadCacheFile(AbsolutePath(*file), root);
    });
    AddWhichCommand(*command, global);
    AddEntryCommand(*command, global);
    AddPathCommand(*command, global);
}

void AddCheckCommand(CLI::App& cache) {
    struct Options {
        std::string file;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = cache.add_subcommand("check", "read a cache file and count what it holds");
    command->add_option("FILE", options->file, "the cache file")->required();
    command->add_flag("--json", options->json, "print JSON: {\"file\", \"folderCount\", \"fileCount\"}");
    command->callback([options] {
        RequireFile(options->file);
        std::ifstream in(options->file, std::ios::binary);
        if (!in) throw BadInput(options->file + ": can't be opened");
        const CacheCheck check = CheckCacheFile(in);
        if (check.faultAt)
            throw BadInput(options->file + ": not a toolbox cache file: fault at byte " +
                           std::to_string(*check.faultAt));
        if (options->json)
            std::cout << JsonText(nlohmann::ordered_json{{"file", AbsolutePath(options->file)},
                                                         {"folderCount", check.folders},
                                                         {"fileCount", check.files}},
                                  2)
                      << "\n";
        else
            std::cout << Counted(check.folders, "folder") << ", " << Counted(check.files, "file") << "\n";
    });
}

}  // namespace

void WriteCacheFile(const std::string& file, const std::string& root, foundation::core::except::Notification& leftOut) {
    RequireFolder(root);
    try {
        WriteToolboxPathCache(GetIRIFromString(AbsoluteFolderArgument(file)), ArgumentIRI(root), GetPathEntryFactory(),
                              &leftOut);
    } catch (const UnableToSaveToolboxCacheException& e) {
        throw BadInput(e.what());
    }
}

void LoadCacheFile(const std::string& file, const std::string& root) {
    RequireFile(file);
    RequireFolder(root);
    std::ifstream in(file, std::ios::binary);
    if (!in) throw BadInput(file + ": can't be opened");
    try {
        GetPathEntryFactory().LoadToolboxCache(in, ArgumentIRI(root));
    } catch (const ToolboxCacheWrongFormatException&) {
        in.clear();
        throw BadInput(file + ": not a toolbox cache file: fault at byte " + std::to_string(in.tellg()));
    } catch (const foundation::storage::vfs::Exception& e) {
        throw BadInput(root + ": can't be read (storage error " + std::to_string(e.getErrorCode()) + ")");
    } catch (const std::ios_base::failure&) {
        throw BadInput(file + ": can't be read");
    }
}

CacheCheck CheckCacheFile(std::istream& in) {
    CacheCheck check;
    try {
        const ToolboxCacheCounts counts = CheckToolboxCache(in);
        check.folders = counts.folders;
        check.files = counts.files;
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

}  // namespace tfpath
