#include "MainSearchPathManager.hpp"

#include "CurrentFolderPathManagerFactory.hpp"
#include "EntriesBuiltAhead.hpp"
#include "FolderMonitor.hpp"
#include "PathFactory.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "host/HostServices.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/MultiMaskedPath.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathManagerEvents.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

#include <boost/make_shared.hpp>
#include <boost/scope_exit.hpp>
#include <oneapi/tbb/concurrent_vector.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <iterator>
#include <optional>
#include <typeinfo>
#include <unordered_set>
#include <utility>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using OrvianComponents::ComponentIdentifier;
using PackageRegistry::IPackageRegistry;

namespace {

using IRISet = std::unordered_set<AbsoluteIRI, foundation::storage::vfs::AbsoluteIRIHash>;

// The folders of `folders`, each once, in the order they first come.
CanonicalFolderVector UniqueFolders(const CanonicalFolderRange& folders) {
    CanonicalFolderVector unique;
    IRISet seen;
    for (const CanonicalAbsoluteIRI& folder : folders)
        if (seen.insert(folder).second) unique.push_back(folder);
    return unique;
}

// Drops null entries and later entries of a folder already kept.
void KeepFirstOfEachFolder(PathEntryVector& entries) {
    IRISet seen;
    std::erase_if(entries,
                  [&seen](const PathEntryPointer& entry) { return !entry || !seen.insert(entry->GetIRI()).second; });
}

PathEntryVectorDifferentiator Difference(const PathEntryVector& before, const PathEntryVector& after) {
    PathEntryVectorDifferentiator differences;
    differences.Compare(before, after, CompareByFolder);
    return differences;
}

// Finds the entries that went out of date, and replaces them in parallel.
class PathEntryRefresher {
public:
    PathEntryRefresher(PathEntryList entries, const IPathEntryFactory& entryFactory,
                       const IFolderMonitor& folderMonitor,
                       const std::shared_ptr<const IPackageRegistry>& packageRegistry, bool packagesFeatureOn)
        : entries(std::move(entries)), entryFactory(entryFactory), folderMonitor(folderMonitor) {
        for (std::size_t i = 0; i < this->entries->size(); ++i) {
            const PathEntryPointer& entry = (*this->entries)[i];
            // Folders of installed components follow their component, not this refresh.
            if (packagesFeatureOn && packageRegistry->GetOwner(entry->GetIRI())) continue;
            if (entry->IsOutOfDate()) outOfDateIndices.push_back(i);
        }
        if (outOfDateIndices.empty()) return;
        updatedEntries = *this->entries;
        if (RefreshOutOfDateEntries()) std::erase(updatedEntries, nullptr);
        for (Result& result : results) {
            refreshedBefore.push_back(std::move(result.oldEntry));
            if (result.newEntry) refreshedAfter.push_back(std::move(result.newEntry));
        }
    }

    bool AnyOutOfDate() const { return !outOfDateIndices.empty(); }
    PathEntryVector TakeUpdatedEntries() { return std::move(updatedEntries); }
    PathEntryVector TakeRefreshedBefore() { return std::move(refreshedBefore); }
    PathEntryVector TakeRefreshedAfter() { return std::move(refreshedAfter); }

private:
    struct Result {
        PathEntryPointer newEntry;
        PathEntryPointer oldEntry;
        std::size_t index;
    };

    bool RefreshOutOfDateEntries() {
        std::atomic<bool> goneFolder{false};
        // Folders read again in bulk shouldn't each warn about their change
        // handles; the host's setting comes back on every way out.
        auto& observers =
            storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
        const int warning = observers.GetChangeHandleWarning();
        observers.SetChangeHandleWarning(storage::filefolderobserver::WarnNever);
        BOOST_SCOPE_EXIT_ALL(&observers, warning) { observers.SetChangeHandleWarning(warning); };

        {
            tbb::task_group group;
            for (const std::size_t i : outOfDateIndices)
                group.run([this, i, &goneFolder] {
                    const PathEntryPointer old = updatedEntries[i];
                    PathEntryPointer fresh;
                    try {
                        fresh = old->GetUpdatedPathEntry(entryFactory, folderMonitor);
                    } catch (const foundation::storage::vfs::Exception& e) {
                        if (e.getCode() != foundation::storage::vfs::ErrorCode::NotFound)
                            return;  // unreadable for now: the old entry stays
                        // A vanished folder keeps its place; so does one that came
                        // back and went again since its last inaccessible entry.
                        goneFolder = true;
                        fresh = std::make_shared<InaccessibleFolderPathEntry>(old->GetPathEntryType(), old->GetIRI(),
                                                                              old->GetDescriptor());
                    }
                    if (fresh == old) return;
                    results.push_back({fresh, old, i});
                    updatedEntries[i] = std::move(fresh);
                });
            group.wait();
        }
        std::sort(results.begin(), results.end(), [](const Result& a, const Result& b) { return a.index < b.index; });
        return goneFolder;
    }

