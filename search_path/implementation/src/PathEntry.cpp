#include "PathEntry.hpp"

#include "SearchPathPublicFunctions.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathEvents.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace Thornfell::PathManagement {

namespace {

using foundation::storage::vfs::PathComparator;

PathEntryList Share(PathEntryVector&& entries) { return std::make_shared<const PathEntryVector>(std::move(entries)); }

std::shared_ptr<const PathItemVector> Sorted(PathItemVector&& items) {
    // Items from the toolbox cache come in the order the writer took from a
    // sorted entry: one pass confirms it, where a sort would compare each
    // item some log n times. A listing's order fails the pass at once.
    if (!std::is_sorted(items.begin(), items.end(), PathItemLess)) std::sort(items.begin(), items.end(), PathItemLess);
    return std::make_shared<const PathItemVector>(std::move(items));
}

// Orders items by normalized stem against a normalized name.
struct NormalizedStemLess {
    bool operator()(const PathItemPointer& item, ustring_view key) const { return item->normalizedStem < key; }
};

} // namespace

bool PathItemLess(const PathItemPointer& a, const PathItemPointer& b) {
    // The sort of a folder's items spends its time here.
    if (int c = fl::i18n::compare_code_units(a->normalizedStem, b->normalizedStem)) return c < 0;
    if (int c = fl::i18n::compare_code_units(a->stem, b->stem)) return c < 0;
    if (int c = fl::i18n::compare_code_units(a->extension, b->extension)) return c < 0;
    return a->folderIRI < b->folderIRI;
}

PathEntry::PathEntry(foundation::storage::vfs::CanonicalAbsoluteIRI iriIn, ustring descriptorIn, PathEntryType type,
                     PathEntryVector packages, PathEntryVector methods, PathEntryVector uddClasses,
                     PathEntryPointer privateChild, PathEntryPointer resourcesChild, PathItemVector items,
                     PathComparator comparator,
                     std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> observer,
                     boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> events)
    : entryType(type),
      observesChildFoldersToo(observer && observer->observesChildFoldersToo()),
      hasChildEntries(!packages.empty() || !methods.empty() || !uddClasses.empty() || privateChild || resourcesChild),
      folderObserver(std::move(observer)),
      iri(std::move(iriIn)),
      descriptor(std::move(descriptorIn)),
      packageEntries(Share(std::move(packages))),
      methodEntries(Share(std::move(methods))),
      uddClassEntries(Share(std::move(uddClasses))),
      privateEntry(std::move(privateChild)),
      resourcesEntry(std::move(resourcesChild)),
      pathItems(Sorted(std::move(items))),
      pathComparator(std::move(comparator)),
      matchers(pathComparator),
      eventManager(std::move(events)) {}

PathEntry::~PathEntry() {
    if (!eventManager) return;
    try {
        eventManager->publish(boost::make_shared<PathEntryWillBeDestroyedEvent>(*this, iri), 0);
    } catch (...) {
        // A subscriber's failure must not escape a destructor; the factory's
        // weak cache then keeps an expired key until the next build.
    }
}

boost::container::small_vector<const PathItemPointer*, 4> PathEntry::MatchingStems(
    const ustring& name, ustring_view normalizedName, const FilenameMatcherFunction& matcher) const {
    const auto end = pathItems->end();
    // Most names are held once: a lower bound and a step forward find the
    // range with half the comparisons of an equal range.
    auto it = std::lower_bound(pathItems->begin(), end, normalizedName, NormalizedStemLess{});
    boost::container::small_vector<const PathItemPointer*, 4> kept;
    for (; it != end && (*it)->normalizedStem == normalizedName; ++it)
        if (matcher((*it)->stem, name)) kept.push_back(&*it);
    return kept;
}

PathItemPointer PathEntry::FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const {
    return FindFirst(target, NormalizedName(target.name()).view(), policy);
}

PathItemPointer PathEntry::FindFirst(const detail::SearchTarget& target, ustring_view normalizedName,
                                     FilenameMatchingPolicy policy) const {
    // Select the matcher first, so that a bad policy is caught even when the
    // folder has nothing by that name.
    const FilenameMatcherFunction& matcher = matchers.ForPolicy(policy);
    const auto kept = MatchingStems(target.name(), normalizedName, matcher);
    if (kept.empty()) return nullptr;
    // The order of the extensions outranks the order of the items.
    for (const ustring& extension : target.extensions())
        for (const PathItemPointer* item : kept)
            if (matcher((*item)->extension, extension)) return *item;
    return nullptr;
}

PathEntry::FoundItemPointers PathEntry::FindAllInPlace(const detail::SearchTarget& target, ustring_view normalizedName,
                                                        FilenameMatchingPolicy policy) const {
    const FilenameMatcherFunction& matcher = matchers.ForPolicy(policy);
    const auto kept = MatchingStems(target.name(), normalizedName, matcher);
    FoundItemPointers found;
    if (kept.empty()) return found;
    for (const ustring& extension : target.extensions())
        for (const PathItemPointer* item : kept)
            if (matcher((*item)->extension, extension)) found.push_back(item);
    return found;
}

PathItemVector PathEntry::FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const {
    const FoundItemPointers found = FindAllInPlace(target, NormalizedName(target.name()).view(), policy);
    PathItemVector items;
    items.reserve(found.size());
    for (const PathItemPointer* item : found) items.push_back(*item);
    return items;
}

bool PathEntry::ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    if (scope.contains(GetPathEntryType()) && visitor(shared_from_this())) return true;
    for (const auto* children : {&packageEntries, &methodEntries, &uddClassEntries})
        for (const PathEntryPointer& child : **children)
            if (child->ForEachEntry(scope, visitor)) return true;
    if (privateEntry && privateEntry->ForEachEntry(scope, visitor)) return true;
    if (resourcesEntry && resourcesEntry->ForEachEntry(scope, visitor)) return true;
    return false;
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
    for (const auto* children : {&packageEntries, &methodEntries, &uddClassEntries})
        for (const PathEntryPointer& child : **children)
            if (child->IsOutOfDate()) return true;
    if (privateEntry && privateEntry->IsOutOfDate()) return true;
    if (resourcesEntry && resourcesEntry->IsOutOfDate()) return true;
    return false;
}

PathEntryPointer PathEntry::GetUpdatedPathEntry(const IPathEntryFactory& factory, const IFolderMonitor& monitor) const {
    return factory.CreateUpdatedPathEntry(GetIRI(), monitor);
}

} // namespace Thornfell::PathManagement
