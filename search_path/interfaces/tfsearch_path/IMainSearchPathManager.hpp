#pragma once
// The search path of an engine instance: the one mutable object of the
// system. Callers serialise its operations; the paths it hands out are
// immutable and stay valid however far the manager moves on.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/ICurrentFolderPathManager.hpp"
#include "tfsearch_path/IFolderMonitor.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"

#include <boost/range/any_range.hpp>

#include <memory>
#include <optional>
#include <vector>

namespace OrvianComponents {
class IModularPackageRegistry;
}

namespace Thornfell::PathManagement {

enum PathManagerMutabilityPolicy : std::int32_t {
    PathFullyMutable = 0,
    PathEntriesFixed = 1,  // no folder may come or go; reordering and refresh may
};

using CanonicalFolderVector = std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI>;
using ComponentVector = std::vector<OrvianComponents::ComponentIdentifier>;

// The whole state of the path at one moment.
struct PathMemento {
    std::shared_ptr<const IPath> userPath;
    std::shared_ptr<const IPath> mainPath;
    std::shared_ptr<const CanonicalFolderVector> pathFolders;
    std::shared_ptr<const ComponentVector> componentsOnPath;
    std::shared_ptr<CurrentFolderMemento> currentFolderMemento;  // null without a current folder
};

// Type-erased forward ranges of folders; they may be walked more than once.
using CanonicalFolderRange =
    boost::any_range<const foundation::storage::vfs::CanonicalAbsoluteIRI, boost::forward_traversal_tag,
                     const foundation::storage::vfs::CanonicalAbsoluteIRI&, std::ptrdiff_t>;
using FolderRange = boost::any_range<const foundation::storage::vfs::AbsoluteIRI, boost::forward_traversal_tag,
                                     const foundation::storage::vfs::AbsoluteIRI&, std::ptrdiff_t>;

class TFSP_API IPathManager {
public:
    virtual ~IPathManager() = default;
    // What name lookup uses: the current folder ahead of the main path.
    virtual std::shared_ptr<const IPath> GetSearchPath() const = 0;
    // The current folder ahead of the plain folders.
    virtual std::shared_ptr<const IPath> GetUserSearchPath() const = 0;
    // Replaces out-of-date entries. False if the refresh didn't take place
    // (an installation was running, or the mutability policy refused); true
    // otherwise, also when nothing had changed.
    virtual bool Refresh(RefreshType type) = 0;
    // Replaces the path whole. Folders that can't stand on it are reported in
    // `notification` and left out.
    virtual void SetPathFolders(const CanonicalFolderRange& folders,
                                foundation::core::except::Notification& notification) = 0;
    virtual void SetPathFolders(const FolderRange& folders, foundation::core::except::Notification& notification) = 0;
    // The plain folders and the folders of the packages on the path.
    virtual std::shared_ptr<const IPath> GetMainPath() const = 0;
};

class TFSP_API IMainSearchPathManager : public IPathManager {
public:
    virtual IFolderMonitor& GetFolderMonitor() const = 0;
    // Sets `policy` until the last owner of the handle lets go; then the
    // policy in force before comes back.
    virtual std::shared_ptr<void> PushMutabilityPolicy(PathManagerMutabilityPolicy policy) = 0;
    virtual void SetMutabilityPolicy(PathManagerMutabilityPolicy policy) = 0;
    virtual std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const = 0;
    virtual std::shared_ptr<const ComponentVector> GetComponentsOnPath() const = 0;
    virtual void SetCurrentFolderPolicy(CurrentFolderPolicy policy) = 0;
    // The path as the caller wrote it: package roots not expanded.
    virtual std::shared_ptr<const CanonicalFolderVector> GetPathFolders() const = 0;
    virtual std::shared_ptr<PathMemento> CreateMemento() const = 0;
    virtual void RestoreMemento(const PathMemento& memento) = 0;
};

// Makes the manager of the engine instance current on this thread.
TFSP_API std::unique_ptr<IMainSearchPathManager> CreateMainSearchPathManager(
    const boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr>& eventManager,
    OrvianComponents::IModularPackageRegistry& registry);

// The manager the host set up for this engine instance (SetMainSearchPathManager).
// GetMainSearchPathManager throws std::logic_error when there is none.
TFSP_API IMainSearchPathManager& GetMainSearchPathManager();
TFSP_API IMainSearchPathManager* GetMainSearchPathManagerIfAvailable();
// The host's registration; null clears it. The host keeps the manager alive
// while it is registered.
TFSP_API void SetMainSearchPathManager(IMainSearchPathManager* manager);

TFSP_API void initializeFcn();
TFSP_API void terminateFcn();

}  // namespace Thornfell::PathManagement
