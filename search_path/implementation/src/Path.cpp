#include "Path.hpp"

#include "AsynchronousWorkerQueue.hpp"
#include "ParallelLoop.hpp"
#include "PathEntry.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <boost/container/small_vector.hpp>
#include <oneapi/tbb/concurrent_hash_map.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <functional>
#include <iterator>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {
using EntrySlot = Path::EntrySlot;
using EntrySlotRange = Path::EntrySlotRange;
// Sorted by address, hence in path order. Room for one slot inline: most
// names are held by one folder.
using EntrySlotList = boost::container::small_vector<EntrySlot, 1, SlotListAllocator<EntrySlot>>;
}  // namespace

struct Path::PathEntryInfoCacheItem {
    PathEntryPointer entry;
    // The slot of the entry through which this one was reached; a main
    // entry's own slot, so that it counts as having no parent.
    EntrySlot parentSlot = nullptr;
};

class Path::PathEntryInfoCache
    : public tbb::concurrent_hash_map<CanonicalAbsoluteIRI, PathEntryInfoCacheItem, IRIHashCompare,
                                      PathMapAllocator<std::pair<const CanonicalAbsoluteIRI, PathEntryInfoCacheItem>>> {
public:
    using concurrent_hash_map::concurrent_hash_map;
};

class Path::PathEntryBasenameToPathEntriesMap
    : public tbb::concurrent_hash_map<ustring, EntrySlotList, UstringHashCompare,
                                      PathMapAllocator<std::pair<const ustring, EntrySlotList>>> {
public:
    using concurrent_hash_map::concurrent_hash_map;
};

