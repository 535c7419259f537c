#pragma once
// A host for the manager tests: a search path session (its own engine
// instance, package registry and manager) over the fixture's instance.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/ISearchPathSession.hpp"
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
    CanonicalAbsoluteIRI Canonical(const std::string& relative) const {
        return CanonicalAbsoluteIRI(tree.iri(relative), ustring());
    }
    void Cd(const std::string& relative) { session->ChangeWorkingFolder(tree.iri(relative)); }
    // The session's manager, made on first use; a test that makes its own
    // manager answers with that one.
    virtual IMainSearchPathManager& Manager() { return session->GetManager(); }
    // The next Manager() makes a new one, with the feature switches then set.
    void ResetManager() { session->EndManager(); }
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
    // The files that a lookup of `stem` with the extension .tf finds on the
    // search path, in path order, named relative to the tree; FoundFirst
    // gives what FindFirstInScope finds, or "" for nothing.
    std::vector<std::string> FoundAll(const std::string& stem, SearchScope scope = allEntryTypesScope) {
        std::vector<std::string> files;
        for (const FoundItem& found : Manager().GetSearchPath()->FindAllInScope(scope, Target(stem), CaseRuleOne))
            files.push_back(Relative(found));
        return files;
    }
    std::string FoundFirst(const std::string& stem, SearchScope scope = allEntryTypesScope) {
        const auto found = Manager().GetSearchPath()->FindFirstInScope(scope, Target(stem), CaseRuleOne);
        return found ? Relative(*found) : std::string();
    }
    static detail::SearchTarget Target(const std::string& stem) {
        return detail::SearchTarget(fl::i18n::utf8_to_ustring(stem), {u".tf"});
    }
    std::string Relative(const FoundItem& found) const {
        const PathItem& item = *found.GetPathItem();
        return fl::i18n::ustring_to_utf8(item.folderIRI.makePathRelativeTo(tree.iri())) + "/" +
               fl::i18n::ustring_to_utf8(item.FileName());
    }
    // Folders of the tree as the messages name them.
    ustring Text(const std::string& relative) const { return GetStringFromIRI(Canonical(relative)); }
    OrvianComponents::ComponentIdentifier InstallPackage(const std::string& root, bool managed = true,
                                                         const std::string& version = "1.0",
                                                         const std::vector<std::string>& pathFolders = {}) {
        OrvianComponents::ComponentIdentifier id(fl::i18n::utf8_to_ustring(root),
                                                 OrvianComponents::ComponentVersion(version),
                                                 boost::uuids::random_generator()());
        Thornfell::PackageRegistry::PackageDescription package{id, Canonical(root)};
        package.managed = managed;
        for (const auto& folder : pathFolders) package.pathFolders.push_back(Canonical(folder));
        auto& registrar = Thornfell::PackageRegistry::GetPackageRegistrarForUpdate();
        registrar.Install(
            Thornfell::PackageRegistry::PackageRegistryBuilder(*registrar.GetRegistry()).Add(package).Build());
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

    // The session ends before the tree: its manager watches the tree's folders.
    TempTree tree;
    std::unique_ptr<ISearchPathSession> session = CreateSearchPathSession();
    OrvianComponents::IModularPackageRegistry& registry = session->GetPackageRegistry();
};

}  // namespace tfsp::test
