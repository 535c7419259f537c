#pragma once
// The registry and packages that PackageRegistryBuilder makes. Internal to
// the package registry stand-in: callers see IPackageRegistry and IPackage.
#include "thornfell/PackageRegistry.hpp"

#include <mutex>
#include <unordered_map>

namespace Thornfell::PackageRegistry::detail {

// Where the packages of one registry get the entries of their folders. A
// registry is built before anybody knows how entries are made; the registrar
// that installs it supplies that.
class EntrySource {
public:
    // Takes `provider` unless the source has one already.
    void bindIfUnbound(const PackageRegistrar::EntryProvider& provider);
    void bind(PackageRegistrar::EntryProvider provider);
    bool isBound() const;
    // Null when no provider is bound.
    EntryPointer provide(const CanonicalAbsoluteIRI& folder) const;

private:
    mutable std::mutex mutex_;
    PackageRegistrar::EntryProvider provider_;
};

class InMemoryPackage final : public IPackage {
public:
    InMemoryPackage(PackageDescription description, std::shared_ptr<const EntrySource> source);

    ComponentIdentifier GetIdentifier() const override { return description_.id; }
    bool IsManaged() const override { return description_.managed; }
    bool IsAddedToPath() const override { return description_.addedToPath; }
    CanonicalAbsoluteIRI GetRoot() const override { return description_.root; }
    std::shared_ptr<const std::vector<PackageFolderRecord>> GetFolders() const override { return folders_; }
    std::shared_ptr<const std::vector<PackageEntryRecord>> GetEntryRecords() const override;
    EntryPointer GetFolderEntry(const CanonicalAbsoluteIRI& folder) const override;
    std::uint64_t GetInstallStamp() const override { return description_.installStamp; }
    std::optional<PropertyValue> GetProperty(std::string_view name) const override;
    bool WantsFolderMonitoring() const override { return description_.wantsFolderMonitoring; }

    const PackageDescription& GetDescription() const { return description_; }

private:
    using EntryMap = std::unordered_map<foundation::storage::vfs::AbsoluteIRI, EntryPointer,
                                        foundation::storage::vfs::AbsoluteIRIHash>;

    const PackageDescription description_;
    const std::shared_ptr<const std::vector<PackageFolderRecord>> folders_;
    const std::shared_ptr<const EntrySource> source_;

    // Entries are made on first request and kept: a package is a snapshot of
    // its folders as they were when first asked.
    mutable std::mutex entriesMutex_;
    mutable std::shared_ptr<const std::vector<PackageEntryRecord>> entryRecords_;
    mutable EntryMap otherEntries_;  // folders below the root that are not records
};

class InMemoryPackageRegistry final : public IPackageRegistry {
public:
    // `packages` in installation order, stamps assigned. `successors` maps
    // identifiers updated away to the version each became.
    InMemoryPackageRegistry(const std::vector<PackageDescription>& packages,
                            const std::vector<std::pair<ComponentIdentifier, ComponentIdentifier>>& successors = {});

    std::shared_ptr<const IPackage> GetPackage(const ComponentIdentifier& id) const override;
    std::shared_ptr<const std::vector<ComponentIdentifier>> GetPackages(
        const std::function<bool(const IPackage&, const IPackageRegistry&)>& filter) const override;
    std::optional<ComponentIdentifier> GetOwner(const CanonicalAbsoluteIRI& folder) const override;
    ustring GetDisplayName(const ComponentIdentifier& id) const override;

    const std::vector<std::shared_ptr<const InMemoryPackage>>& GetInstalledPackages() const { return packages_; }
    EntrySource& GetEntrySource() const { return *source_; }

private:
    const std::shared_ptr<EntrySource> source_;
    std::vector<std::shared_ptr<const InMemoryPackage>> packages_;
    std::unordered_map<ComponentIdentifier, std::size_t, OrvianComponents::ComponentIdentifierHash> byId_;
    // Packages updated to another version, by their identifier before.
    std::unordered_map<ComponentIdentifier, std::size_t, OrvianComponents::ComponentIdentifierHash> bySuccessor_;
    std::unordered_map<foundation::storage::vfs::AbsoluteIRI, std::size_t, foundation::storage::vfs::AbsoluteIRIHash,
                       foundation::storage::vfs::AbsoluteIRIEqual>
        byRoot_;
};

}  // namespace Thornfell::PackageRegistry::detail
