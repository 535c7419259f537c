// What the composites hide, as the manager composes them: the current folder
// in front of the main path, folders below a hidden folder, and queries from
// several threads.
#include "CompositeTestHelpers.hpp"

#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "tfsearch_path/MultiMaskedPath.hpp"

#include <gmock/gmock.h>

#include <set>
#include <thread>

namespace tfsp::test {
namespace {

using ::testing::Contains;
using ::testing::Not;

class CompositeHidingTest : public EngineFixture {
protected:
    // The folders that a walk of `path` visits, each as often as visited.
    static std::multiset<std::string> WalkedFolders(const IPath& path) {
        std::multiset<std::string> folders;
        path.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& entry) {
            folders.insert(Utf8(entry->GetIRI().getPath()));
            return false;
        });
        return folders;
    }
    PathEntryVector HoldersOfCommon(const IPath& path) const {
        PathEntryVector entries;
        for (const FoundItem& f : path.FindAllInScope(allEntryTypesScope, common, CaseRuleOne))
            entries.push_back(f.GetPathEntry());
        return entries;
    }
    // The current folder in front of the main path with that folder masked, as
    // the manager composes it without packages.
    ConcatenatedPath CurrentFolderFirst(const PathEntryPointer& current) const {
        return ConcatenatedPath(MakePath({current}),
                                std::make_shared<MultiMaskedPath>(mainPath, PathEntryVector{current}));
    }
    void SetUp() override {
        // A main entry with a package that holds a class folder.
        for (const PathEntryPointer& candidate : mains)
            for (const PathEntryPointer& p : *candidate->GetPackageEntries())
                if (!main && !p->GetMethodEntries()->empty()) {
                    main = candidate;
                    package = p;
                    packageClass = p->GetMethodEntries()->front();
                }
        ASSERT_TRUE(main);
    }

    CompositeTree tree{24};
    const PathEntryVector& mains = tree.mains;
    const std::shared_ptr<const IPath> mainPath = MakePath(mains);
    const detail::SearchTarget common{u"common", {u".tf"}};
    PathEntryPointer main, package, packageClass;
};

TEST_F(CompositeHidingTest, CurrentFolderOnThePathStandsFirstAndOnce) {
    const ConcatenatedPath search = CurrentFolderFirst(mainPath->GetPathEntryFromAbsoluteIRI(mains[5]->GetIRI()));

    const PathEntryList shown = search.GetMainEntries();
    EXPECT_EQ(shown->size(), mains.size());
    EXPECT_EQ(shown->front(), mains[5]);  // the very object of the main path, once
    EXPECT_EQ(std::count(shown->begin(), shown->end(), mains[5]), 1);
    EXPECT_EQ(WalkedFolders(search), WalkedFolders(*mainPath));
    EXPECT_EQ(HoldersOfCommon(search).front(), mains[5]);
    EXPECT_EQ(HoldersOfCommon(search).size(), HoldersOfCommon(*mainPath).size());
    EXPECT_TRUE(search.FirstEntryIsBeforeSecondOnPath(*mains[5], *mains[0]));
    EXPECT_FALSE(search.FirstEntryIsBeforeSecondOnPath(*mains[0], *mains[5]));
}

TEST_F(CompositeHidingTest, DeduplicationHidesTheFoldersBelowALaterOccurrence) {
    // A package folder that an earlier path shows as a main entry of its own:
    // the main path's package entry, and the class folder in it, give way;
    // the folder that holds them stays.
    const PathEntryPointer earlierPackage =
        std::make_shared<InaccessibleFolderPathEntry>(Main, package->GetIRI(), package->GetDescriptor());
    const DeduplicatedPath path({MakePath({earlierPackage}), mainPath});
    EXPECT_EQ(path.GetMainEntries()->size(), mains.size() + 1);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(package->GetIRI()), earlierPackage);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(packageClass->GetIRI()), nullptr);
    EXPECT_EQ(path.GetMainEntryForEntry(*package), earlierPackage);
    const std::multiset<std::string> walked = WalkedFolders(path);
    EXPECT_EQ(std::set<std::string>(walked.begin(), walked.end()).size(), walked.size());
    EXPECT_EQ(walked.count(Utf8(packageClass->GetIRI().getPath())), 0u);
    EXPECT_THAT(HoldersOfCommon(path), Contains(main));
    EXPECT_THAT(HoldersOfCommon(path), Not(Contains(package)));
    EXPECT_THAT(HoldersOfCommon(path), Not(Contains(packageClass)));

    // A main folder that an earlier path shows as another object: the later
    // one goes with everything below it.
    const PathEntryPointer earlierMain = AnotherObject(main);
    const DeduplicatedPath again({MakePath({earlierMain}), mainPath});
    EXPECT_EQ(again.GetMainEntries()->front(), earlierMain);
    EXPECT_THAT(*again.GetMainEntries(), Not(Contains(main)));
    EXPECT_NE(again.GetPathEntryFromAbsoluteIRI(packageClass->GetIRI()), packageClass);
    EXPECT_EQ(WalkedFolders(again), WalkedFolders(*mainPath));
}

TEST_F(CompositeHidingTest, MaskingAChildFolderKeepsItsParent) {
    const MultiMaskedPath path(mainPath, {package});
    EXPECT_EQ(*path.GetMainEntries(), mains);
    for (const PathEntryPointer& hidden : {package, packageClass}) {
        EXPECT_FALSE(path.IsEntryOnPath(*hidden));
        EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(hidden->GetIRI()), nullptr);
        EXPECT_THAT(HoldersOfCommon(path), Not(Contains(hidden)));
    }
    EXPECT_THAT(HoldersOfCommon(path), Contains(main));
    std::multiset<std::string> expected = WalkedFolders(*mainPath);
    for (const PathEntryPointer& hidden : {package, packageClass}) expected.erase(Utf8(hidden->GetIRI().getPath()));
    EXPECT_EQ(WalkedFolders(path), expected);
}

TEST_F(CompositeHidingTest, ConcurrentQueriesFromSeveralThreadsAgree) {
    const ConcatenatedPath search = CurrentFolderFirst(mains[5]);
    const PathEntryVector expected = HoldersOfCommon(search);
    std::vector<int> agreed(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i)
                agreed[t] +=
                    HoldersOfCommon(search) == expected && search.IsEntryOnPath(*mains[t]) &&
                    search.FindFirstInScope(allEntryTypesScope, common, CaseRuleTwo)->GetPathEntry() == mains[5];
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(agreed, ::testing::Each(50));
}

}  // namespace
}  // namespace tfsp::test
