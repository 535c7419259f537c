// Refresh: the path follows the file system, once for each change, and
// settles when nothing changes.
#include "ManagerTestSupport.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <filesystem>

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RefreshTest : public ManagerFixture {
protected:
    RefreshTest() {
        tree.folders({"a", "b", "cwd"}, "x.tf");
    }
    bool Finds(const std::string& name) {
        const detail::SearchTarget target(fl::i18n::utf8_to_ustring(name), {u".tf"});
        return Manager().GetSearchPath()->FindFirstInScope(allEntryTypesScope, target, CaseRuleOne).has_value();
    }
    // Refreshes until `condition` holds: the observers hear of a change a
    // moment after it happened.
    bool RefreshUntil(const std::function<bool()>& condition) {
        return Eventually([&] { return Manager().Refresh(TrustObservers) && condition(); });
    }
    std::vector<std::string> Refreshed(const ChangeLog& log) {
        return log.events.empty() ? std::vector<std::string>{}
                                  : Names(*log.events.front().GetSearchPathDifferences().refreshed);
    }
};

TEST_F(RefreshTest, NothingChangedBuildsAndPublishesNothing) {
    Cd("cwd");
    SetPath({"a", "b"});
    const auto search = Manager().GetSearchPath();
    ChangeLog log;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(Manager().GetSearchPath(), search);
    EXPECT_EQ(log.events.size(), 0u);
}

TEST_F(RefreshTest, FilesAddedRemovedAndRenamedAreSeenOnce) {
    SetPath({"a", "b"});
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"added", [&] { tree.file("b/new.tf"); }},
        {"renamed", [&] { std::filesystem::rename(tree.path("b/new.tf"), tree.path("b/renamed.tf")); }},
        {"removed", [&] { tree.remove("b/renamed.tf"); }},
    };
    const std::function<bool()> expected[] = {[&] { return Finds("new"); },
                                              [&] { return Finds("renamed") && !Finds("new"); },
                                              [&] { return !Finds("renamed"); }};
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        ChangeLog log;
        changes[i].second();
        ASSERT_TRUE(RefreshUntil(expected[i])) << changes[i].first;
        EXPECT_THAT(Refreshed(log), ElementsAre("b")) << changes[i].first;
        log.events.clear();
        EXPECT_TRUE(Manager().Refresh(TrustObservers));
        EXPECT_EQ(log.events.size(), 0u) << changes[i].first;
    }
}

TEST_F(RefreshTest, AGoneFolderKeepsItsPlaceAndSettles) {
    Cd("cwd");
    SetPath({"a", "b"});
    tree.remove("b");
    ChangeLog log;
    EXPECT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(Refreshed(log), ElementsAre("cwd", "a", "b"));
    EXPECT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("a", "b"));
    EXPECT_EQ(Manager().GetPathFolders()->size(), 2u);
    const auto entry = Manager().GetMainPath()->GetMainEntries()->at(1);
    EXPECT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(entry.get()), nullptr);

    // While it stays gone, nothing is built and nothing is published; a
    // forced refresh reads the others again, and not it.
    log.events.clear();
    const auto mainPath = Manager().GetMainPath();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(Manager().GetMainPath(), mainPath);
    EXPECT_EQ(log.events.size(), 0u);
    EXPECT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(Refreshed(log), ElementsAre("cwd", "a"));
    EXPECT_EQ(Manager().GetMainPath()->GetMainEntries()->at(1), entry);
    log.events.clear();

    // Back again: refreshed once, and its files are found.
    tree.file("b/back.tf");
    ASSERT_TRUE(RefreshUntil([&] { return Finds("back"); }));
    EXPECT_THAT(Refreshed(log), ElementsAre("b"));
}

TEST_F(RefreshTest, AVanishedWorkingFolderIsReportedOnce) {
    SetPath({"a"});
    Cd("cwd");
    ChangeLog log;
    tree.remove("cwd");
    ASSERT_TRUE(RefreshUntil([&] { return !log.events.empty(); }));
    EXPECT_THAT(Refreshed(log), ElementsAre("cwd"));
    log.events.clear();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(log.events.size(), 0u);
}

TEST_F(RefreshTest, AForcedRefreshListsEachFolderOnceCurrentFolderFirst) {
    tree.file("c/x.tf");
    Cd("cwd");
    SetPath({"a", "b"});
    ChangeLog log;
    EXPECT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(Refreshed(log), ElementsAre("cwd", "a", "b"));

    Cd("b");  // on the path: refreshed as part of it, listed once
    log.events.clear();
    EXPECT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(Refreshed(log), ElementsAre("a", "b"));
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("b", "a"));
}

TEST_F(RefreshTest, AFileMadeRightAfterItsFolderWasListedIsNeverMissed) {
    SetPath({"a"});
    for (int i = 0; i < 1000; ++i) {
        const std::string name = "f" + std::to_string(i);
        tree.file("a/" + name + ".tf");
        ASSERT_TRUE(RefreshUntil([&] { return Finds(name); })) << name;
    }
}

} // namespace
} // namespace tfsp::test
