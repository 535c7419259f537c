#include "thornfell/PackageInstallation.hpp"

namespace Thornfell::PackageRegistry {

namespace {

std::string textOf(const ComponentIdentifier& id) {
    return fl::i18n::ustring_to_utf8(id.GetName()) + "@" + id.GetVersion().toString();
}

// Refuses a package whose identifier or root another installed package has
// (`replacing` is the package it replaces, if any).
void checkFree(const IPackageRegistry& registry, const PackageDescription& package,
               const std::optional<ComponentIdentifier>& replacing) {
    const auto ids = registry.GetPackages(nullptr);
    for (const auto& id : *ids) {
        if (replacing && id == *replacing) continue;
        if (id == package.id) throw PackageInstallationException(textOf(id) + " is already installed");
        if (registry.GetPackage(id)->GetRoot() == package.root)
            throw PackageInstallationException("'" + fl::i18n::ustring_to_utf8(package.root.getPath()) +
                                               "' is already the root of " + textOf(id));
    }
}

}  // namespace

ComponentIdentifier FindInstalledPackage(const IPackageRegistry& registry, const std::string& name) {
    const auto at = name.find('@');
    const ustring wanted = fl::i18n::utf8_to_ustring(name.substr(0, at));
    std::optional<OrvianComponents::ComponentVersion> version;
    if (at != std::string::npos) {
        try {
            version = OrvianComponents::ComponentVersion(name.substr(at + 1));
        } catch (const std::invalid_argument&) {
            throw PackageInstallationException("'" + name + "': the version must be numbers separated by dots");
        }
    }
    const auto matches = registry.GetPackages([&](const IPackage& package, const IPackageRegistry&) {
        const ComponentIdentifier id = package.GetIdentifier();
        return id.GetName() == wanted && (!version || id.GetVersion() == *version);
    });
    if (matches->empty()) throw PackageInstallationException("no installed package is named '" + name + "'");
    if (matches->size() > 1) {
        std::string versions;
        for (const auto& id : *matches) versions += (versions.empty() ? "" : ", ") + textOf(id);
        throw PackageInstallationException("'" + name + "' names several installed versions (" + versions +
                                           "); give one as NAME@VERSION");
    }
    return matches->front();
}

ComponentIdentifier InstallPackageFromFolder(PackageRegistrar& registrar, const std::string& folder) {
    PackageDescription package = ReadPackageManifest(folder);
    const auto registry = registrar.GetRegistry();
    checkFree(*registry, package, std::nullopt);
    const ComponentIdentifier id = package.id;
    registrar.Install(PackageRegistryBuilder(*registry).Add(std::move(package)).Build());
    return id;
}

ComponentIdentifier UpdatePackageFromFolder(PackageRegistrar& registrar, const std::string& name,
                                            const std::string& folder) {
    const auto registry = registrar.GetRegistry();
    const ComponentIdentifier old = FindInstalledPackage(*registry, name);
    PackageDescription package = ReadPackageManifest(folder);
    if (package.id.GetUniqueID() != old.GetUniqueID())
        throw PackageInstallationException(folder + ": the manifest describes " + textOf(package.id) +
                                           ", not a version of " + textOf(old));
    checkFree(*registry, package, old);
    const ComponentIdentifier id = package.id;
    registrar.Install(PackageRegistryBuilder(*registry).Update(old, std::move(package)).Build());
    return id;
}

ComponentIdentifier RemoveInstalledPackage(PackageRegistrar& registrar, const std::string& name) {
    const auto registry = registrar.GetRegistry();
    const ComponentIdentifier id = FindInstalledPackage(*registry, name);
    registrar.Install(PackageRegistryBuilder(*registry).Remove(id).Build());
    return id;
}

}  // namespace Thornfell::PackageRegistry
