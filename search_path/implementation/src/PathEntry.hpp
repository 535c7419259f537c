#pragma once
// The entry of a folder that was read: an immutable snapshot of its files
// (sorted), its child entries by kind, three name matchers and the observer
// that tells whether the folder has changed since.
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/IPathEntry.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "fl/ustring.hpp"
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <boost/container/small_vector.hpp>
#include <boost/shared_ptr.hpp>

#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>

namespace Thornfell::PathManagement {

// Aligned to a cache line, so that the fields a query reads first share one.
class alignas(64) PathEntry final : public IPathEntry, public std::enable_shared_from_this<PathEntry> {
public:
    // The folders below an entry, filed by kind.
    struct Children {
        PathEntryVector packages{};
        PathEntryVector methods{};
        PathEntryVector uddClasses{};
        PathEntryPointer privateEntry{};
        PathEntryPointer resourcesEntry{};
    };
    // What an entry is made of, by name. The first three are always given;
    // any other field left out is empty. `Items` is PathItemVector, items in
    // any order, or SortedItems, items in PathItemLess order already (never
    // null).
    using SortedItems = std::shared_ptr<const PathItemVector>;
    template <class Items>
    struct BasicParts {
        foundation::storage::vfs::CanonicalAbsoluteIRI iri;
        ustring descriptor;
        PathEntryType entryType;
        Children children{};
        Items items{};
        foundation::storage::vfs::PathComparator pathComparator{};
        std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> folderObserver{};
        boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager{};
    };
    using Parts = BasicParts<PathItemVector>;
    using SortedParts = BasicParts<SortedItems>;

    explicit PathEntry(Parts parts);
    // Takes items in PathItemLess order as they are, where the constructor
    // above checks the order: for the factory, which makes a listing's items
    // in that order. Builds with assertions check it here too.
    explicit PathEntry(SortedParts parts);
    // Publishes PathEntryWillBeDestroyedEvent, then releases the fields.
    ~PathEntry() override;

    // Entries are made here rather than with make_shared, so that their
    // reference counts lie apart from the fields that queries read: every hit
    // of a query changes its entry's count on the caller's thread, and a field
    // on the same cache line, read by a pool thread, would pull that line
    // from core to core at each query.
    template <class Items>
    static std::shared_ptr<const PathEntry> Create(BasicParts<Items> parts) {
        return std::shared_ptr<const PathEntry>(new PathEntry(std::move(parts)));
    }

    // An entry's memory: a plain block with a cache line to spare, aligned
    // within it. glibc's aligned allocation splits the block's start off and
    // frees it, which cost about three plain allocations for every entry.
    static void* operator new(std::size_t size, std::align_val_t alignment);
    static void operator delete(void* entry, std::align_val_t alignment) noexcept;

