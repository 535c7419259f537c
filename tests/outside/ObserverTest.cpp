// The folder observers: inotify watches and their sharing, the fallback to
// time stamps, the policies, and FileFolderChangedEvent on the local bus.
#include "ObserverTestSupport.hpp"

#include "ovutil/LocalEventMgr.hpp"
#include "support/EngineFixture.hpp"

#include <boost/make_shared.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <system_error>
#include <thread>

namespace {

using namespace storage::filefolderobserver;
using foundation::core::except::Notification;
using foundation::storage::vfs::Folder;
using tfsp::test::Eventually;
using tfsp::test::Observer;

class ObserverTest : public tfsp::test::ObserverFixture {
protected:
    Observer frozen(const std::string& relative) { return factory().CreateFrozenObserver(listed(relative)); }
    void publish(const std::string& relative, FrozenInclusion inclusion) {
        ovutil::eventmgr::createLocalEventMgr(boost::none)
            ->publish(boost::make_shared<FileFolderChangedEvent>(tree.iri(relative).toString(), inclusion), 1);
    }
    static void deliver() { ovutil::eventmgr::createLocalEventMgr(boost::none)->deliverHeld(); }
    void failWatches(int error) {
        testhooks::FailWatchesForTesting(factory(), error);
        factory().SetChangeHandleWarning(WarnNever);
    }
};

TEST_F(ObserverTest, LiveObserverSeesEntriesAddedRemovedAndRenamed) {
    tree.file("removed/gone.txt");
    tree.file("renamed/old.txt");
    tree.file("movedOut/away.txt");
    tree.file("quiet/data.txt");
    auto added = live("added"), removed = live("removed"), renamed = live("renamed"), movedOut = live("movedOut"),
         quiet = live("quiet");
    for (const auto* observer : {&added, &removed, &renamed, &movedOut, &quiet}) {
        EXPECT_FALSE((*observer)->hasChanged());
        EXPECT_FALSE((*observer)->observesChildFoldersToo());
    }
    tree.folder("added/sub");
    tree.remove("removed/gone.txt");
    rename("renamed/old.txt", "renamed/new.txt");
    rename("movedOut/away.txt", "away.txt");
    // Contents and attributes of an entry are no change of the listing.
    tree.file("quiet/data.txt", "new contents");
    tree.chmod("quiet/data.txt", 0600);
    // Every change made so far is handed over: those of the listings are
    // seen, and the quiet folder's contents and attributes were none.
    factory().Synchronize();
    for (const auto* observer : {&added, &removed, &renamed, &movedOut}) EXPECT_TRUE((*observer)->hasChanged());
    EXPECT_FALSE(quiet->hasChanged());
    EXPECT_TRUE(added->hasChanged()) << "a change stays a change";
}

TEST_F(ObserverTest, ChangesBetweenListingAndObserverAreSeen) {
    Folder before = listed("racy");
    tree.file("racy/late.txt");
    Notification notification;
    EXPECT_TRUE(factory().CreateObserver(before, notification)->hasChanged());
    // A folder that went, and one that goes while observed.
    tree.folder("doomed");
    Folder vanished = folder("doomed");
    tree.remove("doomed");
    EXPECT_TRUE(factory().CreateObserver(vanished, notification)->hasChanged());
    auto deleted = live("deleted");
    tree.remove("deleted");
    factory().Synchronize();
    EXPECT_TRUE(deleted->hasChanged());
    EXPECT_TRUE(notification.empty());
}

TEST_F(ObserverTest, ObserversOfOneFolderShareOneWatch) {
    auto first = live("shared"), second = live("shared");
    tree.symlink("alias", tree.path("shared"));
    auto byAlias = live("alias"), other = live("other");
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 2u);
    first.reset();
    second.reset();
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 2u) << "the alias still holds the folder's watch";
    tree.file("shared/new.txt");
    factory().Synchronize();
    EXPECT_TRUE(byAlias->hasChanged());
    EXPECT_FALSE(other->hasChanged());
    byAlias.reset();
    other.reset();
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 0u);
}

// A change the reader hasn't handled yet is older than a second observer of
// the same folder, whose listing shows it: it must not reach the counters
// the new observer starts from. The reader is quick, so the race is run many
// times.
TEST_F(ObserverTest, ObserverJoiningAWatchedFolderStartsAfterQueuedChanges) {
    auto first = live("joined");
    for (int round = 0; round < 40; ++round) {
        tree.file("joined/f" + std::to_string(round));
        auto joining = live("joined");
        EXPECT_FALSE(joining->hasChanged()) << "round " << round;
        EXPECT_TRUE(first->hasChanged());
    }
}

