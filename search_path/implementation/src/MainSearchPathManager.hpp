#pragma once
// The one mutable object of the system: holds the four paths in force,
// composes their replacements and swaps them in whole.
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathEntryVectorDifferentiator.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/core/noncopyable.hpp>

#include <optional>

namespace Thornfell::PathManagement {

class EntriesBuiltAhead;

// The paths in force. Replaced whole at each installation, never altered.
struct InstalledPaths {
    std::shared_ptr<const IPath> userPath;        // the plain folders
    std::shared_ptr<const IPath> mainPath;        // plain folders and the folders of packages
    std::shared_ptr<const IPath> userSearchPath;  // the current folder ahead of userPath
    std::shared_ptr<const IPath> searchPath;      // the current folder ahead of mainPath
};

class MainSearchPathManager final : public IMainSearchPathManager, private boost::noncopyable {
public:
    enum PackagesFeaturePhase : std::int32_t {
        Off = 0,              // no folder is looked up in the registry
        PackagesLast = 1,     // package folders stand behind all plain folders
        PackagesInPlace = 2,  // package folders stand where their root was named
    };

    MainSearchPathManager(boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager,
                          OrvianComponents::IModularPackageRegistry& registry, const IPathEntryFactory& entryFactory,
                          const IPathFactory& pathFactory,
                          std::unique_ptr<ICurrentFolderPathManagerFactory> currentFolderManagerFactory,
                          CurrentFolderPolicy currentFolderPolicy, IFolderMonitor& folderMonitor,
                          PackagesFeaturePhase phase);
    ~MainSearchPathManager() override;

    std::shared_ptr<const IPath> GetSearchPath() const override { return paths->searchPath; }
    std::shared_ptr<const IPath> GetUserSearchPath() const override { return paths->userSearchPath; }
    bool Refresh(RefreshType type) override;
    void SetPathFolders(const CanonicalFolderRange& folders,
                        foundation::core::except::Notification& notification) override;
    void SetPathFolders(const FolderRange& folders, foundation::core::except::Notification& notification) override;
    std::shared_ptr<const IPath> GetMainPath() const override { return paths->mainPath; }
    IFolderMonitor& GetFolderMonitor() const override { return folderMonitor; }
    std::shared_ptr<void> PushMutabilityPolicy(PathManagerMutabilityPolicy policy) override;
    void SetMutabilityPolicy(PathManagerMutabilityPolicy policy) override { mutabilityPolicy = policy; }
    std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const override;
    std::shared_ptr<const ComponentVector> GetComponentsOnPath() const override { return componentsOnPath; }
    void SetCurrentFolderPolicy(CurrentFolderPolicy policy) override;
    std::shared_ptr<const CanonicalFolderVector> GetPathFolders() const override { return pathFolders; }
    std::shared_ptr<PathMemento> CreateMemento() const override;
    void RestoreMemento(const PathMemento& memento) override;

    // The search path: the current folder ahead of the main path, composed
    // by the rule of the phase.
    static std::shared_ptr<const IPath> ComposeSearchPath(const IPathFactory& pathFactory,
                                                          const std::shared_ptr<const IPath>& mainPath,
                                                          const std::shared_ptr<const IPath>& current,
                                                          PackagesFeaturePhase phase);
    static std::shared_ptr<const IPath> ComposeUserSearchPath(
        const std::shared_ptr<const IPath>& current,
        const std::optional<OrvianComponents::ComponentIdentifier>& component,
        const std::shared_ptr<const IPath>& userPath);

private:
    struct PendingCurrentFolderChange {
        std::shared_ptr<const IPath> oldPath;
        std::optional<OrvianComponents::ComponentIdentifier> oldComponent;
    };
    struct ClassifiedFolders;
    // The two search paths composed around the current folder path of the
    // moment; with the phase Off they are one object.
    struct SearchPaths {
        std::shared_ptr<const IPath> userSearchPath;
        std::shared_ptr<const IPath> searchPath;
    };

