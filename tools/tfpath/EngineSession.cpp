#include "EngineSession.hpp"

#include "Commands.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "host/HostServices.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

EngineSession::EngineSession(const std::optional<std::string>& currentFolder, bool followCurrentFolder) {
    current_.emplace(engine_);
    host::setWarningHandler([](const resource_core::BaseMsgID& message) {
        std::cerr << "Warning: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    });
    if (currentFolder)
        Thornfell::current_working_folder::GetCurrentWorkingFolder().set(
            GetIRIFromString(AbsoluteFolderArgument(*currentFolder)));
    // Packages give their entries through the system's factory, and their
    // paths through the path factory of this instance.
    Thornfell::PackageRegistry::GetPackageRegistrarForUpdate().SetEntryProvider(
        [](const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) { return GetPathEntryFactory().GetPathEntry(folder); });
    registry_ = std::make_unique<OrvianComponents::ModularPackageRegistry>(
        [](PathEntryVector entries) { return GetCurrentPathFactory().CreatePath(std::move(entries)); });
    manager_ = CreateMainSearchPathManager(foundation::msg_svc::eventmgr::getEngineEventMgr(), *registry_);
    SetMainSearchPathManager(manager_.get());
    if (!followCurrentFolder) manager_->SetCurrentFolderPolicy(NoCurrentFolder);
}

EngineSession::~EngineSession() {
    SetMainSearchPathManager(nullptr);
    manager_.reset();
    registry_.reset();
}

std::size_t EngineSession::SetPathFolders(const std::vector<std::string>& folders) {
    std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
    foundation::core::except::Notification notification;
    for (const auto& folder : folders) {
        try {
            iris.push_back(GetIRIFromString(AbsoluteFolderArgument(folder)));
        } catch (const std::exception& e) {
            std::cerr << "tfpath: " << folder << ": " << e.what() << "\n";
        }
    }
    manager_->SetPathFolders(FolderRange(iris), notification);
    for (const auto& message : notification)
        std::cerr << "tfpath: " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
    return notification.size();
}

} // namespace tfpath
