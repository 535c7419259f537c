#pragma once
// Follows the working folder and keeps it as a small path of its own.
#include "tfsearch_path/ICurrentFolderPathManager.hpp"
#include "tfsearch_path/IFolderMonitor.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/signals2/signal.hpp>

namespace Thornfell::PathManagement {

class CurrentFolderPathManager final : public ICurrentFolderPathManager {
public:
    CurrentFolderPathManager(boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager,
                             const OrvianComponents::IModularPackageRegistry& registry,
                             const IPathEntryFactory& entryFactory, const IPathFactory& pathFactory,
                             const IFolderMonitor& folderMonitor,
                             const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);

    std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const override {
        return currentComponent;
    }
    std::shared_ptr<const IPath> GetCurrentFolderPath() const override { return currentPath; }
    std::shared_ptr<const IPath> GetCurrentFolderPathForMainPath(const IPath& mainPath) const override;
    void ConnectCurrentFolderChangedHandler(ChangedHandler handler) override;
    void HandleModularPackageRegistryChanged() override;
    std::pair<PathEntryVector, PathEntryVector> RequestRefresh(RefreshType type) override;
    std::shared_ptr<CurrentFolderMemento> CreateMemento() const override;
    void RestoreMemento(const CurrentFolderMemento& memento) override;
    void StopFollowingWorkingFolder() override { folderChangeConnection.disconnect(); }

private:
    void HandleCurrentFolderChanged(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);
    void MarkCurrentFolderOutOfDate(RefreshType type);
    // Finds the component, the entry and the path of `folder`, in that order,
    // and makes them current.
    void MakeCurrent(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);

    using FolderChangedSignal =
        boost::signals2::signal<void(const std::shared_ptr<const IPath>&,
                                     const std::optional<OrvianComponents::ComponentIdentifier>&),
                                boost::signals2::optional_last_value<void>, int>;

    boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
    foundation::msg_svc::eventmgr::ScopedConnection folderChangeConnection;
    const OrvianComponents::IModularPackageRegistry& componentRegistry;
    const IPathEntryFactory& entryFactory;
    const IPathFactory& pathFactory;
    const IFolderMonitor& folderMonitor;
    std::optional<OrvianComponents::ComponentIdentifier> currentComponent;
    PathEntryPointer currentEntry;
    std::shared_ptr<const IPath> currentPath;
    FolderChangedSignal folderChangedSignal;
};

// Two optional components are the same when both are empty, or both hold the
// same UUID and version; the name doesn't count.
bool SameComponent(const std::optional<OrvianComponents::ComponentIdentifier>& a,
                   const std::optional<OrvianComponents::ComponentIdentifier>& b);

}  // namespace Thornfell::PathManagement