namespace {

using PathEntryInfoCache = Path::PathEntryInfoCache;
using PathEntryBasenameToPathEntriesMap = Path::PathEntryBasenameToPathEntriesMap;

// Up to this many candidates a query runs serially: below it the pool costs
// more than it saves.
constexpr std::size_t kSerialCandidateLimit = 64;
// Most main entries have few special folders below them.
constexpr std::size_t kEntriesPerMainEntryGuess = 25;
constexpr PathEntryType kMainOnly[] = {Main};
constexpr PathEntryType kMethodOnly[] = {Method};
constexpr SearchScope kMainScope{kMainOnly};
constexpr SearchScope kMethodScope{kMethodOnly};

// Keeps `list` sorted by address, and so in path order, whichever thread
// inserts first; a slot already present isn't added again.
void InsertSlotInPathOrder(EntrySlotList& list, EntrySlot slot) {
    const auto at = std::lower_bound(list.begin(), list.end(), slot, std::less<EntrySlot>());
    if (at != list.end() && *at == slot) return;
    list.insert(at, slot);
}

// ---------------------------------------------------------------- builders

std::shared_ptr<const PathEntryVector> CreateAllEntriesVector(const PathEntryVector& mainEntries) {
    // One vector for each main entry, filled by whichever thread visits it, and
    // joined in index order afterwards: the result is the same for any
    // schedule.
    std::vector<PathEntryVector> visitedByMainEntry(mainEntries.size());
    ParallelForEachInRange(IndexRange(mainEntries.size()), [&](std::size_t index) {
        PathEntryVector& visited = visitedByMainEntry[index];
        if (visited.capacity() < kEntriesPerMainEntryGuess) visited.reserve(kEntriesPerMainEntryGuess);
        mainEntries[index]->ForEachEntry(allEntryTypesScope, [&visited](const PathEntryPointer& entry) {
            visited.push_back(entry);
            return false;
        });
    });
    std::size_t total = 0;
    for (const PathEntryVector& visited : visitedByMainEntry) total += visited.size();
    auto allEntries = std::make_shared<PathEntryVector>();
    allEntries->reserve(total);
    for (PathEntryVector& visited : visitedByMainEntry)
        allEntries->insert(allEntries->end(), std::make_move_iterator(visited.begin()),
                           std::make_move_iterator(visited.end()));
    return allEntries;
}

void AddToInfoCache(PathEntryInfoCache& cache, const PathEntryPointer& entry, EntrySlot parentSlot) {
    PathEntryInfoCache::accessor accessor;
    if (cache.insert(accessor,
                     PathEntryInfoCache::value_type(entry->GetIRI(), Path::PathEntryInfoCacheItem{entry, parentSlot})))
        return;
    // A folder that stands on the path as a main entry and also as the private
    // folder of another entry is known by its main entry, whichever of the
    // two arrived first.
    Path::PathEntryInfoCacheItem& item = accessor->second;
    if (entry->GetPathEntryType() == Main && item.entry->GetPathEntryType() == Private) {
        item.entry = entry;
        item.parentSlot = parentSlot;
    }
}

std::unique_ptr<PathEntryInfoCache> CreatePathEntryInfoCache(const PathEntryVector& allEntries) {
    auto cache = std::make_unique<PathEntryInfoCache>(allEntries.size());
    ParallelForEachInRange(IndexRange(allEntries.size()), [&](std::size_t index) {
        const EntrySlot slot = &allEntries[index];
        const IPathEntry& entry = **slot;
        // Children are entered by their parent, so that their parent slot is
        // known; only a main entry enters itself, as its own parent.
        if (entry.GetPathEntryType() == Main) AddToInfoCache(*cache, *slot, slot);
        ForEachChildEntry(entry,
                          [&](const PathEntryPointer& child, PathEntryType) { AddToInfoCache(*cache, child, slot); });
    });
    return cache;
}

ustring BasenameKey(const IPathEntry& entry) {
    ustring name = entry.GetIRI().getName();
    switch (entry.GetPathEntryType()) {
    case Package:
    case Method:
    case UDDClass:
        // "+pkg" and "@cls" stand under "pkg" and "cls", beside plain folders
        // of that name; queries tell them apart afterwards.
        if (!name.empty()) name.erase(0, 1);
        break;
    default: break;
    }
    return PathItem::Normalize(std::move(name));
}

std::unique_ptr<PathEntryBasenameToPathEntriesMap> CreatePathEntryBasenameToPathEntriesMap(
    const PathEntryVector& allEntries) {
    auto map = std::make_unique<PathEntryBasenameToPathEntriesMap>(allEntries.size());
    ParallelForEachInRange(IndexRange(allEntries.size()), [&](std::size_t index) {
        const EntrySlot slot = &allEntries[index];
        PathEntryBasenameToPathEntriesMap::accessor accessor;
        map->insert(accessor, BasenameKey(**slot));
        InsertSlotInPathOrder(accessor->second, slot);
    });
    map->rehash(0);
    // The queries give their results in the order of these lists.
    assert(std::all_of(map->begin(), map->end(), [](const auto& element) {
        return std::adjacent_find(element.second.begin(), element.second.end(), std::greater_equal<EntrySlot>()) ==
               element.second.end();
    }));
    return map;
}

// ---------------------------------------------------------- deferred freeing

// Gives `object` to the worker thread to free. On failed allocation it is
// freed here instead; either way `object` is empty afterwards.
template <class Owner>
void DestroyAsynchronously(Owner&& object, AsynchronousWorkerQueue& queue) noexcept {
    static_assert(!std::is_lvalue_reference_v<Owner>, "the object is given away");
    std::shared_ptr<Owner> holder;
    try {
        holder = std::make_shared<Owner>(std::move(object));
    } catch (...) {
        object.reset();
        return;
    }
    try {
        std::packaged_task<void()> task([holder = std::move(holder)] { holder->reset(); });
        queue.Enqueue(std::move(task));
    } catch (...) {
        // The holder went with the function object, and the object with it,
        // on this thread.
    }
}

// ------------------------------------------------------------------ queries

// What FindAll's pool threads collect in place of FoundItems: pointers to the
// candidate and to each item found, with no share taken. The caller's thread
// turns them into FoundItems afterwards. It drops those shares again when it
// is done with the result, and a count raised on a pool thread would have to
// move to that thread's core and back for each hit.
struct FoundItemReferences {
    struct Hit {
        const PathEntryPointer* entry;  // a candidate, which outlives the query
        const PathItemPointer* item;    // in the entry's own list, or in `owned`
    };
    std::vector<Hit> hits;
    // The items of entries that give them only as shares. Moving the outer
    // vector keeps the inner ones' buffers, so the hits stay valid.
    std::vector<PathItemVector> owned;
};

void Reserve(std::vector<FoundItem>& partial, std::size_t count) { partial.reserve(count); }
void Reserve(FoundItemReferences& partial, std::size_t count) { partial.hits.reserve(count); }

std::size_t SizeOf(const PathEntryVector& partial) { return partial.size(); }
std::size_t SizeOf(const FoundItemReferences& partial) { return partial.hits.size(); }

void Append(PathEntryVector& result, PathEntryVector&& partial) {
    result.insert(result.end(), std::make_move_iterator(partial.begin()), std::make_move_iterator(partial.end()));
}
void Append(std::vector<FoundItem>& result, FoundItemReferences&& partial) {
    for (const FoundItemReferences::Hit& hit : partial.hits) result.emplace_back(*hit.item, *hit.entry);
}

void AddFound(std::vector<FoundItem>& result, const PathEntryPointer& entry, const PathItemPointer& item) {
    result.emplace_back(item, entry);
}
void AddFound(FoundItemReferences& partial, const PathEntryPointer& entry, const PathItemPointer& item) {
    partial.hits.push_back({&entry, &item});
}

void AddOwned(std::vector<FoundItem>& result, const PathEntryPointer& entry, PathItemVector&& items) {
    for (PathItemPointer& item : items) result.emplace_back(std::move(item), entry);
}
void AddOwned(FoundItemReferences& partial, const PathEntryPointer& entry, PathItemVector&& items) {
    for (const PathItemPointer& item : partial.owned.emplace_back(std::move(items)))
        partial.hits.push_back({&entry, &item});
}

// The entries this library makes itself; any other is asked through IPathEntry.
const PathEntry* AsPathEntry(const IPathEntry& entry) {
    return typeid(entry) == typeid(PathEntry) ? static_cast<const PathEntry*>(&entry) : nullptr;
}

// What a query collects, what its pool threads collect (Partial), and whether
// it may spread over the pool.
struct FindFirstStrategy {
    using Result = boost::optional<FoundItem>;
    // A first match is never parallel: the answer is the first candidate that
    // has the name, and the candidates behind it would be asked for nothing.
    static constexpr bool mayRunInParallel = false;
    static constexpr bool nearlyEveryCandidateAdds = false;
    static constexpr bool firstOnly = true;
};
// The same, borrowed from the path.
struct FindFirstViewStrategy {
    using Result = FoundItemView;
    static constexpr bool mayRunInParallel = false;
    static constexpr bool nearlyEveryCandidateAdds = false;
    static constexpr bool firstOnly = true;
};
struct FindAllStrategy {
    using Result = std::vector<FoundItem>;
    using Partial = FoundItemReferences;
    static constexpr bool mayRunInParallel = true;
    // The candidates of a name are the entries that hold its stem: nearly all
    // of them add an item, so room for one each saves the growth steps.
    static constexpr bool nearlyEveryCandidateAdds = true;
    static constexpr bool firstOnly = false;
};
struct GetEntriesParallelizationStrategy {
    using Result = PathEntryVector;
    using Partial = PathEntryVector;
    static constexpr bool mayRunInParallel = true;
    static constexpr bool nearlyEveryCandidateAdds = false;
    static constexpr bool firstOnly = false;
};

// The candidates of a stem: the entries that hold it, each with the place in
// its items where the stem's run starts.
struct StemCandidates {
    StemIndex::HolderRange holders;
    const PathEntryVector& allEntries;
    std::size_t size() const { return holders.size(); }
};
struct StemCandidate {
    const PathEntryPointer& entry;
    StemIndex::Holder holder;
};

const PathEntryPointer& CandidateAt(EntrySlotRange candidates, std::size_t index) { return *candidates[index]; }
const PathEntryPointer& CandidateAt(const PathEntryVector& candidates, std::size_t index) { return candidates[index]; }
StemCandidate CandidateAt(const StemCandidates& candidates, std::size_t index) {
    const StemIndex::Holder& holder = candidates.holders[index];
    return {candidates.allEntries[holder.entry], holder};
}

const PathEntryPointer& EntryOf(const PathEntryPointer& candidate) { return candidate; }
const PathEntryPointer& EntryOf(const StemCandidate& candidate) { return candidate.entry; }

// Calls `body` once for each index below `count`, on the caller's thread
// and on pool threads that come to help: each takes the next index not yet
// taken. Returns when all calls have returned; an exception of a call
// reaches the caller once the others are done. A query's few chunks are
// dealt this way rather than split up front as parallel_for splits them: a
// pool thread that wakes late then finds the caller done with them, instead
// of the caller waiting for the share it had been given.
template <class Body>
void ClaimEachInTurn(std::size_t count, const Body& body) {
    if (count == 0) return;
    std::atomic<std::size_t> next{0};
    const auto claim = [&] {
        for (std::size_t index; (index = next.fetch_add(1, std::memory_order_relaxed)) < count;) body(index);
    };
    tbb::task_group helpers;
    const std::size_t wanted =
        std::min(count, static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()))) - 1;
    try {
        for (std::size_t helper = 0; helper != wanted; ++helper) helpers.run(claim);
        claim();
    } catch (...) {
        // No call starts any more; the helpers' own exceptions go with them.
        next.store(count, std::memory_order_relaxed);
        try {
            helpers.wait();
        } catch (...) {
        }
        throw;
    }
    helpers.wait();
}