    PathEntryList entries;
    const IPathEntryFactory& entryFactory;
    const IFolderMonitor& folderMonitor;
    std::vector<std::size_t> outOfDateIndices;
    tbb::concurrent_vector<Result> results;
    PathEntryVector updatedEntries;
    PathEntryVector refreshedBefore;
    PathEntryVector refreshedAfter;
};

// The three stages of one installation's event; empty when nothing changed.
struct PathChangeEvents {
    boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
    std::optional<PathChangeEvent> stages[3];

    void Publish(int stage) const {
        if (stages[stage]) eventManager->publish(stages[stage]->clone(), 0);
    }
};

}  // namespace

// The folders of an alteration sorted while the packages feature is on.
struct MainSearchPathManager::ClassifiedFolders {
    PathEntryVector plainEntries;
    CanonicalFolderVector plainFolders;
    PathEntryVector packageEntries;
    CanonicalFolderVector packageFolders;
    ComponentVector components;
    PathEntryVector combinedEntries;
    CanonicalFolderVector combinedFolders;
    bool plainAfterPackage = false;
};

MainSearchPathManager::MainSearchPathManager(boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> events,
                                             OrvianComponents::IModularPackageRegistry& registry,
                                             const IPathEntryFactory& entries, const IPathFactory& pathMaker,
                                             std::unique_ptr<ICurrentFolderPathManagerFactory> managerFactory,
                                             CurrentFolderPolicy policy, IFolderMonitor& monitor,
                                             PackagesFeaturePhase phase)
    : eventManager(std::move(events)), packageRegistry(registry), entryFactory(entries), pathFactory(pathMaker),
      currentFolderManagerFactory(std::move(managerFactory)), currentFolderPolicy(policy), folderMonitor(monitor),
      componentsOnPath(std::make_shared<const ComponentVector>()),
      pathFolders(std::make_shared<const CanonicalFolderVector>()), packagesFeaturePhase(phase) {
    SetCurrentFolderPathManager();
    const std::shared_ptr<const IPath> userPath = pathFactory.CreatePath({});
    auto [userSearchPath, searchPath] = ComposeSearchPaths(userPath, userPath);
    paths = std::make_unique<InstalledPaths>(InstalledPaths{userPath, userPath, userSearchPath, searchPath});
    folderMonitor.SetPath(searchPath);

    // Last: a constructor that fails leaves no subscription behind.
    const std::string registryChanged = OrvianComponents::ModularPackageRegistryHasBeenChanged::TypeName();
    registryConnection =
        eventManager->subscribe(registryChanged,
                                [this, registryChanged](const foundation::msg_svc::eventmgr::BaseEvent& event) {
                                    if (!event.isKindOf(registryChanged)) throw std::bad_cast();
                                    currentFolderManager->HandleModularPackageRegistryChanged();
                                    ReleaseRetiredCurrentFolderManagers();
                                });
}

MainSearchPathManager::~MainSearchPathManager() {
    try {
        eventManager->publish(boost::make_shared<PathManagerWillBeDestroyedEvent>(*this), 0);
    } catch (...) {
        // A subscriber's failure must not escape a destructor.
    }
    pathFolders.reset();
    registryConnection.disconnect();
    pendingCurrentFolderChange.reset();
    componentsOnPath.reset();
    paths.reset();
    currentFolderManager.reset();
    retiredCurrentFolderManagers.clear();
    currentFolderManagerFactory.reset();
    eventManager.reset();
}

std::shared_ptr<const IPackageRegistry> MainSearchPathManager::Registry() const {
    return packageRegistry.GetPackageRegistry();
}

std::optional<ComponentIdentifier> MainSearchPathManager::GetCurrentFolderComponent() const {
    return currentFolderManager->GetCurrentFolderComponent();
}

void MainSearchPathManager::SetCurrentFolderPathManager() {
    std::unique_ptr<ICurrentFolderPathManager> replaced =
        std::exchange(currentFolderManager,
                      currentFolderManagerFactory->CreateCurrentFolderPathManager(currentFolderPolicy));
    // A subscriber of an installation may replace the manager whose report
    // started that installation, and whose handler is still running: it is
    // kept alive, silent, until the manager is idle again.
    if (replaced && pathChangeInProgress) {
        replaced->StopFollowingWorkingFolder();
        retiredCurrentFolderManagers.push_back(std::move(replaced));
    }
    replaced.reset();
    const ICurrentFolderPathManager* sender = currentFolderManager.get();
    currentFolderManager->ConnectCurrentFolderChangedHandler(
        [this, sender](const std::shared_ptr<const IPath>& oldPath,
                       const std::optional<ComponentIdentifier>& oldComponent) {
            // What a replaced manager reports, if it ever does, is no longer
            // the current folder.
            if (sender != currentFolderManager.get()) return;
            HandleCurrentFolderPathChanged(oldPath, oldComponent);
        });
}

