// The session's package commands: the registry of the engine instance
// changes, and the path follows it through the packages-on-path coordinator,
// whose messages print like every other message.
//   package install DIR        the package whose manifest is in DIR
//   package update NAME DIR    NAME (or NAME@VERSION) replaced by the package in DIR
//   package remove NAME
//   package list [--json]      name, version, managed, on the path or not, root
#include "PackageCommand.hpp"

#include "JsonText.hpp"

#include "tfsearch_path/PackagesOnPathCoordinator.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/PackageInstallation.hpp"

namespace tfpath {

using namespace Thornfell::PathManagement;
namespace registry = Thornfell::PackageRegistry;

namespace {

using Words = std::vector<std::string>;

std::string IdentifierText(const OrvianComponents::ComponentIdentifier& id) {
    return fl::i18n::ustring_to_utf8(id.GetName()) + "@" + id.GetVersion().toString();
}

// [{"name", "version", "managed", "onPath", "folder"}], the folder being
// the package's root; as text, one package a line.
void ListPackages(ScriptSession& session, bool json) {
    const auto installed = registry::GetPackageRegistrar().GetRegistry();
    const auto mainPath = session.manager().GetMainPath();
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    const auto ids = installed->GetPackages(nullptr);
    for (const auto& id : *ids) {
        const auto package = installed->GetPackage(id);
        list.push_back({{"name", fl::i18n::ustring_to_utf8(id.GetName())},
                        {"version", id.GetVersion().toString()},
                        {"managed", package->IsManaged()},
                        {"onPath", mainPath->GetPathEntryFromAbsoluteIRI(package->GetRoot()) != nullptr},
                        {"folder", fl::i18n::ustring_to_utf8(GetStringFromIRI(package->GetRoot()))}});
    }
    if (json) {
        session.out() << JsonText(list, 2) << "\n";
        return;
    }
    for (const auto& package : list)
        session.out() << "package " << package["name"].get<std::string>() << " "
                      << package["version"].get<std::string>()
                      << (package["managed"].get<bool>() ? " managed" : " unmanaged")
                      << (package["onPath"].get<bool>() ? " on-path " : " off-path ")
                      << package["folder"].get<std::string>() << "\n";
}

// One change of the registry. A refused change leaves registry and path as
// they were; a failure of the path to follow leaves the path as it was.
void ChangeRegistry(ScriptSession& session, const std::string& done,
                    const std::function<OrvianComponents::ComponentIdentifier(registry::PackageRegistrar&)>& change) {
    // The host installs the coordinator once; later calls keep the first.
    InstallPackagesOnPathCoordinator(*foundation::msg_svc::eventmgr::getEngineEventMgr(), session.manager(),
                                     [&session](const foundation::core::except::Notification& n) {
                                         session.Report(n);
                                     });
    OrvianComponents::ComponentIdentifier id(u"", {}, {});
    try {
        id = change(registry::GetPackageRegistrarForUpdate());
    } catch (const registry::PackageInstallationException& e) {
        throw SessionError(e.what());
    } catch (const SessionError&) {
        throw;
    } catch (const std::exception& e) {
        throw SessionError(std::string("the path could not follow the package registry: ") + e.what());
    }
    session.out() << "package " << done << " " << IdentifierText(id) << "\n";
}

void PackageCommand(ScriptSession& session, Words words) {
    const bool json = TakeFlag(words, "--json");
    RefuseOptions(words, "package");
    const std::string sub = words.empty() ? "" : words[0];
    if (json && sub != "list") throw SessionError("package " + sub + ": unknown option '--json'");
    const auto expect = [&](std::size_t count, const std::string& usage) {
        if (words.size() != count + 1) throw SessionError("usage: package " + sub + usage);
    };
    if (sub == "install") {
        expect(1, " DIR");
        const std::string folder = session.NativePath(words[1]);
        ChangeRegistry(session, "installed", [&](auto& r) { return registry::InstallPackageFromFolder(r, folder); });
    } else if (sub == "update") {
        expect(2, " NAME DIR");
        const std::string folder = session.NativePath(words[2]);
        ChangeRegistry(session, "updated to",
                       [&](auto& r) { return registry::UpdatePackageFromFolder(r, words[1], folder); });
    } else if (sub == "remove") {
        expect(1, " NAME");
        ChangeRegistry(session, "removed", [&](auto& r) { return registry::RemoveInstalledPackage(r, words[1]); });
    } else if (sub == "list") {
        expect(0, " [--json]");
        ListPackages(session, json);
    } else {
        throw SessionError("package: expected install, update, remove or list");
    }
}

}  // namespace

void AddPackageSessionCommands(SessionCommandTable& table) {
    table["package"] = {PackageCommand,
                        {{"package install DIR", "the package whose package.manifest is in DIR"},
                         {"package update NAME[@VERSION] DIR", "replaced by the package in DIR"},
                         {"package remove NAME[@VERSION]", "the package uninstalled"},
                         {"package list [--json]", "name, version, managed, on the path or not, root"}}};
}

}  // namespace tfpath
