#include "SearchPathSession.hpp"

#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/PackageRegistry.hpp"

namespace Thornfell::PathManagement {

namespace {

// The registry and the manager of the instance current on this thread. The
// manager is ended first, by hand, so that it is unregistered before it goes:
// it holds the registry by reference, and its destructor publishes on the
// instance's bus and releases the monitor and factories kept in the
// instance's store, so the instance must still be current then. The registry
// answers from the registrar of the current instance.
class SessionOfCurrentInstance final : public ISearchPathSession {
public:
    SessionOfCurrentInstance()
        : registry_([](PathEntryVector entries) { return GetCurrentPathFactory().CreatePath(std::move(entries)); }) {
        // A package's folders become entries through the system's one entry
        // factory, so that a folder on the path and in a package is one entry.
        PackageRegistry::GetPackageRegistrarForUpdate().SetEntryProvider(
            [](const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) {
                return GetPathEntryFactory().GetPathEntry(folder);
            });
    }
    ~SessionOfCurrentInstance() override { EndManager(); }

    IMainSearchPathManager& GetManager() override {
        if (!manager_) {
            manager_ = CreateMainSearchPathManager(foundation::msg_svc::eventmgr::getEngineEventMgr(), registry_);
            SetMainSearchPathManager(manager_.get());
        }
        return *manager_;
    }

    void EndManager() override {
        if (!manager_) return;
        SetMainSearchPathManager(nullptr);
        manager_.reset();
    }

    OrvianComponents::IModularPackageRegistry& GetPackageRegistry() override { return registry_; }

    foundation::core::except::Notification SetPathFolders(const FolderRange& folders) override {
        return SetPathFoldersOf(folders);
    }
    foundation::core::except::Notification SetPathFolders(const CanonicalFolderRange& folders) override {
        return SetPathFoldersOf(folders);
    }

    void ChangeWorkingFolder(const foundation::storage::vfs::AbsoluteIRI& folder) override {
        current_working_folder::GetCurrentWorkingFolder().set(folder);
    }

private:
    template <class Range>
    foundation::core::except::Notification SetPathFoldersOf(const Range& folders) {
        foundation::core::except::Notification notification;
        GetManager().SetPathFolders(folders, notification);
        return notification;
    }

    OrvianComponents::ModularPackageRegistry registry_;
    std::unique_ptr<IMainSearchPathManager> manager_;
};

// A session with an instance of its own, current on the creating thread. The
// fields end in reverse: the session first, then `current_`, which puts back
// the instance current before (an instance may not end while it is current on
// some thread), the instance last, taking the path factory (and its worker
// thread), the registrar and the working folder with it.
class SearchPathSession final : public ISearchPathSession {
public:
    SearchPathSession() : current_(engine_) {}

    IMainSearchPathManager& GetManager() override { return session_.GetManager(); }
    void EndManager() override { session_.EndManager(); }
    OrvianComponents::IModularPackageRegistry& GetPackageRegistry() override { return session_.GetPackageRegistry(); }
    foundation::core::except::Notification SetPathFolders(const FolderRange& folders) override {
        return session_.SetPathFolders(folders);
    }
    foundation::core::except::Notification SetPathFolders(const CanonicalFolderRange& folders) override {
        return session_.SetPathFolders(folders);
    }
    void ChangeWorkingFolder(const foundation::storage::vfs::AbsoluteIRI& folder) override {
        session_.ChangeWorkingFolder(folder);
    }

private:
    foundation::usm::EngineInstance engine_;
    foundation::usm::EngineInstance::MakeCurrent current_;
    SessionOfCurrentInstance session_;
};

}  // namespace

std::unique_ptr<ISearchPathSession> CreateSearchPathSession() { return std::make_unique<SearchPathSession>(); }

std::unique_ptr<ISearchPathSession> CreateSearchPathSessionOfCurrentInstance() {
    return std::make_unique<SessionOfCurrentInstance>();
}

}  // namespace Thornfell::PathManagement
