#include "Path.hpp"

#include "AsynchronousWorkerQueue.hpp"
#include "PathEntry.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/scalable_allocator.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <ranges>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <span>
#include <typeinfo>
#include <utility>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {

// Every loop of the build and of a parallel query hands the pool chunks of
// about this many indices: one entry is too little work for a task.
constexpr std::size_t kGrainSize = 32;
// Up to this many candidates a query runs serially: below it the pool costs
// more than it saves.
constexpr std::size_t kSerialCandidateLimit = 64;
// Most main entries have few special folders below them.
constexpr std::size_t kEntriesPerMainEntryGuess = 25;
// The stem map is filled in this many runs of neighbouring buckets: enough to
// keep both cores busy to the end, few enough that each run's buckets stay
// together in the cache.
constexpr std::size_t kStemRuns = 256;
// How many items ahead the stem map's build asks for a stem, while collecting
// and while inserting: about as many as run while one miss to memory is
// outstanding.
constexpr std::size_t kStemPrefetchDistance = 8;

constexpr PathEntryType kMainOnly[] = {Main};
constexpr PathEntryType kMethodOnly[] = {Method};
constexpr SearchScope kMainScope{kMainOnly};
constexpr SearchScope kMethodScope{kMethodOnly};

using EntrySlot = Path::EntrySlot;
using EntrySlotList = Path::EntrySlotList;
using EntrySlotRange = Path::EntrySlotRange;
using PathEntryInfoCache = Path::PathEntryInfoCache;
using PathItemStemToPathEntryMap = Path::PathItemStemToPathEntryMap;
using PathEntryBasenameToPathEntriesMap = Path::PathEntryBasenameToPathEntriesMap;

tbb::blocked_range<std::size_t> IndexRange(std::size_t count) { return {0, count, kGrainSize}; }

// Calls `body` once for each index of `range`, in ascending order within each
// chunk, on the pool; returns when all calls have returned. An exception of a
// call cancels the loop and reaches the caller.
template <class Body>
void ParallelForEachInRange(const tbb::blocked_range<std::size_t>& range, const Body& body) {
    if (range.empty()) return;
    tbb::parallel_for(
        range,
        [&body](const tbb::blocked_range<std::size_t>& chunk) {
            for (std::size_t index = chunk.begin(); index != chunk.end(); ++index) body(index);
        },
        tbb::auto_partitioner());
}

// Keeps `list` sorted by address, and so in path order, whichever thread
// inserts first; a slot already present isn't added again.
void InsertSlotInPathOrder(EntrySlotList& list, EntrySlot slot) {
    const auto at = std::lower_bound(list.begin(), list.end(), slot, std::less<EntrySlot>());
    if (at != list.end() && *at == slot) return;
    list.insert(at, slot);
}

// A place in the flat vector or in an entry's items as a stem holder keeps
// it, below `limit`. No path comes near four billion folders, or a folder
// near two billion files, but one that did would fail to build rather than
// find wrong items.
std::uint32_t HolderPlace(std::size_t place, std::uint32_t limit) {
    if (place >= limit) throw std::length_error("too many folders or files for a path");
    return static_cast<std::uint32_t>(place);
}
constexpr std::uint32_t kEntryPlaceLimit = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kItemPlaceLimit = std::uint32_t{1} << 31;

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
    if (cache.insert(accessor, PathEntryInfoCache::value_type(entry->GetIRI(), Path::PathEntryInfoCacheItem{entry, parentSlot})))
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
        if (PathEntryPointer child = entry.GetPrivateEntry()) AddToInfoCache(*cache, child, slot);
        if (PathEntryPointer child = entry.GetResourcesEntry()) AddToInfoCache(*cache, child, slot);
        for (const PathEntryList& children :
             {entry.GetPackageEntries(), entry.GetMethodEntries(), entry.GetUDDClassEntries()})
            for (const PathEntryPointer& child : *children) AddToInfoCache(*cache, child, slot);
    });
    return cache;
}

