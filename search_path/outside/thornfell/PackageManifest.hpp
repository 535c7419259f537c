#pragma once
// The manifest that describes a package, a small text file in its root
// folder that a person can write with an editor:
//
//   # comments and blank lines are ignored
//   name = geometry
//   version = 1.2
//   managed = false          optional, default false
//   on-path = true           optional, default true; decides for an unmanaged package
//   folder = shapes          a member folder on the path, relative to the root;
//   folder = data/tables     one line each, in path order after the root
//   property PathPosition = "begin"
//   property ManualInstall = true
//
// A property value is true, false, a whole number or a text in double quotes.
// "ManualInstall" must be a bool and "PathPosition" a text.
#include "thornfell/PackageRegistry.hpp"

#include <stdexcept>
#include <string>

namespace Thornfell::PackageRegistry {

inline constexpr const char* PackageManifestFileName = "package.manifest";

// A package could not be installed, updated or removed; the message names
// the file and line at fault, and the registry is as it was.
class PackageInstallationException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the manifest of the package whose root is `folder` (a native path).
// The package's identifier has a UUID made from its name, so every version
// of one package shares it; the install stamp is left for the registry.
// Throws PackageInstallationException for a missing or malformed manifest,
// and for a member folder that doesn't exist or lies outside the root.
PackageDescription ReadPackageManifest(const std::string& folder);

}  // namespace Thornfell::PackageRegistry
