#pragma once
// The one place where paths are made. It keeps what all paths of an engine
// instance share: the storage system, and the worker queue that frees the
// large maps of dropped paths.
#include "tfsearch_path/IPathFactory.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <memory>

namespace Thornfell::PathManagement {

class AsynchronousWorkerQueue;

class PathFactory final : public IPathFactory {
public:
    // Starts the worker thread; std::system_error if it can't be started.
    explicit PathFactory(foundation::storage::vfs::StorageSystemReference storageSystem);
    // Runs out the queue and joins the worker. Paths made here may live on:
    // they then free their maps themselves.
    ~PathFactory() override;

    std::shared_ptr<const IPath> CreatePath(PathEntryVector mainEntries) const override;
    // Made from `previous` where that is a path of this library, whatever
    // factory made it: the new path then saves the indexing of what the two
    // have in common, and frees its maps the way `previous` does.
    std::shared_ptr<const IPath> CreatePathReplacing(const std::shared_ptr<const IPath>& previous,
                                                     PathEntryVector mainEntries) const override;

private:
    // The only owner of the queue: paths hold it weakly.
    std::shared_ptr<AsynchronousWorkerQueue> workerQueue;
    foundation::storage::vfs::StorageSystemReference storageSystem;
};

}  // namespace Thornfell::PathManagement
