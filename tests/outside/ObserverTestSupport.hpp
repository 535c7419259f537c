#pragma once
// A fixture for tests of the folder observers: a fresh process store, a
// temporary tree, and observers made of its folders the way the entry
// factory makes them.
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/usm/StateStore.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "storage/filefolderobserver/ObserverTestHooks.hpp"
#include "support/TempTree.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

namespace tfsp::test {

using Observer = std::unique_ptr<storage::filefolderobserver::IFileFolderObserver>;

class ObserverFixture : public ::testing::Test {
protected:
    using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

    void SetUp() override { ProcessStore::endAll(); }
    void TearDown() override { ProcessStore::endAll(); }
    static storage::filefolderobserver::IFileFolderObserverFactory& factory() {
        return storage::filefolderobserver::GetFileFolderObserverFactory(
            OrvianStorageSystem::GetStorageSystemReference());
    }
    foundation::storage::vfs::Folder folder(const std::string& relative) {
        return foundation::storage::vfs::Folder(tree.iri(relative), OrvianStorageSystem::GetStorageSystemReference());
    }
    // A folder read as the entry factory reads it before it asks for an
    // observer; made if missing.
    foundation::storage::vfs::Folder listed(const std::string& relative) {
        tree.folder(relative);
        foundation::storage::vfs::Folder made = folder(relative);
        made.listFiles(ustring());
        return made;
    }
    Observer live(const std::string& relative, foundation::core::except::Notification& notification) {
        return factory().CreateObserver(listed(relative), notification);
    }
    Observer live(const std::string& relative) {
        foundation::core::except::Notification notification;
        auto observer = live(relative, notification);
        EXPECT_TRUE(notification.empty());
        return observer;
    }
    void rename(const std::string& from, const std::string& to) {
        ASSERT_EQ(std::rename(tree.path(from).c_str(), tree.path(to).c_str()), 0);
    }

    TempTree tree;
};

}  // namespace tfsp::test
