#include "PackagesTestSupport.hpp"

namespace tfsp::test {

std::vector<std::string> Identifiers(const foundation::core::except::Notification& notification) {
    std::vector<std::string> ids;
    for (const auto& message : notification) ids.push_back(message.getIdentifier());
    return ids;
}

std::vector<std::string> Arguments(const resource_core::BaseMsgID& message) {
    std::vector<std::string> arguments;
    for (const auto& argument : message.getArguments()) arguments.push_back(fl::i18n::ustring_to_utf8(argument));
    return arguments;
}

PackagesFixture::PackagesFixture() {
    OrvianComponents::ComponentFeature::Set(true);
    OrvianComponents::GUPFeature::Set(true);
    InstallPackagesOnPathCoordinator(*foundation::msg_svc::eventmgr::getEngineEventMgr(), Manager(),
                                     [this](const foundation::core::except::Notification& n) {
                                         received.push_back(n);
                                     });
}

std::string PackagesFixture::WriteManifest(const std::string& root, const PackageSpec& spec) {
    std::string text = "# written by the test\nname = " + spec.name + "\nversion = " + spec.version +
                       "\nmanaged = " + (spec.managed ? "true" : "false") +
                       "\non-path = " + (spec.onPath ? "true" : "false") + "\n";
    for (const auto& member : spec.members) {
        tree.folder(root + "/" + member);
        text += "folder = " + member + "\n";
    }
    for (const auto& line : spec.propertyLines) text += "property " + line + "\n";
    tree.file(root + "/" + registry::PackageManifestFileName, text);
    return tree.path(root);
}

OrvianComponents::ComponentIdentifier PackagesFixture::Install(const std::string& root, const PackageSpec& spec) {
    return registry::InstallPackageFromFolder(Registrar(), WriteManifest(root, spec));
}

OrvianComponents::ComponentIdentifier PackagesFixture::Update(const std::string& name, const std::string& root,
                                                              const PackageSpec& spec) {
    return registry::UpdatePackageFromFolder(Registrar(), name, WriteManifest(root, spec));
}

void PackagesFixture::Remove(const std::string& name) { registry::RemoveInstalledPackage(Registrar(), name); }

}  // namespace tfsp::test
