// A live observer made after a listing must see what changed in between,
// whether its folder's times settle the question or a new reading has to;
// one made before the reading has nothing to check.
#include "foundation/storage/vfs/Folder.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "support/Text.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace tfsp::test {
namespace {

namespace ffo = storage::filefolderobserver;
namespace vfs = foundation::storage::vfs;

class ObserverListingStampTest : public EngineFixture {
protected:
    std::unique_ptr<ffo::IFileFolderObserver> Observe(const vfs::Folder& folder) {
        foundation::core::except::Notification warnings;
        return ffo::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference())
            .CreateObserver(folder, warnings);
    }
    vfs::Folder Listed(const std::string& relative) {
        vfs::Folder folder(tree.iri(relative), OrvianStorageSystem::GetStorageSystemReference());
        folder.listFiles(ustring());
        return folder;
    }
    TempTree tree;
};

TEST_F(ObserverListingStampTest, SettledFoldersAreJudgedByTheirTimes) {
    tree.file("quiet/a.tf");
    tree.file("busy/a.tf");
    // Let the folders' times fall into an earlier second than the listing.
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    const vfs::Folder quiet = Listed("quiet");
    const vfs::Folder busy = Listed("busy");
    ASSERT_TRUE(quiet.getListingStamp().has_value());
    tree.file("busy/b.tf");  // after the listing, before the observer
    EXPECT_FALSE(Observe(quiet)->hasChanged());
    EXPECT_TRUE(Observe(busy)->hasChanged());
}

TEST_F(ObserverListingStampTest, RecentFoldersAreReadAgain) {
    tree.file("fresh/a.tf");
    const vfs::Folder quiet = Listed("fresh");
    EXPECT_FALSE(Observe(quiet)->hasChanged());
    tree.file("fresh2/a.tf");
    const vfs::Folder busy = Listed("fresh2");
    tree.file("fresh2/b.tf");
    EXPECT_TRUE(Observe(busy)->hasChanged());
}

// The entry factory watches a folder before it reads it: the reading shows
// what came before the watch, and the observer hears what comes after, even
// where that is before the reading.
TEST_F(ObserverListingStampTest, FoldersWatchedBeforeTheirReadingAreTakenAsRead) {
    tree.file("early/a.tf");
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    const vfs::Folder early(tree.iri("early"), OrvianStorageSystem::GetStorageSystemReference());
    const auto observer = Observe(early);
    EXPECT_FALSE(early.hasBegunListing());
    EXPECT_FALSE(observer->hasChanged());
    tree.file("early/b.tf");
    std::vector<std::string> names;
    for (const vfs::File& file : early.listFiles(ustring())) names.push_back(Utf8(file.getName()));
    EXPECT_THAT(names, ::testing::UnorderedElementsAre("a.tf", "b.tf"));
    SynchronizeObservers();
    EXPECT_TRUE(observer->hasChanged());
    // The stamp taken before the reading is the reading's. An observer made
    // after the reading finds the folder's times moved since, reads it
    // again, and finds nothing the listing lacks.
    EXPECT_FALSE(Observe(early)->hasChanged());

    // A folder that can't be opened can't be read either.
    tree.folder("gone");
    const vfs::Folder gone(tree.iri("gone"), OrvianStorageSystem::GetStorageSystemReference());
    tree.remove("gone");
    EXPECT_TRUE(Observe(gone)->hasChanged());
}

}  // namespace
}  // namespace tfsp::test
