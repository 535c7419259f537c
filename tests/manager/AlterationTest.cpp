// Alteration and installation: which folders may stand on the path, what
// goes out as events, and what the policy and the recursion guard refuse.
#include "ManagerTestSupport.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using resource_core::BaseMsgID;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class AlterationTest : public ManagerFixture {
protected:
    AlterationTest() {
        tree.folders({"a", "b", "c", "cwd"}, "x.tf");
        tree.file("a/+pkg/p.tf");
        tree.file("a/@Cls/m.tf");
        tree.file("a/private/q.tf");
        tree.file("a/resources/r.txt");
    }
    std::vector<BaseMsgID> Messages(const foundation::core::except::Notification& notification) const {
        return {notification.begin(), notification.end()};
    }
    BaseMsgID Message(Thornfell::PathManagement::MessageIdentifier id, const std::string& folder) const {
        return id.Message({Text(folder)});
    }
    std::vector<std::string> MainFolders() { return Folders(*Manager().GetMainPath()); }
};

TEST_F(AlterationTest, RefusedFoldersAreReportedInOrderAndTheRestBecomesThePath) {
    Cd("cwd");
    const std::pair<const char*, Thornfell::PathManagement::MessageIdentifier> refused[] = {
        {"a/+pkg", ids::mpath::packageDirectoriesNotAllowedOnPath},
        {"a/@Cls", ids::mpath::methodDirectoriesNotAllowedOnPath},
        {"a/private", ids::mpath::privateDirectoriesNotAllowedOnPath},
        {"a/resources", ids::mpath::resourcesDirectoriesNotAllowedOnPath},
        {"missing", ids::mpath::nameNonexistentOrNotADirectory},
        {"a/x.tf", ids::mpath::nameNonexistentOrNotADirectory},
    };
    std::vector<std::string> folders{"a"};
    std::vector<BaseMsgID> expected;
    for (const auto& [folder, key] : refused) {
        folders.push_back(folder);
        expected.push_back(Message(key, folder));
    }
    folders.insert(folders.end(), {"b", "a"});
    EXPECT_THAT(Messages(SetPath(folders)), ElementsAreArray(expected));
    EXPECT_THAT(MainFolders(), ElementsAre("a", "b"));  // the second "a" stands once, at its first place
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("cwd", "a", "b"));
}

TEST_F(AlterationTest, StorageFailuresThatRootCantGetRoundAreMessages) {
    tree.symlink("loop", "loop");
    const std::string tooLong(300, 'n');
    foundation::core::except::Notification notification;
    const std::vector<foundation::storage::vfs::AbsoluteIRI> given{tree.iri("a"), tree.iri("loop"), tree.iri(tooLong),
                                                                   tree.iri("b")};
    Manager().SetPathFolders(FolderRange(given), notification);
    EXPECT_THAT(Messages(notification), ElementsAre(Message(ids::mpath::nameNonexistentOrNotADirectory, "loop"),
                                                    Message(ids::mpath::invalidLocation, tooLong)));
    EXPECT_THAT(MainFolders(), ElementsAre("a", "b"));

    // A folder that vanished after its name was made canonical.
    tree.folder("gone");
    const auto gone = Canonical("gone");
    tree.remove("gone");
    EXPECT_THAT(Messages(SetPath({"gone", "a"})),
                ElementsAre(Message(ids::mpath::nameNonexistentOrNotADirectory, "gone")));
    EXPECT_THAT(MainFolders(), ElementsAre("a"));

    // One that can't be read while it stands on the path keeps its entry, silently.
    SetPath({"a", "b"});
    const auto entryOfB = Manager().GetMainPath()->GetMainEntries()->at(1);
    tree.remove("b");
    EXPECT_THAT(Messages(SetPath({"b", "a"})), IsEmpty());
    EXPECT_THAT(MainFolders(), ElementsAre("b", "a"));
    EXPECT_EQ(Manager().GetMainPath()->GetMainEntries()->front(), entryOfB);
}

