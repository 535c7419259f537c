#include "thornfell/InMemoryPackageRegistry.hpp"

#include <algorithm>
#include <stdexcept>

namespace Thornfell::PackageRegistry {

PackageRegistryBuilder::PackageRegistryBuilder(const IPackageRegistry& from) {
    const auto* registry = dynamic_cast<const detail::InMemoryPackageRegistry*>(&from);
    if (!registry) throw std::invalid_argument("PackageRegistryBuilder: the registry was not made by a builder");
    for (const auto& package : registry->GetInstalledPackages()) packages_.push_back(package->GetDescription());
}

PackageRegistryBuilder& PackageRegistryBuilder::Add(PackageDescription package) {
    // Stamps are given here rather than in Build, so that a package keeps its
    // stamp in every registry built from this one: a stamp that moved would
    // count as a change of the package.
    if (package.installStamp == 0) {
        std::uint64_t latest = 0;
        for (const auto& p : packages_) latest = std::max(latest, p.installStamp);
        package.installStamp = latest + 1;
    }
    const auto same = std::find_if(packages_.begin(), packages_.end(),
                                   [&](const PackageDescription& p) { return p.id == package.id; });
    if (same != packages_.end())
        *same = std::move(package);
    else
        packages_.push_back(std::move(package));
    return *this;
}

PackageRegistryBuilder& PackageRegistryBuilder::Remove(const ComponentIdentifier& id) {
    std::erase_if(packages_, [&](const PackageDescription& p) { return p.id == id; });
    return *this;
}

std::shared_ptr<const IPackageRegistry> PackageRegistryBuilder::Build() const {
    std::vector<PackageDescription> ordered = packages_;
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const PackageDescription& a, const PackageDescription& b) {
                         return a.installStamp < b.installStamp;
                     });
    return std::make_shared<const detail::InMemoryPackageRegistry>(ordered);
}

} // namespace Thornfell::PackageRegistry