TEST_F(ObserverTest, OverflowOrLostFactoryMakesLiveObserversReportChange) {
    auto one = live("one"), two = live("two");
    auto stillFrozen = frozen("one");
    testhooks::SimulateOverflowForTesting(factory());
    EXPECT_TRUE(one->hasChanged());
    EXPECT_TRUE(two->hasChanged());
    EXPECT_FALSE(stillFrozen->hasChanged());
    EXPECT_FALSE(live("one")->hasChanged()) << "made after the overflow";

    // Observers outlive their factory; nobody reads their watch any more.
    auto watched = live("a");
    ProcessStore::endAll();
    EXPECT_TRUE(watched->hasChanged());
    EXPECT_FALSE(stillFrozen->hasChanged());
    watched.reset();
    stillFrozen.reset();
    EXPECT_FALSE(live("a")->hasChanged()) << "a new factory";
}

// An observer that found nothing skips the look while nothing anywhere has
// happened since; every kind of happening must still reach it.
TEST_F(ObserverTest, UnchangedAnswerLastsOnlyUntilTheNextHappening) {
    auto overflowed = live("o"), evented = live("e"), frozenEvented = frozen("e");
    auto bystander = live("b"), frozenBystander = frozen("b");
    const auto unchanged = [&](const Observer& observer) {
        for (int ask = 0; ask < 2; ++ask) EXPECT_FALSE(observer->hasChanged());
    };
    for (const auto* observer : {&overflowed, &evented, &frozenEvented, &bystander, &frozenBystander})
        unchanged(*observer);
    publish("e", FrozenInclusion::IncludeFrozen);
    deliver();
    EXPECT_TRUE(evented->hasChanged());
    EXPECT_TRUE(frozenEvented->hasChanged());
    unchanged(bystander);
    unchanged(frozenBystander);
    testhooks::SimulateOverflowForTesting(factory());
    EXPECT_TRUE(overflowed->hasChanged());
    unchanged(frozenBystander);
    auto stopped = live("s");
    unchanged(stopped);
    ProcessStore::endAll();
    EXPECT_TRUE(stopped->hasChanged()) << "nobody reads its watch any more";
}

TEST_F(ObserverTest, FailedWatchWarnsByChangeHandleWarningPolicy) {
    testhooks::FailWatchesForTesting(factory(), ENOSPC);
    const auto warningsFor = [&](const std::string& relative) {
        Notification notification;
        EXPECT_FALSE(live(relative, notification)->hasChanged());
        return notification.messages();
    };
    // "always", the default: each folder, with its path and the reason.
    const auto first = warningsFor("a");
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].getIdentifier(), "ORVIAN:FileFolderObserver:ChangeHandleFallback");
    EXPECT_EQ(first[0].getArguments(),
              (std::vector<ustring>{tree.upath("a"),
                                    fl::i18n::utf8_to_ustring(std::generic_category().message(ENOSPC))}));
    EXPECT_EQ(warningsFor("b").size(), 1u);
    // "once": the first fallback after each setting.
    factory().SetChangeHandleWarning(WarnOnce);
    EXPECT_EQ(warningsFor("c").size(), 1u);
    EXPECT_TRUE(warningsFor("d").empty());
    factory().SetChangeHandleWarning(WarnOnce);
    EXPECT_EQ(warningsFor("e").size(), 1u);
    factory().SetChangeHandleWarning(WarnNever);
    EXPECT_TRUE(warningsFor("f").empty());
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 0u);

    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(factory().SetChangeHandleWarning(3), "Unrecognized ChangeHandleWarning");
    EXPECT_DEATH(factory().SetRemotePathPolicy(-1), "Unrecognized RemotePathPolicy");
}