TEST_F(AlterationTest, StagesCarryOneSetOfListsAndOnlyRealChangesArePublished) {
    Cd("cwd");
    SetPath({"a", "b"});
    std::vector<std::vector<std::string>> seen;  // the main path as each stage's subscriber sees it
    ChangeLog log([&](const PathChangeEvent&) { seen.push_back(Folders(*Manager().GetMainPath())); });

    SetPath({"a", "b"});
    EXPECT_EQ(log.events.size(), 0u) << "nothing changed";

    SetPath({"b", "c"});
    ASSERT_THAT(log.Stages(), ElementsAreArray(kAllStages));
    for (const auto& event : log.events) {
        EXPECT_THAT(Names(*event.GetSearchPathDifferences().added), ElementsAre("c"));
        EXPECT_THAT(Names(*event.GetSearchPathDifferences().removed), ElementsAre("a"));
        EXPECT_THAT(Names(*event.GetUserSearchPathDifferences().added), ElementsAre("c"));
        EXPECT_FALSE(event.IsCurrentFolderChange());
    }
    EXPECT_THAT(seen, ElementsAre(ElementsAre("a", "b"), ElementsAre("b", "c"), ElementsAre("b", "c")));

    // Only the current folder moved: the search path is the same list.
    log.events.clear();
    Cd("b");
    log.events.clear();
    SetPath({"c", "b"});
    ASSERT_THAT(log.Stages(), ElementsAreArray(kAllStages));
    EXPECT_TRUE(log.events.front().CurrentFolderPositionChanged());
    EXPECT_THAT(*log.events.front().GetSearchPathDifferences().added, IsEmpty());
    EXPECT_THAT(*log.events.front().GetSearchPathDifferences().removed, IsEmpty());
}

TEST_F(AlterationTest, AChangeOnlyTheUserSearchPathShowsPublishesNothing) {
    OrvianComponents::ComponentFeature::Set(true);
    OrvianComponents::GUPFeature::Set(true);
    tree.file("n/n.tf");
    InstallPackage("n", /*managed=*/false);
    Cd("n");  // the component's path stands in front of the search path
    Manager();
    ChangeLog log;
    SetPath({"n"});
    EXPECT_THAT(Folders(*Manager().GetUserSearchPath()), ElementsAre("n"));
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("n"));
    EXPECT_EQ(log.events.size(), 0u);
}

TEST_F(AlterationTest, TheRecursionGuardRefusesAndTheRunningInstallationGoesOn) {
    SetPath({"a"});
    int refused = 0;
    bool refreshed = true;
    ChangeLog log([&](const PathChangeEvent& event) {
        if (event.GetStage() != PathChangeEvent::AfterChange) return;
        try {
            SetPath({"c"});
        } catch (const RecursivePathChangeException&) {
            ++refused;
        }
        const auto memento = Manager().CreateMemento();
        EXPECT_THROW(Manager().RestoreMemento(*memento), RecursivePathChangeException);
        refreshed = Manager().Refresh(ForceRefresh);
    });
    SetPath({"a", "b"});
    EXPECT_EQ(refused, 1);
    EXPECT_FALSE(refreshed);
    EXPECT_THAT(MainFolders(), ElementsAre("a", "b"));
    EXPECT_EQ(log.events.size(), 3u);
}

TEST_F(AlterationTest, FixedEntriesRefuseAdditionsAndRemovalsUntilTheHandlesGo) {
    SetPath({"a", "b"});
    auto refuses = [this](const std::vector<std::string>& folders) {
        const auto before = Manager().GetSearchPath();
        try {
            SetPath(folders);
        } catch (const PathAlterationNotSupportedException&) {
            EXPECT_EQ(Manager().GetSearchPath(), before);
            return true;
        }
        return false;
    };
    {
        ChangeLog log;
        auto handle = Manager().PushMutabilityPolicy(PathEntriesFixed);
        EXPECT_TRUE(refuses({"a", "b", "c"}));
        EXPECT_TRUE(refuses({"a"}));
        EXPECT_EQ(log.events.size(), 0u);
        EXPECT_FALSE(refuses({"b", "a"})) << "reordering goes through";
        EXPECT_EQ(log.events.size(), 3u);
        auto copy = handle;
        handle.reset();  // another copy lives: nothing changes
        EXPECT_TRUE(refuses({"a"}));
    }
    EXPECT_FALSE(refuses({"a"}));

    // Each handle puts back what it remembers, in whatever order they go.
    auto first = Manager().PushMutabilityPolicy(PathEntriesFixed);   // remembers mutable
    auto second = Manager().PushMutabilityPolicy(PathFullyMutable);  // remembers fixed
    first.reset();
    EXPECT_FALSE(refuses({"a", "b"}));
    second.reset();
    EXPECT_TRUE(refuses({"a"}));
    Manager().SetMutabilityPolicy(PathFullyMutable);
    EXPECT_FALSE(refuses({"a"}));
}