// Gives each candidate that passes `scope` to `callback` with a result to add
// to. The result is in candidate order, however many threads did the work.
template <class Strategy, class Candidates, class Callback>
typename Strategy::Result ParallelInvokeCallbackOnEntries(const Candidates& candidates, SearchScope scope,
                                                          const Callback& callback) {
    using Result = typename Strategy::Result;
    const std::size_t count = candidates.size();
    Result result;
    if (!Strategy::mayRunInParallel || count <= kSerialCandidateLimit) {
        if constexpr (Strategy::nearlyEveryCandidateAdds) Reserve(result, count);
        for (std::size_t index = 0; index < count; ++index) {
            decltype(auto) candidate = CandidateAt(candidates, index);
            if (scope.contains(EntryOf(candidate)->GetPathEntryType())) callback(candidate, result);
            // A first match is final: the candidates behind it can't change
            // the answer, and a common name has a thousand of them.
            if constexpr (Strategy::firstOnly)
                if (result) break;
        }
        return result;
    }
    if constexpr (Strategy::mayRunInParallel) {
        using Partial = typename Strategy::Partial;
        // One partial result for each run of a grain's candidates, not one
        // for each candidate: the pool gets the same chunks, and a query
        // allocates a handful of vectors instead of one for each hit.
        const std::size_t runs = (count + kGrainSize - 1) / kGrainSize;
        const auto endOfRun = [count](std::size_t run) { return std::min(count, (run + 1) * kGrainSize); };
        // Their room is made here, on the caller's thread, which frees it
        // too: memory that a pool thread's heap gave would go back to that
        // heap, under its lock, from this thread.
        std::vector<Partial> partialByRun(runs);
        if constexpr (Strategy::nearlyEveryCandidateAdds)
            for (std::size_t run = 0; run != runs; ++run) Reserve(partialByRun[run], endOfRun(run) - run * kGrainSize);
        ClaimEachInTurn(runs, [&](std::size_t run) {
            const std::size_t end = endOfRun(run);
            // Filled as a local and stored once: the partial results lie
            // side by side, and growing one in place would take its
            // neighbours' cache line from the threads that fill them.
            Partial partial = std::move(partialByRun[run]);
            for (std::size_t index = run * kGrainSize; index < end; ++index) {
                decltype(auto) candidate = CandidateAt(candidates, index);
                if (scope.contains(EntryOf(candidate)->GetPathEntryType())) callback(candidate, partial);
            }
            partialByRun[run] = std::move(partial);
        });
        std::size_t total = 0;
        for (const Partial& partial : partialByRun) total += SizeOf(partial);
        result.reserve(total);
        for (Partial& partial : partialByRun) Append(result, std::move(partial));
    }
    return result;
}

