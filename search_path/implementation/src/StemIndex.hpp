#pragma once
// The stem index of a path: for each normalized stem of the items of the
// path's entries, the entries that hold it, in path order. Immutable once
// made, so queries take no lock. An index made to replace another that
// differs from it in a few entries shares that index's map, the largest
// structure of a path, and keeps what changed in a small overlay.
#include "tfsearch_path/IPathEntry.hpp"

#include <boost/container/small_vector.hpp>
#include <oneapi/tbb/tbb_allocator.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Thornfell::PathManagement {

// The maps of a path take their memory from the scalable allocator.
template <class T>
using PathMapAllocator = tbb::tbb_allocator<T>;

// The allocator of the maps with 32-bit sizes, for the lists of slots and
// holders: a list then keeps its size and capacity in 8 bytes instead of 16,
// and every node of the stem map, one for each distinct stem of the path, is
// 8 bytes smaller. No name is held by four billion folders.
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

// A looked-up name with its hash, so that the stem map and the overlay of a
// derived index are asked with one hashing.
struct HashedView {
    ustring_view text;
    std::size_t hash;
};

// The hash of the path's maps: a multiplicative hash of the code units, four
// at a time. Lookups may pass a view, so that a name needn't be copied into
// a string to be found, or a view hashed already.
struct UstringHashCompare {
    using is_transparent = void;
    static std::size_t hash(ustring_view text);
    static std::size_t hash(const HashedView& key) { return key.hash; }
    static bool equal(ustring_view a, ustring_view b) { return sameText(a, b); }
    static bool equal(const HashedView& a, ustring_view b) { return sameText(a.text, b); }
};

class StemIndex {
public:
    // Where a stem stands: the place of an entry in the path's flat vector,
    // and the place of the stem's first item in that entry's items, so that
    // a query goes straight to them instead of searching the items, and
    // whether that item is the only one of its stem, so that it needn't look
    // at the next. They take the 8 bytes of one pointer.
    struct Holder {
        std::uint32_t entry;
        std::uint32_t firstItem : 31;
        std::uint32_t soleItem : 1;
    };
    // Sorted by entry, hence in path order, one holder for each entry. Room
    // for one inline: most names are held by one folder.
    using HolderList = boost::container::small_vector<Holder, 1, SlotListAllocator<Holder>>;
    using HolderRange = std::span<const Holder>;

    // The index of `entries`, a path's entries in path order (all of them,
    // each main entry followed by those below it), built on the oneTBB pool;
    // the caller waits. The index points at the stems inside the entries'
    // items: they must outlive it, as they do while the path holds its
    // entries.
    explicit StemIndex(const PathEntryVector& entries);
    // The index of `entries` made from `previous`, the index of
    // `previousEntries`, which may both be dropped afterwards. Where few
    // places hold another entry than before, it shares the previous index's
    // map and keeps the stems of the changed places in an overlay (and the
    // items of the entries gone, whose stems the map may still point at): a
    // refresh that rereads one folder then doesn't index every file of the
    // path again. Where many do, it is built like any other index.
    StemIndex(const StemIndex& previous, const PathEntryVector& previousEntries, const PathEntryVector& entries);
    ~StemIndex();
    StemIndex(const StemIndex&) = delete;
    StemIndex& operator=(const StemIndex&) = delete;

    // The holders of a stem (PathItem::Normalize of a name); empty for a
    // stem that no entry holds. Valid while the index lives.
    HolderRange Holders(ustring_view normalizedStem) const;
    HolderRange Holders(const HashedView& normalizedStem) const;

    // Whether this index was derived from another and shares its map.
    bool SharesMap() const { return overlay != nullptr; }

    // The map, given up to be freed wherever the caller likes; the index
    // answers nothing afterwards.
    std::shared_ptr<const void> TakeMap() { return std::move(map); }

private:
    class Map;
    struct Overlay;

    static std::unique_ptr<const Map> BuildMap(const PathEntryVector& entries);
    // The overlay of an index of `after` that shares the map of `previous`,
    // the index of `before`; `changed` tells the places that differ.
    static std::unique_ptr<const Overlay> DeriveOverlay(const StemIndex& previous, const PathEntryVector& before,
                                                        const PathEntryVector& after, const std::vector<bool>& changed);

    // Shared with the indexes derived from this one, and with the one this
    // was derived from.
    std::shared_ptr<const Map> map;
    // Null for an index built from its entries alone.
    std::unique_ptr<const Overlay> overlay;
};

}  // namespace Thornfell::PathManagement
