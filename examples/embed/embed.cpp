// embed WORKING_FOLDER FOLDER... -- NAME...
// Puts the folders on a search path, moves the working folder, and prints
// the file each name finds among the plain folders (the working folder
// first), or "not found".
#include "fl/i18n/MessageCatalog.hpp"
#include "tfsearch_path/ISearchPathSession.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

using namespace Thornfell::PathManagement;

namespace {

foundation::storage::vfs::AbsoluteIRI FolderIRI(const std::string& folder) {
    return GetIRIFromString(fl::i18n::utf8_to_ustring(std::filesystem::absolute(folder).lexically_normal().string()));
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const auto dashes = std::find(args.begin(), args.end(), "--");
    if (args.empty() || dashes == args.end()) {
        std::cerr << "usage: embed WORKING_FOLDER FOLDER... -- NAME...\n";
        return 2;
    }
    std::vector<foundation::storage::vfs::AbsoluteIRI> folders;
    std::transform(args.begin() + 1, dashes, std::back_inserter(folders), FolderIRI);

    const auto session = CreateSearchPathSession();
    for (const auto& message : session->SetPathFolders(FolderRange(folders)))
        std::cerr << "embed: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    session->ChangeWorkingFolder(FolderIRI(args.front()));

    const auto path = session->GetManager().GetSearchPath();
    static constexpr PathEntryType plainFolders[] = {Main};
    for (auto name = dashes + 1; name != args.end(); ++name) {
        const detail::SearchTarget target(fl::i18n::utf8_to_ustring(*name), {u".tf"});
        const auto found = path->FindFirstInScope(plainFolders, target, StorageSystemRule);
        if (!found) {
            std::cout << *name << ": not found\n";
            continue;
        }
        const PathItem& item = *found->GetPathItem();
        std::cout << *name << ": " << fl::i18n::ustring_to_utf8(GetStringFromIRI(item.folderIRI) + u"/" + item.FileName())
                  << "\n";
    }
    return 0;
}