struct AlwaysTrue {
    bool operator()(const PathEntryPointer&) const { return true; }
};

// Asks one candidate entry for the target. The predicate (the partial
// pathname's test of the entry's location) is asked only once the entry has
// found something, since that is rare and the test is not cheap.
template <class Strategy, class Predicate>
class ForEachEntryCallback {
public:
    ForEachEntryCallback(const detail::SearchTarget& target, FilenameMatchingPolicy policy, const Predicate& predicate)
        : target_(target), normalizedName_(target.name()), policy_(policy), predicate_(predicate) {}

    // PathItem::Normalize of the target's name.
    ustring_view normalizedName() const { return normalizedName_.view(); }

    template <class Candidate>
    void operator()(const Candidate& candidate, boost::optional<FoundItem>& result) const {
        const PathEntryPointer& entry = EntryOf(candidate);
        const PathEntry* own = AsPathEntry(*entry);
        PathItemPointer item =
            own ? own->FindFirstIn(RunOf(*own, candidate), target_, policy_) : entry->FindFirst(target_, policy_);
        if (item && predicate_(entry)) result.emplace(std::move(item), entry);
    }

    template <class Candidate>
    void operator()(const Candidate& candidate, FoundItemView& result) const {
        const PathEntryPointer& entry = EntryOf(candidate);
        const PathItem* item = nullptr;
        if (const PathEntry* own = AsPathEntry(*entry)) {
            if (const PathItemPointer* found = own->FindFirstPlaceIn(RunOf(*own, candidate), target_, policy_))
                item = found->get();
        } else {
            // Another kind of entry hands out a share of an item it keeps.
            item = entry->FindFirst(target_, policy_).get();
        }
        if (item && predicate_(entry)) result = {item, entry.get()};
    }

