#pragma once
// Decides, folder by folder, whether a folder is watched: folders of packages
// follow their package, folders under the installation root never change, a
// folder can be frozen by name, and what stands on the path is watched.
#include "tfsearch_path/IFolderMonitor.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <optional>
#include <unordered_set>

namespace Thornfell::PathManagement {

class FolderMonitor final : public IFolderMonitor {
public:
    // An empty `installRoot` means there is no installation.
    FolderMonitor(std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> installRoot,
                  std::shared_ptr<const IPath> path, PackageRegistry::IPackageRegistrar& packageRegistrar);

    FolderMonitoringState GetFolderMonitoringState(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const override;
    FolderMonitoringState GetParentFolderMonitoringState(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const override;
    // Both throw PackageFolderMonitoringChangeException for a folder of a package.
    void FreezeFolder(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) override;
    void UnfreezeFolder(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) override;
    void SetPath(std::shared_ptr<const IPath> path) override;

private:
    bool IsFolderOfPackage(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const;

    std::unordered_set<foundation::storage::vfs::CanonicalAbsoluteIRI, foundation::storage::vfs::AbsoluteIRIHash>
        frozenFolders;
    const std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> installRoot;
    std::shared_ptr<const IPath> path;
    PackageRegistry::IPackageRegistrar& packageRegistrar;
};

}  // namespace Thornfell::PathManagement
