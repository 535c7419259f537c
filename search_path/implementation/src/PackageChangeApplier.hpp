#pragma once
// The work of one registry change on the path: made, run and dropped inside
// the coordinator's event callback, keeping nothing for the next change.
#include "tfsearch_path/PackagesOnPathCoordinator.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/functional/hash.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_hash.hpp>

#include <deque>
#include <unordered_map>
#include <unordered_set>

namespace Thornfell::PathManagement::detail {

class PackageChangeApplier {
public:
    PackageChangeApplier(IMainSearchPathManager& manager, const PackageNotificationCallback& notificationCallback,
                         std::shared_ptr<const PackageRegistry::PackageRegistryChanges> changes);

    // Works out the new path, installs it and calls the callback once. A
    // failure before the installation passes out with the path unchanged and
    // no call of the callback.
    void Run();

private:
    using PackagePointer = std::shared_ptr<const PackageRegistry::IPackage>;
    using PackageList = std::vector<PackagePointer>;
    using FolderSet =
        std::unordered_set<foundation::storage::vfs::CanonicalAbsoluteIRI, foundation::storage::vfs::AbsoluteIRIHash>;

    void CollectAffectedFolders();
    void ReportMemberFolders();
    void PlanNewPath();
    void InstallNewPath();
    void ReportSeveralVersions();

    bool BelongsOnPath(const PackagePointer& package) const;
    void Place(const PackagePointer& package, bool atBack);
    std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> FoldersAfter(
        const OrvianComponents::ComponentIdentifier& id) const;

    IMainSearchPathManager& manager;
    const PackageNotificationCallback& notificationCallback;
    std::shared_ptr<const PackageRegistry::PackageRegistryChanges> changes;
    std::shared_ptr<const PackageRegistry::IPackageRegistry> before;
    std::shared_ptr<const PackageRegistry::IPackageRegistry> after;
    std::vector<OrvianComponents::ComponentIdentifier> changedIdentifiers;
    PackageList added;
    PackageList removed;
    PackageList changedBefore;
    PackageList changedAfter;  // element i is the state after of changedBefore[i]
    FolderSet affectedFolders;
    // For each package, the versions on the new path, in path order.
    std::unordered_map<boost::uuids::uuid, std::vector<OrvianComponents::ComponentIdentifier>,
                       boost::hash<boost::uuids::uuid>>
        versionsOnPath;
    std::deque<foundation::storage::vfs::CanonicalAbsoluteIRI> newFolders;
    foundation::core::except::Notification notification;
};

}  // namespace Thornfell::PathManagement::detail
