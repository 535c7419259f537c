#include "PathEntry.hpp"

#include "SearchPathPublicFunctions.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathEvents.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cassert>
#include <cstdint>

namespace Thornfell::PathManagement {

namespace {

using foundation::storage::vfs::PathComparator;

// Most folders have no children of a kind: their lists are one constant
// empty list, which saves three allocations on most entries.
PathEntryList Share(PathEntryVector&& entries) {
    static const PathEntryList none = std::make_shared<const PathEntryVector>();
    if (entries.empty()) return none;
    return std::make_shared<const PathEntryVector>(std::move(entries));
}

// Whether `items` stand in PathItemLess order. Neighbours are told apart by
// a word of their stems past the start all share, and compared whole only
// where the words are equal: a comparison of whole stems went over that
// start each time.
bool InPathItemOrder(const PathItemVector& items) {
    const std::size_t shared =
        SharedStemStart(items, [](const PathItemPointer& item) -> ustring_view { return item->normalizedStem; });
    std::uint64_t previous = 0;
    for (std::size_t i = 0; i != items.size(); ++i) {
        const std::uint64_t word = LeadingUnitsWord(ustring_view(items[i]->normalizedStem).substr(shared));
        if (i != 0 && (word < previous || (word == previous && PathItemLess(items[i], items[i - 1])))) return false;
        previous = word;
    }
    return true;
}

std::shared_ptr<const PathItemVector> Sorted(PathItemVector&& items) {
    // Items from the toolbox cache come in the order the writer took from a
    // sorted entry: one pass confirms it, where a sort would compare each
    // item some log n times. A listing's order fails the pass at once.
    if (!InPathItemOrder(items)) std::sort(items.begin(), items.end(), PathItemLess);
    return std::make_shared<const PathItemVector>(std::move(items));
}

// Orders items by normalized stem against a normalized name.
struct NormalizedStemLess {
    bool operator()(const PathItemPointer& item, ustring_view key) const { return item->normalizedStem < key; }
};

}  // namespace

bool PathItemPrecedes(const PathItem& a, const PathItem& b) {
    if (int c = fl::i18n::compare_code_units(a.normalizedStem, b.normalizedStem)) return c < 0;
    if (int c = fl::i18n::compare_code_units(a.stem, b.stem)) return c < 0;
    if (int c = fl::i18n::compare_code_units(a.extension, b.extension)) return c < 0;
    return a.folderIRI < b.folderIRI;
}

PathEntry::PathEntry(Parts parts)
    : PathEntry(SortedParts{.iri = std::move(parts.iri),
                            .descriptor = std::move(parts.descriptor),
                            .entryType = parts.entryType,
                            .children = std::move(parts.children),
                            .items = Sorted(std::move(parts.items)),
                            .pathComparator = std::move(parts.pathComparator),
                            .folderObserver = std::move(parts.folderObserver),
                            .eventManager = std::move(parts.eventManager)}) {}

PathEntry::PathEntry(SortedParts parts)
    : entryType(parts.entryType),
      observesChildFoldersToo(parts.folderObserver && parts.folderObserver->observesChildFoldersToo()),
      hasChildEntries(ForEachChildEntry(this, parts.children.packages, parts.children.methods,
                                        parts.children.uddClasses, parts.children.privateEntry,
                                        parts.children.resourcesEntry,
                                        [](const PathEntryPointer&, PathEntryType) { return true; })),
      folderObserver(std::move(parts.folderObserver)), items(*parts.items), iri(std::move(parts.iri)),
      descriptor(std::move(parts.descriptor)), packageEntries(Share(std::move(parts.children.packages))),
      methodEntries(Share(std::move(parts.children.methods))),
      uddClassEntries(Share(std::move(parts.children.uddClasses))),
      privateEntry(std::move(parts.children.privateEntry)), resourcesEntry(std::move(parts.children.resourcesEntry)),
      pathItems(std::move(parts.items)), pathComparator(std::move(parts.pathComparator)), matchers(pathComparator),
      eventManager(std::move(parts.eventManager)) {
    // The runs of one stem that the queries take, and the places that a
    // path's stem index keeps, are those of this order.
    assert(InPathItemOrder(*pathItems));
}

void* PathEntry::operator new(std::size_t size, std::align_val_t alignment) {
    const auto align = static_cast<std::size_t>(alignment);
    // The start of the block goes before the entry: a plain block is aligned
    // for a pointer at least, so there is always room for one.
    static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= sizeof(void*));
    void* const block = ::operator new(size + align);
    const auto entry = (reinterpret_cast<std::uintptr_t>(block) + align) & ~(align - 1);
    reinterpret_cast<void**>(entry)[-1] = block;
    return reinterpret_cast<void*>(entry);
}

