// What an alteration asks of the folder monitor and the entry factory, and
// how an installation behaves around its subscribers.
#include "InjectedManager.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InstallationRulesTest : public InjectedManagerFixture {
protected:
    InstallationRulesTest() {
        tree.folders({"a", "b", "c", "cwd", "cwd2", "comp", "comp/sub"}, "x.tf");
        Cd("cwd");
    }
    std::vector<std::string> Unfrozen() const {
        std::vector<std::string> names;
        for (const auto& folder : monitor.unfrozen)
            names.push_back(fl::i18n::ustring_to_utf8(folder.makePathRelativeTo(tree.iri())));
        return names;
    }
    std::vector<std::string> PathFolders() {
        std::vector<std::string> names;
        for (const auto& folder : *Manager().GetPathFolders())
            names.push_back(fl::i18n::ustring_to_utf8(folder.makePathRelativeTo(tree.iri())));
        return names;
    }
};

// Folders that leave the path are unfrozen, unless the monitor refuses
// (a folder of a package), which doesn't stop the alteration.
TEST_F(InstallationRulesTest, FoldersThatLeaveThePathAreUnfrozen) {
    Make();
    SetPath({"a", "b", "c"});
    monitor.refusing.insert(Canonical("b").getPath());
    EXPECT_TRUE(SetPath({"a"}).empty());
    EXPECT_THAT(Unfrozen(), ElementsAre("b", "c"));
    EXPECT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("a"));
}

// With the packages feature on, the folders of a component that leave the
// path stay as the component has them.
TEST_F(InstallationRulesTest, FoldersOfAComponentAreNotUnfrozenWithThePackagesFeatureOn) {
    OrvianComponents::ComponentFeature::Set(true);
    InstallPackage("comp", /*managed=*/true, "1.0", {"comp/sub"});
    Make(MainSearchPathManager::PackagesLast);
    SetPath({"a", "b", "comp"});
    ASSERT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("a", "b", "comp", "comp/sub"));
    SetPath({"a"});
    EXPECT_THAT(Unfrozen(), ElementsAre("b"));
}

// A folder given by a name that no longer resolves keeps its place if it
// stands on the path, under its entry's name; one that doesn't is reported.
TEST_F(InstallationRulesTest, AFolderOnThePathThatNoLongerResolvesKeepsItsEntrysName) {
    Make();
    const auto set = [this](const std::vector<std::string>& folders) {
        std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
        for (const auto& folder : folders) iris.push_back(tree.iri(folder));
        foundation::core::except::Notification notification;
        Manager().SetPathFolders(FolderRange(iris), notification);
        return notification;
    };
    ASSERT_TRUE(set({"a", "b"}).empty());
    const PathEntryPointer b = Manager().GetMainPath()->GetMainEntries()->at(1);
    for (const char* folder : {"b", "c"}) entries.unresolvable.insert(tree.iri(folder).getPath());
    const auto notification = set({"b", "a", "c"});
    EXPECT_THAT(notification.messages(), ElementsAre(ids::mpath::nameNonexistentOrNotADirectory.Message({Text("c")})));
    EXPECT_THAT(PathFolders(), ElementsAre("b", "a"));
    EXPECT_EQ(Manager().GetMainPath()->GetMainEntries()->at(0), b);
}

// A subscriber that throws at stage 0 leaves the old paths, at stage 1 the
// new ones; either way the manager takes the next alteration.
TEST_F(InstallationRulesTest, ASubscriberThatThrowsLeavesTheManagerUsable) {
    Make();
    SetPath({"a"});
    for (const auto stage : {PathChangeEvent::BeforeChange, PathChangeEvent::AfterChange}) {
        SCOPED_TRACE(stage);
        {
            ChangeLog failing([stage](const PathChangeEvent& event) {
                if (event.GetStage() == stage) throw std::runtime_error("subscriber failed");
            });
            EXPECT_THROW(SetPath({"a", "b"}), std::runtime_error);
        }
        const std::vector<std::string> installed =
            stage == PathChangeEvent::BeforeChange ? std::vector<std::string>{"a"} : std::vector<std::string>{"a", "b"};
        EXPECT_EQ(Folders(*Manager().GetMainPath()), installed);
        ChangeLog log;
        EXPECT_TRUE(SetPath({"c"}).empty());
        EXPECT_EQ(log.events.size(), 3u);
        EXPECT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("c"));
        SetPath({"a"});
    }
}

// A change of working folder made by a subscriber at stage 1 is installed
// after the installation under way has published its last stage.
TEST_F(InstallationRulesTest, AWorkingFolderChangeAtStageOneWaitsForTheNextInstallation) {
    Make();
    ChangeLog log([this, done = false](const PathChangeEvent& event) mutable {
        if (done || event.GetStage() != PathChangeEvent::AfterChange) return;
        done = true;
        Cd("cwd2");
        // Not yet: the change waits for the installation under way.
        EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("cwd", "a"));
    });
    SetPath({"a"});
    std::vector<std::pair<PathChangeEvent::Stage, bool>> stages;
    for (const auto& event : log.events) stages.emplace_back(event.GetStage(), event.IsCurrentFolderChange());
    EXPECT_THAT(stages, ElementsAre(std::pair(PathChangeEvent::BeforeChange, false),
                                    std::pair(PathChangeEvent::AfterChange, false),
                                    std::pair(PathChangeEvent::AfterChangeNotified, false),
                                    std::pair(PathChangeEvent::BeforeChange, true),
                                    std::pair(PathChangeEvent::AfterChange, true),
                                    std::pair(PathChangeEvent::AfterChangeNotified, true)));
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("cwd2", "a"));
}

// An alteration that changes nothing publishes nothing, yet installs its
// paths and gives the monitor the new search path.
TEST_F(InstallationRulesTest, AnInstallationWithoutDifferencesStillSwapsThePaths) {
    Make();
    SetPath({"a", "b"});
    const auto before = Manager().GetMainPath();
    ChangeLog log;
    monitor.paths.clear();
    EXPECT_TRUE(SetPath({"a", "b"}).empty());
    EXPECT_THAT(log.events, IsEmpty());
    EXPECT_NE(Manager().GetMainPath(), before);
    EXPECT_THAT(monitor.paths, ElementsAre(Manager().GetSearchPath()));
}

}  // namespace
}  // namespace tfsp::test
