#include "tfsearch_path/ISearchPathSession.hpp"

#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/PackageRegistry.hpp"

namespace Thornfell::PathManagement {

namespace {

// The fields are declared in the order they are made and end in reverse:
//  - the manager first (ended by hand, so that it is unregistered before it
//    goes): it holds the registry by reference, and its destructor publishes
//    on the instance's bus and releases the monitor and factories kept in the
//    instance's store, so the instance must still be current then;
//  - then the registry, which answers from the registrar of the current
//    instance;
//  - then `current_`, which puts back the instance current before: an
//    instance may not end while it is current on some thread;
//  - the instance last, taking the path factory (and its worker thread), the
//    registrar and the working folder with it.
class SearchPathSession final : public ISearchPathSession {
public:
    SearchPathSession()
        : current_(engine_), registry_([](PathEntryVector entries) {
              return GetCurrentPathFactory().CreatePath(std::move(entries));
          }) {
        // A package's folders become entries through the system's one entry
        // factory, so that a folder on the path and in a package is one entry.
        PackageRegistry::GetPackageRegistrarForUpdate().SetEntryProvider(
            [](const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) {
                return GetPathEntryFactory().GetPathEntry(folder);
            });
    }
    ~SearchPathSession() override { EndManager(); }

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

    foundation::usm::EngineInstance engine_;
    foundation::usm::EngineInstance::MakeCurrent current_;
    OrvianComponents::ModularPackageRegistry registry_;
    std::unique_ptr<IMainSearchPathManager> manager_;
};

} // namespace

std::unique_ptr<ISearchPathSession> CreateSearchPathSession() { return std::make_unique<SearchPathSession>(); }

} // namespace Thornfell::PathManagement