    SearchPaths ComposeSearchPaths(const std::shared_ptr<const IPath>& userPath,
                                   const std::shared_ptr<const IPath>& mainPath) const;
    void SetCurrentFolderPathManager();
    // Destroys the current folder managers replaced during an installation;
    // does nothing while one runs.
    void ReleaseRetiredCurrentFolderManagers();
    void HandleCurrentFolderPathChanged(const std::shared_ptr<const IPath>& oldPath,
                                        const std::optional<OrvianComponents::ComponentIdentifier>& oldComponent);
    void InstallNewPath(std::shared_ptr<const IPath> userPath, std::shared_ptr<const IPath> mainPath,
                        std::shared_ptr<const IPath> userSearchPath, std::shared_ptr<const IPath> searchPath,
                        std::shared_ptr<const CanonicalFolderVector>&& folders,
                        std::shared_ptr<const ComponentVector>&& components, bool isCurrentFolderChange,
                        const PathEntryVectorDifferentiator& searchDifferences,
                        const PathEntryVectorDifferentiator& userSearchDifferences, bool currentFolderPositionChanged);
    void InstallPaths(std::shared_ptr<const IPath> userPath, std::shared_ptr<const IPath> mainPath,
                      std::shared_ptr<const CanonicalFolderVector> folders,
                      std::shared_ptr<const ComponentVector> components);
    bool CurrentFolderPositionChanged(const IPath& newUserPath, const ComponentVector& newComponents) const;
    PathEntryVectorDifferentiator CurrentFolderDifferences(const std::shared_ptr<const IPath>& oldCurrent,
                                                           const std::shared_ptr<const IPath>& newCurrent,
                                                           const IPath& oldSearchPath,
                                                           const IPath& newSearchPath) const;
    PathEntryPointer GetEntryForFolder(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                                       const IPath& fallbackPath) const;
    PathEntryPointer TryMakeMainEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                                      const IPath& fallbackPath, EntriesBuiltAhead& builtAhead,
                                      foundation::core::except::Notification& notification) const;
    ClassifiedFolders ClassifyPathFolders(const CanonicalFolderVector& folders, EntriesBuiltAhead& builtAhead,
                                          foundation::core::except::Notification& notification) const;
    void SetPathFoldersWithPackages(const CanonicalFolderVector& folders,
                                    foundation::core::except::Notification& notification);
    void SetPathFromEntries(PathEntryVector entries);
    void MarkPathEntriesOutOfDate(RefreshType type);
    void CheckPackagesAtomicUnits(const PathEntryVectorDifferentiator& differences, const IPath& userPath,
                                  const Thornfell::PackageRegistry::IPackageRegistry& registry) const;
    std::shared_ptr<const Thornfell::PackageRegistry::IPackageRegistry> Registry() const;

    boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
    OrvianComponents::IModularPackageRegistry& packageRegistry;
    const IPathEntryFactory& entryFactory;
    const IPathFactory& pathFactory;
    std::unique_ptr<ICurrentFolderPathManagerFactory> currentFolderManagerFactory;
    std::unique_ptr<ICurrentFolderPathManager> currentFolderManager;
    // Managers replaced while an installation ran: one of them may have
    // started it and still be on the stack, so they live until the manager
    // is idle again. They follow the working folder no more.
    std::vector<std::unique_ptr<ICurrentFolderPathManager>> retiredCurrentFolderManagers;
    CurrentFolderPolicy currentFolderPolicy;
    std::unique_ptr<InstalledPaths> paths;
    IFolderMonitor& folderMonitor;
    std::shared_ptr<const ComponentVector> componentsOnPath;
    bool pathChangeInProgress = false;
    std::optional<PendingCurrentFolderChange> pendingCurrentFolderChange;
    foundation::msg_svc::eventmgr::ScopedConnection registryConnection;
    PathManagerMutabilityPolicy mutabilityPolicy = PathFullyMutable;
    std::shared_ptr<const CanonicalFolderVector> pathFolders;
    const PackagesFeaturePhase packagesFeaturePhase;
};

}  // namespace Thornfell::PathManagement
