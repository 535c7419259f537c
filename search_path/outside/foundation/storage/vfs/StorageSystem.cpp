#include "foundation/storage/vfs/StorageSystem.hpp"

#include "foundation/usm/StateStore.hpp"

#include <stdexcept>

namespace foundation::storage::vfs {

const StorageSystem& StorageSystemReference::get() const {
    if (!system_) throw std::logic_error("the storage system reference is empty");
    return *system_;
}

namespace {

// POSIX names are case sensitive, so the system's own rule is the exact one.
class PosixStorageSystem final : public StorageSystem {
public:
    const PathComparator& getPathComparator() const override { return comparator_; }

private:
    const PathComparator comparator_{true};
};

// The reference handed out for the life of the process: every caller gets
// the same system, so references compare equal.
struct StorageSystemState {
    StorageSystemReference reference{std::make_shared<const PosixStorageSystem>()};
};

}  // namespace

}  // namespace foundation::storage::vfs

namespace OrvianStorageSystem {

foundation::storage::vfs::StorageSystemReference GetStorageSystemReference() {
    using foundation::storage::vfs::StorageSystemState;
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const foundation::usm::SlotID slot = Store::getNextID(typeid(StorageSystemState));
    return Store::findOrInsert<StorageSystemState>(slot, [] { return std::make_unique<StorageSystemState>(); })
        .reference;
}

}  // namespace OrvianStorageSystem
