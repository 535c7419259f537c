#pragma once
// A manager made with factories and a folder monitor that record what the
// manager asks of them, and can be told to fail where the disk can't be
// made to.
#include "ManagerTestSupport.hpp"

#include "CurrentFolderPathManagerFactory.hpp"
#include "FolderMonitor.hpp"
#include "MainSearchPathManager.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tfsp::test {

inline storage::filefolderobserver::IFileFolderObserverFactory& Observers() {
    return storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
}

// The process's entry factory, with a record of the folders read again and
// of the change handle warning in force meanwhile. A folder in `vanishing`
// is gone by the time it is read again, whatever the disk said when asked
// before; one in `unresolvable` has no canonical name.
class RecordingEntryFactory final : public IPathEntryFactory {
public:
    using AbsoluteIRI = foundation::storage::vfs::AbsoluteIRI;

    PathEntryPointer GetPathEntry(const CanonicalAbsoluteIRI& folder) const override {
        return real.GetPathEntry(folder);
    }
    PathEntryPointer GetPathEntry(const AbsoluteIRI& folder) const override { return real.GetPathEntry(folder); }
    PathEntryPointer GetFrozenPathEntry(const CanonicalAbsoluteIRI& folder) const override {
        return real.GetFrozenPathEntry(folder);
    }
    PathEntryPointer GetFrozenPathEntry(const AbsoluteIRI& folder) const override {
        return real.GetFrozenPathEntry(folder);
    }
    PathEntryPointer CreateUpdatedPathEntry(const CanonicalAbsoluteIRI& folder,
                                            const IFolderMonitor& monitor) const override {
        {
            std::lock_guard lock(mutex);  // a refresh reads folders on the pool
            warningsWhileReading[fl::i18n::ustring_to_utf8(folder.getName())].insert(
                Observers().GetChangeHandleWarning());
        }
        if (vanishing.count(folder.getPath())) NotFound(folder);
        return real.CreateUpdatedPathEntry(folder, monitor);
    }
    PathEntryPointer GetMonitoredPathEntry(const AbsoluteIRI& folder, const IFolderMonitor& monitor) const override {
        return real.GetMonitoredPathEntry(folder, monitor);
    }
    PathEntryPointer GetFrozenEntryFor(const PathEntryPointer& entry) const override {
        return real.GetFrozenEntryFor(entry);
    }
    void LoadToolboxCache(std::istream& in, const AbsoluteIRI& root) override { real.LoadToolboxCache(in, root); }
    void WriteToolboxCache(std::ostream& out, const AbsoluteIRI& root,
                           foundation::core::except::Notification* leftOut) const override {
        real.WriteToolboxCache(out, root, leftOut);
    }
    std::shared_ptr<const PathEntryVector> GetToolboxEntries() const override { return real.GetToolboxEntries(); }
    CanonicalAbsoluteIRI GetCanonicalFolderIRI(const AbsoluteIRI& folder) const override {
        if (unresolvable.count(folder.getPath())) NotFound(folder);
        return real.GetCanonicalFolderIRI(folder);
    }
    CanonicalAbsoluteIRI GetCanonicalFileIRI(const AbsoluteIRI& file) const override {
        return real.GetCanonicalFileIRI(file);
    }

    IPathEntryFactory& real = GetPathEntryFactory();
    std::set<ustring> vanishing;     // generic paths
    std::set<ustring> unresolvable;  // generic paths
    mutable std::mutex mutex;
    // The warning in force at each reading, by the folders' base names.
    mutable std::map<std::string, std::set<int>> warningsWhileReading;

private:
    [[noreturn]] static void NotFound(const AbsoluteIRI& folder) {
        throw foundation::storage::vfs::Exception(foundation::storage::vfs::ErrorCode::NotFound, folder.getPath(),
                                                  "gone");
    }
};

// The engine's path factory, with a record of the entries of each path it
// made; it knows nothing of making a path from the one before.
class RecordingPathFactory final : public IPathFactory {
public:
    std::shared_ptr<const IPath> CreatePath(PathEntryVector mainEntries) const override {
        made.push_back(mainEntries);
        return GetCurrentPathFactory().CreatePath(std::move(mainEntries));
    }
    mutable std::vector<PathEntryVector> made;
};

// A real folder monitor, with a record of the folders unfrozen and of the
// paths it was given; it refuses to unfreeze a folder in `refusing`, as it
// does for a folder of a package.
class RecordingFolderMonitor final : public IFolderMonitor {
public:
    FolderMonitoringState GetFolderMonitoringState(const CanonicalAbsoluteIRI& folder) const override {
        return real.GetFolderMonitoringState(folder);
    }
    FolderMonitoringState GetParentFolderMonitoringState(const CanonicalAbsoluteIRI& folder) const override {
        return real.GetParentFolderMonitoringState(folder);
    }
    void FreezeFolder(const CanonicalAbsoluteIRI& folder) override { real.FreezeFolder(folder); }
    void UnfreezeFolder(const CanonicalAbsoluteIRI& folder) override {
        unfrozen.push_back(folder);
        if (refusing.count(folder.getPath())) throw PackageFolderMonitoringChangeException(folder);
        real.UnfreezeFolder(folder);
    }
    void SetPath(std::shared_ptr<const IPath> path) override {
        paths.push_back(path);
        real.SetPath(std::move(path));
    }

    FolderMonitor real{std::nullopt, GetCurrentPathFactory().CreatePath({}),
                       Thornfell::PackageRegistry::GetPackageRegistrar()};
    std::set<ustring> refusing;  // generic paths
    std::vector<CanonicalAbsoluteIRI> unfrozen;
    std::vector<std::shared_ptr<const IPath>> paths;
};

class InjectedManagerFixture : public ManagerFixture {
protected:
    // The manager refers to the factories and the monitor: it goes first.
    ~InjectedManagerFixture() override { manager.reset(); }
    void Make(MainSearchPathManager::PackagesFeaturePhase phase = MainSearchPathManager::Off) {
        auto events = foundation::msg_svc::eventmgr::getEngineEventMgr();
        manager = std::make_unique<MainSearchPathManager>(
            events, registry, entries, paths,
            std::make_unique<CurrentFolderPathManagerFactory>(events, registry, entries, paths, monitor),
            FollowCurrentFolder, monitor, phase);
    }
    IMainSearchPathManager& Manager() override { return *manager; }

    RecordingEntryFactory entries;
    RecordingPathFactory paths;
    RecordingFolderMonitor monitor;
    std::unique_ptr<IMainSearchPathManager> manager;
};

}  // namespace tfsp::test
