// A refresh as the factories it is given see it: which folders it reads
// again, through which factory it builds its paths, and what it makes of a
// folder that is gone when it looks.
#include "InjectedManager.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

namespace tfsp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;
using ::testing::Not;

class RefreshRulesTest : public InjectedManagerFixture {
protected:
    RefreshRulesTest() {
        tree.folders({"a", "b", "cwd", "p/b", "comp", "comp/sub"}, "x.tf");
        Cd("cwd");
    }
    PathEntryPointer MainEntry(std::size_t i) { return Manager().GetMainPath()->GetMainEntries()->at(i); }
};

TEST_F(RefreshRulesTest, BuildsItsPathsThroughTheManagersPathFactory) {
    Make();
    SetPath({"a", "b"});
    tree.file("a/new.tf");
    paths.made.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(paths.made, Contains(*Manager().GetMainPath()->GetMainEntries()));
    EXPECT_TRUE(Manager().GetSearchPath()->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(u"new", {u".tf"}),
                                                            CaseRuleOne));
}

// The folders are read again with no warning about change handles, and the
// host's setting comes back afterwards.
TEST_F(RefreshRulesTest, ReadsFoldersWithoutChangeHandleWarnings) {
    Make();
    SetPath({"a", "b"});
    Observers().SetChangeHandleWarning(storage::filefolderobserver::WarnOnce);
    entries.warningsWhileReading.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    for (const char* folder : {"a", "b"})
        EXPECT_THAT(entries.warningsWhileReading[folder], ElementsAre(storage::filefolderobserver::WarnNever))
            << folder;
    EXPECT_EQ(Observers().GetChangeHandleWarning(), storage::filefolderobserver::WarnOnce);
}

// A folder that came back, and was gone again when it was read, gets a new
// inaccessible entry in its place, listed as refreshed.
TEST_F(RefreshRulesTest, AFolderGoneAgainGetsAFreshInaccessibleEntry) {
    Make();
    SetPath({"a", "p/b"});
    tree.remove("p");
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    const PathEntryPointer first = MainEntry(1);
    ASSERT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(first.get()), nullptr);

    tree.folder("p/b");
    ASSERT_TRUE(first->IsOutOfDate());
    entries.vanishing.insert(Canonical("p/b").getPath());
    ChangeLog log;
    EXPECT_TRUE(Manager().Refresh(TrustObservers));
    const PathEntryPointer second = MainEntry(1);
    EXPECT_NE(second, first);
    EXPECT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(second.get()), nullptr);
    EXPECT_EQ(second->GetIRI(), first->GetIRI());
    ASSERT_EQ(log.events.size(), 3u);
    EXPECT_THAT(*log.events[1].GetSearchPathDifferences().refreshed, ElementsAre(second));
    EXPECT_EQ(Manager().GetPathFolders()->size(), 2u);
}

// With the packages feature on, the folders of installed components follow
// their component: a refresh neither reports them as changed nor reads them.
// The user search path is made from the refreshed main path.
TEST_F(RefreshRulesTest, LeavesComponentFoldersAloneWithThePackagesFeatureOn) {
    OrvianComponents::ComponentFeature::Set(true);
    InstallPackage("comp", /*managed=*/true, "1.0", {"comp/sub"});
    Make(MainSearchPathManager::PackagesLast);
    SetPath({"a", "comp"});
    ASSERT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("a", "comp", "comp/sub"));
    const PathEntryVector before = *Manager().GetMainPath()->GetMainEntries();
    entries.warningsWhileReading.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(entries.warningsWhileReading, Contains(Key("a")));
    EXPECT_THAT(entries.warningsWhileReading, Not(Contains(Key("comp"))));
    EXPECT_THAT(entries.warningsWhileReading, Not(Contains(Key("sub"))));
    const PathEntryVector after = *Manager().GetMainPath()->GetMainEntries();
    ASSERT_EQ(after.size(), 3u);
    EXPECT_NE(after[0], before[0]);
    EXPECT_EQ(after[1], before[1]);
    EXPECT_EQ(after[2], before[2]);
    EXPECT_FALSE(after[1]->IsOutOfDate());
    EXPECT_FALSE(after[2]->IsOutOfDate());
    EXPECT_THAT(Folders(*Manager().GetUserSearchPath()), ElementsAre("cwd", "a"));
    EXPECT_EQ(Manager().GetUserSearchPath()->GetMainEntries()->at(1), after[0]);
}

}  // namespace
}  // namespace tfsp::test
