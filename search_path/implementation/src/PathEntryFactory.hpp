#pragma once
// Turns folders into entries, and shares the entries it made while they are
// alive and up to date.
#include "PathCacheReader.hpp"
#include "PathEntry.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <boost/shared_ptr.hpp>
#include <oneapi/tbb/concurrent_hash_map.h>

#include <optional>
#include <shared_mutex>

namespace Thornfell::PathManagement {

class PathEntryFactory final : public IPathEntryFactory {
public:
    // Folders strictly below `installRoot` are frozen; an empty optional means
    // there is no installation, so nothing is frozen by place.
    PathEntryFactory(std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> installRoot,
                     foundation::storage::vfs::StorageSystemReference storageSystem,
                     storage::filefolderobserver::IFileFolderObserverFactory& observerFactory,
                     boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager);
    ~PathEntryFactory() override;

    PathEntryPointer GetPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const override;
    PathEntryPointer GetPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder) const override;
    PathEntryPointer GetFrozenPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const override;
    PathEntryPointer GetFrozenPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder) const override;
    PathEntryPointer CreateUpdatedPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                                            const IFolderMonitor& monitor) const override;
    PathEntryPointer GetMonitoredPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder,
                                           const IFolderMonitor& monitor) const override;
    PathEntryPointer GetFrozenEntryFor(const PathEntryPointer& entry) const override;
    void LoadToolboxCache(std::istream& in, const foundation::storage::vfs::AbsoluteIRI& root) override;
    void WriteToolboxCache(std::ostream& out, const foundation::storage::vfs::AbsoluteIRI& root,
                           foundation::core::except::Notification* leftOut = nullptr) const override;
    std::shared_ptr<const PathEntryVector> GetToolboxEntries() const override;
    foundation::storage::vfs::CanonicalAbsoluteIRI GetCanonicalFolderIRI(
        const foundation::storage::vfs::AbsoluteIRI& folder) const override;
    foundation::storage::vfs::CanonicalAbsoluteIRI GetCanonicalFileIRI(
        const foundation::storage::vfs::AbsoluteIRI& file) const override;

private:
    using WeakEntryMap = tbb::concurrent_hash_map<foundation::storage::vfs::CanonicalAbsoluteIRI,
                                                  std::weak_ptr<const IPathEntry>, IRIHashCompare>;
    using StrongEntryMap = tbb::concurrent_hash_map<foundation::storage::vfs::CanonicalAbsoluteIRI,
                                                    std::shared_ptr<const IPathEntry>, IRIHashCompare>;

    bool IsUnderInstallRoot(const foundation::storage::vfs::AbsoluteIRI& iri) const;
    WeakEntryMap& CacheFor(FolderMonitoringState state) const;
    PathEntryPointer GetByCanonicalRoad(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                                        FolderMonitoringState state) const;
    PathEntryPointer GetByPlainRoad(const foundation::storage::vfs::AbsoluteIRI& folder,
                                    FolderMonitoringState state) const;
    PathEntryPointer BuildEntry(const foundation::storage::vfs::Folder& folder, FolderMonitoringState state) const;
    PathEntry::Children ListChildren(const foundation::storage::vfs::Folder& folder,
                                     const foundation::storage::vfs::CanonicalAbsoluteIRI& canonical,
                                     PathEntryType type, FolderMonitoringState state) const;
    std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> MakeObserver(
        const foundation::storage::vfs::Folder& folder, FolderMonitoringState state) const;
    void OnEntryDestroyed(const foundation::msg_svc::eventmgr::BaseEvent& event);

    // The toolbox cache: one open folder element of a load.
    struct CacheFrame;
    // The load's task for one top-level folder of the file.
    void LoadCachedFolder(PathCacheReader::FolderContents& contents,
                          const foundation::storage::vfs::CanonicalAbsoluteIRI& root,
                          const foundation::storage::vfs::PathComparator& comparator) const;
    PathEntryPointer BuildCachedEntry(PathCacheReader::FolderContents& contents, std::vector<CacheFrame>& frames,
                                      const foundation::storage::vfs::CanonicalAbsoluteIRI& root,
                                      const foundation::storage::vfs::PathComparator& comparator) const;
    // Keeps a main entry alive in toolboxEntries; the caller holds
    // toolboxEntriesLock in shared mode.
    void StoreToolboxEntry(const PathEntryPointer& entry) const;

    const std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> installRoot;
    const foundation::storage::vfs::StorageSystemReference storageSystem;
    storage::filefolderobserver::IFileFolderObserverFactory& observerFactory;
    const boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
    mutable WeakEntryMap monitoredEntries;
    mutable WeakEntryMap frozenEntries;
    mutable StrongEntryMap toolboxEntries;
    mutable std::shared_mutex toolboxEntriesLock;
    foundation::msg_svc::eventmgr::ScopedConnection entryDestroyedConnection;
};

// Files a child by its own type, or in the slot of `kind`; a kind that is no
// child's (Main) is fatal.
void PushChildEntryToCurrentPathEntry(PathEntry::Children& children, const PathEntryPointer& child);
void PushChildEntryToCurrentPathEntry(PathEntry::Children& children, const PathEntryPointer& child, PathEntryType kind);

// Writes `entry`, a main folder, and the folders below it as a top-level
// element of the toolbox cache, names relative to `root`. Writes nothing
// when the file can't hold them, and says why in `leftOut`, if given.
void WriteToolboxCacheFolder(std::ostream& out, const IPathEntry& entry,
                             const foundation::storage::vfs::CanonicalAbsoluteIRI& root,
                             const fl::i18n::codecvt_ustring_to_string& toUtf8,
                             foundation::core::except::Notification* leftOut);

// The kinds of child folder that a folder of `type` may hold, in order.
const std::vector<PathEntryType>& GetValidChildEntryTypesForEntryType(PathEntryType type);

// The type of a folder: its base name's type, except that an "@" folder in
// an "@" folder is a UDD class.
PathEntryType GetFolderEntryType(const foundation::storage::vfs::Folder& folder);

}  // namespace Thornfell::PathManagement
