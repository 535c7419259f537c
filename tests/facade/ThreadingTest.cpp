// The facade across threads, and the change callbacks: what runs where, and
// what a callback may do.
#include "FacadeTestSupport.hpp"

#include "tfsearch_path/SearchPath.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

namespace tfsp::test {
namespace {

using namespace Thornfell::PathManagement;
using std::filesystem::path;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Found = std::optional<path>;

TEST(FacadeThreads, EightThreadsFindRefreshAndChangeFoldersAtOnce) {
    TwoFolders folders;
    SearchPath searchPath;
    searchPath.SetFolders(folders.both());
    const Found inFirst = folders.first() / "hello.tf", inSecond = folders.second() / "hello.tf";
    std::atomic<int> wrongFinds{0}, failures{0}, changesSeen{0};
    const Subscription subscription = searchPath.OnChange([&](const PathChange&) { ++changesSeen; });

    constexpr int kRounds = 40;
    std::barrier start(8);
    std::vector<std::jthread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                try {
                    if (t < 2) {
                        searchPath.SetFolders((round + t) % 2 ? folders.reversed() : folders.both());
                    } else if (t < 4) {
                        searchPath.Refresh();
                        if (searchPath.Folders().size() != 2) ++failures;
                    } else {
                        const Found found = searchPath.Find("hello");
                        if (found != inFirst && found != inSecond) ++wrongFinds;
                        if (searchPath.FindAll("hello").size() != 2) ++wrongFinds;
                        if (!searchPath.Find("only-in-second")) ++wrongFinds;
                    }
                } catch (const std::exception&) {
                    ++failures;
                }
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrongFinds, 0);
    EXPECT_EQ(failures, 0);
    EXPECT_GT(changesSeen, 0);
    // The last change wins everywhere: Find answers from the path Folders lists.
    const std::vector<path> last = searchPath.Folders();
    ASSERT_EQ(last.size(), 2u);
    EXPECT_EQ(searchPath.Find("hello"), Found(last.front() / "hello.tf"));
}

TEST(FacadeThreads, IsMadeOnOneThreadUsedOnAnotherAndEndedOnAThird) {
    TwoFolders folders;
    std::optional<SearchPath> searchPath;
    std::thread([&] {
        searchPath.emplace();
        searchPath->SetFolders(folders.both());
    }).join();
    EXPECT_EQ(searchPath->Find("hello"), Found(folders.first() / "hello.tf"));
    std::thread([&] { searchPath->SetFolders(folders.reversed()); }).join();
    EXPECT_EQ(searchPath->Find("hello"), Found(folders.second() / "hello.tf"));
    std::thread([&] { searchPath.reset(); }).join();
    EXPECT_FALSE(searchPath);
}

TEST(FacadeThreads, MovesIntoAThreadAndBackOut) {
    TwoFolders folders;
    SearchPath searchPath;
    searchPath.SetFolders(folders.both());
    std::thread([moved = std::move(searchPath), &folders]() mutable {
        EXPECT_EQ(moved.Find("hello"), Found(folders.first() / "hello.tf"));
        moved.SetFolders(folders.reversed());
        EXPECT_EQ(moved.Find("hello"), Found(folders.second() / "hello.tf"));
    }).join();

    SearchPath back;
    std::thread([&] {
        SearchPath made;
        made.SetFolders(std::vector<path>{folders.second()});
        back = std::move(made);
    }).join();
    EXPECT_EQ(back.Find("only-in-first"), std::nullopt);
    EXPECT_TRUE(back.Find("only-in-second"));
}

TEST(FacadeCallbacks, RunOnTheChangingThreadAfterTheChangeWithWhatChanged) {
    TwoFolders folders;
    folders.tree.file("third/x.tf");
    SearchPath searchPath;
    searchPath.SetFolders(folders.both());
    std::vector<PathChange> changes;
    std::vector<Found> foundInCallback;
    std::vector<std::size_t> foldersInCallback;
    const std::thread::id thisThread = std::this_thread::get_id();
    const Subscription subscription = searchPath.OnChange([&](const PathChange& change) {
        EXPECT_EQ(std::this_thread::get_id(), thisThread);
        changes.push_back(change);
        foundInCallback.push_back(searchPath.Find("hello"));  // the new path already
        foldersInCallback.push_back(searchPath.Folders().size());
    });

    searchPath.SetFolders(std::vector<path>{folders.second(), folders.tree.path("third")});
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(changes[0].added, ElementsAre(path(folders.tree.path("third"))));
    EXPECT_THAT(changes[0].removed, ElementsAre(folders.first()));
    EXPECT_THAT(foundInCallback, ElementsAre(Found(folders.second() / "hello.tf")));
    EXPECT_THAT(foldersInCallback, ElementsAre(2u));

    folders.tree.file("second/new.tf");
    EXPECT_TRUE(searchPath.Refresh());
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_THAT(changes[1].refreshed, ElementsAre(folders.second()));
    EXPECT_THAT(changes[1].added, IsEmpty());

    searchPath.SetFolders(std::vector<path>{folders.second(), folders.tree.path("third")});
    EXPECT_EQ(changes.size(), 2u);  // nothing changed, nothing reported
}

TEST(FacadeCallbacks, ACallbackThatChangesThePathGetsTheRecursionErrorAndTheChangeStands) {
    TwoFolders folders;
    SearchPath searchPath;
    std::vector<std::string> errors;
    const Subscription subscription = searchPath.OnChange([&](const PathChange&) {
        try {
            searchPath.SetFolders(folders.reversed());
        } catch (const std::exception& e) {
            errors.push_back(std::string("SetFolders: ") + e.what());
        }
        try {
            searchPath.Refresh();
        } catch (const std::exception& e) {
            errors.push_back(std::string("Refresh: ") + e.what());
        }
    });
    searchPath.SetFolders(folders.both());
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_THAT(errors[0], HasSubstr("already being changed"));
    EXPECT_THAT(errors[1], HasSubstr("Refresh: "));
    EXPECT_THAT(searchPath.Folders(), ElementsAre(folders.first(), folders.second()));
    // Another SearchPath may be changed from the callback.
    SearchPath other;
    const Subscription chained = searchPath.OnChange([&](const PathChange&) { other.SetFolders(folders.reversed()); });
    searchPath.SetFolders(std::vector<path>{folders.first()});
    EXPECT_THAT(other.Folders(), ElementsAre(folders.second(), folders.first()));
}

TEST(FacadeCallbacks, ASubscriptionEndsWhenDestroyedEvenInsideItsOwnCallback) {
    TwoFolders folders;
    SearchPath searchPath;
    int selfEnding = 0, kept = 0;
    std::optional<Subscription> once;
    once = searchPath.OnChange([&](const PathChange&) {
        ++selfEnding;
        once.reset();
    });
    Subscription moved = searchPath.OnChange([&](const PathChange&) { ++kept; });
    Subscription movedTo = std::move(moved);  // still connected
    {
        const Subscription ended = searchPath.OnChange([&](const PathChange&) { ADD_FAILURE() << "ended"; });
    }
    searchPath.SetFolders(folders.both());
    searchPath.SetFolders(folders.reversed());
    EXPECT_EQ(selfEnding, 1);
    EXPECT_EQ(kept, 2);
}

TEST(FacadeCallbacks, ASubscriptionMayOutliveItsSearchPath) {
    TwoFolders folders;
    int calls = 0;
    Subscription subscription;
    {
        SearchPath searchPath;
        subscription = searchPath.OnChange([&](const PathChange&) { ++calls; });
        searchPath.SetFolders(folders.both());
    }
    EXPECT_EQ(calls, 1);
    subscription = Subscription();  // ends nothing, and doesn't fail
}

TEST(FacadeCallbacks, ACallbackMayEndItsSearchPath) {
    TwoFolders folders;
    auto searchPath = std::make_unique<SearchPath>();
    Subscription subscription = searchPath->OnChange([&](const PathChange&) { searchPath.reset(); });
    searchPath->SetFolders(folders.both());
    EXPECT_FALSE(searchPath);
}

}  // namespace
}  // namespace tfsp::test
