#pragma once
// The working folder as a small path of its own.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"
#include "orvian/ComponentIdentifier.hpp"

#include <boost/function.hpp>

#include <memory>
#include <optional>
#include <utility>

namespace Thornfell::PathManagement {

// 0 trusts the observers; any other value reports every folder as changed first.
enum RefreshType : std::int32_t {
    TrustObservers = 0,
    ForceRefresh = 1,
};

// 0 follows the working folder; any other value keeps no current folder.
enum CurrentFolderPolicy : std::int32_t {
    FollowCurrentFolder = 0,
    NoCurrentFolder = 1,
};

// A snapshot of a current folder manager; it shares its entry and path.
struct CurrentFolderMemento {
    PathEntryPointer entry;
    std::shared_ptr<const IPath> path;
    std::optional<OrvianComponents::ComponentIdentifier> component;
};

class TFSP_API ICurrentFolderPathManager {
public:
    using ChangedHandler =
        boost::function<void(const std::shared_ptr<const IPath>& oldPath,
                             const std::optional<OrvianComponents::ComponentIdentifier>& oldComponent)>;

    virtual ~ICurrentFolderPathManager() = default;
    virtual std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const = 0;
    virtual std::shared_ptr<const IPath> GetCurrentFolderPath() const = 0;
    // The current folder path fitted to `mainPath`: where the folder stands
    // on it as a main entry, a path around that very entry object.
    virtual std::shared_ptr<const IPath> GetCurrentFolderPathForMainPath(const IPath& mainPath) const = 0;
    virtual void ConnectCurrentFolderChangedHandler(ChangedHandler handler) = 0;
    virtual void HandleModularPackageRegistryChanged() = 0;
    // (entries that left, entries that came)
    virtual std::pair<PathEntryVector, PathEntryVector> RequestRefresh(RefreshType type) = 0;
    virtual std::shared_ptr<CurrentFolderMemento> CreateMemento() const = 0;
    virtual void RestoreMemento(const CurrentFolderMemento& memento) = 0;
    // Ends the following of the working folder, for good: the object then
    // reports and publishes nothing more. For an owner that must keep a
    // replaced object alive a while (its report may still be on the stack),
    // so that it is silent as if destroyed.
    virtual void StopFollowingWorkingFolder() = 0;
};

class TFSP_API ICurrentFolderPathManagerFactory {
public:
    virtual ~ICurrentFolderPathManagerFactory() = default;
    virtual std::unique_ptr<ICurrentFolderPathManager> CreateCurrentFolderPathManager(
        CurrentFolderPolicy policy) const = 0;
};

}  // namespace Thornfell::PathManagement
