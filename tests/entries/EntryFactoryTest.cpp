// The factory shares entries while they are alive and up to date, and makes
// new ones when folders change.
#include "EntryTestHelpers.hpp"

#include "PathEntry.hpp"
#include "PathEntryFactory.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

namespace tfsp::test {
namespace {

namespace ffo = storage::filefolderobserver;
using ::testing::ElementsAre;

class EntryFactoryTest : public EngineFixture {
protected:
    TempTree tree;
};

TEST_F(EntryFactoryTest, AnEntryIsSharedUntilItsFolderChanges) {
    tree.file("f/a.tf");
    tree.file("f/resources/r.txt");
    auto& factory = GetPathEntryFactory();
    const auto before = factory.GetPathEntry(tree.iri("f"));
    EXPECT_EQ(factory.GetPathEntry(CanonicalAbsoluteIRI(tree.iri("f"), ustring())), before);
    // A change in a child counts for its parent, whose observer covers only itself.
    tree.file("f/resources/s.txt");
    SynchronizeObservers();
    ASSERT_TRUE(before->IsOutOfDate());
    tree.file("f/b.tf");
    const auto after = factory.GetPathEntry(tree.iri("f"));
    EXPECT_NE(after, before);
    EXPECT_THAT(FileNames(*after), ElementsAre("a.tf", "b.tf"));
    EXPECT_FALSE(after->IsOutOfDate());
}

TEST_F(EntryFactoryTest, AnEntryNobodyHoldsIsBuiltAgain) {
    tree.file("f/a.tf");
    auto& factory = GetPathEntryFactory();
    std::weak_ptr<const IPathEntry> old = factory.GetPathEntry(tree.iri("f"));
    EXPECT_TRUE(old.expired());
    tree.file("f/b.tf");
    // Rebuilt from the disk, not from anything remembered.
    EXPECT_THAT(FileNames(*factory.GetPathEntry(tree.iri("f"))), ElementsAre("a.tf", "b.tf"));
}

TEST_F(EntryFactoryTest, MainFoldersUnderTheInstallRootStayAliveAndFrozen) {
    tree.file("install/toolbox/t/a.tf");
    tree.file("elsewhere/a.tf");
    fl::filesystem::set_install_path(tree.upath("install"));
    auto& factory = GetPathEntryFactory();

    std::weak_ptr<const IPathEntry> toolbox = factory.GetPathEntry(tree.iri("install/toolbox/t"));
    ASSERT_FALSE(toolbox.expired());
    EXPECT_EQ(factory.GetPathEntry(tree.iri("install/toolbox/t")), toolbox.lock());
    EXPECT_THAT(*factory.GetToolboxEntries(), ElementsAre(toolbox.lock()));

    std::weak_ptr<const IPathEntry> other = factory.GetPathEntry(tree.iri("elsewhere"));
    EXPECT_TRUE(other.expired());

    // Frozen: a change on disk goes unseen until the folder is named as
    // changed on the observers' bus.
    const auto entry = toolbox.lock();
    tree.file("install/toolbox/t/b.tf");
    EXPECT_FALSE(entry->IsOutOfDate());
    auto bus = ovutil::eventmgr::createLocalEventMgr(boost::none);
    bus->publish(boost::make_shared<ffo::FileFolderChangedEvent>(entry->GetIRI().toString(),
                                                                 ffo::FrozenInclusion::IncludeFrozen),
                 1);
    EXPECT_FALSE(entry->IsOutOfDate());
    bus->deliverHeld();
    EXPECT_TRUE(entry->IsOutOfDate());
    EXPECT_THAT(FileNames(*factory.GetPathEntry(tree.iri("install/toolbox/t"))), ElementsAre("a.tf", "b.tf"));
}

TEST_F(EntryFactoryTest, FrozenCopiesShareItemsAndFreezeTheirChildren) {
    tree.file("f/a.tf");
    tree.file("f/+p/b.tf");
    auto& factory = GetPathEntryFactory();
    const auto live = factory.GetPathEntry(tree.iri("f"));
    const auto frozen = factory.GetFrozenEntryFor(live);
    EXPECT_NE(frozen, live);
    EXPECT_EQ(frozen->GetPathItems()->front(), live->GetPathItems()->front());
    ASSERT_EQ(frozen->GetPackageEntries()->size(), 1u);
    const auto frozenChild = frozen->GetPackageEntries()->front();
    tree.file("f/c.tf");
    tree.file("f/+p/d.tf");
    SynchronizeObservers();
    ASSERT_TRUE(live->IsOutOfDate());
    EXPECT_FALSE(frozen->IsOutOfDate());
    EXPECT_FALSE(frozenChild->IsOutOfDate());
    // A frozen copy isn't remembered: the folder still gives a live entry.
    EXPECT_NE(factory.GetPathEntry(tree.iri("f")), frozen);
}

TEST_F(EntryFactoryTest, CanonicalNamesResolveOnlyTheMainFolder) {
    tree.folder("real/+pkg");
    tree.symlink("link", tree.path("real"));
    auto& factory = GetPathEntryFactory();
    const auto iri = factory.GetCanonicalFolderIRI(tree.iri("link/+pkg/@Cls"));
    EXPECT_EQ(iri, tree.iri("real/+pkg/@Cls"));
    EXPECT_EQ(factory.GetCanonicalFileIRI(tree.iri("link/+pkg/f.tf")), tree.iri("real/+pkg/f.tf"));
    EXPECT_THROW(factory.GetCanonicalFolderIRI(tree.iri("missing/+pkg")), foundation::storage::vfs::Exception);
}

// Observers whose answers a test sets.
class FakeObserver : public ffo::IFileFolderObserver {
public:
    FakeObserver(std::shared_ptr<std::atomic<bool>> changed, bool coversChildren)
        : changed_(std::move(changed)), coversChildren_(coversChildren) {}
    bool hasChanged() const override { return *changed_; }
    bool observesChildFoldersToo() const override { return coversChildren_; }

private:
    std::shared_ptr<std::atomic<bool>> changed_;
    bool coversChildren_;
};

std::shared_ptr<const IPathEntry> MakeEntry(const TempTree& tree, const std::string& relative, PathEntryType type,
                                            std::shared_ptr<std::atomic<bool>> changed, bool coversChildren,
                                            PathEntryPointer resources = nullptr) {
    return std::make_shared<PathEntry>(
        PathEntry::Parts{.iri = CanonicalAbsoluteIRI(tree.iri(relative), ustring()),
                         .descriptor = tree.upath(relative),
                         .entryType = type,
                         .children = {.resourcesEntry = std::move(resources)},
                         .folderObserver = std::make_unique<FakeObserver>(std::move(changed), coversChildren)});
}

TEST_F(EntryFactoryTest, OutOfDateFollowsWhatTheObserversCover) {
    auto parentChanged = std::make_shared<std::atomic<bool>>(false);
    auto childChanged = std::make_shared<std::atomic<bool>>(true);
    const auto child = MakeEntry(tree, "f/resources", Resources, childChanged, false);
    // The parent's observer covers only the parent: the child counts.
    EXPECT_TRUE(MakeEntry(tree, "f", Main, parentChanged, false, child)->IsOutOfDate());
    // The parent's observer covers the subtree: only its own answer counts.
    EXPECT_FALSE(MakeEntry(tree, "f", Main, parentChanged, true, child)->IsOutOfDate());
    *parentChanged = true;
    EXPECT_TRUE(MakeEntry(tree, "f", Main, parentChanged, true, child)->IsOutOfDate());
}

TEST_F(EntryFactoryTest, DestructionIsAnnouncedOnTheEntrysBus) {
    tree.file("f/a.tf");
    auto bus = ovutil::eventmgr::createLocalEventMgr(boost::none);
    std::vector<std::string> destroyed;
    auto connection = bus->subscribe(
        PathEntryWillBeDestroyedEvent::TypeName(), [&](const foundation::msg_svc::eventmgr::BaseEvent& event) {
            destroyed.push_back(
                Utf8(static_cast<const PathEntryWillBeDestroyedEvent&>(event).GetCanonicalAbsoluteIRI().getName()));
        });
    tree.file("f/+p/b.tf");
    GetPathEntryFactory().GetPathEntry(tree.iri("f"));
    // The parent first, then the child whose last share went with it.
    EXPECT_THAT(destroyed, ElementsAre("f", "+p"));
}

// Real observers, except that one folder's observer can't be made: to the
// factory that folder is as unreadable as one without permissions.
class FailingObserverFactory : public ffo::IFileFolderObserverFactory {
public:
    FailingObserverFactory(ffo::IFileFolderObserverFactory& real, ustring failing)
        : real_(real), failing_(std::move(failing)) {}
    std::unique_ptr<ffo::IFileFolderObserver> CreateFrozenObserver(foundation::storage::vfs::Folder folder) override {
        Check(folder);
        return real_.CreateFrozenObserver(folder);
    }
    std::unique_ptr<ffo::IFileFolderObserver> CreateObserver(foundation::storage::vfs::Folder folder,
                                                             foundation::core::except::Notification& n) override {
        Check(folder);
        return real_.CreateObserver(folder, n);
    }
    void Synchronize() override { real_.Synchronize(); }
    void SetRemotePathPolicy(int policy) override { real_.SetRemotePathPolicy(policy); }
    int GetRemotePathPolicy() const override { return real_.GetRemotePathPolicy(); }
    void SetChangeHandleWarning(int warning) override { real_.SetChangeHandleWarning(warning); }
    int GetChangeHandleWarning() const override { return real_.GetChangeHandleWarning(); }

private:
    void Check(const foundation::storage::vfs::Folder& folder) const {
        if (folder.getName() == failing_)
            throw foundation::storage::vfs::Exception(foundation::storage::vfs::ErrorCode::PermissionDenied,
                                                      folder.getIRI().getPath(), "test");
    }
    ffo::IFileFolderObserverFactory& real_;
    ustring failing_;
};

TEST_F(EntryFactoryTest, ASubfolderThatFailsIsLeftOutButTheFolderItselfFailsWhole) {
    tree.file("main/+open/a.tf");
    tree.file("main/+closed/b.tf");
    tree.file("main/private/c.tf");
    const auto storage = OrvianStorageSystem::GetStorageSystemReference();
    FailingObserverFactory observers(ffo::GetFileFolderObserverFactory(storage), u"+closed");
    PathEntryFactory factory(std::nullopt, storage, observers, ovutil::eventmgr::createLocalEventMgr(boost::none));
    const auto entry = factory.GetPathEntry(tree.iri("main"));
    EXPECT_THAT(BaseNames(entry->GetPackageEntries()), ElementsAre("+open"));
    EXPECT_NE(entry->GetPrivateEntry(), nullptr);
    try {
        factory.GetPathEntry(tree.iri("main/+closed"));
        FAIL() << "no exception";
    } catch (const foundation::storage::vfs::Exception& e) {
        EXPECT_EQ(e.getCode(), foundation::storage::vfs::ErrorCode::PermissionDenied);
    }
}

using EntryFactoryDeathTest = EntryFactoryTest;

TEST_F(EntryFactoryDeathTest, ImpossibleEntryTypesAreFatal) {
    tree.folder("f");
    const auto main = GetPathEntryFactory().GetPathEntry(tree.iri("f"));
    PathEntry::Children children;
    EXPECT_DEATH(PushChildEntryToCurrentPathEntry(children, main), "Unexpected PathEntry Type.");
    EXPECT_DEATH(GetValidChildEntryTypesForEntryType(static_cast<PathEntryType>(6)),
                 "Received unexpected PathEntry Type");
}

}  // namespace
}  // namespace tfsp::test