void MainSearchPathManager::ReleaseRetiredCurrentFolderManagers() {
    if (!pathChangeInProgress) retiredCurrentFolderManagers.clear();
}

MainSearchPathManager::SearchPaths MainSearchPathManager::ComposeSearchPaths(
    const std::shared_ptr<const IPath>& userPath, const std::shared_ptr<const IPath>& mainPath) const {
    const auto current = currentFolderManager->GetCurrentFolderPathForMainPath(*userPath);
    auto searchPath = ComposeSearchPath(pathFactory, mainPath, current, packagesFeaturePhase);
    if (packagesFeaturePhase == Off) return {searchPath, searchPath};
    return {ComposeUserSearchPath(current, GetCurrentFolderComponent(), userPath), std::move(searchPath)};
}

std::shared_ptr<const IPath> MainSearchPathManager::ComposeSearchPath(const IPathFactory& pathFactory,
                                                                      const std::shared_ptr<const IPath>& mainPath,
                                                                      const std::shared_ptr<const IPath>& current,
                                                                      PackagesFeaturePhase phase) {
    if (phase != Off)
        return std::make_shared<const DeduplicatedPath>(std::vector<std::shared_ptr<const IPath>>{current, mainPath});
    const PathEntryList currentEntries = current->GetMainEntries();
    if (currentEntries->empty()) return mainPath;
    const PathEntryPointer& first = currentEntries->front();
    if (first->GetPathEntryType() != Main) return mainPath;
    PathEntryPointer found = mainPath->GetPathEntryFromAbsoluteIRI(first->GetIRI());
    // Not on the path, or inside another entry (a package or class folder
    // of a folder on the path): it goes in front and disturbs nothing.
    if (!found || found->GetPathEntryType() != Main) return std::make_shared<const ConcatenatedPath>(current, mainPath);
    // The folder is a main entry of the path: it moves to the front, stands
    // there once, and the entry in front is the main path's own object.
    auto masked = std::make_shared<const MultiMaskedPath>(mainPath, PathEntryVector{found});
    std::shared_ptr<const IPath> front = pathFactory.CreatePath({std::move(found)});
    return std::make_shared<const ConcatenatedPath>(front, masked);
}

std::shared_ptr<const IPath> MainSearchPathManager::ComposeUserSearchPath(
    const std::shared_ptr<const IPath>& current, const std::optional<ComponentIdentifier>& component,
    const std::shared_ptr<const IPath>& userPath) {
    // A current folder inside an installed component adds nothing here.
    if (component) return userPath;
    if (current->GetMainEntries()->empty()) return userPath;
    return std::make_shared<const DeduplicatedPath>(std::vector<std::shared_ptr<const IPath>>{current, userPath});
}

void MainSearchPathManager::SetCurrentFolderPolicy(CurrentFolderPolicy policy) {
    if (policy == currentFolderPolicy) return;
    ReleaseRetiredCurrentFolderManagers();
    currentFolderPolicy = policy;
    pendingCurrentFolderChange.reset();
    const auto oldPath = currentFolderManager->GetCurrentFolderPath();
    const auto oldComponent = currentFolderManager->GetCurrentFolderComponent();
    SetCurrentFolderPathManager();
    HandleCurrentFolderPathChanged(oldPath, oldComponent);
}

// ---- Installation --------------------------------------------------------

void MainSearchPathManager::HandleCurrentFolderPathChanged(const std::shared_ptr<const IPath>& oldPath,
                                                           const std::optional<ComponentIdentifier>& oldComponent) {
    if (pathChangeInProgress) {
        // Only the latest report survives; it is installed when the running
        // installation ends.
        pendingCurrentFolderChange = PendingCurrentFolderChange{oldPath, oldComponent};
        return;
    }
    const InstalledPaths old = *paths;
    const auto [userSearchPath, searchPath] = ComposeSearchPaths(old.userPath, old.mainPath);
    PathEntryVectorDifferentiator searchDifferences, userSearchDifferences;
    if (packagesFeaturePhase != Off) {
        searchDifferences = Difference(*old.searchPath->GetMainEntries(), *searchPath->GetMainEntries());
        userSearchDifferences = Difference(*old.userSearchPath->GetMainEntries(), *userSearchPath->GetMainEntries());
    } else {
        searchDifferences = CurrentFolderDifferences(oldPath, currentFolderManager->GetCurrentFolderPath(),
                                                     *old.searchPath, *searchPath);
        userSearchDifferences = searchDifferences;
    }
    InstallNewPath(old.userPath, old.mainPath, userSearchPath, searchPath, std::shared_ptr(pathFolders),
                   std::shared_ptr(componentsOnPath), true, searchDifferences, userSearchDifferences, false);
}