TEST_F(ObserverTest, FailedWatchFallsBackToTimeStamps) {
    failWatches(EACCES);
    // Just made: its times can't tell a change in the same tick.
    auto fresh = live("fresh");
    EXPECT_FALSE(fresh->hasChanged());
    tree.file("fresh/new.txt");
    EXPECT_TRUE(fresh->hasChanged());

    // Older than the current second: the times alone decide.
    tree.file("old/gone.txt");
    tree.folder("old/sub");
    tree.folder("replacement");
    struct stat status {};
    ASSERT_EQ(::stat(tree.path("old").c_str(), &status), 0);
    // The kernel stamps by its coarse clock.
    ASSERT_TRUE(Eventually([&] {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
        return now.tv_sec > status.st_ctim.tv_sec;
    }));
    auto removedFrom = live("old"), beforeReplacement = live("old/sub");
    EXPECT_FALSE(removedFrom->hasChanged());
    EXPECT_FALSE(beforeReplacement->hasChanged());
    tree.remove("old/gone.txt");
    EXPECT_TRUE(removedFrom->hasChanged());
    tree.remove("old/sub");
    rename("replacement", "old/sub");
    EXPECT_TRUE(beforeReplacement->hasChanged()) << "another folder under the same name";
}

TEST_F(ObserverTest, RemoteFoldersFollowRemotePathPolicy) {
    testhooks::TreatFoldersAsRemoteForTesting(factory(), true);
    ASSERT_EQ(factory().GetRemotePathPolicy(), RemoteTimecheckDir);
    auto timeChecked = live("timed");
    EXPECT_FALSE(timeChecked->hasChanged());
    tree.file("timed/new.txt");
    EXPECT_TRUE(timeChecked->hasChanged());
    factory().SetRemotePathPolicy(RemoteReload);
    EXPECT_TRUE(live("reloaded")->hasChanged());
    factory().SetRemotePathPolicy(RemoteNone);
    auto ignored = live("ignored");
    tree.file("ignored/new.txt");
    EXPECT_FALSE(ignored->hasChanged());
    publish("ignored", FrozenInclusion::LiveOnly);
    deliver();
    EXPECT_TRUE(ignored->hasChanged());
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 0u);
}

TEST_F(ObserverTest, FrozenObserverWakesOnlyOnItsDeliveredIncludeFrozenEvent) {
    auto frozenA = frozen("a"), frozenB = frozen("b");
    auto liveA = live("a");
    tree.file("a/new.txt");
    factory().Synchronize();
    ASSERT_TRUE(liveA->hasChanged());
    EXPECT_FALSE(frozenA->hasChanged()) << "the file system doesn't reach a frozen observer";
    failWatches(ENOSPC);
    auto timedA = live("a"), timedB = live("b");
    publish("b", FrozenInclusion::LiveOnly);
    deliver();
    EXPECT_TRUE(timedB->hasChanged());
    EXPECT_FALSE(frozenB->hasChanged()) << "a live-only event";

    publish("a", FrozenInclusion::IncludeFrozen);
    EXPECT_FALSE(frozenA->hasChanged()) << "held until delivered";
    deliver();
    EXPECT_TRUE(frozenA->hasChanged());
    EXPECT_TRUE(timedA->hasChanged());
    EXPECT_FALSE(frozenB->hasChanged());
    EXPECT_FALSE(frozen("a")->hasChanged()) << "made after the event";
}

TEST_F(ObserverTest, ConcurrentHasChangedStaysTrueOnceTrue) {
    std::vector<Observer> observers;
    observers.push_back(live("a"));
    observers.push_back(live("a"));
    observers.push_back(frozen("a"));
    failWatches(ENOSPC);
    observers.push_back(live("b"));
    testhooks::FailWatchesForTesting(factory(), 0);

    std::atomic<bool> done{false}, flipped{false};
    std::atomic<int> running{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 6; ++t)
        readers.emplace_back([&] {
            std::vector<bool> seen(observers.size(), false);
            ++running;
            while (!done.load())
                for (std::size_t i = 0; i < observers.size(); ++i) {
                    const bool now = observers[i]->hasChanged();
                    flipped = flipped || (seen[i] && !now);
                    seen[i] = seen[i] || now;
                }
        });
    // Observers of the same folder come and go meanwhile.
    std::thread churn([&, churned = folder("a")] {
        Notification ignored;
        while (!done.load()) factory().CreateObserver(churned, ignored);
    });
    EXPECT_TRUE(Eventually([&] { return running.load() == 6; }));
    tree.file("a/new.txt");
    tree.file("b/new.txt");
    publish("a", FrozenInclusion::IncludeFrozen);
    deliver();
    factory().Synchronize();
    EXPECT_TRUE(std::all_of(observers.begin(), observers.end(), [](const auto& o) { return o->hasChanged(); }));
    done = true;
    churn.join();
    for (auto& reader : readers) reader.join();
    EXPECT_FALSE(flipped.load());
}

}  // namespace