void PathEntry::operator delete(void* entry, std::align_val_t) noexcept {
    if (entry) ::operator delete(static_cast<void**>(entry)[-1]);
}

PathEntry::~PathEntry() {
    if (!eventManager) return;
    try {
        eventManager->publish(boost::make_shared<PathEntryWillBeDestroyedEvent>(*this, iri), 0);
    } catch (...) {
        // A subscriber's failure must not escape a destructor; the factory's
        // weak cache then keeps an expired key until the next build.
    }
}

PathEntry::ItemRun PathEntry::ItemsWithStem(ustring_view normalizedName) const {
    // Most names are held once: a lower bound and a step forward find the
    // run with half the comparisons of an equal range.
    const auto first = std::lower_bound(items.begin(), items.end(), normalizedName, NormalizedStemLess{});
    auto last = first;
    while (last != items.end() && sameText((*last)->normalizedStem, normalizedName)) ++last;
    return {first, last};
}

PathEntry::ItemRun PathEntry::ItemsWithStemAt(std::size_t first, bool soleItem) const {
    // The stem index took the place from these items: a place past them
    // means that it was given another entry's.
    assert(first < items.size());
    if (first >= items.size()) return {};
    if (soleItem) return items.subspan(first, 1);
    const ustring& stem = items[first]->normalizedStem;
    std::size_t last = first + 1;
    while (last != items.size() && sameText(items[last]->normalizedStem, stem)) ++last;
    return {items.data() + first, last - first};
}

PathItemPointer PathEntry::FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const {
    return FindFirstIn(ItemsWithStem(NormalizedName(target.name()).view()), target, policy);
}

// Both finds walk the extensions first, since their order outranks the order
// of the items, and ask for the stem only of an item whose extension fits:
// the extension is mostly told apart by its length, while the stem, which
// shares its normalized form with the name, must be compared unit by unit.

PathItemPointer PathEntry::FindFirstIn(ItemRun run, const detail::SearchTarget& target,
                                       FilenameMatchingPolicy policy) const {
    const PathItemPointer* found = FindFirstPlaceIn(run, target, policy);
    return found ? *found : nullptr;
}

const PathItemPointer* PathEntry::FindFirstPlaceIn(ItemRun run, const detail::SearchTarget& target,
                                                   FilenameMatchingPolicy policy) const {
    // Select the comparison first, so that a bad policy is caught even when
    // the folder has nothing by that name.
    const PolicyFilenameMatchers::Comparison matches = matchers.ComparisonFor(policy);
    for (const ustring& extension : target.extensions())
        for (const PathItemPointer& item : run)
            if (matches(item->extension, extension) && matches(item->stem, target.name())) return &item;
    return nullptr;
}

PathEntry::FoundItemPointers PathEntry::FindAllIn(ItemRun run, const detail::SearchTarget& target,
                                                  FilenameMatchingPolicy policy) const {
    const PolicyFilenameMatchers::Comparison matches = matchers.ComparisonFor(policy);
    FoundItemPointers found;
    for (const ustring& extension : target.extensions())
        for (const PathItemPointer& item : run)
            if (matches(item->extension, extension) && matches(item->stem, target.name())) found.push_back(&item);
    return found;
}

PathItemVector PathEntry::FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const {
    const FoundItemPointers found = FindAllIn(ItemsWithStem(NormalizedName(target.name()).view()), target, policy);
    PathItemVector all;
    all.reserve(found.size());
    for (const PathItemPointer* item : found) all.push_back(*item);
    return all;
}

bool PathEntry::ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    if (scope.contains(GetPathEntryType()) && visitor(shared_from_this())) return true;
    return ForEachOwnChild(
        [&](const PathEntryPointer& child, PathEntryType) { return child->ForEachEntry(scope, visitor); });
}

bool PathEntry::ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    return ForEachEntry(scope, visitor);
}

FilenameMatcher PathEntry::CreateFilenameMatcher(FilenameMatchingPolicy policy) const {
    return matchers.Share(shared_from_this(), policy);
}

bool PathEntry::IsOutOfDate() const {
    if (folderObserver && folderObserver->hasChanged()) return true;
    if (observesChildFoldersToo || !hasChildEntries) return false;
    return ForEachOwnChild([](const PathEntryPointer& child, PathEntryType) { return child->IsOutOfDate(); });
}

PathEntryPointer PathEntry::GetUpdatedPathEntry(const IPathEntryFactory& factory, const IFolderMonitor& monitor) const {
    return factory.CreateUpdatedPathEntry(GetIRI(), monitor);
}

}  // namespace Thornfell::PathManagement
