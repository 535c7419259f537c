#pragma once
// The registry of installed packages, kept in memory.
//
// A registry is an immutable snapshot. The registrar of an engine instance
// holds the one in force; Install() swaps in a new one and publishes
// PackageRegistryHasBeenChanged (with what came, went and changed) and
// OrvianComponents::ModularPackageRegistryHasBeenChanged on the engine's bus.
// Registries are made with PackageRegistryBuilder.
#include "foundation/msg_svc/eventmgr/BaseEvent.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "orvian/ComponentIdentifier.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <variant>
#include <vector>

namespace Thornfell::PathManagement {
class IPathEntry;
class IPath;
}  // namespace Thornfell::PathManagement

namespace Thornfell::PackageRegistry {

using foundation::storage::vfs::CanonicalAbsoluteIRI;
using OrvianComponents::ComponentIdentifier;
using EntryPointer = std::shared_ptr<const Thornfell::PathManagement::IPathEntry>;

// Kind 0 marks a folder that goes on the path.
struct PackageFolderRecord {
    CanonicalAbsoluteIRI folder;
    std::shared_ptr<const std::set<int>> kinds;
};

struct PackageEntryRecord {
    EntryPointer entry;
    std::shared_ptr<const std::set<int>> kinds;
};

// Alternative 0 is bool, alternative 4 is ustring.
using PropertyValue = std::variant<bool, std::int64_t, double, std::string, ustring>;

class IPackageRegistry;

class IPackage {
public:
    virtual ~IPackage() = default;
    virtual ComponentIdentifier GetIdentifier() const = 0;
    virtual bool IsManaged() const = 0;
    virtual bool IsAddedToPath() const = 0;
    virtual CanonicalAbsoluteIRI GetRoot() const = 0;
    virtual std::shared_ptr<const std::vector<PackageFolderRecord>> GetFolders() const = 0;
    // The records of GetFolders with each folder's entry; an entry is made by
    // the registrar's entry provider when first asked, then kept.
    virtual std::shared_ptr<const std::vector<PackageEntryRecord>> GetEntryRecords() const = 0;
    // The entry of a folder of the package (any folder at or below its root);
    // null for a folder outside it.
    virtual EntryPointer GetFolderEntry(const CanonicalAbsoluteIRI& folder) const = 0;
    virtual std::uint64_t GetInstallStamp() const = 0;
    virtual std::optional<PropertyValue> GetProperty(std::string_view name) const = 0;
    virtual bool WantsFolderMonitoring() const = 0;
};

class IPackageRegistry {
public:
    virtual ~IPackageRegistry() = default;
    virtual std::shared_ptr<const IPackage> GetPackage(const ComponentIdentifier& id) const = 0;
    // The packages that pass `filter`, in installation order.
    virtual std::shared_ptr<const std::vector<ComponentIdentifier>> GetPackages(
        const std::function<bool(const IPackage&, const IPackageRegistry&)>& filter) const = 0;
    // The package whose root holds the folder (the deepest root, if nested).
    virtual std::optional<ComponentIdentifier> GetOwner(const CanonicalAbsoluteIRI& folder) const = 0;
    virtual ustring GetDisplayName(const ComponentIdentifier& id) const = 0;
};

class IPackageRegistrar {
public:
    virtual ~IPackageRegistrar() = default;
    virtual std::shared_ptr<const IPackageRegistry> GetRegistry() const = 0;
};

class PackageRegistryChanges {
public:
    PackageRegistryChanges(std::shared_ptr<const IPackageRegistry> before,
                           std::shared_ptr<const IPackageRegistry> after, std::vector<ComponentIdentifier> added,
                           std::vector<ComponentIdentifier> removed, std::vector<ComponentIdentifier> changed)
        : before_(std::move(before)), after_(std::move(after)), added_(std::move(added)), removed_(std::move(removed)),
          changed_(std::move(changed)) {}

