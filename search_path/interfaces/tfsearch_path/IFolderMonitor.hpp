#pragma once
// Decides, folder by folder, whether a folder is to be watched.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"

#include <memory>

namespace Thornfell::PathManagement {

class TFSP_API IFolderMonitor {
public:
    virtual ~IFolderMonitor() = default;
    virtual FolderMonitoringState GetFolderMonitoringState(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const = 0;
    virtual FolderMonitoringState GetParentFolderMonitoringState(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const = 0;
    virtual void FreezeFolder(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) = 0;
    virtual void UnfreezeFolder(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) = 0;
    virtual void SetPath(std::shared_ptr<const IPath> path) = 0;
};

}  // namespace Thornfell::PathManagement

namespace Thornfell::PathManagement {

// The monitor of the engine instance current on this thread.
TFSP_API IFolderMonitor& GetFolderMonitor();
// Takes ownership and destroys the monitor held before.
TFSP_API void SetFolderMonitor(std::unique_ptr<IFolderMonitor>&& monitor);

}  // namespace Thornfell::PathManagement
