#pragma once
// The indexed path: an immutable ordered list of entries with the indexes that
// make name queries fast.
//
// Everything is built eagerly, in parallel, inside the constructor, and
// nothing changes afterwards, so queries take no lock. The indexes hold plain
// pointers ("slots") into one flat vector of all entries kept in path order:
// comparing two slots tells which entry stands first. A path made to replace
// another that differs from it in a few entries shares that path's stem map,
// the largest index, and keeps what changed in a small overlay.
#include "SearchPathPublicFunctions.hpp"
#include "tfsearch_path/IPath.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <boost/container/small_vector.hpp>
#include <oneapi/tbb/concurrent_hash_map.h>
#include <oneapi/tbb/tbb_allocator.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <span>
#include <utility>
#include <vector>

namespace Thornfell::PathManagement {

class AsynchronousWorkerQueue;

// The maps take their memory from the scalable allocator.
template <class T>
using PathMapAllocator = tbb::tbb_allocator<T>;

// The allocator of the maps with 32-bit sizes, for the slot lists: a list
// then keeps its size and capacity in 8 bytes instead of 16, and every node
// of the stem map, one for each distinct stem of the path, is 8 bytes
// smaller. No name is held by four billion folders.
template <class T>
struct SlotListAllocator : PathMapAllocator<T> {
    using size_type = std::uint32_t;
    using difference_type = std::int32_t;
    template <class U>
    struct rebind {
        using other = SlotListAllocator<U>;
    };
    SlotListAllocator() = default;
    template <class U>
    SlotListAllocator(const SlotListAllocator<U>&) noexcept {}
};

// The allocator of the stem map. Its nodes and buckets come from one arena,
// which the map's allocators share, a bump of a pointer each, and go back
// all at once when the last of them goes; nothing is given back one by one.
// The worker thread frees the map, and memory freed there piece by piece
// would come back to the next build's thread one line at a time, each last
// written on the other core: the arena spares the build that walk.
template <class T>
class StemMapAllocator {
public:
    using value_type = T;
    explicit StemMapAllocator(std::shared_ptr<std::pmr::memory_resource> arena) noexcept : arena_(std::move(arena)) {}
    template <class U>
    StemMapAllocator(const StemMapAllocator<U>& other) noexcept : arena_(other.arena()) {}

    T* allocate(std::size_t count) { return static_cast<T*>(arena_->allocate(count * sizeof(T), alignof(T))); }
    void deallocate(T*, std::size_t) noexcept {}
    const std::shared_ptr<std::pmr::memory_resource>& arena() const noexcept { return arena_; }

    template <class U>
    bool operator==(const StemMapAllocator<U>& other) const noexcept {
        return arena_ == other.arena();
    }

private:
    std::shared_ptr<std::pmr::memory_resource> arena_;
};

class Path final : public IPath {
public:
    // An element of `allEntries`; valid while the vector lives, which is as
    // long as the path. Not a share of the entry.
    using EntrySlot = const PathEntryPointer*;
    // Sorted by address, hence in path order. Room for one slot inline: most
    // names are held by one folder.
    using EntrySlotList = boost::container::small_vector<EntrySlot, 1, SlotListAllocator<EntrySlot>>;
    using EntrySlotRange = std::span<const EntrySlot>;
    // Where a stem stands: the place of an entry in `allEntries`, and the
    // place of the stem's first item in that entry's items, so that a query
    // goes straight to them instead of searching the items, and whether that
    // item is the only one of its stem, so that it needn't look at the next.
    // They take the 8 bytes of one slot.
    struct StemHolder {
        std::uint32_t entry;
        std::uint32_t firstItem : 31;
        std::uint32_t soleItem : 1;
    };
    // Sorted by entry, hence in path order; room for one inline, as above.
    using StemHolderList = boost::container::small_vector<StemHolder, 1, SlotListAllocator<StemHolder>>;
    using StemHolderRange = std::span<const StemHolder>;

    struct PathEntryInfoCacheItem {
        PathEntryPointer entry;
        // The slot of the entry through which this one was reached; a main
        // entry's own slot, so that it counts as having no parent.
        EntrySlot parentSlot = nullptr;
    };

