// The working folder as a path of its own, for each kind of folder.
#include "ManagerTestSupport.hpp"

#include "CurrentFolderPathManager.hpp"
#include "FolderMonitor.hpp"
#include "NoCurrentFolderPathManager.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CurrentFolderTest : public ManagerFixture {
protected:
    CurrentFolderTest() {
        tree.file("plain/a.tf");
        tree.file("plain/private/p.tf");
        tree.file("plain/+pkg/q.tf");
        tree.file("plain/@Cls/m.tf");
        tree.file("other/b.tf");
    }
    std::unique_ptr<CurrentFolderPathManager> Make(const std::string& folder) {
        auto made = std::make_unique<CurrentFolderPathManager>(foundation::msg_svc::eventmgr::getEngineEventMgr(),
                                                               registry, GetPathEntryFactory(), GetCurrentPathFactory(),
                                                               Monitor(), Canonical(folder));
        made->ConnectCurrentFolderChangedHandler(
            [this](const std::shared_ptr<const IPath>& oldPath,
                   const std::optional<OrvianComponents::ComponentIdentifier>&) { signalled.push_back(oldPath); });
        return made;
    }
    IFolderMonitor& Monitor() {
        if (!monitor)
            monitor = std::make_unique<FolderMonitor>(std::nullopt, GetCurrentPathFactory().CreatePath({}),
                                                      Thornfell::PackageRegistry::GetPackageRegistrar());
        return *monitor;
    }
    std::unique_ptr<FolderMonitor> monitor;
    std::vector<std::shared_ptr<const IPath>> signalled;
};

TEST_F(CurrentFolderTest, APlainFolderIsAOneEntryPath) {
    const auto current = Make("plain");
    EXPECT_THAT(Folders(*current->GetCurrentFolderPath()), ElementsAre("plain"));
    EXPECT_EQ(current->GetCurrentFolderComponent(), std::nullopt);
}

TEST_F(CurrentFolderTest, APrivateFolderShowsAsAMainEntryWhoseFilesAreFound) {
    const auto current = Make("plain/private");
    const auto path = current->GetCurrentFolderPath();
    ASSERT_EQ(path->GetMainEntries()->size(), 1u);
    const auto entry = path->GetMainEntries()->front();
    EXPECT_EQ(entry->GetPathEntryType(), Main);
    ASSERT_NE(entry->GetPrivateEntry(), nullptr);
    EXPECT_EQ(entry->GetPrivateEntry()->GetPathEntryType(), Private);
    EXPECT_EQ(entry->GetPrivateEntry()->GetIRI(), entry->GetIRI());
    const detail::SearchTarget target(u"p", {u".tf"});
    EXPECT_TRUE(path->FindFirstInScope(allEntryTypesScope, target, CaseRuleOne).has_value());
    // The walk sees the decorator once, and nothing of a Private-only scope.
    int visits = 0;
    entry->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) { return ++visits, e != entry; });
    EXPECT_EQ(visits, 1);
    static constexpr PathEntryType onlyPrivate[] = {Private};
    EXPECT_FALSE(entry->ForEachEntry(SearchScope(onlyPrivate), [](const PathEntryPointer&) { return true; }));
}

TEST_F(CurrentFolderTest, PackageAndClassFoldersGiveAnEmptyPath) {
    for (const char* folder : {"plain/+pkg", "plain/@Cls"}) {
        const auto current = Make(folder);
        EXPECT_THAT(*current->GetCurrentFolderPath()->GetMainEntries(), IsEmpty()) << folder;
        const auto mainPath =
            GetCurrentPathFactory().CreatePath({GetPathEntryFactory().GetPathEntry(tree.iri("plain"))});
        EXPECT_EQ(current->GetCurrentFolderPathForMainPath(*mainPath), current->GetCurrentFolderPath());
    }
}

