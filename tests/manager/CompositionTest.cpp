// How the manager puts the current folder ahead of the path, in each packages
// phase.
#include "ManagerTestSupport.hpp"

#include "MainSearchPathManager.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CompositionTest : public ManagerFixture {
protected:
    CompositionTest() {
        tree.folders({"f1", "f2", "f3", "f4", "f5", "f6", "cwd"}, "x.tf");
        tree.file("f1/+pkg/p.tf");
    }
    std::vector<std::string> SearchFolders() { return Folders(*Manager().GetSearchPath()); }
};

TEST_F(CompositionTest, ANewManagerHoldsTheCurrentFolderAlone) {
    Cd("cwd");
    EXPECT_THAT(*Manager().GetMainPath()->GetMainEntries(), IsEmpty());
    EXPECT_THAT(*Manager().GetPathFolders(), IsEmpty());
    EXPECT_THAT(*Manager().GetComponentsOnPath(), IsEmpty());
    EXPECT_THAT(SearchFolders(), ElementsAre("cwd"));
    Cd("f1/+pkg");  // a kind of folder that adds nothing
    EXPECT_THAT(SearchFolders(), IsEmpty());
}

TEST_F(CompositionTest, OffPhaseCurrentFolderNotOnThePathGoesInFront) {
    Cd("cwd");
    SetPath({"f1", "f2"});
    EXPECT_THAT(SearchFolders(), ElementsAre("cwd", "f1", "f2"));
    EXPECT_EQ(Manager().GetUserSearchPath(), Manager().GetSearchPath());
    EXPECT_NE(std::dynamic_pointer_cast<const ConcatenatedPath>(Manager().GetSearchPath()), nullptr);
}

TEST_F(CompositionTest, OffPhaseCurrentFolderAtPositionFiveStandsFirstOnceAsTheMainPathsObject) {
    Cd("f5");
    // The current folder manager's entry goes out of date, so that the main
    // path gets an entry of its own for the folder.
    const auto ownEntry = Manager().GetSearchPath()->GetMainEntries()->front();
    tree.file("f5/y.tf");
    SynchronizeObservers();
    ASSERT_TRUE(ownEntry->IsOutOfDate());
    SetPath({"f1", "f2", "f3", "f4", "f5", "f6"});
    const auto search = Manager().GetSearchPath();
    EXPECT_THAT(Folders(*search), ElementsAre("f5", "f1", "f2", "f3", "f4", "f6"));
    const auto& mainEntries = *Manager().GetMainPath()->GetMainEntries();
    ASSERT_NE(mainEntries[4], ownEntry);
    EXPECT_EQ(search->GetMainEntries()->front(), mainEntries[4]);
    // A name of that folder is found once, in front.
    const detail::SearchTarget target(u"x", {u".tf"});
    const auto all = search->FindAllInScope(allEntryTypesScope, target, CaseRuleOne);
    ASSERT_EQ(all.size(), 6u);
    EXPECT_EQ(all.front().GetPathEntry(), mainEntries[4]);
}

TEST_F(CompositionTest, OffPhaseCurrentFolderInsideAnEntryStandsInFrontAsItsOwnEntry) {
    Cd("f1/+pkg");
    SetPath({"f1"});
    // A package folder adds nothing of its own; the path is the main path.
    EXPECT_EQ(Manager().GetSearchPath(), Manager().GetMainPath());
    Cd("cwd");
    EXPECT_THAT(SearchFolders(), ElementsAre("cwd", "f1"));
}

TEST_F(CompositionTest, PackagePhasesDeduplicateTheCurrentFolderAheadOfThePath) {
    for (bool gup : {false, true}) {
        OrvianComponents::ComponentFeature::Set(true);
        OrvianComponents::GUPFeature::Set(gup);
        ResetManager();
        Cd("f2");
        SetPath({"f1", "f2", "f3"});
        EXPECT_THAT(SearchFolders(), ElementsAre("f2", "f1", "f3")) << gup;
        EXPECT_NE(std::dynamic_pointer_cast<const DeduplicatedPath>(Manager().GetSearchPath()), nullptr);
        EXPECT_THAT(Folders(*Manager().GetUserSearchPath()), ElementsAre("f2", "f1", "f3"));
    }
}

TEST_F(CompositionTest, ACurrentFolderInsideAComponentAddsNothingToTheUserSearchPath) {
    OrvianComponents::ComponentFeature::Set(true);
    tree.file("comp/c.tf");
    InstallPackage("comp");
    Cd("comp");
    SetPath({"f1"});
    const auto memento = Manager().CreateMemento();
    EXPECT_EQ(Manager().GetUserSearchPath(), memento->userPath);
    EXPECT_THAT(SearchFolders(), ElementsAre("comp", "f1"));
}

TEST_F(CompositionTest, HandedOutPathsStayValidAfterTheManagerMovesOn) {
    Cd("cwd");
    SetPath({"f1", "f2"});
    const auto old = Manager().GetSearchPath();
    SetPath({"f3"});
    Cd("f4");
    EXPECT_THAT(Folders(*old), ElementsAre("cwd", "f1", "f2"));
    ResetManager();
    const detail::SearchTarget target(u"x", {u".tf"});
    EXPECT_EQ(old->FindAllInScope(allEntryTypesScope, target, CaseRuleOne).size(), 3u);
}

TEST_F(CompositionTest, ChangingThePolicySwapsTheCurrentFolderManager) {
    Cd("cwd");
    SetPath({"f1"});
    std::vector<PathChangeEvent::Stage> stages;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        PathChangeEvent::TypeName(), [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
            stages.push_back(static_cast<const PathChangeEvent&>(e).GetStage());
        });
    Manager().SetCurrentFolderPolicy(FollowCurrentFolder);  // the policy in force: nothing happens
    EXPECT_THAT(stages, IsEmpty());
    Manager().SetCurrentFolderPolicy(NoCurrentFolder);
    EXPECT_THAT(SearchFolders(), ElementsAre("f1"));
    EXPECT_THAT(stages, ElementsAre(PathChangeEvent::BeforeChange, PathChangeEvent::AfterChange,
                                    PathChangeEvent::AfterChangeNotified));
    Cd("f2");  // no longer followed
    EXPECT_THAT(SearchFolders(), ElementsAre("f1"));
}

TEST_F(CompositionTest, TheDestructorAnnouncesItself) {
    int announced = 0;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        PathManagerWillBeDestroyedEvent::TypeName(), [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
            // Still whole while subscribers run.
            static_cast<const PathManagerWillBeDestroyedEvent&>(e).GetManager().GetSearchPath();
            ++announced;
        });
    Manager();
    ResetManager();
    EXPECT_EQ(announced, 1);
}

}  // namespace
}  // namespace tfsp::test
