#pragma once
// A host for the manager tests: an engine instance, a package registry, a
// working folder and a manager made as a host makes them.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathManagerEvents.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/uuid/random_generator.hpp>
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

class ManagerFixture : public EngineFixture {
protected:
    ManagerFixture() {
        Thornfell::PackageRegistry::GetPackageRegistrarForUpdate().SetEntryProvider(
            [](const CanonicalAbsoluteIRI& folder) { return GetPathEntryFactory().GetPathEntry(folder); });
    }
    ~ManagerFixture() override { manager.reset(); }

    CanonicalAbsoluteIRI Canonical(const std::string& relative) const { return CanonicalAbsoluteIRI(tree.iri(relative), ustring()); }
    void Cd(const std::string& relative) { Thornfell::current_working_folder::GetCurrentWorkingFolder().set(tree.iri(relative)); }
    IMainSearchPathManager& Manager() {
        if (!manager) manager = CreateMainSearchPathManager(foundation::msg_svc::eventmgr::getEngineEventMgr(), registry);
        return *manager;
    }
    foundation::core::except::Notification SetPath(const std::vector<std::string>& folders) {
        std::vector<CanonicalAbsoluteIRI> iris;
        for (const auto& folder : folders) iris.push_back(Canonical(folder));
        foundation::core::except::Notification notification;
        Manager().SetPathFolders(CanonicalFolderRange(iris), notification);
        return notification;
    }
    // The main entries of a path, as folder names relative to the tree.
    std::vector<std::string> Folders(const IPath& path) const {
        std::vector<std::string> names;
        for (const auto& entry : *path.GetMainEntries())
            names.push_back(fl::i18n::ustring_to_utf8(entry->GetIRI().makePathRelativeTo(tree.iri())));
        return names;
    }
    std::vector<std::string> Names(const PathEntryVector& entries) const {
        std::vector<std::string> names;
        for (const auto& entry : entries)
            names.push_back(fl::i18n::ustring_to_utf8(entry->GetIRI().makePathRelativeTo(tree.iri())));
        return names;
    }
    // Folders of the tree as the messages name them.
    ustring Text(const std::string& relative) const { return GetStringFromIRI(Canonical(relative)); }
    OrvianComponents::ComponentIdentifier InstallPackage(const std::string& root, bool managed = true,
                                                         const std::string& version = "1.0",
                                                         const std::vector<std::string>& pathFolders = {}) {
        OrvianComponents::ComponentIdentifier id(fl::i18n::utf8_to_ustring(root), OrvianComponents::ComponentVersion(version),
                                                 boost::uuids::random_generator()());
        Thornfell::PackageRegistry::PackageDescription package{id, Canonical(root)};
        package.managed = managed;
        for (const auto& folder : pathFolders) package.pathFolders.push_back(Canonical(folder));
        auto& registrar = Thornfell::PackageRegistry::GetPackageRegistrarForUpdate();
        registrar.Install(Thornfell::PackageRegistry::PackageRegistryBuilder(*registrar.GetRegistry()).Add(package).Build());
        return id;
    }

    // The stages of PathChangeEvent as they are published; `onEvent` runs
    // inside each, as a subscriber of the bus.
    struct ChangeLog {
        explicit ChangeLog(std::function<void(const PathChangeEvent&)> onEvent = {})
            : connection(foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
                  PathChangeEvent::TypeName(), [this, onEvent](const foundation::msg_svc::eventmgr::BaseEvent& e) {
                      const auto& event = static_cast<const PathChangeEvent&>(e);
                      events.push_back(event);
                      if (onEvent) onEvent(event);
                  })) {}
        std::vector<PathChangeEvent::Stage> Stages() const {
            std::vector<PathChangeEvent::Stage> stages;
            for (const auto& event : events) stages.push_back(event.GetStage());
            return stages;
        }
        std::vector<PathChangeEvent> events;
        foundation::msg_svc::eventmgr::ScopedConnection connection;
    };
    static constexpr PathChangeEvent::Stage kAllStages[] = {PathChangeEvent::BeforeChange, PathChangeEvent::AfterChange,
                                                            PathChangeEvent::AfterChangeNotified};

    TempTree tree;
    OrvianComponents::ModularPackageRegistry registry{
        [](PathEntryVector entries) { return GetCurrentPathFactory().CreatePath(std::move(entries)); }};
    std::unique_ptr<IMainSearchPathManager> manager;
};

} // namespace tfsp::test