TEST_F(AlterationTest, WorkingFolderChangesDuringStageOneAreInstalledOnceAfterwards) {
    Cd("cwd");
    SetPath({"a"});
    bool moved = false;
    ChangeLog log([&](const PathChangeEvent& event) {
        if (moved || event.GetStage() != PathChangeEvent::AfterChange) return;
        moved = true;
        Cd("b");
        Cd("c");  // only the latest report survives
    });
    SetPath({"a", "b"});
    ASSERT_EQ(log.events.size(), 6u);
    EXPECT_FALSE(log.events[0].IsCurrentFolderChange());
    EXPECT_TRUE(log.events[3].IsCurrentFolderChange());
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("c", "a", "b"));
}

TEST_F(AlterationTest, PackageRootsExpandByPhase) {
    tree.file("p/p.tf");
    tree.file("p/sub/s.tf");
    OrvianComponents::ComponentFeature::Set(true);
    const auto id = InstallPackage("p", /*managed=*/true, "1.0", {"p/sub"});
    Cd("cwd");
    struct Case {
        bool gup;
        std::vector<std::string> main, folders;
        bool packagesLastMessage;
    };
    const Case cases[] = {{false, {"a", "b", "p", "p/sub"}, {"a", "b", "p"}, true},
                          {true, {"a", "p", "p/sub", "b"}, {"a", "p", "b"}, false}};
    for (const auto& c : cases) {
        OrvianComponents::GUPFeature::Set(c.gup);
        ResetManager();
        const auto messages = Messages(SetPath({"a", "p", "b", "p/sub"}));
        EXPECT_THAT(MainFolders(), ElementsAreArray(c.main)) << c.gup;
        std::vector<std::string> folders;
        for (const auto& folder : *Manager().GetPathFolders())
            folders.push_back(fl::i18n::ustring_to_utf8(folder.makePathRelativeTo(tree.iri())));
        EXPECT_THAT(folders, ElementsAreArray(c.folders));
        EXPECT_THAT(Folders(*Manager().GetUserSearchPath()), ElementsAre("cwd", "a", "b")) << "no expansion there";
        std::vector<BaseMsgID> expected{
            ids::mpath::packageMemberFoldersNotAllowedOnPath.Message({Text("p/sub"), u"p", Text("p")})};
        if (c.packagesLastMessage) expected.push_back(ids::mpath::packagesMustBeLastOnPath.Message());
        EXPECT_THAT(messages, ElementsAreArray(expected));
        EXPECT_THAT(*Manager().GetComponentsOnPath(), ElementsAre(id));
    }
}

TEST_F(AlterationTest, MementosRoundTrip) {
    Cd("cwd");
    SetPath({"a", "b"});
    const auto memento = Manager().CreateMemento();
    ChangeLog log;
    Manager().RestoreMemento(*memento);
    EXPECT_EQ(log.events.size(), 0u);
    SetPath({"a", "b", "c"});
    log.events.clear();
    Manager().RestoreMemento(*memento);
    ASSERT_EQ(log.events.size(), 3u);
    EXPECT_THAT(Names(*log.events.front().GetSearchPathDifferences().removed), ElementsAre("c"));
    EXPECT_EQ(Manager().GetMainPath(), memento->mainPath);
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("cwd", "a", "b"));
    Manager().RestoreMemento(*memento);  // may be restored again
    EXPECT_EQ(Manager().GetPathFolders(), memento->pathFolders);
}

}  // namespace
}  // namespace tfsp::test