TEST_F(CurrentFolderTest, AnUnreadableFolderKeepsItsPlace) {
    const auto current = Make("never-made");
    const auto entry = current->GetCurrentFolderPath()->GetMainEntries()->front();
    EXPECT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(entry.get()), nullptr);
    EXPECT_EQ(entry->GetPathEntryType(), Main);
    EXPECT_EQ(entry->GetDescriptor(), Canonical("never-made").toString());
    // And the same on a change to such a folder: no exception escapes.
    Thornfell::current_working_folder::CurrentWorkingFolderChangedEvent event(Canonical("plain"), Canonical("missing"));
    foundation::msg_svc::eventmgr::getEngineEventMgr()->publish(event.clone(), 0);
    EXPECT_THAT(Folders(*current->GetCurrentFolderPath()), ElementsAre("missing"));
}

TEST_F(CurrentFolderTest, FollowsTheWorkingFolderAndSignalsTheOldPath) {
    const auto current = Make("plain");
    const auto before = current->GetCurrentFolderPath();
    Cd("other");
    EXPECT_THAT(Folders(*current->GetCurrentFolderPath()), ElementsAre("other"));
    EXPECT_THAT(signalled, ElementsAre(before));
}

TEST_F(CurrentFolderTest, OnTheMainPathTheCurrentFolderIsTheMainPathsOwnEntry) {
    const auto current = Make("plain");
    // The folder changes, so that the main path gets an entry of its own,
    // another object than the manager's.
    const auto ownEntry = current->GetCurrentFolderPath()->GetMainEntries()->front();
    tree.file("plain/new.tf");
    SynchronizeObservers();
    ASSERT_TRUE(ownEntry->IsOutOfDate());
    const auto mainEntry = GetPathEntryFactory().CreateUpdatedPathEntry(Canonical("plain"), Monitor());
    ASSERT_NE(mainEntry, ownEntry);
    const auto mainPath = GetCurrentPathFactory().CreatePath({mainEntry});
    const auto fitted = current->GetCurrentFolderPathForMainPath(*mainPath);
    EXPECT_EQ(fitted->GetMainEntries()->front(), mainEntry);
    EXPECT_EQ(current->GetCurrentFolderPath()->GetMainEntries()->front(), ownEntry);
}

TEST_F(CurrentFolderTest, ComponentChangesArePublishedOnlyWhenTheOwnerChanges) {
    std::vector<std::pair<bool, bool>> changes;  // (had old, has new)
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        CurrentFolderComponentHasBeenChangedEvent::TypeName(), [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
            const auto& event = static_cast<const CurrentFolderComponentHasBeenChangedEvent&>(e);
            changes.emplace_back(event.GetOldComponent().has_value(), event.GetNewComponent().has_value());
        });
    tree.file("pkgroot/a.tf");
    tree.file("pkgroot/sub/b.tf");
    InstallPackage("pkgroot");
    const auto current = Make("plain");
    Cd("pkgroot");
    Cd("pkgroot/sub");  // same owner: signalled, not published
    Cd("other");
    EXPECT_EQ(signalled.size(), 3u);
    EXPECT_THAT(changes, ElementsAre(std::pair(false, true), std::pair(true, false)));
}

TEST_F(CurrentFolderTest, MementosRestoreOnlyInTheSameFolder) {
    const auto current = Make("plain");
    const auto memento = current->CreateMemento();
    Cd("other");
    current->RestoreMemento(*memento);
    EXPECT_THAT(Folders(*current->GetCurrentFolderPath()), ElementsAre("other"));
    Cd("plain");
    current->RestoreMemento(*memento);
    EXPECT_EQ(current->GetCurrentFolderPath(), memento->path);
}

TEST_F(CurrentFolderTest, RefreshReplacesOnlyAnOutOfDateFolder) {
    const auto current = Make("plain");
    auto [left, came] = current->RequestRefresh(TrustObservers);
    EXPECT_THAT(left, IsEmpty());
    EXPECT_THAT(came, IsEmpty());
    const auto old = current->GetCurrentFolderPath()->GetMainEntries()->front();
    std::tie(left, came) = current->RequestRefresh(ForceRefresh);
    EXPECT_THAT(left, ElementsAre(old));
    ASSERT_EQ(came.size(), 1u);
    EXPECT_NE(came.front(), old);
}

}  // namespace
}  // namespace tfsp::test
