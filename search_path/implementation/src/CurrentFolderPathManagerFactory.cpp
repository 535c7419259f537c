#include "CurrentFolderPathManagerFactory.hpp"

#include "CurrentFolderPathManager.hpp"
#include "NoCurrentFolderPathManager.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"

namespace Thornfell::PathManagement {

std::unique_ptr<ICurrentFolderPathManager> CurrentFolderPathManagerFactory::CreateCurrentFolderPathManager(
    CurrentFolderPolicy policy) const {
    if (policy != FollowCurrentFolder) return std::make_unique<NoCurrentFolderPathManager>(pathFactory);
    const auto folder = current_working_folder::GetCurrentWorkingFolder().get().getCanonicalLocation();
    return std::make_unique<CurrentFolderPathManager>(eventManager, componentRegistry, entryFactory, pathFactory,
                                                      folderMonitor, folder);
}

}  // namespace Thornfell::PathManagement
