// A live observer made after a listing must see what changed in between,
// whether its folder's times settle the question or a new reading has to.
#include "foundation/storage/vfs/Folder.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"

#include <chrono>
#include <thread>

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

} // namespace
} // namespace tfsp::test