// Asks for the stem `kStemPrefetchDistance` places after `index` (the string
// itself), and for the text of the one half as far on, whose string has had
// time to arrive. `stemAt(i)` is the stem at place i of a sequence that ends
// at `end`.
template <class StemAt>
void PrefetchStemsAhead(std::size_t index, std::size_t end, const StemAt& stemAt) {
    if (index + kStemPrefetchDistance < end) PrefetchLine(stemAt(index + kStemPrefetchDistance));
    if (index + kStemPrefetchDistance / 2 < end) PrefetchLine(stemAt(index + kStemPrefetchDistance / 2)->data());
}

// One distinct stem of one entry, on its way into the stem map.
struct StemOfEntry {
    Path::HashedStem stem;
    Path::StemHolder holder;
};

// Appends the distinct stems of the items of the entry at `entryPlace`,
// hashed, in the items' order.
void CollectEntryStems(const PathItemVector& items, std::uint32_t entryPlace, std::vector<StemOfEntry>& stems) {
    stems.reserve(stems.size() + items.size());
    const ustring* previousStem = nullptr;
    const auto stemAt = [&items](std::size_t place) { return &items[place]->normalizedStem; };
    for (std::size_t place = 0; place != items.size(); ++place) {
        // Sorted by stem, the items no longer lie in the order of their
        // memory, which the processor would follow by itself.
        PrefetchStemsAhead(place, items.size(), stemAt);
        const ustring* stem = stemAt(place);
        // Items come sorted by normalized stem: a run of one stem (the same
        // file with several extensions, or names that differ only in case)
        // adds this entry once, with the place where the run starts.
        if (previousStem && sameText(*previousStem, *stem)) {
            stems.back().holder.soleItem = false;
            continue;
        }
        previousStem = stem;
        stems.push_back({{stem, Path::UstringHashCompare::hash(*stem)},
                         {entryPlace, HolderPlace(place, kItemPlaceLimit), true}});
    }
}

// The distinct stems of each entry, hashed, in entry order.
std::vector<std::vector<StemOfEntry>> CollectStems(const PathEntryVector& allEntries) {
    std::vector<std::vector<StemOfEntry>> stemsByEntry(allEntries.size());
    ParallelForEachInRange(IndexRange(allEntries.size()), [&](std::size_t index) {
        // The items stay alive with the entry, which `allEntries` holds, so the
        // map can point at their stems instead of copying them.
        CollectEntryStems(*allEntries[index]->GetPathItems(), HolderPlace(index, kEntryPlaceLimit),
                          stemsByEntry[index]);
    });
    return stemsByEntry;
}

// The arena of a stem map of `keys` keys, with room for their nodes and
// buckets in its first block, so that the map needs no second one and leaves
// little unused; its blocks come from the scalable allocator.
std::shared_ptr<std::pmr::memory_resource> MakeStemMapArena(std::size_t keys) {
    // A node holds its link, its lock and the key with its holders; the map
    // keeps about as many buckets as keys, each a link and a lock.
    constexpr std::size_t kNodeBytes = 2 * sizeof(void*) + sizeof(PathItemStemToPathEntryMap::value_type);
    constexpr std::size_t kBucketBytes = 2 * sizeof(void*);
    const std::size_t bytes = keys * kNodeBytes + std::bit_ceil(std::max<std::size_t>(keys, 1)) * kBucketBytes;
    return std::make_shared<std::pmr::monotonic_buffer_resource>(bytes + bytes / 16, tbb::scalable_memory_resource());
}

// One key of the stem map with its holders, gathered before the map is made.
using StemKeyAndHolders = std::pair<Path::HashedStem, Path::StemHolderList>;

// Orders stem keys by hash, then by text (which only two texts of one hash
// have to compare).
int CompareStemKeys(const Path::HashedStem& a, const Path::HashedStem& b) {
    if (a.hash != b.hash) return a.hash < b.hash ? -1 : 1;
    return a.stem == b.stem ? 0 : a.stem->compare(*b.stem);
}
bool StemKeyLess(const Path::HashedStem& a, const Path::HashedStem& b) { return CompareStemKeys(a, b) < 0; }
bool SameStemKey(const Path::HashedStem& a, const Path::HashedStem& b) {
    return a.hash == b.hash && sameText(*a.stem, *b.stem);
}

