#include "thornfell/InMemoryPackageRegistry.hpp"

namespace Thornfell::PackageRegistry::detail {

InMemoryPackageRegistry::InMemoryPackageRegistry(
    const std::vector<PackageDescription>& packages,
    const std::vector<std::pair<ComponentIdentifier, ComponentIdentifier>>& successors)
    : source_(std::make_shared<EntrySource>()) {
    packages_.reserve(packages.size());
    for (const auto& description : packages) {
        const std::size_t index = packages_.size();
        packages_.push_back(std::make_shared<const InMemoryPackage>(description, source_));
        byId_.emplace(description.id, index);
        // Two packages with one root: the one installed first owns it.
        byRoot_.emplace(description.root, index);
    }
    for (const auto& [old, next] : successors)
        if (const auto found = byId_.find(next); found != byId_.end() && !byId_.contains(old))
            bySuccessor_.emplace(old, found->second);
}

std::shared_ptr<const IPackage> InMemoryPackageRegistry::GetPackage(const ComponentIdentifier& id) const {
    if (const auto found = byId_.find(id); found != byId_.end()) return packages_[found->second];
    const auto updated = bySuccessor_.find(id);
    return updated == bySuccessor_.end() ? nullptr : packages_[updated->second];
}

std::shared_ptr<const std::vector<ComponentIdentifier>> InMemoryPackageRegistry::GetPackages(
    const std::function<bool(const IPackage&, const IPackageRegistry&)>& filter) const {
    auto ids = std::make_shared<std::vector<ComponentIdentifier>>();
    for (const auto& package : packages_)
        if (!filter || filter(*package, *this)) ids->push_back(package->GetIdentifier());
    return ids;
}

std::optional<ComponentIdentifier> InMemoryPackageRegistry::GetOwner(const CanonicalAbsoluteIRI& folder) const {
    if (byRoot_.empty()) return std::nullopt;
    // Walking up from the folder meets the deepest root first. The folders
    // above are looked up by their paths' text, without an IRI made for each.
    const auto chain = foundation::storage::vfs::selfAndAncestors(folder);
    for (auto level = chain.rbegin(); level != chain.rend(); ++level)
        if (const auto found = byRoot_.find(*level); found != byRoot_.end())
            return packages_[found->second]->GetIdentifier();
    return std::nullopt;
}

ustring InMemoryPackageRegistry::GetDisplayName(const ComponentIdentifier& id) const {
    const auto package = GetPackage(id);
    return package ? package->GetIdentifier().GetName() : id.GetName();
}

}  // namespace Thornfell::PackageRegistry::detail