PathEntryVectorDifferentiator MainSearchPathManager::CurrentFolderDifferences(
    const std::shared_ptr<const IPath>& oldCurrent, const std::shared_ptr<const IPath>& newCurrent,
    const IPath& oldSearchPath, const IPath& newSearchPath) const {
    const IPath& userPath = *paths->userPath;
    auto overlaps = [&userPath](const IPath& current) {
        for (const auto& entry : *current.GetMainEntries())
            if (userPath.GetPathEntryFromAbsoluteIRI(entry->GetIRI())) return true;
        return false;
    };
    const bool oldOverlaps = oldCurrent && overlaps(*oldCurrent);
    const bool newOverlaps = newCurrent && overlaps(*newCurrent);
    if (oldOverlaps || newOverlaps) return Difference(*oldSearchPath.GetMainEntries(), *newSearchPath.GetMainEntries());
    // Neither stands on the path: only the current folders themselves differ.
    const PathEntryVector before = oldCurrent ? *oldCurrent->GetMainEntries() : PathEntryVector{};
    const PathEntryVector after = newCurrent ? *newCurrent->GetMainEntries() : PathEntryVector{};
    return Difference(before, after);
}

void MainSearchPathManager::InstallNewPath(
    std::shared_ptr<const IPath> userPath, std::shared_ptr<const IPath> mainPath,
    std::shared_ptr<const IPath> userSearchPath, std::shared_ptr<const IPath> searchPath,
    std::shared_ptr<const CanonicalFolderVector>&& folders, std::shared_ptr<const ComponentVector>&& components,
    bool isCurrentFolderChange, const PathEntryVectorDifferentiator& searchDifferences,
    const PathEntryVectorDifferentiator& userSearchDifferences, bool currentFolderPositionChanged) {
    PathChangeEvents events{eventManager, {}};
    const bool searchChanged = !searchDifferences.GetRemoved()->empty() || !searchDifferences.GetAdded()->empty() ||
                               !searchDifferences.GetReordered()->empty() ||
                               !searchDifferences.GetRefreshedBefore()->empty();
    if (currentFolderPositionChanged || searchChanged) {
        for (int stage = 0; stage < 3; ++stage)
            events.stages[stage].emplace(static_cast<PathChangeEvent::Stage>(stage), *this, isCurrentFolderChange,
                                         currentFolderPositionChanged, std::shared_ptr(pathFolders),
                                         std::shared_ptr(folders), searchDifferences.GetAdded(),
                                         searchDifferences.GetRemoved(), searchDifferences.GetReordered(),
                                         searchDifferences.GetRefreshedAfter(), userSearchDifferences.GetAdded(),
                                         userSearchDifferences.GetRemoved(), userSearchDifferences.GetReordered(),
                                         userSearchDifferences.GetRefreshedAfter());
    }

    switch (mutabilityPolicy) {
    case PathFullyMutable: break;
    case PathEntriesFixed:
        if (!searchDifferences.GetAdded()->empty() || !searchDifferences.GetRemoved()->empty())
            throw PathAlterationNotSupportedException();
        break;
    default: FL_DIAG_TERMINATE("Unidentified PathManagerMutabilityPolicy assigned to MainSearchPathManager");
    }
    if (pathChangeInProgress) throw RecursivePathChangeException();
    if (!isCurrentFolderChange) CheckPackagesAtomicUnits(searchDifferences, *userPath, *Registry());

    {
        const bool previous = pathChangeInProgress;
        pathChangeInProgress = true;
        BOOST_SCOPE_EXIT_ALL(this, previous) { pathChangeInProgress = previous; };

        events.Publish(0);
        paths = std::make_unique<InstalledPaths>(InstalledPaths{userPath, mainPath, userSearchPath, searchPath});
        pathFolders = std::move(folders);
        componentsOnPath = std::move(components);
        folderMonitor.SetPath(searchPath);
        events.Publish(1);
        events.Publish(2);
    }

    if (pendingCurrentFolderChange) {
        const PendingCurrentFolderChange pending = std::move(*pendingCurrentFolderChange);
        pendingCurrentFolderChange.reset();
        HandleCurrentFolderPathChanged(pending.oldPath, pending.oldComponent);
    }
}

void MainSearchPathManager::InstallPaths(std::shared_ptr<const IPath> userPath, std::shared_ptr<const IPath> mainPath,
                                         std::shared_ptr<const CanonicalFolderVector> folders,
                                         std::shared_ptr<const ComponentVector> components) {
    const InstalledPaths old = *paths;
    auto [userSearchPath, searchPath] = ComposeSearchPaths(userPath, mainPath);
    const auto searchDifferences = Difference(*old.searchPath->GetMainEntries(), *searchPath->GetMainEntries());
    const auto userSearchDifferences = packagesFeaturePhase == Off ? searchDifferences
                                                                   : Difference(*old.userSearchPath->GetMainEntries(),
                                                                                *userSearchPath->GetMainEntries());
    if (!pathChangeInProgress) {
        // A folder that leaves the path is no longer frozen by name.
        const auto registry = packagesFeaturePhase != Off ? Registry() : nullptr;
        for (const auto& entry : *searchDifferences.GetRemoved()) {
            if (registry && registry->GetOwner(entry->GetIRI())) continue;
            try {
                folderMonitor.UnfreezeFolder(entry->GetIRI());
            } catch (const PackageFolderMonitoringChangeException&) {
            }
        }
    }
    const bool positionChanged = CurrentFolderPositionChanged(*userPath, *components);
    InstallNewPath(std::move(userPath), std::move(mainPath), std::move(userSearchPath), searchPath, std::move(folders),
                   std::move(components), false, searchDifferences, userSearchDifferences, positionChanged);
}

