// The stem index alone, over random sequences of path changes: an index
// derived from the one before it holds for every stem what an index built
// afresh from the same entries holds. The entries that left the path are
// gone before the derived index is asked, so that a key of the shared map
// that still points at their items must have kept them.
//
// The seed is drawn at random; TFSP_STEM_INDEX_SEED replays the one that a
// failure prints.
#include "PathTestHelpers.hpp"

#include "StemIndex.hpp"

#include "support/RandomSeed.hpp"

#include <gtest/gtest.h>

#include <deque>
#include <sstream>
#include <tuple>

namespace tfsp::test {
namespace {

// Entries draw most of their stems from a few common ones, which many of them
// share, and some from many rare ones, so that an overlay that lives long
// comes to hold more stems than it may and the index is built again.
constexpr int kCommonStems = 12;
constexpr int kRareStems = 600;
constexpr std::size_t kPathSize = 100;
constexpr int kSequences = 3;
constexpr int kStepsPerSequence = 150;

enum Kind : int { Replace, ComeBack, Swap, Append, RemoveLast, Insert, Remove, Nothing };
// How often each kind is drawn: a change of a few places, which the overlay
// takes, comes most often; one that moves every place after it, which makes
// the index be built again, seldom enough that an overlay may grow past its
// limit first.
constexpr double kWeights[] = {12, 2, 2, 2, 2, 1, 1, 1};
static_assert(std::size(kWeights) == Nothing + 1);

using ListedHolder = std::tuple<std::uint32_t, std::uint32_t, bool>;

std::vector<ListedHolder> Listed(StemIndex::HolderRange holders) {
    std::vector<ListedHolder> listed;
    for (const StemIndex::Holder& holder : holders)
        listed.emplace_back(holder.entry, holder.firstItem, holder.soleItem);
    return listed;
}

class StemIndexTest : public EngineFixture {
protected:
    // A stem in the case it is written in: common ones come in two cases, so
    // that an entry may hold a run of two items of one stem.
    ustring RandomStem() {
        if (random() % 2 != 0) {
            const ustring stem = u"c" + Utf16(std::to_string(random() % kCommonStems));
            return random() % 3 == 0 ? u"C" + stem.substr(1) : stem;
        }
        return u"r" + Utf16(std::to_string(random() % kRareStems));
    }

    // A folder of up to sixteen files, now and then one made elsewhere that
    // gives its items out of order.
    PathEntryPointer RandomEntry() {
        std::vector<ustring> stems(random() % 17);
        for (ustring& stem : stems) stem = RandomStem();
        PathEntryPointer entry = MemoryEntry(u"/m" + Utf16(std::to_string(made++)), Main, stems);
        if (random() % 8 == 0) entry = std::make_shared<const ShuffledItemsEntry>(std::move(entry));
        return entry;
    }

    // One change of `entries`, described: mostly a few places of the path,
    // now and then enough of it that the index is built again.
    std::string Change(PathEntryVector& entries) {
        const auto place = [&](std::size_t size) { return static_cast<std::size_t>(random() % size); };
        const auto retire = [&](std::size_t at) {
            // A few of the entries that left may come back; the others go.
            comeBack.push_back(entries[at]);
            if (comeBack.size() > 4) comeBack.pop_front();
        };
        switch (std::discrete_distribution<int>(std::begin(kWeights), std::end(kWeights))(random)) {
        case Replace: {
            const std::size_t count = 1 + random() % 6;
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t at = place(entries.size());
                retire(at);
                entries[at] = RandomEntry();
            }
            return std::to_string(count) + " replaced";
        }
        case ComeBack: {
            if (comeBack.empty()) return "nothing";
            const std::size_t at = place(entries.size());
            retire(at);
            entries[at] = comeBack[place(comeBack.size())];
            return "one came back at " + std::to_string(at);
        }
        case Swap: {
            const std::size_t a = place(entries.size());
            const std::size_t b = place(entries.size());
            std::swap(entries[a], entries[b]);
            return "swapped " + std::to_string(a) + " and " + std::to_string(b);
        }
        case Append: entries.push_back(RandomEntry()); return "one added at the end";
        case RemoveLast:
            retire(entries.size() - 1);
            entries.pop_back();
            return "the last removed";
        case Insert: {
            const std::size_t at = place(entries.size());
            entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(at), RandomEntry());
            return "one inserted at " + std::to_string(at);
        }
        case Remove: {
            const std::size_t at = place(entries.size());
            retire(at);
            entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(at));
            return "one removed at " + std::to_string(at);
        }
        default: return "nothing";
        }
    }

    // The stems of the entries in the form the index keeps, with one that
    // no entry holds.
    std::vector<ustring> EveryStem() const {
        std::vector<ustring> stems = {u"absent"};
        for (int i = 0; i < kCommonStems; ++i) stems.push_back(u"c" + Utf16(std::to_string(i)));
        for (int i = 0; i < kRareStems; ++i) stems.push_back(u"r" + Utf16(std::to_string(i)));
        return stems;
    }

    const std::uint64_t seed = SeedFromEnvironment("TFSP_STEM_INDEX_SEED");
    std::mt19937_64 random{seed};
    int made = 0;
    std::deque<PathEntryPointer> comeBack;
};

TEST_F(StemIndexTest, AnIndexDerivedFromThePreviousOneEqualsOneBuiltAfresh) {
    SCOPED_TRACE("TFSP_STEM_INDEX_SEED=" + std::to_string(seed) + " replays this run");
    const std::vector<ustring> stems = EveryStem();
    int derived = 0;
    int rebuilt = 0;
    for (int sequence = 0; sequence < kSequences; ++sequence) {
        PathEntryVector entries;
        for (std::size_t i = 0; i < kPathSize; ++i) entries.push_back(RandomEntry());
        auto index = std::make_unique<const StemIndex>(entries);
        std::ostringstream changes;
        for (int step = 0; step < kStepsPerSequence; ++step) {
            PathEntryVector next = entries;
            changes << "step " << step << ": " << Change(next) << "\n";
            auto nextIndex = std::make_unique<const StemIndex>(*index, entries, next);
            index = std::move(nextIndex);
            entries = std::move(next);
            ++(index->SharesMap() ? derived : rebuilt);
            const StemIndex fresh(entries);
            for (const ustring& stem : stems)
                ASSERT_EQ(Listed(index->Holders(stem)), Listed(fresh.Holders(stem)))
                    << "stem " << Utf8(stem) << ", sequence " << sequence << ", after\n"
                    << changes.str();
        }
    }
    // Both ways of making an index were taken, the overlay most of the time.
    EXPECT_GT(derived, kSequences * kStepsPerSequence / 2);
    EXPECT_GT(rebuilt, 0);
}

}  // namespace
}  // namespace tfsp::test
