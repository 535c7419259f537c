#include "thornfell/PackageRegistry.hpp"

#include <mutex>

namespace OrvianComponents {

namespace {

using Thornfell::PackageRegistry::EntryPointer;
using Thornfell::PackageRegistry::IPackage;

class Component final : public IComponent {
public:
    Component(ComponentIdentifier id, std::shared_ptr<const IPackage> package,
              ModularPackageRegistry::PathMaker pathMaker)
        : id_(std::move(id)), package_(std::move(package)), pathMaker_(std::move(pathMaker)) {}

    const ComponentIdentifier& GetIdentifier() const override { return id_; }

    std::shared_ptr<const Thornfell::PathManagement::IPath> GetPath() const override {
        {
            std::lock_guard lock(mutex_);
            if (path_) return path_;
        }
        // Made without the lock: the path maker may run work on other
        // threads. Racing callers may both make one; the first is kept.
        std::vector<EntryPointer> entries;
        const auto records = package_->GetEntryRecords();
        for (const auto& record : *records)
            if (record.kinds && record.kinds->contains(0)) entries.push_back(record.entry);
        auto path = pathMaker_(std::move(entries));
        std::lock_guard lock(mutex_);
        if (!path_) path_ = std::move(path);
        return path_;
    }

private:
    const ComponentIdentifier id_;
    const std::shared_ptr<const IPackage> package_;
    const ModularPackageRegistry::PathMaker pathMaker_;
    mutable std::mutex mutex_;
    mutable std::shared_ptr<const Thornfell::PathManagement::IPath> path_;
};

}  // namespace

ModularPackageRegistry::ModularPackageRegistry(PathMaker pathMaker) : pathMaker_(std::move(pathMaker)) {}

std::shared_ptr<const Thornfell::PackageRegistry::IPackageRegistry> ModularPackageRegistry::GetPackageRegistry() const {
    return Thornfell::PackageRegistry::GetPackageRegistrar().GetRegistry();
}

std::optional<ComponentIdentifier> ModularPackageRegistry::GetOwningComponent(
    const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const {
    return GetPackageRegistry()->GetOwner(folder);
}

std::shared_ptr<const IComponent> ModularPackageRegistry::GetComponent(const ComponentIdentifier& id) const {
    auto package = GetPackageRegistry()->GetPackage(id);
    if (!package) return nullptr;
    return std::make_shared<const Component>(id, std::move(package), pathMaker_);
}

}  // namespace OrvianComponents
