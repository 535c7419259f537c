#include "StemIndex.hpp"

#include "ParallelLoop.hpp"
#include "SearchPathPublicFunctions.hpp"

#include <oneapi/tbb/concurrent_hash_map.h>
#include <oneapi/tbb/scalable_allocator.h>
#include <range/v3/view/common.hpp>
#include <range/v3/view/join.hpp>
#include <range/v3/view/move.hpp>

#include <algorithm>
#include <bit>
#include <bitset>
#include <cassert>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory_resource>
#include <ranges>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Thornfell::PathManagement {

// The types of the map stand outside the anonymous namespace: the map is a
// member type of StemIndex, and a class with linkage may not be made of
// types without.

// The allocator of the stem map. Its nodes and buckets come from one arena,
// which the map owns, a bump of a pointer each, and go back all at once with
// the map; nothing is given back one by one. The worker thread frees the
// map, and memory freed there piece by piece would come back to the next
// build's thread one line at a time, each last written on the other core:
// the arena spares the build that walk. The allocator points at the arena
// without owning it: the map makes a copy of its allocator for every node,
// and a shared owner's count, taken and dropped with each, was two locked
// instructions per key, half the time of filling the map.
template <class T>
class StemMapAllocator {
public:
    using value_type = T;
    explicit StemMapAllocator(std::pmr::memory_resource* arena) noexcept : arena_(arena) {}
    template <class U>
    StemMapAllocator(const StemMapAllocator<U>& other) noexcept : arena_(other.arena()) {}

    T* allocate(std::size_t count) { return static_cast<T*>(arena_->allocate(count * sizeof(T), alignof(T))); }
    void deallocate(T*, std::size_t) noexcept {}
    std::pmr::memory_resource* arena() const noexcept { return arena_; }

    template <class U>
    bool operator==(const StemMapAllocator<U>& other) const noexcept {
        return arena_ == other.arena();
    }

private:
    std::pmr::memory_resource* arena_;
};

// A stem with its hash, worked out by the build while the stem's item is at
// hand: inserting it then reads no item but those it meets in its bucket. It
// becomes the map's key, the bare pointer.
struct HashedStem {
    const ustring* stem;
    std::size_t hash;
    operator const ustring*() const { return stem; }
};

// Keys are pointers to the normalized stems inside the items; they hash and
// compare as the strings they point to, never by address.
struct IndirectUstringHashCompare {
    using is_transparent = void;
    static std::size_t hash(const ustring* text) { return UstringHashCompare::hash(*text); }
    static std::size_t hash(const HashedStem& key) { return key.hash; }
    static std::size_t hash(const HashedView& key) { return key.hash; }
    static bool equal(const ustring* a, const ustring* b) { return sameText(*a, *b); }
    static bool equal(const HashedStem& a, const ustring* b) { return sameText(*a.stem, *b); }
    static bool equal(const HashedView& a, const ustring* b) { return sameText(a.text, *b); }
};

namespace {
using StemMapValue = std::pair<const ustring* const, StemIndex::HolderList>;
}  // namespace

// The arena of a stem map of `keys` keys, with room for their nodes and
// buckets in its first block, so that the map needs no second one and leaves
// little unused; its blocks come from the scalable allocator. A base of the
// map, so that it is made before the map's first node and goes after its
// last.
struct StemMapArena {
    explicit StemMapArena(std::size_t keys);
    std::pmr::monotonic_buffer_resource arena;
};

class StemIndex::Map : private StemMapArena,
                       public tbb::concurrent_hash_map<const ustring*, HolderList, IndirectUstringHashCompare,
                                                       StemMapAllocator<StemMapValue>> {
public:
    // A map of the keys in [first, last), `keyCount` of them, filled in
    // their order without a lock.
    template <class Iterator>
    Map(Iterator first, Iterator last, std::size_t keyCount)
        : StemMapArena(keyCount), concurrent_hash_map(first, last, allocator_type(&arena)) {}
};