bool MainSearchPathManager::CurrentFolderPositionChanged(const IPath& newUserPath,
                                                         const ComponentVector& newComponents) const {
    if (const auto component = GetCurrentFolderComponent()) {
        const ComponentVector& oldComponents = *componentsOnPath;
        if (&oldComponents == &newComponents) return false;
        auto position = [&component](const ComponentVector& list) -> std::optional<std::size_t> {
            const auto it = std::find(list.begin(), list.end(), *component);
            if (it == list.end()) return std::nullopt;
            return static_cast<std::size_t>(it - list.begin());
        };
        return position(oldComponents) != position(newComponents);
    }
    const auto currentEntries = currentFolderManager->GetCurrentFolderPath()->GetMainEntries();
    if (currentEntries->empty()) return false;
    const IPath& oldUserPath = *paths->userPath;
    if (&oldUserPath == &newUserPath) return false;
    const CanonicalAbsoluteIRI folder = currentEntries->front()->GetIRI();
    // The folder counts as on a path only as a main entry of its own.
    auto position = [&folder](const IPath& path) -> std::optional<std::size_t> {
        const PathEntryPointer found = path.GetPathEntryFromAbsoluteIRI(folder);
        if (!found || path.GetMainEntryForEntry(*found) != found) return std::nullopt;
        const auto mains = path.GetMainEntries();
        const auto it = std::find(mains->begin(), mains->end(), found);
        if (it == mains->end()) return std::nullopt;
        return static_cast<std::size_t>(it - mains->begin());
    };
    return position(oldUserPath) != position(newUserPath);
}

// ---- Alteration ----------------------------------------------------------

PathEntryPointer MainSearchPathManager::GetEntryForFolder(const CanonicalAbsoluteIRI& folder,
                                                          const IPath& fallbackPath) const {
    try {
        return entryFactory.CreateUpdatedPathEntry(folder, folderMonitor);
    } catch (const foundation::storage::vfs::Exception&) {
        // A folder that went unreadable while on the path keeps its old entry.
        if (PathEntryPointer old = fallbackPath.GetPathEntryFromAbsoluteIRI(folder)) return old;
        throw;
    }
}

PathEntryPointer MainSearchPathManager::TryMakeMainEntry(const CanonicalAbsoluteIRI& folder, const IPath& fallbackPath,
                                                         EntriesBuiltAhead& builtAhead,
                                                         foundation::core::except::Notification& notification) const {
    builtAhead.GiveWarningsOf(folder);
    PathEntryPointer entry;
    try {
        entry = GetEntryForFolder(folder, fallbackPath);
    } catch (...) {
        AddStorageFailure(folder, notification);
        return nullptr;
    }
    const PathEntryType type = entry->GetPathEntryType();
    if (type != Main) {
        detail::AddErrorToNotificationForProcessingNonMainEntry(notification, type, GetStringFromIRI(folder));
        return nullptr;
    }
    return entry;
}

void MainSearchPathManager::SetPathFolders(const FolderRange& folders,
                                           foundation::core::except::Notification& notification) {
    const auto current = GetMainPath();
    const std::vector<AbsoluteIRI> given(folders.begin(), folders.end());
    // Each name is resolved on the pool, a system call or more for each of
    // its parts; what failed is taken up again below, in order.
    std::vector<std::optional<CanonicalAbsoluteIRI>> resolved(given.size());
    std::vector<std::exception_ptr> failures(given.size());
    ForEachFolderAhead(given.size(), [&](std::size_t i) {
        try {
            resolved[i] = entryFactory.GetCanonicalFolderIRI(given[i]);
        } catch (...) {
            failures[i] = std::current_exception();
        }
    });
    CanonicalFolderVector canonical;
    for (std::size_t i = 0; i != given.size(); ++i) {
        const AbsoluteIRI& folder = given[i];
        if (resolved[i]) {
            canonical.push_back(std::move(*resolved[i]));
            continue;
        }
        try {
            // Back in flight, for AddStorageFailure to read.
            std::rethrow_exception(failures[i]);
        } catch (...) {
            const CanonicalAbsoluteIRI asGiven(folder, ustring());
            if (const PathEntryPointer onPath = current->GetPathEntryFromAbsoluteIRI(asGiven))
                canonical.push_back(onPath->GetIRI());
            else
                AddStorageFailure(asGiven, notification);
        }
    }
    SetPathFolders(CanonicalFolderRange(canonical), notification);
}

