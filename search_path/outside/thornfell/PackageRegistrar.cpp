#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/usm/StateStore.hpp"
#include "thornfell/InMemoryPackageRegistry.hpp"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace Thornfell::PackageRegistry {

namespace {

using PropertyList = std::vector<std::pair<std::string, PropertyValue>>;

const PropertyList& propertiesOf(const IPackage& package) {
    static const PropertyList none;
    const auto* inMemory = dynamic_cast<const detail::InMemoryPackage*>(&package);
    return inMemory ? inMemory->GetDescription().properties : none;
}

// The order of a description's properties says nothing, and the first of two
// of one name counts. Lists copied from one description, the usual case,
// compare without a map made for each.
bool sameProperties(const IPackage& before, const IPackage& after) {
    const PropertyList& a = propertiesOf(before);
    const PropertyList& b = propertiesOf(after);
    if (a == b) return true;
    using Map = std::map<std::string_view, const PropertyValue*>;
    const auto mapOf = [](const PropertyList& list) {
        Map map;
        for (const auto& [name, value] : list) map.emplace(name, &value);
        return map;
    };
    const Map x = mapOf(a), y = mapOf(b);
    return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                      [](const auto& p, const auto& q) { return p.first == q.first && *p.second == *q.second; });
}

bool sameFolders(const std::vector<PackageFolderRecord>& a, const std::vector<PackageFolderRecord>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const PackageFolderRecord& x, const PackageFolderRecord& y) {
                          return x.folder == y.folder &&
                                 (x.kinds == y.kinds || (x.kinds && y.kinds && *x.kinds == *y.kinds));
                      });
}

// Whether one package version, present in both registries, differs in
// anything that decides where and how it stands on the path.
bool packageChanged(const IPackage& before, const IPackage& after) {
    return before.GetRoot() != after.GetRoot() || !sameFolders(*before.GetFolders(), *after.GetFolders()) ||
           before.IsManaged() != after.IsManaged() || before.IsAddedToPath() != after.IsAddedToPath() ||
           before.WantsFolderMonitoring() != after.WantsFolderMonitoring() ||
           before.GetInstallStamp() != after.GetInstallStamp() || !sameProperties(before, after);
}

bool everyPackage(const IPackage&, const IPackageRegistry&) { return true; }

std::shared_ptr<const PackageRegistryChanges> computeChanges(std::shared_ptr<const IPackageRegistry> before,
                                                             std::shared_ptr<const IPackageRegistry> after) {
    std::vector<ComponentIdentifier> added, removed, changed;
    // Held in locals: a range-for over *GetPackages() would outlive the list.
    const auto afterIds = after->GetPackages(everyPackage);
    const auto beforeIds = before->GetPackages(everyPackage);
    // A package updated to another version is found in the registry after
    // under its old identifier: it counts as changed, and its new version
    // as no addition.
    std::vector<ComponentIdentifier> successors;
    for (const auto& id : *beforeIds) {
        const auto now = after->GetPackage(id);
        if (!now) {
            removed.push_back(id);
        } else if (now->GetIdentifier() != id) {
            changed.push_back(id);
            successors.push_back(now->GetIdentifier());
        } else if (packageChanged(*before->GetPackage(id), *now)) {
            changed.push_back(id);
        }
    }
    for (const auto& id : *afterIds) {
        const auto old = before->GetPackage(id);
        const bool held = old && old->GetIdentifier() == id;
        if (!held && std::find(successors.begin(), successors.end(), id) == successors.end()) added.push_back(id);
    }
    return std::make_shared<const PackageRegistryChanges>(std::move(before), std::move(after), std::move(added),
                                                          std::move(removed), std::move(changed));
}

void bindEntrySource(const IPackageRegistry& registry, const PackageRegistrar::EntryProvider& provider, bool replace) {
    if (!provider) return;
    if (const auto* inMemory = dynamic_cast<const detail::InMemoryPackageRegistry*>(&registry)) {
        if (replace)
            inMemory->GetEntrySource().bind(provider);
        else
            inMemory->GetEntrySource().bindIfUnbound(provider);
    }
}

}  // namespace

const std::vector<ComponentIdentifier>& PackageRegistryChanges::GetChanged(int kind) const {
    static const std::vector<ComponentIdentifier> none;
    return kind == 3 ? changed_ : none;
}

const std::string& PackageRegistryHasBeenChanged::TypeName() {
    static const std::string name = "Thornfell::PackageRegistry::PackageRegistryHasBeenChanged";
    return name;
}

PackageRegistrar::PackageRegistrar() : registry_(PackageRegistryBuilder().Build()) {}

std::shared_ptr<const IPackageRegistry> PackageRegistrar::GetRegistry() const {
    std::lock_guard lock(mutex_);
    return registry_;
}

void PackageRegistrar::Install(std::shared_ptr<const IPackageRegistry> registry) {
    if (!registry) throw std::invalid_argument("PackageRegistrar::Install: no registry");
    std::shared_ptr<const IPackageRegistry> before;
    {
        std::lock_guard lock(mutex_);
        bindEntrySource(*registry, provider_, false);
        before = std::exchange(registry_, registry);
    }
    // Published without the lock: subscribers ask the registrar for the
    // registry, and may install another one.
    const auto bus = foundation::msg_svc::eventmgr::getEngineEventMgr();
    bus->publish(boost::make_shared<PackageRegistryHasBeenChanged>(computeChanges(std::move(before), registry)), 0);
    bus->publish(boost::make_shared<OrvianComponents::ModularPackageRegistryHasBeenChanged>(), 0);
}

void PackageRegistrar::SetEntryProvider(EntryProvider provider) {
    std::lock_guard lock(mutex_);
    provider_ = std::move(provider);
    bindEntrySource(*registry_, provider_, true);
}

EntryPointer PackageRegistrar::ProvideEntry(const CanonicalAbsoluteIRI& folder) const {
    EntryProvider provider;
    {
        std::lock_guard lock(mutex_);
        provider = provider_;
    }
    return provider ? provider(folder) : nullptr;
}

PackageRegistrar& GetPackageRegistrarForUpdate() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const auto id = Store::getNextID(typeid(PackageRegistrar));
    return Store::findOrInsert<PackageRegistrar>(id, [] { return std::make_unique<PackageRegistrar>(); });
}

IPackageRegistrar& GetPackageRegistrar() { return GetPackageRegistrarForUpdate(); }

}  // namespace Thornfell::PackageRegistry

namespace OrvianComponents {

const std::string& ModularPackageRegistryHasBeenChanged::TypeName() {
    static const std::string name = "Thornfell::OrvianComponents::ModularPackageRegistryHasBeenChanged";
    return name;
}

}  // namespace OrvianComponents
