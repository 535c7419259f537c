// Refresh: the path follows the file system, once for each change, and
// settles when nothing changes. Every change is followed by one refresh and
// then the check: a change made before a refresh is seen by it, never by a
// later one.
#include "ManagerTestSupport.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <filesystem>
#include <stop_token>
#include <thread>

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RefreshTest : public ManagerFixture {
protected:
    RefreshTest() { tree.folders({"a", "b", "cwd"}, "x.tf"); }
    bool Finds(const std::string& name) { return !FoundFirst(name).empty(); }
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
        ASSERT_TRUE(Manager().Refresh(TrustObservers)) << changes[i].first;
        ASSERT_TRUE(expected[i]()) << changes[i].first;
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
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    ASSERT_TRUE(Finds("back"));
    EXPECT_THAT(Refreshed(log), ElementsAre("b"));
}

TEST_F(RefreshTest, AVanishedWorkingFolderIsReportedOnce) {
    SetPath({"a"});
    Cd("cwd");
    ChangeLog log;
    tree.remove("cwd");
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    ASSERT_FALSE(log.events.empty());
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

// A file made or removed just before a refresh, right after the folder was
// listed again for the change before: the refresh must see it, the first
// time. A refresh that doesn't first take in what the observers' reader
// thread has yet to hand over misses about one in a hundred on a quiet
// machine, so each run makes and removes a thousand files.
class RefreshLoopTest : public RefreshTest {
protected:
    // In `folder`: "a", on the path, or "cwd", the working folder.
    void MakeAndRemoveEach(int files, const std::string& folder = "a") {
        Cd("cwd");
        ASSERT_TRUE(SetPath({"a"}).empty());
        for (int i = 0; i < files; ++i) {
            const std::string name = "f" + std::to_string(i);
            const std::string file = tree.file(folder + "/" + name + ".tf");
            ASSERT_TRUE(Manager().Refresh(TrustObservers));
            ASSERT_EQ(FoundFirst(name), folder + "/" + name + ".tf") << "made " << i << " of " << files;
            ASSERT_TRUE(std::filesystem::remove(file));
            ASSERT_TRUE(Manager().Refresh(TrustObservers));
            ASSERT_EQ(FoundFirst(name), "") << "removed " << i << " of " << files;
        }
    }
};

TEST_F(RefreshLoopTest, AFileMadeOrRemovedJustBeforeARefreshIsNeverMissed) { MakeAndRemoveEach(1000); }

// The working folder has an observer of its own, which the refresh must
// hear out as well.
TEST_F(RefreshLoopTest, AFileMadeOrRemovedInTheWorkingFolderJustBeforeARefreshIsNeverMissed) {
    MakeAndRemoveEach(1000, "cwd");
}

// The reader thread that hears of changes gets a core later on a busy
// machine, which is where a refresh that doesn't wait for it misses most.
TEST_F(RefreshLoopTest, AFileMadeOrRemovedJustBeforeARefreshIsNeverMissedOnBusyCores) {
    std::vector<std::jthread> busy;
    for (int t = 0; t < 2; ++t)
        busy.emplace_back([](std::stop_token stop) {
            volatile unsigned spins = 0;  // work the compiler keeps
            while (!stop.stop_requested()) spins = spins + 1;
        });
    MakeAndRemoveEach(1000);
    // The threads are asked to stop and joined as `busy` ends, also on a failure.
}

}  // namespace
}  // namespace tfsp::test