// What an index derived from another changes of the map that it shares with
// it: the holders of every stem that a changed entry held before or holds now
// (none for a stem no longer held), which stand instead of the map's, and the
// items of the entries gone since the map was built, whose stems the map's
// keys may still point at.
struct StemIndex::Overlay {
    using HolderMap = tbb::concurrent_hash_map<ustring, HolderList, UstringHashCompare,
                                               PathMapAllocator<std::pair<const ustring, HolderList>>>;
    HolderMap holders;
    // One bit for each stem's hash, so that a lookup of a stem the overlay
    // hasn't got mostly stops at one bit.
    std::bitset<4096> hashBits;
    std::vector<std::shared_ptr<const PathItemVector>> retainedItems;

    static std::size_t HashBit(std::size_t hash) { return hash >> 52; }
};

namespace {

// The stem map is filled in this many runs of neighbouring buckets: enough to
// keep both cores busy to the end, few enough that each run's buckets stay
// together in the cache.
constexpr std::size_t kStemRuns = 256;
// How many items ahead the stem map's build asks for a stem, while collecting
// and while inserting: about as many as run while one miss to memory is
// outstanding.
constexpr std::size_t kStemPrefetchDistance = 8;

// A place in the flat vector or in an entry's items as a holder keeps it,
// below `limit`. No path comes near four billion folders, or a folder near
// two billion files, but one that did would fail to build rather than find
// wrong items.
std::uint32_t HolderPlace(std::size_t place, std::uint32_t limit) {
    if (place >= limit) throw std::length_error("too many folders or files for a path");
    return static_cast<std::uint32_t>(place);
}
constexpr std::uint32_t kEntryPlaceLimit = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kItemPlaceLimit = std::uint32_t{1} << 31;

// Whether `holders` name each entry once, in path order: the queries give
// their results in the order of the holders, and take one entry's items of a
// stem from its one holder.
[[maybe_unused]] bool OneHolderPerEntryInPathOrder(const StemIndex::HolderList& holders) {
    return std::adjacent_find(holders.begin(), holders.end(),
                              [](const StemIndex::Holder& a, const StemIndex::Holder& b) {
                                  return a.entry >= b.entry;
                              }) == holders.end();
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
    HashedStem stem;
    StemIndex::Holder holder;
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
        // Below the limit already; the mask tells the compiler that it fits
        // the 31-bit field.
        stems.push_back({{stem, UstringHashCompare::hash(*stem)},
                         {entryPlace, HolderPlace(place, kItemPlaceLimit) & (kItemPlaceLimit - 1), true}});
    }
}

// The distinct stems of each entry, hashed, in entry order.
std::vector<std::vector<StemOfEntry>> CollectStems(const PathEntryVector& entries) {
    std::vector<std::vector<StemOfEntry>> stemsByEntry(entries.size());
    ParallelForEachInRange(IndexRange(entries.size()), [&](std::size_t index) {
        // The items stay alive with the entry, which the path holds, so the
        // map can point at their stems instead of copying them.
        CollectEntryStems(*entries[index]->GetPathItems(), HolderPlace(index, kEntryPlaceLimit), stemsByEntry[index]);
    });
    return stemsByEntry;
}

// The bytes of a stem map of `keys` keys. A node holds its link, its lock
// and the key with its holders; the map keeps about as many buckets as keys,
// each a link and a lock.
std::size_t ArenaBytes(std::size_t keys) {
    constexpr std::size_t kNodeBytes = 2 * sizeof(void*) + sizeof(StemMapValue);
    constexpr std::size_t kBucketBytes = 2 * sizeof(void*);
    const std::size_t bytes = keys * kNodeBytes + std::bit_ceil(std::max<std::size_t>(keys, 1)) * kBucketBytes;
    return bytes + bytes / 16;
}

// One key of the stem map with its holders, gathered before the map is made.
using StemKeyAndHolders = std::pair<HashedStem, StemIndex::HolderList>;

// Orders stem keys by hash, then by text (which only two texts of one hash
// have to compare).
int CompareStemKeys(const HashedStem& a, const HashedStem& b) {
    if (a.hash != b.hash) return a.hash < b.hash ? -1 : 1;
    return a.stem == b.stem ? 0 : a.stem->compare(*b.stem);
}
bool StemKeyLess(const HashedStem& a, const HashedStem& b) { return CompareStemKeys(a, b) < 0; }
bool SameStemKey(const HashedStem& a, const HashedStem& b) { return a.hash == b.hash && sameText(*a.stem, *b.stem); }

