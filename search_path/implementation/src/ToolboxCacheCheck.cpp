#include "tfsearch_path/ToolboxCacheCheck.hpp"

#include "PathCacheReader.hpp"

namespace Thornfell::PathManagement {

namespace {

void Count(const PathCacheReader::FolderContents& folder, ToolboxCacheCounts& counts) {
    ++counts.folders;
    counts.files += folder.files.size();
    for (const auto& subfolder : folder.subfolders) Count(subfolder, counts);
}

}  // namespace

ToolboxCacheCounts CheckToolboxCache(std::istream& in) {
    ToolboxCacheCounts counts;
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    PathCacheReader reader(in, fromUtf8);
    reader.ReadFolders([&counts](std::shared_ptr<PathCacheReader::FolderContents> folder) { Count(*folder, counts); });
    return counts;
}

}  // namespace Thornfell::PathManagement