    template <class Candidate, class Sink>
    void operator()(const Candidate& candidate, Sink& sink) const {
        const PathEntryPointer& entry = EntryOf(candidate);
        if (const PathEntry* own = AsPathEntry(*entry)) {
            // The items stay in the entry's list, and no vector is made.
            const PathEntry::FoundItemPointers found = own->FindAllIn(RunOf(*own, candidate), target_, policy_);
            if (found.empty() || !predicate_(entry)) return;
            for (const PathItemPointer* item : found) AddFound(sink, entry, *item);
            return;
        }
        PathItemVector items = entry->FindAll(target_, policy_);
        if (items.empty() || !predicate_(entry)) return;
        AddOwned(sink, entry, std::move(items));
    }

private:
    // The entry's items of the target's stem: found by the entry when the
    // candidate came by its folder's name, known when it came by the stem.
    PathEntry::ItemRun RunOf(const PathEntry& own, const PathEntryPointer&) const {
        return own.ItemsWithStem(normalizedName_.view());
    }
    PathEntry::ItemRun RunOf(const PathEntry& own, const StemCandidate& candidate) const {
        return own.ItemsWithStemAt(candidate.holder.firstItem, candidate.holder.soleItem);
    }

    const detail::SearchTarget& target_;
    // Normalized once for all the candidates.
    const NormalizedName normalizedName_;
    const FilenameMatchingPolicy policy_;
    const Predicate& predicate_;
};

bool IsPathnameSeparator(char16_t c) { return Constants::PathnameSeparatorStr.find(c) != ustring::npos; }

}  // namespace

// ------------------------------------------------------------- construction

Path::Path(PathEntryVector mainEntriesIn, std::weak_ptr<AsynchronousWorkerQueue> queue,
           foundation::storage::vfs::StorageSystemReference storage)
    : workerQueue(std::move(queue)), mainEntries(std::make_shared<const PathEntryVector>(std::move(mainEntriesIn))),
      allEntries(CreateAllEntriesVector(*mainEntries)), pathEntryInfoCache(CreatePathEntryInfoCache(*allEntries)),
      stemIndex(*allEntries), pathEntryBasenameToPathEntriesMap(CreatePathEntryBasenameToPathEntriesMap(*allEntries)),
      storageSystem(std::move(storage)) {}

