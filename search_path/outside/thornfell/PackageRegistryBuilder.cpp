#include "thornfell/InMemoryPackageRegistry.hpp"

#include <algorithm>
#include <stdexcept>

namespace Thornfell::PackageRegistry {

namespace {

std::uint64_t nextStamp(const std::vector<PackageDescription>& packages) {
    std::uint64_t latest = 0;
    for (const auto& p : packages) latest = std::max(latest, p.installStamp);
    return latest + 1;
}

}  // namespace

PackageRegistryBuilder::PackageRegistryBuilder(const IPackageRegistry& from) {
    const auto* registry = dynamic_cast<const detail::InMemoryPackageRegistry*>(&from);
    if (!registry) throw std::invalid_argument("PackageRegistryBuilder: the registry was not made by a builder");
    for (const auto& package : registry->GetInstalledPackages()) packages_.push_back(package->GetDescription());
}

PackageRegistryBuilder& PackageRegistryBuilder::Add(PackageDescription package) {
    // Stamps are given here rather than in Build, so that a package keeps its
    // stamp in every registry built from this one: a stamp that moved would
    // count as a change of the package.
    if (package.installStamp == 0) package.installStamp = nextStamp(packages_);
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

PackageRegistryBuilder& PackageRegistryBuilder::Update(const ComponentIdentifier& old, PackageDescription next) {
    const auto same =
        std::find_if(packages_.begin(), packages_.end(), [&](const PackageDescription& p) { return p.id == old; });
    if (same == packages_.end()) throw std::invalid_argument("PackageRegistryBuilder::Update: the package is not held");
    if (next.installStamp == 0) next.installStamp = nextStamp(packages_);
    if (next.id != old) {
        std::erase_if(packages_, [&](const PackageDescription& p) { return p.id == next.id; });
        successors_.emplace_back(old, next.id);
    }
    const auto place =
        std::find_if(packages_.begin(), packages_.end(), [&](const PackageDescription& p) { return p.id == old; });
    *place = std::move(next);
    return *this;
}

std::shared_ptr<const IPackageRegistry> PackageRegistryBuilder::Build() const {
    std::vector<PackageDescription> ordered = packages_;
    std::stable_sort(ordered.begin(), ordered.end(), [](const PackageDescription& a, const PackageDescription& b) {
        return a.installStamp < b.installStamp;
    });
    return std::make_shared<const detail::InMemoryPackageRegistry>(ordered, successors_);
}

}  // namespace Thornfell::PackageRegistry
