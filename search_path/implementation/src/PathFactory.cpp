#include "PathFactory.hpp"

#include "AsynchronousWorkerQueue.hpp"
#include "Path.hpp"
#include "foundation/usm/StateStore.hpp"

#include <typeinfo>

namespace Thornfell::PathManagement {

PathFactory::PathFactory(foundation::storage::vfs::StorageSystemReference storage)
    : workerQueue(std::make_shared<AsynchronousWorkerQueue>()), storageSystem(std::move(storage)) {}

PathFactory::~PathFactory() = default;

std::shared_ptr<const IPath> PathFactory::CreatePath(PathEntryVector mainEntries) const {
    return std::make_shared<const Path>(std::move(mainEntries), workerQueue, storageSystem);
}

std::shared_ptr<const IPath> PathFactory::CreatePathReplacing(const std::shared_ptr<const IPath>& previous,
                                                              PathEntryVector mainEntries) const {
    // Derived only from a path of exactly this class: its indexes are what
    // the new one shares.
    if (const IPath* const old = previous.get(); old && typeid(*old) == typeid(Path))
        return std::make_shared<const Path>(static_cast<const Path&>(*old), std::move(mainEntries));
    return CreatePath(std::move(mainEntries));
}

const IPathFactory& GetCurrentPathFactory() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const foundation::usm::SlotID id = Store::getNextID(typeid(PathFactory));
    if (IPathFactory* found = Store::find<IPathFactory>(id)) return *found;
    // Two threads may get here at once; the store keeps one factory, and the
    // other is destroyed with `made` on the way out.
    std::unique_ptr<IPathFactory> made =
        std::make_unique<PathFactory>(OrvianStorageSystem::GetStorageSystemReference());
    return Store::insert(id, made);
}

}  // namespace Thornfell::PathManagement
