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

using ::testing::ElementsAreArray;

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
    static std::vector<PathEntryPointer> EntriesOf(const std::vector<FoundItem>& found) {
        std::vector<PathEntryPointer> entries;
        for (const FoundItem& f : found) entries.push_back(f.GetPathEntry());
        return entries;
    }
    // A main entry with a package that holds a class folder.
    PathEntryPointer MainWithPackage() const {
        for (const PathEntryPointer& main : mains)
            for (const PathEntryPointer& package : *main->GetPackageEntries())
                if (!package->GetMethodEntries()->empty()) return main;
        return nullptr;
    }

    CompositeTree tree{12};
    const PathEntryVector& mains = tree.mains;
    const std::shared_ptr<const IPath> mainPath = MakePath(mains);
    const detail::SearchTarget common{u"common", {u".m"}};
};

TEST_F(CompositeHidingTest, CurrentFolderOnThePathStandsFirstAndOnce) {
    // Without packages the manager puts the current folder, found on the main
    // path, in front of the main path with that folder masked.
    const PathEntryPointer found = mainPath->GetPathEntryFromAbsoluteIRI(mains[5]->GetIRI());
    const ConcatenatedPath search(MakePath({found}), std::make_shared<MultiMaskedPath>(mainPath, PathEntryVector{found}));

    const PathEntryList shown = search.GetMainEntries();
    ASSERT_EQ(shown->size(), mains.size());
    EXPECT_EQ(shown->front(), mains[5]);  // the very object of the main path
    EXPECT_EQ(std::count(shown->begin(), shown->end(), mains[5]), 1);
    const std::multiset<std::string> walked = WalkedFolders(search);
    EXPECT_EQ(std::set<std::string>(walked.begin(), walked.end()).size(), walked.size());
    EXPECT_EQ(walked, WalkedFolders(*mainPath));

    const std::vector<FoundItem> hits = search.FindAllInScope(allEntryTypesScope, common, CaseRuleOne);
    EXPECT_EQ(hits.front().GetPathEntry(), mains[5]);
    EXPECT_EQ(hits.size(), mainPath->FindAllInScope(allEntryTypesScope, common, CaseRuleOne).size());
    EXPECT_EQ(search.FindFirstInScope(allEntryTypesScope, common, CaseRuleOne)->GetPathEntry(), mains[5]);
    EXPECT_TRUE(search.FirstEntryIsBeforeSecondOnPath(*mains[5], *mains[0]));
    EXPECT_FALSE(search.FirstEntryIsBeforeSecondOnPath(*mains[0], *mains[5]));
    EXPECT_EQ(search.GetMainEntryForEntry(*mains[5]), mains[5]);
}

TEST_F(CompositeHidingTest, DeduplicationHidesTheFoldersBelowALaterOccurrence) {
    const PathEntryPointer main = MainWithPackage();
    ASSERT_TRUE(main);
    const PathEntryPointer package = main->GetPackageEntries()->front();
    const PathEntryPointer packageClass = package->GetMethodEntries()->front();

    // A package folder that an earlier path shows as a main entry of its own
    // (as the current folder path would): the main path's package entry, and
    // the class folder in it, give way; the folder that holds them stays.
    const PathEntryPointer earlierPackage = std::make_shared<InaccessibleFolderPathEntry>(
        Main, package->GetIRI(), package->GetDescriptor());
    const DeduplicatedPath path({MakePath({earlierPackage}), mainPath});
    EXPECT_EQ(path.GetMainEntries()->size(), mains.size() + 1);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(main->GetIRI()), main);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(package->GetIRI()), earlierPackage);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(packageClass->GetIRI()), nullptr);
    EXPECT_FALSE(path.IsEntryOnPath(*packageClass));
    EXPECT_EQ(path.GetMainEntryForEntry(*package), earlierPackage);
    const std::multiset<std::string> walked = WalkedFolders(path);
    EXPECT_EQ(std::set<std::string>(walked.begin(), walked.end()).size(), walked.size());
    EXPECT_EQ(walked.count(Utf8(packageClass->GetIRI().getPath())), 0u);
    const std::vector<PathEntryPointer> hits = EntriesOf(path.FindAllInScope(allEntryTypesScope, common, CaseRuleOne));
    EXPECT_THAT(hits, ::testing::Contains(main));
    EXPECT_THAT(hits, ::testing::Not(::testing::Contains(package)));
    EXPECT_THAT(hits, ::testing::Not(::testing::Contains(packageClass)));

    // A main folder shown by an earlier path as another object: the later
    // one goes with everything below it.
    const PathEntryPointer earlierMain = AnotherObject(main);
    const DeduplicatedPath again({MakePath({earlierMain}), mainPath});
    EXPECT_EQ(again.GetMainEntries()->front(), earlierMain);
    EXPECT_THAT(*again.GetMainEntries(), ::testing::Not(::testing::Contains(main)));
    EXPECT_EQ(again.GetPathEntryFromAbsoluteIRI(packageClass->GetIRI()), earlierMain->GetPackageEntries()->front()->GetMethodEntries()->front());
    EXPECT_EQ(WalkedFolders(again), WalkedFolders(*mainPath));
}

TEST_F(CompositeHidingTest, MaskingAChildFolderKeepsItsParent) {
    const PathEntryPointer main = MainWithPackage();
    ASSERT_TRUE(main);
    const PathEntryPointer package = main->GetPackageEntries()->front();
    const PathEntryPointer packageClass = package->GetMethodEntries()->front();
    const MultiMaskedPath path(mainPath, {package});

    EXPECT_EQ(*path.GetMainEntries(), mains);
    EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(main->GetIRI()), main);
    for (const PathEntryPointer& hidden : {package, packageClass}) {
        EXPECT_FALSE(path.IsEntryOnPath(*hidden));
        EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(hidden->GetIRI()), nullptr);
        EXPECT_EQ(path.GetMainEntryForEntry(*hidden), nullptr);
    }
    const std::vector<PathEntryPointer> hits = EntriesOf(path.FindAllInScope(allEntryTypesScope, common, CaseRuleOne));
    EXPECT_THAT(hits, ::testing::Contains(main));
    EXPECT_THAT(hits, ::testing::Not(::testing::Contains(package)));
    EXPECT_THAT(hits, ::testing::Not(::testing::Contains(packageClass)));
    std::multiset<std::string> expected = WalkedFolders(*mainPath);
    package->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) {
        expected.erase(Utf8(e->GetIRI().getPath()));
        return false;
    });
    EXPECT_EQ(WalkedFolders(path), expected);
}

TEST_F(CompositeHidingTest, ConcurrentQueriesFromSeveralThreadsAgree) {
    const ConcatenatedPath search(MakePath({mains[5]}), std::make_shared<MultiMaskedPath>(mainPath, PathEntryVector{mains[5]}));
    const std::vector<FoundItem> expected = search.FindAllInScope(allEntryTypesScope, common, CaseRuleTwo);
    std::vector<std::thread> threads;
    std::vector<int> agreed(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                const bool same = search.FindAllInScope(allEntryTypesScope, common, CaseRuleTwo) == expected &&
                                  search.FindFirstInScope(allEntryTypesScope, common, CaseRuleTwo)->GetPathEntry() == mains[5] &&
                                  search.IsEntryOnPath(*mains[t]);
                agreed[t] += same ? 1 : 0;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(agreed, ::testing::Each(50));
}

} // namespace
} // namespace tfsp::test
