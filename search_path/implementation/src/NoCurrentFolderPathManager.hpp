#pragma once
// The null object of the current folder: its path is always empty.
#include "tfsearch_path/ICurrentFolderPathManager.hpp"
#include "tfsearch_path/IPathFactory.hpp"

namespace Thornfell::PathManagement {

class NoCurrentFolderPathManager final : public ICurrentFolderPathManager {
public:
    explicit NoCurrentFolderPathManager(const IPathFactory& pathFactory) : pathFactory(pathFactory) {}

    std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const override {
        return std::nullopt;
    }
    std::shared_ptr<const IPath> GetCurrentFolderPath() const override { return pathFactory.CreatePath({}); }
    std::shared_ptr<const IPath> GetCurrentFolderPathForMainPath(const IPath&) const override {
        return pathFactory.CreatePath({});
    }
    void ConnectCurrentFolderChangedHandler(ChangedHandler) override {}
    void HandleModularPackageRegistryChanged() override {}
    std::pair<PathEntryVector, PathEntryVector> RequestRefresh(RefreshType) override { return {}; }
    std::shared_ptr<CurrentFolderMemento> CreateMemento() const override { return nullptr; }
    void RestoreMemento(const CurrentFolderMemento&) override {}
    void StopFollowingWorkingFolder() override {}

private:
    const IPathFactory& pathFactory;
};

}  // namespace Thornfell::PathManagement
