// Each composite against a plain path of the entries it shows, in the same
// order: every query must give the same objects in the same order.
#include "CompositeTestHelpers.hpp"

#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"
#include "tfsearch_path/MultiMaskedPath.hpp"

#include <algorithm>

namespace tfsp::test {
namespace {

class CompositeReferenceTest : public EngineFixture {
protected:
    PathEntryVector Mains(std::initializer_list<std::size_t> indices) const {
        PathEntryVector entries;
        for (std::size_t index : indices) entries.push_back(mains[index]);
        return entries;
    }
    PathEntryVector Range(std::size_t begin, std::size_t end) const {
        return PathEntryVector(mains.begin() + begin, mains.begin() + end);
    }
    static PathEntryVector Without(PathEntryVector entries, const PathEntryVector& left) {
        std::erase_if(entries, [&](const PathEntryPointer& e) { return std::ranges::count(left, e) != 0; });
        return entries;
    }
    static PathEntryVector Join(PathEntryVector a, const PathEntryVector& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }

    CompositeTree tree{24};
    const PathEntryVector& mains = tree.mains;  // 26: the last two are "cv/Lib", "cv/lib"
    const PathEntryVector all = AllEntriesOf(mains);
    const std::shared_ptr<const IPath> mainPath = MakePath(mains);
};

TEST_F(CompositeReferenceTest, ConcatenationShowsTheFirstPathThenTheSecond) {
    const ConcatenatedPath path(MakePath(Range(0, 10)), MakePath(Range(10, mains.size())));
    ExpectSameAnswers(path, *mainPath, all);
    // A null path is an empty one.
    ExpectSameAnswers(ConcatenatedPath(nullptr, mainPath), *mainPath, all);
}

TEST_F(CompositeReferenceTest, MaskingHidesTheListedFoldersWithEverythingBelowThem) {
    // The first folder holds every common name, so first-match searches must
    // look past it; "cv/Lib" hides the first folder-insensitive match of
    // "cv/lib".
    const PathEntryVector masked = Mains({0, 7, 19, 24});
    const MultiMaskedPath path(mainPath, masked);
    ExpectSameAnswers(path, *MakePath(Without(mains, masked)), all);
}

TEST_F(CompositeReferenceTest, MaskingMatchesByFolderNotByObject) {
    const PathEntryPointer copy = AnotherObject(mains[3]);
    ASSERT_NE(copy, mains[3]);
    const MultiMaskedPath path(mainPath, {copy, nullptr});
    ExpectSameAnswers(path, *MakePath(Without(mains, {mains[3]})), all);
}

TEST_F(CompositeReferenceTest, DeduplicationKeepsTheFirstOccurrenceOfEachFolder) {
    const PathEntryVector front = Join(Range(0, 8), Mains({12, 25}));
    const DeduplicatedPath path({MakePath(front), MakePath(Range(8, mains.size()))});
    ExpectSameAnswers(path, *MakePath(Join(front, Without(Range(8, mains.size()), front))), all);
}

TEST_F(CompositeReferenceTest, NestedCompositesAnswerAsTheirFlatEquivalent) {
    // The current folder in front of the path it stands on, as the manager
    // composes it without packages.
    const ConcatenatedPath front(MakePath(Mains({5})), std::make_shared<MultiMaskedPath>(mainPath, Mains({5})));
    ExpectSameAnswers(front, *MakePath(Join(Mains({5}), Without(mains, Mains({5})))), all);

    const auto joined = std::make_shared<ConcatenatedPath>(MakePath(Range(0, 4)), MakePath(Mains({9, 2})));
    const auto masked = std::make_shared<MultiMaskedPath>(mainPath, Mains({3, 11}));
    const DeduplicatedPath path({joined, masked});
    const PathEntryVector shown = Join(Range(0, 4), Mains({9}));
    ExpectSameAnswers(path, *MakePath(Join(shown, Without(mains, Join(shown, Mains({11}))))), all);
}

TEST_F(CompositeReferenceTest, EmptyCompositesAnswerNothing) {
    const auto empty = MakePath({});
    ExpectSameAnswers(DeduplicatedPath({}), *empty, all);
    ExpectSameAnswers(DeduplicatedPath({nullptr, empty}), *empty, all);
    ExpectSameAnswers(MultiMaskedPath(empty, mains), *empty, all);
    ExpectSameAnswers(MultiMaskedPath(mainPath, mains), *empty, all);
}

} // namespace
} // namespace tfsp::test
