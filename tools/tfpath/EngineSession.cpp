#include "EngineSession.hpp"

#include "Commands.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "host/HostServices.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

EngineSession::EngineSession(const std::string& workingFolder, bool followCurrentFolder) {
    if (!workingFolder.empty()) RequireFolder(workingFolder, "--cd " + workingFolder);
    session_ = CreateSearchPathSession();
    host::setWarningHandler([](const resource_core::BaseMsgID& message) {
        std::cerr << "Warning: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    });
    if (!workingFolder.empty()) session_->ChangeWorkingFolder(GetIRIFromString(AbsoluteFolderArgument(workingFolder)));
    // The manager is made now, as a host makes it at start, so that every
    // later change (a script's first "cd", say) is one it follows.
    IMainSearchPathManager& made = manager();
    if (!followCurrentFolder) made.SetCurrentFolderPolicy(NoCurrentFolder);
}

std::size_t EngineSession::SetPathFolders(const std::vector<std::string>& folders) {
    std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
    for (const auto& folder : folders) {
        try {
            iris.push_back(GetIRIFromString(AbsoluteFolderArgument(folder)));
        } catch (const std::exception& e) {
            std::cerr << "tfpath: " << folder << ": " << e.what() << "\n";
        }
    }
    const auto notification = session_->SetPathFolders(FolderRange(iris));
    for (const auto& message : notification)
        std::cerr << "tfpath: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    return notification.size();
}

}  // namespace tfpath