// Orders the stems of a run by key, and a key's stems by place: by entry,
// then by item.
bool StemKeyThenPlaceLess(const StemOfEntry& a, const StemOfEntry& b) {
    if (const int order = CompareStemKeys(a.stem, b.stem)) return order < 0;
    return std::pair(a.holder.entry, std::uint32_t{a.holder.firstItem}) <
           std::pair(b.holder.entry, std::uint32_t{b.holder.firstItem});
}

// The stems of one run gathered by key. A key's holders stand in path order;
// of one entry's holders of a key (an entry whose items aren't sorted may
// give several) the first is kept.
std::vector<StemKeyAndHolders> GatherKeys(std::span<StemOfEntry> run) {
    std::sort(run.begin(), run.end(), StemKeyThenPlaceLess);
    std::vector<StemKeyAndHolders> keys;
    keys.reserve(run.size());
    for (std::size_t index = 0; index != run.size(); ++index) {
        const StemOfEntry& stem = run[index];
        if (keys.empty() || !SameStemKey(keys.back().first, stem.stem))
            keys.emplace_back(std::piecewise_construct, std::forward_as_tuple(stem.stem), std::forward_as_tuple());
        Path::StemHolderList& holders = keys.back().second;
        if (holders.empty() || holders.back().entry != stem.holder.entry) holders.push_back(stem.holder);
    }
    return keys;
}

std::unique_ptr<const PathItemStemToPathEntryMap> CreatePathItemStemToPathEntryMap(const PathEntryVector& allEntries) {
    std::vector<std::vector<StemOfEntry>> stemsByEntry = CollectStems(allEntries);
    std::size_t total = 0;
    for (const std::vector<StemOfEntry>& stems : stemsByEntry) total += stems.size();

    // Filled by many threads, the map would take a lock for each key and
    // count each key in one shared counter, whose cache line the threads
    // would pass back and forth at every insertion. So the keys are gathered
    // with their holders on the pool first, and the map is then made from
    // them in one pass, which takes no lock, compares no key and hashes none
    // again. To gather them, the stems are dealt out by hash into runs of a
    // few hundred buckets each, in the order of the map's buckets, so that
    // the pass also fills the buckets in order. The map will have as many
    // buckets as keys, rounded up to a power of two, and takes a bucket by
    // the low bits of the hash; if that ever changes, only the speed of the
    // pass does.
    const std::size_t bucketMask = std::bit_ceil(std::max<std::size_t>(total, 1)) - 1;
    const std::size_t runs = std::min<std::size_t>(kStemRuns, bucketMask + 1);
    const int runShift = std::countr_zero(bucketMask + 1) - std::countr_zero(runs);
    const auto runOf = [&](const StemOfEntry& stem) { return (stem.stem.hash & bucketMask) >> runShift; };
    // The dealing runs on the pool too, in groups of neighbouring entries:
    // each group counts its stems by run, and then writes them to the places
    // that the counts of the groups before it leave free.
    const std::size_t groups = (allEntries.size() + kGrainSize - 1) / kGrainSize;
    const auto entriesOf = [&](std::size_t group) {
        return std::span(stemsByEntry).subspan(group * kGrainSize,
                                               std::min(kGrainSize, allEntries.size() - group * kGrainSize));
    };
    // countByGroup[group * runs + run], then the place of the group's first
    // stem of that run.
    std::vector<std::size_t> countByGroup(groups * runs, 0);
    ParallelForEachInRange(tbb::blocked_range<std::size_t>(0, groups, 1), [&](std::size_t group) {
        std::size_t* counts = &countByGroup[group * runs];
        for (const std::vector<StemOfEntry>& stems : entriesOf(group))
            for (const StemOfEntry& stem : stems) ++counts[runOf(stem)];
    });
    std::vector<std::size_t> runStart(runs + 1, 0);
    for (std::size_t run = 0, place = 0; run < runs; ++run) {
        runStart[run] = place;
        for (std::size_t group = 0; group < groups; ++group)
            place += std::exchange(countByGroup[group * runs + run], place);
        runStart[run + 1] = place;
    }
    std::vector<StemOfEntry> dealt(total);
    ParallelForEachInRange(tbb::blocked_range<std::size_t>(0, groups, 1), [&](std::size_t group) {
        std::size_t* next = &countByGroup[group * runs];
        for (const std::vector<StemOfEntry>& stems : entriesOf(group))
            for (const StemOfEntry& stem : stems) dealt[next[runOf(stem)]++] = stem;
    });
    stemsByEntry.clear();
    std::vector<std::vector<StemKeyAndHolders>> keysByRun(runs);
    ParallelForEachInRange(tbb::blocked_range<std::size_t>(0, runs, 1), [&](std::size_t run) {
        keysByRun[run] = GatherKeys(std::span(dealt).subspan(runStart[run], runStart[run + 1] - runStart[run]));
    });
    std::size_t keyCount = 0;
    for (const std::vector<StemKeyAndHolders>& keys : keysByRun) keyCount += keys.size();
    auto keys = keysByRun | std::views::join;
    auto map = std::make_unique<PathItemStemToPathEntryMap>(
        std::make_move_iterator(keys.begin()), std::make_move_iterator(keys.end()),
        PathItemStemToPathEntryMap::allocator_type(MakeStemMapArena(keyCount)));
    // The pass leaves no bucket split pending; this makes sure of it, so
    // that readers never meet one.
    map->rehash(0);
    return map;
}