// Orders stems by place: by entry, then by item.
bool PlaceLess(const StemOfEntry& a, const StemOfEntry& b) {
    return std::pair(a.holder.entry, std::uint32_t{a.holder.firstItem}) <
           std::pair(b.holder.entry, std::uint32_t{b.holder.firstItem});
}

// Orders the stems of a run by key, and a key's stems by place.
bool StemKeyThenPlaceLess(const StemOfEntry& a, const StemOfEntry& b) {
    if (const int order = CompareStemKeys(a.stem, b.stem)) return order < 0;
    return PlaceLess(a, b);
}

// The stems of one run gathered by key, in the order of the map's buckets.
// `bucketOf(stem)` is the stem's bucket counted from the run's first, below
// `buckets`. The run comes in path order, as dealt: by entry, then by item.
// A counting sort by bucket keeps that order, so a key's holders stand in
// path order without being compared; of one entry's holders of a key (an
// entry whose items aren't sorted may give several) the first is kept. A
// comparison sort of the stems by key and place was a fifth of the build.
template <class BucketOf>
std::vector<StemKeyAndHolders> GatherKeys(std::span<const StemOfEntry> run, std::size_t buckets,
                                          const BucketOf& bucketOf) {
    assert(std::is_sorted(run.begin(), run.end(), PlaceLess));
    std::vector<std::uint32_t> next(buckets + 1, 0);  // counts of each bucket, then where its next stem goes
    for (const StemOfEntry& stem : run) ++next[bucketOf(stem) + 1];
    for (std::size_t bucket = 1; bucket != next.size(); ++bucket) next[bucket] += next[bucket - 1];
    std::vector<StemOfEntry> sorted(run.size());
    for (const StemOfEntry& stem : run) sorted[next[bucketOf(stem)]++] = stem;
    // Each bucket's stems now end where `next` says. A bucket holds about one
    // key; the stems of one bucket are put in order of hash, and those of one
    // hash (nearly always one text) of text, both stably.
    for (std::size_t bucket = 0, begin = 0; bucket != buckets; begin = next[bucket++])
        if (next[bucket] - begin > 1)
            std::stable_sort(sorted.begin() + static_cast<std::ptrdiff_t>(begin),
                             sorted.begin() + static_cast<std::ptrdiff_t>(next[bucket]),
                             [](const StemOfEntry& a, const StemOfEntry& b) { return StemKeyLess(a.stem, b.stem); });
    std::vector<StemKeyAndHolders> keys;
    keys.reserve(sorted.size());
    for (const StemOfEntry& stem : sorted) {
        if (keys.empty() || !SameStemKey(keys.back().first, stem.stem))
            keys.emplace_back(std::piecewise_construct, std::forward_as_tuple(stem.stem), std::forward_as_tuple());
        StemIndex::HolderList& holders = keys.back().second;
        if (holders.empty() || holders.back().entry != stem.holder.entry) holders.push_back(stem.holder);
    }
    assert(std::ranges::all_of(keys,
                               [](const StemKeyAndHolders& key) { return OneHolderPerEntryInPathOrder(key.second); }));
    return keys;
}

// An index is derived from the one before it while at most one in this many
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