Path::Path(const Path& previous, PathEntryVector mainEntriesIn)
    : workerQueue(previous.workerQueue), mainEntries(std::make_shared<const PathEntryVector>(std::move(mainEntriesIn))),
      allEntries(CreateAllEntriesVector(*mainEntries)), pathEntryInfoCache(CreatePathEntryInfoCache(*allEntries)),
      stemIndex(previous.stemIndex, *previous.allEntries, *allEntries),
      pathEntryBasenameToPathEntriesMap(CreatePathEntryBasenameToPathEntriesMap(*allEntries)),
      storageSystem(previous.storageSystem) {}

Path::~Path() {
    if (const std::shared_ptr<AsynchronousWorkerQueue> queue = workerQueue.lock()) {
        DestroyAsynchronously(std::move(pathEntryBasenameToPathEntriesMap), *queue);
        DestroyAsynchronously(stemIndex.TakeMap(), *queue);
        // The cache is the only map that shares entries. Its shares are
        // dropped here, so that every entry dies on this thread (or with
        // another holder) and its destruction event is published here, never
        // on the worker.
        for (auto& element : *pathEntryInfoCache) {
            element.second.entry.reset();
            element.second.parentSlot = nullptr;
        }
        DestroyAsynchronously(std::move(pathEntryInfoCache), *queue);
    }
    // The remaining fields go as usual; with the queue gone the maps are freed
    // here, and `allEntries` and `mainEntries` release the entries.
}

// ------------------------------------------------------------------ lookups

Path::EntrySlotRange Path::LookUpEntriesByBasename(const ustring& name) const {
    // The prefix of a package or class folder is ignored: the map files them
    // under their bare name, beside plain folders.
    const bool prefixed = !name.empty() && (name.front() == u'@' || name.front() == u'+');
    const NormalizedName key(prefixed ? ustring_view(name).substr(1) : ustring_view(name));
    const auto found = std::as_const(*pathEntryBasenameToPathEntriesMap).equal_range(key.view());
    if (found.first == found.second) return {};
    const EntrySlotList& slots = found.first->second;
    return {slots.data(), slots.size()};
}

const Path::PathEntryInfoCacheItem* Path::FindInfoCacheItem(const CanonicalAbsoluteIRI& iri) const {
    const auto found = std::as_const(*pathEntryInfoCache).equal_range(iri);
    return found.first == found.second ? nullptr : &found.first->second;
}

Path::EntrySlot Path::FindMainEntrySlot(const IPathEntry& entry) const {
    const PathEntryInfoCacheItem* item = FindInfoCacheItem(entry.GetIRI());
    if (!item || !item->parentSlot) return nullptr;
    // Descendants stand behind their main entry in the flat vector, so the
    // root is the nearest one towards the front.
    const EntrySlot front = allEntries->data();
    for (EntrySlot slot = item->parentSlot;; --slot) {
        const IPathEntry& candidate = **slot;
        const bool isRoot = OrvianComponents::ComponentFeature::IsOn() ? !GetParentEntryForEntry(candidate)
                                                                       : candidate.GetPathEntryType() == Main;
        if (isRoot || slot == front) return slot;
    }
}

// ------------------------------------------------------------------ queries