void MainSearchPathManager::SetPathFolders(const CanonicalFolderRange& folders,
                                           foundation::core::except::Notification& notification) {
    ReleaseRetiredCurrentFolderManagers();
    if (packagesFeaturePhase != Off) {
        SetPathFoldersWithPackages(UniqueFolders(folders), notification);
        return;
    }
    const auto fallback = GetMainPath();
    EntriesBuiltAhead builtAhead(entryFactory, folderMonitor, UniqueFolders(folders));
    PathEntryVector entries;
    for (const CanonicalAbsoluteIRI& folder : folders)
        entries.push_back(TryMakeMainEntry(folder, *fallback, builtAhead, notification));
    KeepFirstOfEachFolder(entries);
    SetPathFromEntries(std::move(entries));
}

void MainSearchPathManager::SetPathFromEntries(PathEntryVector entries) {
    auto folders = std::make_shared<CanonicalFolderVector>();
    folders->reserve(entries.size());
    for (const auto& entry : entries) folders->push_back(entry->GetIRI());
    std::shared_ptr<const IPath> path = pathFactory.CreatePath(std::move(entries));
    InstallPaths(path, path, std::move(folders), std::make_shared<const ComponentVector>());
}

MainSearchPathManager::ClassifiedFolders MainSearchPathManager::ClassifyPathFolders(
    const CanonicalFolderVector& folders, EntriesBuiltAhead& builtAhead,
    foundation::core::except::Notification& notification) const {
    const auto registry = Registry();
    const auto userPath = paths->userPath;
    ClassifiedFolders classified;
    const bool packagesLast = packagesFeaturePhase == PackagesLast;
    for (const CanonicalAbsoluteIRI& folder : folders) {
        PathEntryPointer entry;
        const auto component = registry->GetOwner(folder);
        if (!component) {
            entry = TryMakeMainEntry(folder, *userPath, builtAhead, notification);
            if (!entry) continue;
        } else {
            const auto package = registry->GetPackage(*component);
            entry = package ? package->GetFolderEntry(folder) : nullptr;
            if (package && package->IsManaged()) {
                if (!entry || entry->GetPathEntryType() != Main) {
                    detail::AddErrorToNotificationForProcessingNonMainEntry(notification,
                                                                            entry ? entry->GetPathEntryType() : Package,
                                                                            GetStringFromIRI(folder));
                    continue;
                }
                if (folder != package->GetRoot()) {
                    notification.add(MessageIds::mpath::packageMemberFoldersNotAllowedOnPath.Message(
                        {GetStringFromIRI(folder), registry->GetDisplayName(*component),
                         GetStringFromIRI(package->GetRoot())}));
                    continue;
                }
                // The root stands for all the folders of its package.
                const auto installed = packageRegistry.GetComponent(*component);
                const PathEntryList expansion =
                    installed ? installed->GetPath()->GetMainEntries() : std::make_shared<const PathEntryVector>();
                auto& entries = packagesLast ? classified.packageEntries : classified.combinedEntries;
                entries.insert(entries.end(), expansion->begin(), expansion->end());
                (packagesLast ? classified.packageFolders : classified.combinedFolders).push_back(folder);
                classified.components.push_back(*component);
                continue;
            }
            if (!entry) {
                // The package knows no entry for its folder: read it as a plain one.
                entry = TryMakeMainEntry(folder, *userPath, builtAhead, notification);
                if (!entry) continue;
            }
        }
        classified.plainEntries.push_back(entry);
        classified.plainFolders.push_back(entry->GetIRI());
        if (packagesLast) {
            if (!classified.packageEntries.empty()) classified.plainAfterPackage = true;
        } else {
            classified.combinedEntries.push_back(entry);
            classified.combinedFolders.push_back(entry->GetIRI());
        }
    }
    return classified;
}

void MainSearchPathManager::SetPathFoldersWithPackages(const CanonicalFolderVector& folders,
                                                       foundation::core::except::Notification& notification) {
    // The folders that no package owns are read as plain ones, and can be
    // built ahead; a package's folders come with its entries.
    CanonicalFolderVector plain;
    const auto registry = Registry();
    std::copy_if(folders.begin(), folders.end(), std::back_inserter(plain),
                 [&registry](const CanonicalAbsoluteIRI& folder) { return !registry->GetOwner(folder); });
    EntriesBuiltAhead builtAhead(entryFactory, folderMonitor, plain);
    ClassifiedFolders classified = ClassifyPathFolders(folders, builtAhead, notification);
    if (packagesFeaturePhase == PackagesLast) {
        KeepFirstOfEachFolder(classified.packageEntries);
        classified.combinedEntries = classified.plainEntries;
        classified.combinedEntries.insert(classified.combinedEntries.end(), classified.packageEntries.begin(),
                                          classified.packageEntries.end());
        classified.combinedFolders = classified.plainFolders;
        classified.combinedFolders.insert(classified.combinedFolders.end(), classified.packageFolders.begin(),
                                          classified.packageFolders.end());
    } else {
        KeepFirstOfEachFolder(classified.combinedEntries);
    }
    if (classified.plainAfterPackage) notification.add(MessageIds::mpath::packagesMustBeLastOnPath.Message());
    std::shared_ptr<const IPath> userPath = pathFactory.CreatePath(classified.plainEntries);
    std::shared_ptr<const IPath> mainPath = pathFactory.CreatePath(std::move(classified.combinedEntries));
    InstallPaths(std::move(userPath), std::move(mainPath),
                 std::make_shared<const CanonicalFolderVector>(std::move(classified.combinedFolders)),
                 std::make_shared<const ComponentVector>(std::move(classified.components)));
}