// A path is derived from the one before it while at most one in this many
// of its entries changed, and while its overlay holds at most one in this
// many of the shared map's stems (or a few hundred, for a small path): past
// that, a build costs little more, and the overlay, which each derivation
// copies and which keeps the items of the entries gone, would only grow.
constexpr std::size_t kDerivedChangeShare = 16;
constexpr std::size_t kOverlayStemsAlwaysAllowed = 256;

// Whether each place of the flat vector holds another entry in `after` than
// in `before`, or is in only one of them.
std::vector<bool> ChangedPlaces(const PathEntryVector& before, const PathEntryVector& after) {
    std::vector<bool> changed(std::max(before.size(), after.size()), true);
    for (std::size_t place = 0; place != std::min(before.size(), after.size()); ++place)
        changed[place] = before[place] != after[place];
    return changed;
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
    for (const PathItemPointer& item : partial.owned.emplace_back(std::move(items))) partial.hits.push_back({&entry, &item});
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
    Path::StemHolderRange holders;
    const PathEntryVector& allEntries;
    std::size_t size() const { return holders.size(); }
};
struct StemCandidate {
    const PathEntryPointer& entry;
    Path::StemHolder holder;
};

const PathEntryPointer& CandidateAt(EntrySlotRange candidates, std::size_t index) { return *candidates[index]; }
const PathEntryPointer& CandidateAt(const PathEntryVector& candidates, std::size_t index) { return candidates[index]; }
StemCandidate CandidateAt(const StemCandidates& candidates, std::size_t index) {
    const Path::StemHolder& holder = candidates.holders[index];
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
        PathItemPointer item = own ? own->FindFirstIn(RunOf(*own, candidate), target_, policy_)
                                   : entry->FindFirst(target_, policy_);
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

} // namespace

// ------------------------------------------------------------------- hashing

namespace {
// The 128-bit product of two words, folded to one: every bit of either
// factor reaches the low bits, which pick the bucket, and the high bits.
std::uint64_t FoldedProduct(std::uint64_t a, std::uint64_t b) {
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}
} // namespace

