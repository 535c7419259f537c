#pragma once
// The storage system and the reference by which callers reach it.
#include "foundation/storage/vfs/PathComparator.hpp"

#include <memory>

namespace foundation::storage::vfs {

class StorageSystem;

// A value type that names a storage system. Copies are cheap.
class StorageSystemReference {
public:
    StorageSystemReference() = default;
    explicit StorageSystemReference(std::shared_ptr<const StorageSystem> system) : system_(std::move(system)) {}

    const StorageSystem& get() const;
    bool isValid() const { return static_cast<bool>(system_); }
    friend bool operator==(const StorageSystemReference& a, const StorageSystemReference& b) {
        return a.system_ == b.system_;
    }

private:
    std::shared_ptr<const StorageSystem> system_;
};

// The POSIX file system as seen by this process.
class StorageSystem {
public:
    virtual ~StorageSystem() = default;
    virtual const PathComparator& getPathComparator() const = 0;
};

}  // namespace foundation::storage::vfs

namespace OrvianStorageSystem {
// The storage system of the environment: the local POSIX file system.
foundation::storage::vfs::StorageSystemReference GetStorageSystemReference();
}  // namespace OrvianStorageSystem