// ---- Packages as atomic units --------------------------------------------

namespace {

using BrokenPackages = std::unordered_set<ComponentIdentifier, OrvianComponents::ComponentIdentifierHash>;

bool OnThePath(const std::set<int>& kinds) { return kinds.contains(0); }

// Whether the package's path folders stand on the path as one run, in the
// package's order.
bool PackageFoldersContiguous(const PackageRegistry::IPackage& package, const IPath& userPath) {
    std::vector<CanonicalAbsoluteIRI> run;
    for (const auto& record : *package.GetEntryRecords())
        if (record.entry && OnThePath(*record.kinds)) run.push_back(record.entry->GetIRI());
    const auto mains = userPath.GetMainEntries();
    if (mains->empty()) return false;
    return std::search(mains->begin(), mains->end(), run.begin(), run.end(),
                       [](const PathEntryPointer& entry, const CanonicalAbsoluteIRI& folder) {
                           return entry->GetIRI() == folder;
                       }) != mains->end();
}

// Whether anything of the package is left on the path.
bool AnyPackageFolderOnPath(const PackageRegistry::IPackage& package, const IPath& userPath) {
    if (userPath.GetPathEntryFromAbsoluteIRI(package.GetRoot())) return true;
    const auto folders = package.GetFolders();
    return std::any_of(folders->begin(), folders->end(),
                       [&userPath](const PackageRegistry::PackageFolderRecord& record) {
                           return OnThePath(*record.kinds) && userPath.GetPathEntryFromAbsoluteIRI(record.folder);
                       });
}

// The packages, not managed ones, whose folders among `entries` leave them
// broken by `rule`.
template <class Rule>
BrokenPackages FindBrokenPackages(const PathEntryVector& entries, const IPackageRegistry& registry, Rule rule) {
    BrokenPackages broken;
    for (const auto& entry : entries) {
        const auto owner = registry.GetOwner(entry->GetIRI());
        if (!owner) continue;
        const auto package = registry.GetPackage(*owner);
        // A managed package stands on the path whole, by its root.
        if (!package || package->IsManaged()) continue;
        if (rule(*package)) broken.insert(*owner);
    }
    return broken;
}

void WarnOfBrokenPackages(const BrokenPackages& broken, MessageIdentifier warning, const IPackageRegistry& registry) {
    if (broken.empty()) return;
    ustring names;
    for (const auto& id : broken) names += u"\n\t" + registry.GetDisplayName(id);
    qvWarningMsgId(warning.Message({names}));
}

}  // namespace

void MainSearchPathManager::CheckPackagesAtomicUnits(const PathEntryVectorDifferentiator& differences,
                                                     const IPath& userPath, const IPackageRegistry& registry) const {
    auto torn = [&userPath](const PackageRegistry::IPackage& package) {
        return !PackageFoldersContiguous(package, userPath);
    };
    auto leftBehind = [&userPath](const PackageRegistry::IPackage& package) {
        return AnyPackageFolderOnPath(package, userPath);
    };
    // All three sets are known before the first warning goes out.
    const BrokenPackages added = FindBrokenPackages(*differences.GetAdded(), registry, torn);
    const BrokenPackages removed = FindBrokenPackages(*differences.GetRemoved(), registry, leftBehind);
    const BrokenPackages reordered = FindBrokenPackages(*differences.GetReordered(), registry, torn);
    WarnOfBrokenPackages(added, MessageIds::mpath::PackagesBrokenAsAtomicUnitDueToAddedEntries, registry);
    WarnOfBrokenPackages(removed, MessageIds::mpath::PackagesBrokenAsAtomicUnitDueToRemovedEntries, registry);
    WarnOfBrokenPackages(reordered, MessageIds::mpath::PackagesBrokenAsAtomicUnitDueToReorderedEntries, registry);
}

// ---- Refresh -------------------------------------------------------------

void MainSearchPathManager::MarkPathEntriesOutOfDate(RefreshType type) {
    if (type == TrustObservers) return;
    const auto registry = Registry();
    ReportFoldersAsChanged(*paths->userPath, [&](const IPathEntry& entry) {
        // Folders of installed components are never marked.
        return packagesFeaturePhase != Off && registry->GetOwner(entry.GetIRI()).has_value();
    });
}