std::size_t Path::UstringHashCompare::hash(ustring_view text) {
    // Four code units at a time, one multiplication each: a query hashes its
    // name before anything else, and a byte-wise hash's chain of
    // multiplications took a third of a miss's time.
    static_assert(std::endian::native == std::endian::little, "code units are packed low unit first");
    constexpr std::uint64_t kWordFactor = 0x9E3779B97F4A7C15ULL;
    constexpr std::uint64_t kFinalFactor = 0xBF58476D1CE4E5B9ULL;
    std::uint64_t hash = 0x243F6A8885A308D3ULL ^ text.size();
    const char16_t* unit = text.data();
    std::size_t left = text.size();
    for (; left >= 4; left -= 4, unit += 4) {
        std::uint64_t word;
        std::memcpy(&word, unit, sizeof word);
        hash = FoldedProduct(hash ^ word, kWordFactor);
    }
    if (left != 0) {
        std::uint64_t word = 0;
        for (std::size_t index = 0; index != left; ++index) word |= std::uint64_t{unit[index]} << (16 * index);
        hash = FoldedProduct(hash ^ word, kWordFactor);
    }
    return static_cast<std::size_t>(FoldedProduct(hash, kFinalFactor));
}

// ------------------------------------------------------------- construction

Path::Path(PathEntryVector mainEntriesIn, std::weak_ptr<AsynchronousWorkerQueue> queue,
           foundation::storage::vfs::StorageSystemReference storage)
    : workerQueue(std::move(queue)),
      mainEntries(std::make_shared<const PathEntryVector>(std::move(mainEntriesIn))),
      allEntries(CreateAllEntriesVector(*mainEntries)),
      pathEntryInfoCache(CreatePathEntryInfoCache(*allEntries)),
      pathItemStemToPathEntryMap(CreatePathItemStemToPathEntryMap(*allEntries)),
      pathEntryBasenameToPathEntriesMap(CreatePathEntryBasenameToPathEntriesMap(*allEntries)),
      storageSystem(std::move(storage)) {}

Path::Path(const Path& previous, PathEntryVector mainEntriesIn)
    : workerQueue(previous.workerQueue),
      mainEntries(std::make_shared<const PathEntryVector>(std::move(mainEntriesIn))),
      allEntries(CreateAllEntriesVector(*mainEntries)),
      pathEntryInfoCache(CreatePathEntryInfoCache(*allEntries)),
      pathEntryBasenameToPathEntriesMap(CreatePathEntryBasenameToPathEntriesMap(*allEntries)),
      storageSystem(previous.storageSystem) {
    ShareOrBuildStemMap(previous);
}