template <class Strategy>
typename Strategy::Result Path::FindSearchTarget(const SearchScope& scope, const detail::SearchTarget& target,
                                                 const FilenameMatchingPolicy& policy) const {
    const ustring& name = target.name();
    const std::size_t lastSeparator = LastPathnameSeparator(name);
    if (lastSeparator == ustring::npos) {
        const AlwaysTrue anyLocation;
        const ForEachEntryCallback<Strategy, AlwaysTrue> callback(target, policy, anyLocation);
        return ParallelInvokeCallbackOnEntries<Strategy>(StemCandidates{stemIndex.Holders(callback.normalizedName()),
                                                                        *allEntries},
                                                         scope, callback);
    }
    // A rooted name is no partial pathname, and a path query doesn't resolve
    // absolute file names.
    if (IsPathnameSeparator(name.front())) return {};

    const PartialPathnameParts parts = SplitPartialPathname(name.substr(0, lastSeparator));
    const detail::SearchTarget itemTarget(name.substr(lastSeparator + 1), target.extensions());
    const PartialPathnamePartsRange partsRange(parts);
    const auto locationFits = [this, &partsRange, &policy](const PathEntryPointer& entry) {
        return DoesPartialPathnameMatchPathEntryIRI(*this, partsRange, entry, policy);
    };
    const ForEachEntryCallback<Strategy, decltype(locationFits)> callback(itemTarget, policy, locationFits);
    // The innermost folder narrows the candidates far more than the item name:
    // only the entries of that base name can hold the item.
    if (parts.empty())
        return ParallelInvokeCallbackOnEntries<Strategy>(StemCandidates{stemIndex.Holders(callback.normalizedName()),
                                                                        *allEntries},
                                                         scope, callback);
    return ParallelInvokeCallbackOnEntries<Strategy>(LookUpEntriesByBasename(parts.back()), scope, callback);
}

PathEntryList Path::GetMainEntries() const { return mainEntries; }

PathEntryVector Path::GetMethodEntries() const {
    return ParallelInvokeCallbackOnEntries<GetEntriesParallelizationStrategy>(
        *allEntries, kMainScope, [](const PathEntryPointer& entry, PathEntryVector& result) {
            const PathEntryList methods = entry->GetMethodEntries();
            result.insert(result.end(), methods->begin(), methods->end());
        });
}

PathEntryVector Path::GetMethodEntriesByName(SearchScope scope, const ustring& name,
                                             FilenameMatchingPolicy policy) const {
    const ustring methodFolderName = u"@" + name;
    // The scope argument is about the folder that holds the method folder.
    return ParallelInvokeCallbackOnEntries<GetEntriesParallelizationStrategy>(
        LookUpEntriesByBasename(name), kMethodScope, [&](const PathEntryPointer& candidate, PathEntryVector& result) {
            const PathEntryPointer parent = GetParentEntryForEntry(*candidate);
            if (!parent || !scope.contains(parent->GetPathEntryType())) return;
            const FilenameMatcher matcher = candidate->CreateFilenameMatcher(policy);
            if ((*matcher)(candidate->GetIRI().getName(), methodFolderName)) result.push_back(candidate);
        });
}

PathEntryVector Path::GetPartiallyMatchingEntries(SearchScope scope, const ustring& partialPathname,
                                                  FilenameMatchingPolicy policy) const {
    const ustring nativeForm =
        partialPathname.empty() ? partialPathname : fl::filesystem::detail::make_native_form(partialPathname, 1);
    // Two separators at the start name a network location, which is absolute
    // whatever the platform's own test says.
    const bool absolute = fl::filesystem::detail::is_absolute_path_when_expanded(nativeForm) ||
                          (partialPathname.size() > 1 && IsPathnameSeparator(partialPathname[0]) &&
                           IsPathnameSeparator(partialPathname[1]));
    if (!absolute) {
        const PartialPathnameParts parts = SplitPartialPathname(partialPathname);
        if (parts.empty()) return {};
        const PartialPathnamePartsRange partsRange(parts);
        return ParallelInvokeCallbackOnEntries<GetEntriesParallelizationStrategy>(
            LookUpEntriesByBasename(parts.back()), scope,
            [&](const PathEntryPointer& candidate, PathEntryVector& result) {
                if (DoesPartialPathnameMatchPathEntryIRI(*this, partsRange, candidate, policy))
                    result.push_back(candidate);
            });
    }

    boost::optional<AbsoluteIRI> wanted;
    try {
        wanted = current_working_folder::GetCurrentWorkingFolder().absolutize(partialPathname);
    } catch (const current_working_folder::FailedToAbsolutizeException&) {
        return {};
    }
    return EntriesWithIRIText(scope, *wanted, policy);
}