// The 128-bit product of two words, folded to one: every bit of either
// factor reaches the low bits, which pick the bucket, and the high bits.
std::uint64_t FoldedProduct(std::uint64_t a, std::uint64_t b) {
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace

// ------------------------------------------------------------------- hashing

std::size_t UstringHashCompare::hash(ustring_view text) {
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

// -------------------------------------------------------------------- build

std::unique_ptr<const StemIndex::Map> StemIndex::BuildMap(const PathEntryVector& entries) {
    std::vector<std::vector<StemOfEntry>> stemsByEntry = CollectStems(entries);
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
    const std::size_t bucketsPerRun = std::size_t{1} << runShift;
    const auto bucketInRun = [&](const StemOfEntry& stem) { return stem.stem.hash & (bucketsPerRun - 1); };
    // The dealing runs on the pool too, in groups of neighbouring entries:
    // each group counts its stems by run, and then writes them to the places
    // that the counts of the groups before it leave free.
    const std::size_t groups = (entries.size() + kGrainSize - 1) / kGrainSize;
    const auto entriesOf = [&](std::size_t group) {
        return std::span(stemsByEntry)
            .subspan(group * kGrainSize, std::min(kGrainSize, entries.size() - group * kGrainSize));
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
        keysByRun[run] = GatherKeys(std::span(dealt).subspan(runStart[run], runStart[run + 1] - runStart[run]),
                                    bucketsPerRun, bucketInRun);
    });
    std::size_t keyCount = 0;
    for (const std::vector<StemKeyAndHolders>& keys : keysByRun) keyCount += keys.size();
    // The map's range constructor fills it without taking a lock; one range
    // over all the runs, whose keys and lists are moved in.
    auto keys = keysByRun | ranges::views::join | ranges::views::move | ranges::views::common;
    auto map = std::make_unique<Map>(keys.begin(), keys.end(), keyCount);
    // The pass leaves no bucket split pending; this makes sure of it, so
    // that readers never meet one.
    map->rehash(0);
    return map;
}

StemMapArena::StemMapArena(std::size_t keys) : arena(ArenaBytes(keys), tbb::scalable_memory_resource()) {}

StemIndex::StemIndex(const PathEntryVector& entries) : map(BuildMap(entries)) {}

StemIndex::StemIndex(const StemIndex& previous, const PathEntryVector& before, const PathEntryVector& after) {
    // Only the places of changed entries may hold other stems than before:
    // an entry that kept its place kept its items, and the previous index's
    // holders of it are still true. The shared map's other places are the
    // same entries.
    const std::vector<bool> changed = ChangedPlaces(before, after);
    const std::size_t changedCount = static_cast<std::size_t>(std::count(changed.begin(), changed.end(), true));
    const std::size_t overlayLimit = std::max(kOverlayStemsAlwaysAllowed, previous.map->size() / kDerivedChangeShare);
    if (changedCount * kDerivedChangeShare > after.size() ||
        (previous.overlay && previous.overlay->holders.size() > overlayLimit)) {
        map = BuildMap(after);
        return;
    }
    overlay = DeriveOverlay(previous, before, after, changed);
    map = previous.map;
}

std::unique_ptr<const StemIndex::Overlay> StemIndex::DeriveOverlay(const StemIndex& previous,
                                                                   const PathEntryVector& before,
                                                                   const PathEntryVector& after,
                                                                   const std::vector<bool>& changed) {
    auto overlay = std::make_unique<Overlay>();
    if (previous.overlay) {
        overlay->holders = previous.overlay->holders;
        overlay->hashBits = previous.overlay->hashBits;
        overlay->retainedItems = previous.overlay->retainedItems;
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
        // The stem's holders at unchanged places, as the previous index has
        // them, merged in place order with those of the changed places.
        HolderList holders;
        const HolderRange kept = previous.Holders(HashedView{*stem.stem, stem.hash});
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
        assert(OneHolderPerEntryInPathOrder(holders));
        Overlay::HolderMap::accessor accessor;
        overlay->holders.insert(accessor, ustring(*stem.stem));
        accessor->second = std::move(holders);
        overlay->hashBits.set(Overlay::HashBit(stem.hash));
    }
    return overlay;
}

StemIndex::~StemIndex() = default;

// ------------------------------------------------------------------ lookups

StemIndex::HolderRange StemIndex::Holders(ustring_view normalizedStem) const {
    return Holders(HashedView{normalizedStem, UstringHashCompare::hash(normalizedStem)});
}

StemIndex::HolderRange StemIndex::Holders(const HashedView& normalizedStem) const {
    if (overlay && overlay->hashBits.test(Overlay::HashBit(normalizedStem.hash))) {
        const auto found = overlay->holders.equal_range(normalizedStem);
        if (found.first != found.second) return {found.first->second.data(), found.first->second.size()};
    }
    const auto found = map->equal_range(normalizedStem);
    if (found.first == found.second) return {};
    const HolderList& holders = found.first->second;
    return {holders.data(), holders.size()};
}

}  // namespace Thornfell::PathManagement
