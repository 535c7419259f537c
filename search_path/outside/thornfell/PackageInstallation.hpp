#pragma once
// Installing, updating and removing packages described by manifests
// (thornfell/PackageManifest.hpp). Each operation checks everything first,
// then installs one new registry in the registrar, which publishes one
// PackageRegistryHasBeenChanged; when a check fails, nothing is installed.
// Subscribers' exceptions reach the caller, with the new registry in force.
#include "thornfell/PackageManifest.hpp"

namespace Thornfell::PackageRegistry {

// The installed package that `name` names: "name" when one version of that
// name is installed, or "name@version". Throws PackageInstallationException
// when none or several match.
ComponentIdentifier FindInstalledPackage(const IPackageRegistry& registry, const std::string& name);

// Installs the package whose root is `folder`, with a new install stamp.
ComponentIdentifier InstallPackageFromFolder(PackageRegistrar& registrar, const std::string& folder);
// Replaces the package `name` by the one whose root is `folder`: the same
// package (the manifest names it alike), of the same or another version.
ComponentIdentifier UpdatePackageFromFolder(PackageRegistrar& registrar, const std::string& name,
                                            const std::string& folder);
ComponentIdentifier RemoveInstalledPackage(PackageRegistrar& registrar, const std::string& name);

}  // namespace Thornfell::PackageRegistry