void Path::ShareOrBuildStemMap(const Path& previous) {
    // Only the places of changed entries may hold other stems than before:
    // an entry that kept its place kept its items, and the previous path's
    // holders of it are still true. The shared map's other places are the
    // same entries.
    const PathEntryVector& before = *previous.allEntries;
    const PathEntryVector& after = *allEntries;
    const std::vector<bool> changed = ChangedPlaces(before, after);
    const std::size_t changedCount = static_cast<std::size_t>(std::count(changed.begin(), changed.end(), true));
    const StemOverlay* previousOverlay = previous.stemOverlay.get();
    const std::size_t overlayLimit =
        std::max(kOverlayStemsAlwaysAllowed, previous.pathItemStemToPathEntryMap->size() / kDerivedChangeShare);
    if (changedCount * kDerivedChangeShare > after.size() ||
        (previousOverlay && previousOverlay->holders.size() > overlayLimit)) {
        pathItemStemToPathEntryMap = CreatePathItemStemToPathEntryMap(after);
        return;
    }

    auto overlay = std::make_unique<StemOverlay>();
    if (previousOverlay) {
        overlay->holders = previousOverlay->holders;
        overlay->hashBits = previousOverlay->hashBits;
        overlay->retainedItems = previousOverlay->retainedItems;
    }
    // The stems of the changed places, before and after, and the holders
    // that the entries there now give.
    std::vector<StemOfEntry> gone;
    std::vector<StemOfEntry> added;
    for (std::size_t place = 0; place != changed.size(); ++place) {
        if (!changed[place]) continue;
        if (place < before.size()) {
            std::shared_ptr<const PathItemVector> items = before[place]->GetPathItems();
            CollectEntryStems(*items, HolderPlace(place, kEntryPlaceLimit), gone);
            if (!items->empty()) overlay->retainedItems.push_back(std::move(items));
        }
        if (place < after.size())
            CollectEntryStems(*after[place]->GetPathItems(), HolderPlace(place, kEntryPlaceLimit), added);
    }
    std::sort(added.begin(), added.end(), StemKeyThenPlaceLess);
    std::vector<HashedStem> touched;
    touched.reserve(gone.size() + added.size());
    for (const auto* stems : {&gone, &added})
        for (const StemOfEntry& stem : *stems) touched.push_back(stem.stem);
    std::sort(touched.begin(), touched.end(), StemKeyLess);
    touched.erase(std::unique(touched.begin(), touched.end(), SameStemKey), touched.end());

    auto nextAdded = added.begin();
    for (const HashedStem& stem : touched) {
        // The stem's holders at unchanged places, as the previous path has
        // them, merged in place order with those of the changed places.
        StemHolderList holders;
        const StemHolderRange kept = previous.LookUpEntriesByStem(HashedView{*stem.stem, stem.hash});
        auto keptHolder = kept.begin();
        const auto keepUpTo = [&](std::uint32_t entry) {
            for (; keptHolder != kept.end() && keptHolder->entry < entry; ++keptHolder)
                if (!changed[keptHolder->entry]) holders.push_back(*keptHolder);
        };
        for (; nextAdded != added.end() && SameStemKey(nextAdded->stem, stem); ++nextAdded) {
            // Of one entry's holders of a stem (an entry whose items aren't
            // sorted may give several), the first counts.
            if (!holders.empty() && holders.back().entry == nextAdded->holder.entry) continue;
            keepUpTo(nextAdded->holder.entry);
            holders.push_back(nextAdded->holder);
        }
        keepUpTo(std::numeric_limits<std::uint32_t>::max());
        StemOverlay::Holders::accessor accessor;
        overlay->holders.insert(accessor, ustring(*stem.stem));
        accessor->second = std::move(holders);
        overlay->hashBits.set(StemOverlay::HashBit(stem.hash));
    }
    pathItemStemToPathEntryMap = previous.pathItemStemToPathEntryMap;
    stemOverlay = std::move(overlay);
}

Path::~Path() {
    if (const std::shared_ptr<AsynchronousWorkerQueue> queue = workerQueue.lock()) {
        DestroyAsynchronously(std::move(pathEntryBasenameToPathEntriesMap), *queue);
        DestroyAsynchronously(std::move(pathItemStemToPathEntryMap), *queue);
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

Path::StemHolderRange Path::LookUpEntriesByStem(ustring_view normalizedStem) const {
    return LookUpEntriesByStem(HashedView{normalizedStem, UstringHashCompare::hash(normalizedStem)});
}

Path::StemHolderRange Path::LookUpEntriesByStem(const HashedView& normalizedStem) const {
    if (stemOverlay && stemOverlay->hashBits.test(StemOverlay::HashBit(normalizedStem.hash))) {
        const auto found = stemOverlay->holders.equal_range(normalizedStem);
        if (found.first != found.second) return {found.first->second.data(), found.first->second.size()};
    }
    const auto found = pathItemStemToPathEntryMap->equal_range(normalizedStem);
    if (found.first == found.second) return {};
    const StemHolderList& holders = found.first->second;
    return {holders.data(), holders.size()};
}

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
        return ParallelInvokeCallbackOnEntries<Strategy>(
            StemCandidates{LookUpEntriesByStem(callback.normalizedName()), *allEntries}, scope, callback);
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
        return ParallelInvokeCallbackOnEntries<Strategy>(
            StemCandidates{LookUpEntriesByStem(callback.normalizedName()), *allEntries}, scope, callback);
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

} // namespace Thornfell::PathManagement