    // A looked-up stem with its hash, so that the stem map and the overlay
    // of a derived path are asked with one hashing.
    struct HashedView {
        ustring_view text;
        std::size_t hash;
    };
    // A multiplicative hash of the code units, four at a time. Lookups may pass a
    // view, so that a name needn't be copied into a string to be found, or a
    // view hashed already.
    struct UstringHashCompare {
        using is_transparent = void;
        static std::size_t hash(ustring_view text);
        static std::size_t hash(const HashedView& key) { return key.hash; }
        static bool equal(ustring_view a, ustring_view b) { return sameText(a, b); }
        static bool equal(const HashedView& a, ustring_view b) { return sameText(a.text, b); }
    };
    // A stem with its hash, worked out by the build while the stem's item is
    // at hand: inserting it then reads no item but those it meets in its
    // bucket. It becomes the map's key, the bare pointer.
    struct HashedStem {
        const ustring* stem;
        std::size_t hash;
        operator const ustring*() const { return stem; }
    };
    // Keys are pointers to the normalized stems inside the items; they hash
    // and compare as the strings they point to, never by address.
    struct IndirectUstringHashCompare {
        using is_transparent = void;
        static std::size_t hash(const ustring* text) { return UstringHashCompare::hash(*text); }
        static std::size_t hash(const HashedStem& key) { return key.hash; }
        static std::size_t hash(const HashedView& key) { return key.hash; }
        static bool equal(const ustring* a, const ustring* b) { return sameText(*a, *b); }
        static bool equal(const HashedStem& a, const ustring* b) { return sameText(*a.stem, *b); }
        static bool equal(const HashedView& a, const ustring* b) { return sameText(a.text, *b); }
    };

    using PathEntryInfoCache =
        tbb::concurrent_hash_map<foundation::storage::vfs::CanonicalAbsoluteIRI, PathEntryInfoCacheItem, IRIHashCompare,
                                 PathMapAllocator<std::pair<const foundation::storage::vfs::CanonicalAbsoluteIRI,
                                                            PathEntryInfoCacheItem>>>;
    using PathItemStemToPathEntryMap =
        tbb::concurrent_hash_map<const ustring*, StemHolderList, IndirectUstringHashCompare,
                                 StemMapAllocator<std::pair<const ustring* const, StemHolderList>>>;
    using PathEntryBasenameToPathEntriesMap =
        tbb::concurrent_hash_map<ustring, EntrySlotList, UstringHashCompare,
                                 PathMapAllocator<std::pair<const ustring, EntrySlotList>>>;
    // What a path derived from another changes of the stem map that it
    // shares with it: the holders of every stem that a changed entry held
    // before or holds now (none for a stem no longer held), which stand
    // instead of the map's, and the items of the entries gone since the map
    // was built, whose stems the map's keys may still point at.
    struct StemOverlay {
        using Holders = tbb::concurrent_hash_map<ustring, StemHolderList, UstringHashCompare,
                                                 PathMapAllocator<std::pair<const ustring, StemHolderList>>>;
        Holders holders;
        // One bit for each stem's hash, so that a lookup of a stem the
        // overlay hasn't got mostly stops at one bit.
        std::bitset<4096> hashBits;
        std::vector<std::shared_ptr<const PathItemVector>> retainedItems;

        static std::size_t HashBit(std::size_t hash) { return hash >> 52; }
    };

    // Builds the flat vector and the three maps, using the oneTBB pool; the
    // caller waits. Exceptions of the build leave no path behind.
    Path(PathEntryVector mainEntries, std::weak_ptr<AsynchronousWorkerQueue> workerQueue,
         foundation::storage::vfs::StorageSystemReference storageSystem);
    // A path of `mainEntries` made from `previous`, which may be dropped
    // afterwards. Where few entries differ from the previous path's, it
    // shares that path's stem map and keeps the stems of the changed entries
    // in an overlay: a refresh that rereads one folder then doesn't index
    // every file of the path again. Where many differ, it is built like any
    // other path.
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
    PathEntryPointer GetPathEntryFromAbsoluteIRI(const foundation::storage::vfs::CanonicalAbsoluteIRI& iri) const override;
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
    bool SharesStemMap() const { return stemOverlay != nullptr; }

private:
    // Shares the stem map of `previous`, with an overlay for what changed, or
    // builds one where too much did.
    void ShareOrBuildStemMap(const Path& previous);
    template <class Strategy>
    typename Strategy::Result FindSearchTarget(const SearchScope& scope, const detail::SearchTarget& target,
                                               const FilenameMatchingPolicy& policy) const;
    StemHolderRange LookUpEntriesByStem(ustring_view normalizedStem) const;
    StemHolderRange LookUpEntriesByStem(const HashedView& normalizedStem) const;
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
    // Shared with the paths derived from this one, and with the one this was
    // derived from.
    std::shared_ptr<const PathItemStemToPathEntryMap> pathItemStemToPathEntryMap;
    // Null for a path built from its entries alone.
    std::unique_ptr<const StemOverlay> stemOverlay;
    std::unique_ptr<PathEntryBasenameToPathEntriesMap> pathEntryBasenameToPathEntriesMap;
    foundation::storage::vfs::StorageSystemReference storageSystem;
};

} // namespace Thornfell::PathManagement