    PathEntryType GetPathEntryType() const override { return entryType; }
    std::shared_ptr<const PathItemVector> GetPathItems() const override { return pathItems; }
    foundation::storage::vfs::CanonicalAbsoluteIRI GetIRI() const override { return iri; }
    ustring GetDescriptor() const override { return descriptor; }
    PathEntryPointer GetPrivateEntry() const override { return privateEntry; }
    PathEntryPointer GetResourcesEntry() const override { return resourcesEntry; }
    PathEntryList GetPackageEntries() const override { return packageEntries; }
    PathEntryList GetMethodEntries() const override { return methodEntries; }
    PathEntryList GetUDDClassEntries() const override { return uddClassEntries; }
    PathItemPointer FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override;
    PathItemVector FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override;
    // The items of one normalized stem: a run of this entry's sorted items.
    using ItemRun = std::span<const PathItemPointer>;
    // The run of `normalizedName`, which is PathItem::Normalize of a name; a
    // query that asks many entries works it out once.
    ItemRun ItemsWithStem(ustring_view normalizedName) const;
    // The run that starts at place `first` of GetPathItems(), as a path's
    // stem index keeps it: no search, and not even a look at the next item
    // when the index knows the run to be `soleItem`. `first` must be in
    // range: builds with assertions stop at one that isn't, the others give
    // an empty run.
    ItemRun ItemsWithStemAt(std::size_t first, bool soleItem) const;
    // What FindFirst gives, among the items of `run`.
    PathItemPointer FindFirstIn(ItemRun run, const detail::SearchTarget& target, FilenameMatchingPolicy policy) const;
    // The same item, as its place in this entry's list: no share taken.
    const PathItemPointer* FindFirstPlaceIn(ItemRun run, const detail::SearchTarget& target,
                                            FilenameMatchingPolicy policy) const;
    // What FindAll gives, among the items of `run`, in the same order, as
    // pointers into this entry's own item list: valid while the entry lives,
    // and no share is taken. A path's parallel query collects these on the
    // pool and takes the shares on the caller's thread, which drops them
    // again: counts raised on another core would move their cache lines back
    // and forth.
    using FoundItemPointers = boost::container::small_vector<const PathItemPointer*, 4>;
    FoundItemPointers FindAllIn(ItemRun run, const detail::SearchTarget& target, FilenameMatchingPolicy policy) const;
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    FilenameMatcher CreateFilenameMatcher(FilenameMatchingPolicy policy) const override;
    bool IsOutOfDate() const override;
    PathEntryPointer GetUpdatedPathEntry(const IPathEntryFactory& factory,
                                         const IFolderMonitor& monitor) const override;
    const foundation::storage::vfs::PathComparator& GetPathComparator() const override { return pathComparator; }

private:
    // ForEachChildEntry over the fields themselves, which takes no shares.
    template <class Visit>
    bool ForEachOwnChild(Visit&& visit) const {
        return ForEachChildEntry(this, *packageEntries, *methodEntries, *uddClassEntries, privateEntry, resourcesEntry,
                                 visit);
    }

    // What a query's type test and its look at the items, and a refresh's
    // look at the observer, read comes first, on the cache line of the
    // object's start: a query meets a hundred entries, and a refresh visits
    // every entry of the path, most with nothing below them.
    const PathEntryType entryType;
    const bool observesChildFoldersToo;
    const bool hasChildEntries;
    const std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> folderObserver;
    // The elements of `pathItems`, without the two loads through it.
    const ItemRun items;
    const foundation::storage::vfs::CanonicalAbsoluteIRI iri;
    const ustring descriptor;
    const PathEntryList packageEntries;
    const PathEntryList methodEntries;
    const PathEntryList uddClassEntries;
    const PathEntryPointer privateEntry;
    const PathEntryPointer resourcesEntry;
    const std::shared_ptr<const PathItemVector> pathItems;
    const foundation::storage::vfs::PathComparator pathComparator;
    const PolicyFilenameMatchers matchers;
    const boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
};

// The order of a folder's items: (normalizedStem, stem, extension, folderIRI).
bool PathItemPrecedes(const PathItem& a, const PathItem& b);
inline bool PathItemLess(const PathItemPointer& a, const PathItemPointer& b) { return PathItemPrecedes(*a, *b); }

static_assert(std::endian::native == std::endian::little, "the units of a word are read in little-endian order");

// The first four units of `text`, the first in the top bits, so that the
// words order as the texts do. A text that ends early takes 0 in the units
// it lacks, which no unit is below: ties aside, a shorter text that begins
// a longer one comes first, as it does among texts.
inline std::uint64_t LeadingUnitsWord(ustring_view text) {
    std::uint64_t word = 0;
    if (text.size() >= 4) {
        std::memcpy(&word, text.data(), sizeof word);
    } else {
        for (std::size_t i = 0; i != text.size(); ++i) word |= std::uint64_t{text[i]} << (16 * i);
    }
    // The first unit sits in the low bits of memory's order: reverse the
    // order of the four.
    word = ((word & 0x0000FFFF0000FFFFULL) << 16) | ((word >> 16) & 0x0000FFFF0000FFFFULL);
    return word << 32 | word >> 32;
}

// How many units the normalized stems of all `items` begin with, `stemOf`
// giving an item's. Names of one folder often share a start, which a word
// of LeadingUnitsWord would spend on units all items have.
template <class Items, class StemOf>
std::size_t SharedStemStart(const Items& items, StemOf stemOf) {
    if (std::empty(items)) return 0;
    const ustring_view first = stemOf(*std::begin(items));
    std::size_t shared = first.size();
    for (const auto& item : items) shared = fl::i18n::common_prefix_length(first.substr(0, shared), stemOf(item));
    return shared;
}

}  // namespace Thornfell::PathManagement
