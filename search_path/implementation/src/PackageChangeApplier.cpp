#include "PackageChangeApplier.hpp"

#include "SearchPathPublicFunctions.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

#include <range/v3/action/remove_if.hpp>
#include <range/v3/algorithm/find.hpp>
#include <range/v3/algorithm/find_if.hpp>
#include <range/v3/algorithm/stable_partition.hpp>
#include <range/v3/algorithm/stable_sort.hpp>
#include <range/v3/view/drop.hpp>

#include <stdexcept>

namespace Thornfell::PathManagement::detail {

namespace {

using foundation::storage::vfs::CanonicalAbsoluteIRI;
using OrvianComponents::ComponentIdentifier;
using PackagePointer = std::shared_ptr<const PackageRegistry::IPackage>;

std::vector<PackagePointer> LookUp(const PackageRegistry::IPackageRegistry& registry,
                                   const std::vector<ComponentIdentifier>& ids) {
    std::vector<PackagePointer> packages;
    packages.reserve(ids.size());
    for (const auto& id : ids) {
        auto package = registry.GetPackage(id);
        // A change that names a package its registry doesn't hold can't be
        // followed; failing here leaves the path as it is.
        if (!package) throw std::logic_error("the package registry change names a package that is not installed");
        packages.push_back(std::move(package));
    }
    return packages;
}

// Absent counts as false; a value of another type throws
// std::bad_variant_access.
bool ManualInstall(const PackageRegistry::IPackage& package) {
    const auto value = package.GetProperty("ManualInstall");
    return value && std::get<bool>(*value);
}

bool OnPath(const IPath& path, const CanonicalAbsoluteIRI& folder) {
    return path.GetPathEntryFromAbsoluteIRI(folder) != nullptr;
}

ustring TextOf(const ComponentIdentifier& id) {
    return u"'" + id.GetName() + u"@" + fl::i18n::utf8_to_ustring(id.GetVersion().toString()) + u"'";
}

}  // namespace

PackageChangeApplier::PackageChangeApplier(IMainSearchPathManager& manager,
                                           const PackageNotificationCallback& notificationCallback,
                                           std::shared_ptr<const PackageRegistry::PackageRegistryChanges> changes)
    : manager(manager), notificationCallback(notificationCallback), changes(std::move(changes)),
      before(this->changes->GetRegistryBefore()), after(this->changes->GetRegistryAfter()),
      changedIdentifiers(this->changes->GetChanged(3)), added(LookUp(*after, this->changes->GetAdded())),
      removed(LookUp(*before, this->changes->GetRemoved())), changedBefore(LookUp(*before, changedIdentifiers)),
      changedAfter(LookUp(*after, changedIdentifiers)) {
    affectedFolders.max_load_factor(1.0f);
}

void PackageChangeApplier::Run() {
    CollectAffectedFolders();
    ReportMemberFolders();
    PlanNewPath();
    InstallNewPath();
    ReportSeveralVersions();
    notificationCallback(notification);
}

// A folder in the set doesn't survive in its place on the path. The root of
// a changed package stays out, so that planning finds it and puts the
// package's new folders there.
void PackageChangeApplier::CollectAffectedFolders() {
    for (const PackageList* packages : {&added, &removed})
        for (const auto& package : *packages)
            for (auto& folder : GetPathFoldersOfPackage(*package)) affectedFolders.insert(std::move(folder));
    for (const PackageList* packages : {&changedBefore, &changedAfter})
        for (const auto& package : *packages) {
            const auto folders = GetPathFoldersOfPackage(*package);
            for (const auto& folder : folders | ranges::views::drop(1)) affectedFolders.insert(folder);
        }
    for (std::size_t i = 0; i < changedBefore.size(); ++i)
        if (changedBefore[i]->GetRoot() != changedAfter[i]->GetRoot())
            affectedFolders.insert(changedAfter[i]->GetRoot());
}

// Folders that have just become members of a package leave the path as
// loose folders; the user is told which, and by which package.
void PackageChangeApplier::ReportMemberFolders() {
    FolderSet removedFolders;
    for (const auto& package : removed)
        for (auto& folder : GetPathFoldersOfPackage(*package)) removedFolders.insert(std::move(folder));
    std::vector<CanonicalAbsoluteIRI> candidates;
    for (const auto& package : added)
        for (auto& folder : GetPathFoldersOfPackage(*package))
            if (!removedFolders.contains(folder)) candidates.push_back(std::move(folder));
    for (std::size_t i = 0; i < changedAfter.size(); ++i) {
        const auto formerly = GetPathFoldersOfPackage(*changedBefore[i]);
        for (auto& folder : GetPathFoldersOfPackage(*changedAfter[i]))
            if (ranges::find(formerly, folder) == formerly.end()) candidates.push_back(std::move(folder));
    }

    const auto mainPath = manager.GetMainPath();
    for (const auto& candidate : candidates) {
        if (!OnPath(*mainPath, candidate)) continue;
        const ComponentIdentifier owner = after->GetOwner(candidate).value();
        const auto package = after->GetPackage(owner);
        ustring info;
        if (package->IsManaged())
            info = fl::i18n::MessageCatalog::format(
                MessageIds::mpath::AddPackageToPathInfo.Message({GetStringFromIRI(package->GetRoot())}));
        notification.add(MessageIds::mpath::packageMemberFolderRemovedFromPath.Message(
            {GetStringFromIRI(candidate), after->GetDisplayName(owner), info}));
    }
}

std::vector<CanonicalAbsoluteIRI> PackageChangeApplier::FoldersAfter(const ComponentIdentifier& id) const {
    return GetPathFoldersForPackages(*after, std::span<const ComponentIdentifier>(&id, 1));
}

// The path as it was, less the affected folders, with updated packages in
// the place of their roots; then the new packages that belong on the path:
// "begin" ones at the front, the one installed last first, the others at
// the back, the one installed first first.
void PackageChangeApplier::PlanNewPath() {
    newFolders.clear();
    PackageList pending = added;
    pending.insert(pending.end(), changedBefore.begin(), changedBefore.end());

    const auto pathFolders = manager.GetPathFolders();
    for (const auto& folder : *pathFolders) {
        if (affectedFolders.contains(folder)) continue;
        if (const auto owner = before->GetOwner(folder)) {
            auto& versions = versionsOnPath[owner->GetUniqueID()];
            if (versions.empty() || versions.back() != *owner) versions.push_back(*owner);
        }
        const auto rooted = ranges::find_if(pending, [&folder](const PackagePointer& package) {
            return package && package->GetRoot() == folder;
        });
        if (rooted == pending.end()) {
            newFolders.push_back(folder);
            continue;
        }
        const auto folders = FoldersAfter((*rooted)->GetIdentifier());
        newFolders.insert(newFolders.end(), folders.begin(), folders.end());
        rooted->reset();
    }

    pending |= ranges::actions::remove_if([](const PackagePointer& package) { return !package; });
    pending |= ranges::actions::remove_if([this](const PackagePointer& package) { return !BelongsOnPath(package); });
    ranges::stable_sort(pending, std::less<>(),
                        [](const PackagePointer& package) { return package->GetInstallStamp(); });
    const auto split =
        ranges::stable_partition(pending, [](const PackagePointer& package) { return GoesToFrontOfPath(*package); });
    for (auto it = pending.begin(); it != split; ++it) Place(*it, false);
    for (auto it = split; it != pending.end(); ++it) Place(*it, true);
}

bool PackageChangeApplier::BelongsOnPath(const PackagePointer& package) const {
    const auto now = after->GetPackage(package->GetIdentifier());
    if (!now) return false;
    if (ranges::find(changedBefore, package) == changedBefore.end()) {
        // A new package.
        if (now->IsManaged()) return ManualInstall(*now);
        return now->IsAddedToPath();
    }
    // A changed package whose root was off the path stays off unless its own
    // state now asks for the path.
    if (now->IsManaged() && ManualInstall(*package) != ManualInstall(*now)) return ManualInstall(*now);
    if (now->IsAddedToPath() != package->IsAddedToPath()) return now->IsAddedToPath();
    return OnPath(*manager.GetMainPath(), now->GetRoot());
}

void PackageChangeApplier::Place(const PackagePointer& package, bool atBack) {
    const ComponentIdentifier id = package->GetIdentifier();
    auto& versions = versionsOnPath[id.GetUniqueID()];
    if (versions.empty())
        versions.push_back(id);
    else if (atBack && versions.back() != id)
        versions.push_back(id);
    else if (!atBack && versions.front() != id)
        versions.insert(versions.begin(), id);
    const auto folders = FoldersAfter(id);
    if (atBack)
        newFolders.insert(newFolders.end(), folders.begin(), folders.end());
    else
        newFolders.insert(newFolders.begin(), folders.begin(), folders.end());
}

void PackageChangeApplier::InstallNewPath() {
    try {
        manager.SetPathFolders(CanonicalFolderRange(newFolders), notification);
    } catch (const PathAlterationNotSupportedException&) {
        notification.add(MessageIds::mpath::PathAlterationNotSupported.Message());
    } catch (const RecursivePathChangeException&) {
        notification.add(MessageIds::mpath::UnableToModifyOrvianpath.Message());
    } catch (const std::bad_alloc&) {
        notification.add(MessageIds::legacy_two_part::nomem.Message());
    } catch (...) {
        // The path stays as it was; the change is not retried.
    }
}

void PackageChangeApplier::ReportSeveralVersions() {
    for (const auto& [uuid, versions] : versionsOnPath) {
        if (versions.size() < 2) continue;
        ustring others;
        for (const auto& id : versions | ranges::views::drop(1)) {
            if (!others.empty()) others += u", ";
            others += TextOf(id);
        }
        notification.add(MessageIds::mpath::MultiplePackageVersionsOnPath.Message({TextOf(versions.front()), others}));
    }
}

}  // namespace Thornfell::PathManagement::detail