PathEntryVector Path::EntriesWithIRIText(SearchScope scope, const AbsoluteIRI& wanted,
                                         FilenameMatchingPolicy policy) const {
    const ustring wantedText = wanted.toString();
    return ParallelInvokeCallbackOnEntries<GetEntriesParallelizationStrategy>(
        LookUpEntriesByBasename(wanted.getName()), scope,
        [&](const PathEntryPointer& candidate, PathEntryVector& result) {
            if (DoesEntryIRITextMatch(*candidate, wantedText, policy)) result.push_back(candidate);
        });
}

PathEntryPointer Path::GetMainEntryForEntry(const IPathEntry& entry) const {
    const EntrySlot slot = FindMainEntrySlot(entry);
    return slot ? *slot : nullptr;
}

PathEntryPointer Path::GetParentEntryForEntry(const IPathEntry& entry) const {
    const PathEntryInfoCacheItem* item = FindInfoCacheItem(entry.GetIRI());
    if (!item || !item->parentSlot) return nullptr;
    const PathEntryPointer& parent = *item->parentSlot;
    // A main entry is its own parent in the cache: it has none.
    if (parent.get() == &entry) return nullptr;
    return parent;
}

PathEntryPointer Path::GetPathEntryFromAbsoluteIRI(const CanonicalAbsoluteIRI& iri) const {
    const PathEntryInfoCacheItem* item = FindInfoCacheItem(iri);
    return item ? item->entry : nullptr;
}

PathEntryPointer Path::GetPathEntryFromAbsoluteIRI(const AbsoluteIRI& iri, FilenameMatchingPolicy policy) const {
    if (PathEntryPointer exact = GetPathEntryFromAbsoluteIRI(CanonicalAbsoluteIRI(iri, ustring()))) return exact;

    if (policy != StorageSystemRule) {
        const PathEntryVector matching = EntriesWithIRIText(allEntryTypesScope, iri, policy);
        return matching.empty() ? nullptr : matching.front();
    }

    // The storage system decides what counts as the same folder: links, "..",
    // and its own rule of case.
    try {
        const foundation::storage::vfs::Folder folder(iri, storageSystem);
        return GetPathEntryFromAbsoluteIRI(folder.getCanonicalLocation());
    } catch (const foundation::storage::vfs::UnsupportedIRISchemeException&) {
        return nullptr;
    } catch (const foundation::storage::vfs::Exception&) {
        return nullptr;
    }
}

boost::optional<FoundItem> Path::FindFirstInScope(SearchScope scope, const detail::SearchTarget& target,
                                                  FilenameMatchingPolicy policy) const {
    return FindSearchTarget<FindFirstStrategy>(scope, target, policy);
}

FoundItemView Path::FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                         FilenameMatchingPolicy policy) const {
    return FindSearchTarget<FindFirstViewStrategy>(scope, target, policy);
}

std::vector<FoundItem> Path::FindAllInScope(SearchScope scope, const detail::SearchTarget& target,
                                            FilenameMatchingPolicy policy) const {
    return FindSearchTarget<FindAllStrategy>(scope, target, policy);
}

bool Path::ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    for (const PathEntryPointer& entry : *allEntries)
        if (scope.contains(entry->GetPathEntryType()) && visitor(entry)) return true;
    return false;
}

bool Path::ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    // The flat vector makes the serial walk cheap; the callback stays on the
    // caller's thread.
    return ForEachEntry(scope, visitor);
}

bool Path::FirstEntryIsBeforeSecondOnPath(const IPathEntry& first, const IPathEntry& second) const {
    const EntrySlot firstMain = FindMainEntrySlot(first);
    const EntrySlot secondMain = FindMainEntrySlot(second);
    return firstMain && secondMain && std::less<EntrySlot>()(firstMain, secondMain);
}

bool Path::IsEntryOnPath(const IPathEntry& entry) const { return FindInfoCacheItem(entry.GetIRI()) != nullptr; }

}  // namespace Thornfell::PathManagement