    std::shared_ptr<const IPackageRegistry> GetRegistryBefore() const { return before_; }
    std::shared_ptr<const IPackageRegistry> GetRegistryAfter() const { return after_; }
    const std::vector<ComponentIdentifier>& GetAdded() const { return added_; }
    const std::vector<ComponentIdentifier>& GetRemoved() const { return removed_; }
    // Kind 3: packages in both registries whose folders, properties or stamp
    // changed, and packages updated to another version, listed under their
    // identifier before the change (the registry after answers for it with
    // the new version). Other kinds give an empty list.
    const std::vector<ComponentIdentifier>& GetChanged(int kind) const;

private:
    std::shared_ptr<const IPackageRegistry> before_, after_;
    std::vector<ComponentIdentifier> added_, removed_, changed_;
};

// Published with mode 0 at level "Level1".
class PackageRegistryHasBeenChanged : public foundation::msg_svc::eventmgr::EventBase<PackageRegistryHasBeenChanged> {
public:
    explicit PackageRegistryHasBeenChanged(std::shared_ptr<const PackageRegistryChanges> changes)
        : changes_(std::move(changes)) {}
    static const std::string& TypeName();
    const std::shared_ptr<const PackageRegistryChanges>& GetChanges() const { return changes_; }

private:
    std::shared_ptr<const PackageRegistryChanges> changes_;
};

// Describes one package for the builder. Every member but `id` and `root`
// has a default, so designated initialisers may leave them out.
struct PackageDescription {
    ComponentIdentifier id;
    CanonicalAbsoluteIRI root;
    // Further folders that go on the path, after the root.
    std::vector<CanonicalAbsoluteIRI> pathFolders{};
    // Folders of the package that don't go on the path (kind 1).
    std::vector<CanonicalAbsoluteIRI> otherFolders{};
    bool managed = false;
    bool addedToPath = true;
    bool wantsFolderMonitoring = false;
    std::uint64_t installStamp = 0;  // 0: the builder numbers packages in order
    std::vector<std::pair<std::string, PropertyValue>> properties{};
};

class PackageRegistryBuilder {
public:
    PackageRegistryBuilder() = default;
    // Starts from the packages of an existing registry made by a builder.
    explicit PackageRegistryBuilder(const IPackageRegistry& from);
    PackageRegistryBuilder& Add(PackageDescription package);
    PackageRegistryBuilder& Remove(const ComponentIdentifier& id);
    // Puts `next` in the place of the package `old`. When `next` is another
    // version, the registry built answers GetPackage(old) with `next`, so that
    // the change reads as an update of one package rather than a removal and
    // an installation. Throws std::invalid_argument if `old` isn't held.
    PackageRegistryBuilder& Update(const ComponentIdentifier& old, PackageDescription next);
    std::shared_ptr<const IPackageRegistry> Build() const;

private:
    std::vector<PackageDescription> packages_;
    // Identifiers updated away, and the version each became. Only the next
    // registry built answers for them: one change long.
    std::vector<std::pair<ComponentIdentifier, ComponentIdentifier>> successors_;
};

// The registrar of an engine instance. Starts with an empty registry.
class PackageRegistrar : public IPackageRegistrar {
public:
    PackageRegistrar();
    using EntryProvider = std::function<EntryPointer(const CanonicalAbsoluteIRI&)>;
    std::shared_ptr<const IPackageRegistry> GetRegistry() const override;
    // Swaps in `registry`, then publishes the change events.
    void Install(std::shared_ptr<const IPackageRegistry> registry);
    // How packages turn folders into entries (the tool and tests give the
    // entry factory of the system). Without one, packages give null entries.
    void SetEntryProvider(EntryProvider provider);
    EntryPointer ProvideEntry(const CanonicalAbsoluteIRI& folder) const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const IPackageRegistry> registry_;
    EntryProvider provider_;
};

IPackageRegistrar& GetPackageRegistrar();
// The same object, with the operations that fill it.
PackageRegistrar& GetPackageRegistrarForUpdate();

}  // namespace Thornfell::PackageRegistry

namespace OrvianComponents {

class IComponent {
public:
    virtual ~IComponent() = default;
    virtual const ComponentIdentifier& GetIdentifier() const = 0;
    // The path of the component's folders.
    virtual std::shared_ptr<const Thornfell::PathManagement::IPath> GetPath() const = 0;
};

class IModularPackageRegistry {
public:
    virtual ~IModularPackageRegistry() = default;
    virtual std::shared_ptr<const Thornfell::PackageRegistry::IPackageRegistry> GetPackageRegistry() const = 0;
    virtual std::optional<ComponentIdentifier> GetOwningComponent(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const = 0;
    // Null for a component that isn't installed.
    virtual std::shared_ptr<const IComponent> GetComponent(const ComponentIdentifier& id) const = 0;
};

// Answers from the registrar of the current engine instance. The path of a
// component is made by `pathMaker` from the entries of its folders.
class ModularPackageRegistry : public IModularPackageRegistry {
public:
    using PathMaker = std::function<std::shared_ptr<const Thornfell::PathManagement::IPath>(
        std::vector<Thornfell::PackageRegistry::EntryPointer>)>;
    explicit ModularPackageRegistry(PathMaker pathMaker);
    std::shared_ptr<const Thornfell::PackageRegistry::IPackageRegistry> GetPackageRegistry() const override;
    std::optional<ComponentIdentifier> GetOwningComponent(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const override;
    std::shared_ptr<const IComponent> GetComponent(const ComponentIdentifier& id) const override;

private:
    PathMaker pathMaker_;
};

// Published with mode 0 after each registry change.
class ModularPackageRegistryHasBeenChanged
    : public foundation::msg_svc::eventmgr::EventBase<ModularPackageRegistryHasBeenChanged> {
public:
    static const std::string& TypeName();
};

}  // namespace OrvianComponents