bool MainSearchPathManager::Refresh(RefreshType type) {
    if (pathChangeInProgress) return false;
    ReleaseRetiredCurrentFolderManagers();
    // Every change made before this call is seen by this refresh: the
    // observers hear of changes from a reader thread, which may not have
    // got to the latest ones yet.
    storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference())
        .Synchronize();
    MarkPathEntriesOutOfDate(type);
    const InstalledPaths old = *paths;
    // The refresher keeps a reference to the registry.
    const auto registry = Registry();
    PathEntryRefresher refresher(old.mainPath->GetMainEntries(), entryFactory, folderMonitor, registry,
                                 packagesFeaturePhase != Off);
    PathEntryVector before = refresher.TakeRefreshedBefore();
    PathEntryVector after = refresher.TakeRefreshedAfter();

    bool currentCounts = false;
    if (!GetCurrentFolderComponent()) {
        const auto currentEntries = currentFolderManager->GetCurrentFolderPath()->GetMainEntries();
        currentCounts = !currentEntries->empty() &&
                        std::none_of(currentEntries->begin(), currentEntries->end(), [&old](const PathEntryPointer& e) {
                            return old.userPath->GetPathEntryFromAbsoluteIRI(e->GetIRI()) != nullptr;
                        });
    }
    auto [left, came] = currentFolderManager->RequestRefresh(type);
    if (currentCounts) {
        // The current folder stands first on the search path, so it comes first here too.
        before.insert(before.begin(), left.begin(), left.end());
        after.insert(after.begin(), came.begin(), came.end());
    }
    if (before.empty() && after.empty()) return true;

    const std::shared_ptr<const IPath> mainPath =
        refresher.AnyOutOfDate() ? pathFactory.CreatePathReplacing(old.mainPath, refresher.TakeUpdatedEntries())
                                 : old.mainPath;
    std::shared_ptr<const IPath> userPath = mainPath;
    if (packagesFeaturePhase != Off) {
        PathEntryVector userEntries;
        for (const auto& entry : *old.userPath->GetMainEntries())
            if (PathEntryPointer found = mainPath->GetPathEntryFromAbsoluteIRI(entry->GetIRI()))
                userEntries.push_back(std::move(found));
        userPath = pathFactory.CreatePathReplacing(old.userPath, std::move(userEntries));
    }
    const auto [userSearchPath, searchPath] = ComposeSearchPaths(userPath, mainPath);
    const auto differences = Difference(before, after);
    try {
        InstallNewPath(userPath, mainPath, userSearchPath, searchPath, std::shared_ptr(pathFolders),
                       std::shared_ptr(componentsOnPath), false, differences, differences, false);
    } catch (const PathAlterationNotSupportedException&) {
        return false;
    }
    return true;
}

// ---- Mutability and mementos ---------------------------------------------

std::shared_ptr<void> MainSearchPathManager::PushMutabilityPolicy(PathManagerMutabilityPolicy policy) {
    const PathManagerMutabilityPolicy previous = mutabilityPolicy;
    std::shared_ptr<void> handle(nullptr, [this, previous](void*) { SetMutabilityPolicy(previous); });
    mutabilityPolicy = policy;
    return handle;
}

std::shared_ptr<PathMemento> MainSearchPathManager::CreateMemento() const {
    return std::make_shared<PathMemento>(PathMemento{paths->userPath, paths->mainPath, pathFolders, componentsOnPath,
                                                     currentFolderManager->CreateMemento()});
}

void MainSearchPathManager::RestoreMemento(const PathMemento& memento) {
    if (memento.currentFolderMemento) currentFolderManager->RestoreMemento(*memento.currentFolderMemento);
    InstallPaths(memento.userPath, memento.mainPath, memento.pathFolders, memento.componentsOnPath);
}

// ---- Creation ------------------------------------------------------------

std::unique_ptr<IMainSearchPathManager> CreateMainSearchPathManager(
    const boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr>& eventManager,
    OrvianComponents::IModularPackageRegistry& registry) {
    auto& registrar = PackageRegistry::GetPackageRegistrar();
    auto emptyPath = GetCurrentPathFactory().CreatePath({});
    SetFolderMonitor(std::make_unique<FolderMonitor>(InstallRootFromInstallPath(), std::move(emptyPath), registrar));
    auto managerFactory =
        std::make_unique<CurrentFolderPathManagerFactory>(eventManager, registry, GetPathEntryFactory(),
                                                          GetCurrentPathFactory(), GetFolderMonitor());
    auto phase = MainSearchPathManager::Off;
    if (OrvianComponents::ComponentFeature::IsOn())
        phase = OrvianComponents::GUPFeature::IsOn() ? MainSearchPathManager::PackagesInPlace
                                                     : MainSearchPathManager::PackagesLast;
    return std::make_unique<MainSearchPathManager>(eventManager, registry, GetPathEntryFactory(),
                                                   GetCurrentPathFactory(), std::move(managerFactory),
                                                   FollowCurrentFolder, GetFolderMonitor(), phase);
}

}  // namespace Thornfell::PathManagement
