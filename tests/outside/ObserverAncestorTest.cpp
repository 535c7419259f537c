// What an observer's own watch can't see: a folder above it renamed, deleted
// or replaced, and changes the reader thread hasn't got to yet. After
// Synchronize(), every observer answers for every change made before it.
#include "ObserverTestSupport.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace storage::filefolderobserver;
using tfsp::test::Observer;

class ObserverAncestorTest : public tfsp::test::ObserverFixture {
protected:
    // What a refresh asks, once the queue has been handed over.
    static bool changed(const Observer& observer) {
        factory().Synchronize();
        return observer->hasChanged();
    }
};

// Each change is seen by the first question after it: no waiting, no second
// look.
TEST_F(ObserverAncestorTest, AChangeIsSeenByTheFirstQuestionAfterSynchronize) {
    for (int i = 0; i < 300; ++i) {
        const std::string folder = "f" + std::to_string(i % 3);
        auto observer = live(folder);
        ASSERT_FALSE(changed(observer)) << i;
        const std::string file = folder + "/new" + std::to_string(i);
        if (i % 2)
            tree.file(file);
        else
            std::filesystem::create_directory(tree.path(file));
        ASSERT_TRUE(changed(observer)) << i;
        tree.remove(file);
    }
}

TEST_F(ObserverAncestorTest, RenamedDeletedOrReplacedAncestorsMarkTheFoldersBelow) {
    // Made before any observer: making a folder changes its parent's listing.
    for (const char* folder : {"x/a/b/c", "x/other", "y/a/b"}) tree.folder(folder);
    auto b = live("x/a/b"), c = live("x/a/b/c"), sibling = live("x/other"), beside = live("y/a/b");
    for (const auto* observer : {&b, &c, &sibling, &beside}) EXPECT_FALSE(changed(*observer));

    // The parent renamed and made again, with the same folder below it.
    rename("x/a", "x/old");
    tree.folder("x/a/b/c");
    EXPECT_TRUE(changed(b));
    EXPECT_TRUE(changed(c));
    EXPECT_FALSE(changed(sibling)) << "a change beside the way down doesn't concern it";
    EXPECT_FALSE(changed(beside));

    // New observers of the new folders: a grandparent renamed.
    sibling = live("x/other");
    b = live("x/a/b");
    c = live("x/a/b/c");
    rename("x", "x2");
    EXPECT_TRUE(changed(b));
    EXPECT_TRUE(changed(c));
    EXPECT_TRUE(changed(sibling)) << "x held it too";
    EXPECT_FALSE(changed(beside));

    // The parent deleted and made again.
    beside = live("y/a/b");
    tree.remove("y/a");
    tree.folder("y/a/b");
    EXPECT_TRUE(changed(beside));

    // The parent replaced by another folder under the same name.
    beside = live("y/a/b");
    tree.folder("z/a/b");
    tree.remove("y/a");
    rename("z/a", "y/a");
    EXPECT_TRUE(changed(beside));
}

TEST_F(ObserverAncestorTest, EntriesComingAndGoingInAnAncestorLeaveTheFoldersBelowAlone) {
    auto deep = live("r/s/t");
    tree.file("r/unrelated.txt");
    tree.folder("r/s2");
    tree.remove("r/unrelated.txt");
    tree.file("r/s/t2/x");
    EXPECT_FALSE(changed(deep));
    tree.file("r/s/t/x");
    EXPECT_TRUE(changed(deep));
}

// The ancestors of one tree are shared: many folders add a handful of
// watches, and they go with the last observer below them.
TEST_F(ObserverAncestorTest, FoldersOfOneTreeShareTheirAncestorsWatches) {
    ASSERT_EQ(testhooks::AncestorWatchCountForTesting(factory()), 0u);
    std::vector<std::string> folders;
    for (int i = 0; i < 60; ++i) folders.push_back(tree.folder("g" + std::to_string(i % 6) + "/d" + std::to_string(i)));
    std::vector<Observer> observers;
    for (const std::string& folder : folders) observers.push_back(live(folder.substr(tree.root().size() + 1)));
    const std::size_t levels = static_cast<std::size_t>(std::count(tree.root().begin(), tree.root().end(), '/'));
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 60u);
    // The root's chain, the root itself, and the six group folders.
    EXPECT_EQ(testhooks::AncestorWatchCountForTesting(factory()), levels + 1 + 6);
    observers.resize(30);
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 30u);
    EXPECT_EQ(testhooks::AncestorWatchCountForTesting(factory()), levels + 1 + 6);
    observers.clear();
    EXPECT_EQ(testhooks::WatchCountForTesting(factory()), 0u);
    EXPECT_EQ(testhooks::AncestorWatchCountForTesting(factory()), 0u);
}

// Where the folders above can't be watched (the watch table is full, or a
// folder may be passed through but not read), an observer looks at what its
// name leads to at each question instead.
TEST_F(ObserverAncestorTest, WithoutAncestorWatchesTheNameIsCheckedAtEachQuestion) {
    testhooks::FailAncestorWatchesForTesting(factory(), ENOSPC);
    for (const char* folder : {"p/a/b", "q/a/b", "s/a/b"}) tree.folder(folder);
    auto renamed = live("p/a/b"), deleted = live("q/a/b"), quiet = live("s/a/b");
    EXPECT_EQ(testhooks::AncestorWatchCountForTesting(factory()), 0u);
    for (const auto* observer : {&renamed, &deleted, &quiet}) EXPECT_FALSE(changed(*observer));
    rename("p/a", "p/old");
    tree.folder("p/a/b");
    tree.remove("q/a");
    EXPECT_TRUE(changed(renamed));
    EXPECT_TRUE(changed(deleted));
    EXPECT_FALSE(changed(quiet));
    tree.file("s/a/b/new");
    EXPECT_TRUE(changed(quiet)) << "its own watch still stands";
    testhooks::FailAncestorWatchesForTesting(factory(), 0);
}

}  // namespace
