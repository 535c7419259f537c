#pragma once
// The indexed path: an immutable ordered list of entries with the indexes that
// make name queries fast.
//
// Everything is built eagerly, in parallel, inside the constructor, and
// nothing changes afterwards, so queries take no lock. The indexes hold plain
// pointers ("slots") into one flat vector of all entries kept in path order,
// or places in it: comparing two tells which entry stands first. The largest
// index, that of the items' stems, is a class of its own (StemIndex).
#include "SearchPathPublicFunctions.hpp"
#include "StemIndex.hpp"
#include "tfsearch_path/IPath.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <memory>
#include <span>
#include <vector>

namespace Thornfell::PathManagement {

class AsynchronousWorkerQueue;

class Path final : public IPath {
public:
    // An element of `allEntries`; valid while the vector lives, which is as
    // long as the path. Not a share of the entry.
    using EntrySlot = const PathEntryPointer*;
    // Sorted by address, hence in path order.
    using EntrySlotRange = std::span<const EntrySlot>;
    // The other two maps, made where they are built: each entry by its IRI,
    // with the slot of its parent, and the entries by folder name.
    struct PathEntryInfoCacheItem;
    class PathEntryInfoCache;
    class PathEntryBasenameToPathEntriesMap;

    // Builds the flat vector and the indexes, using the oneTBB pool; the
    // caller waits. Exceptions of the build leave no path behind.
    Path(PathEntryVector mainEntries, std::weak_ptr<AsynchronousWorkerQueue> workerQueue,
         foundation::storage::vfs::StorageSystemReference storageSystem);
    // A path of `mainEntries` made from `previous`, which may be dropped
    // afterwards: its stem index is derived from the previous path's.
    Path(const Path& previous, PathEntryVector mainEntries);
    // Hands the maps to the worker queue if it still lives; the entries are
    // released here, on the caller's thread.
    ~Path() override;
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    PathEntryList GetMainEntries() const override;
    PathEntryVector GetMethodEntries() const override;
    PathEntryVector GetMethodEntriesByName(SearchScope scope, const ustring& name,
                                           FilenameMatchingPolicy policy) const override;
    PathEntryVector GetPartiallyMatchingEntries(SearchScope scope, const ustring& partialPathname,
                                                FilenameMatchingPolicy policy) const override;
    PathEntryPointer GetMainEntryForEntry(const IPathEntry& entry) const override;
    PathEntryPointer GetParentEntryForEntry(const IPathEntry& entry) const override;
    PathEntryPointer GetPathEntryFromAbsoluteIRI(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& iri) const override;
    PathEntryPointer GetPathEntryFromAbsoluteIRI(const foundation::storage::vfs::AbsoluteIRI& iri,
                                                 FilenameMatchingPolicy policy) const override;
    boost::optional<FoundItem> FindFirstInScope(SearchScope scope, const detail::SearchTarget& target,
                                                FilenameMatchingPolicy policy) const override;
    FoundItemView FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                       FilenameMatchingPolicy policy) const override;
    std::vector<FoundItem> FindAllInScope(SearchScope scope, const detail::SearchTarget& target,
                                          FilenameMatchingPolicy policy) const override;
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    bool FirstEntryIsBeforeSecondOnPath(const IPathEntry& first, const IPathEntry& second) const override;
    bool IsEntryOnPath(const IPathEntry& entry) const override;

    // Whether this path was derived from another and shares its stem map.
    bool SharesStemMap() const { return stemIndex.SharesMap(); }

private:
    template <class Strategy>
    typename Strategy::Result FindSearchTarget(const SearchScope& scope, const detail::SearchTarget& target,
                                               const FilenameMatchingPolicy& policy) const;
    EntrySlotRange LookUpEntriesByBasename(const ustring& name) const;
    // The slot of the main entry under which `entry` stands; null if the
    // entry isn't on this path.
    EntrySlot FindMainEntrySlot(const IPathEntry& entry) const;
    // The entries in scope whose IRI the entry's own comparison under
    // `policy` takes for `wanted`, in path order.
    PathEntryVector EntriesWithIRIText(SearchScope scope, const foundation::storage::vfs::AbsoluteIRI& wanted,
                                       FilenameMatchingPolicy policy) const;
    const PathEntryInfoCacheItem* FindInfoCacheItem(const foundation::storage::vfs::CanonicalAbsoluteIRI& iri) const;

    std::weak_ptr<AsynchronousWorkerQueue> workerQueue;
    std::shared_ptr<const PathEntryVector> mainEntries;
    std::shared_ptr<const PathEntryVector> allEntries;
    std::unique_ptr<PathEntryInfoCache> pathEntryInfoCache;
    StemIndex stemIndex;
    std::unique_ptr<PathEntryBasenameToPathEntriesMap> pathEntryBasenameToPathEntriesMap;
    foundation::storage::vfs::StorageSystemReference storageSystem;
};

}  // namespace Thornfell::PathManagement
