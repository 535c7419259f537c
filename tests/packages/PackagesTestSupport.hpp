#pragma once
// A host whose path follows its package registry: the manager in the phase
// that keeps packages in place, the coordinator installed, and packages
// written as manifests into the test's tree.
#include "manager/ManagerTestSupport.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/PackagesOnPathCoordinator.hpp"
#include "thornfell/PackageInstallation.hpp"

#include <string>
#include <vector>

namespace tfsp::test {

namespace registry = Thornfell::PackageRegistry;

struct PackageSpec {
    std::string name;
    std::string version = "1";
    bool managed = false;
    bool onPath = true;
    std::vector<std::string> members{};
    std::vector<std::string> propertyLines{};  // "ManualInstall = true"
};

// Identifiers of a notification's messages, in order.
std::vector<std::string> Identifiers(const foundation::core::except::Notification& notification);
// A message's arguments as UTF-8.
std::vector<std::string> Arguments(const resource_core::BaseMsgID& message);

class PackagesFixture : public ManagerFixture {
public:
    PackagesFixture();

    // Writes the manifest of `spec` into the folder `root`, making the member
    // folders, and returns the folder's full path.
    std::string WriteManifest(const std::string& root, const PackageSpec& spec);
    OrvianComponents::ComponentIdentifier Install(const std::string& root, const PackageSpec& spec);
    OrvianComponents::ComponentIdentifier Update(const std::string& name, const std::string& root,
                                                 const PackageSpec& spec);
    void Remove(const std::string& name);

protected:
    registry::PackageRegistrar& Registrar() { return registry::GetPackageRegistrarForUpdate(); }
    std::vector<std::string> MainFolders() { return Folders(*Manager().GetMainPath()); }

    // What the coordinator reported, one notification per change.
    std::vector<foundation::core::except::Notification> received;
};

}  // namespace tfsp::test
