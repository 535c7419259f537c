// A current folder manager replaced by a subscriber while its own report is
// being installed lives until that report is done, and is heard no more.
#include "ManagerTestSupport.hpp"

#include "CurrentFolderPathManagerFactory.hpp"
#include "FolderMonitor.hpp"
#include "MainSearchPathManager.hpp"
#include "orvian/FeatureSwitches.hpp"

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Counts the managers destroyed while a report of theirs was on the stack.
struct ReportWatch {
    int reporting = 0;
    int destroyedWhileReporting = 0;
};

// A real manager, watched: its reports pass through here.
class WatchedManager final : public ICurrentFolderPathManager {
public:
    WatchedManager(std::unique_ptr<ICurrentFolderPathManager> inner, std::shared_ptr<ReportWatch> watch)
        : inner(std::move(inner)), watch(std::move(watch)) {}
    ~WatchedManager() override {
        if (watch->reporting > 0) ++watch->destroyedWhileReporting;
    }
    std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const override {
        return inner->GetCurrentFolderComponent();
    }
    std::shared_ptr<const IPath> GetCurrentFolderPath() const override { return inner->GetCurrentFolderPath(); }
    std::shared_ptr<const IPath> GetCurrentFolderPathForMainPath(const IPath& mainPath) const override {
        return inner->GetCurrentFolderPathForMainPath(mainPath);
    }
    void ConnectCurrentFolderChangedHandler(ChangedHandler handler) override {
        inner->ConnectCurrentFolderChangedHandler(
            [watch = watch, handler](const std::shared_ptr<const IPath>& path,
                                     const std::optional<OrvianComponents::ComponentIdentifier>& component) {
                ++watch->reporting;
                handler(path, component);
                --watch->reporting;
            });
    }
    void HandleModularPackageRegistryChanged() override { inner->HandleModularPackageRegistryChanged(); }
    std::pair<PathEntryVector, PathEntryVector> RequestRefresh(RefreshType type) override {
        return inner->RequestRefresh(type);
    }
    std::shared_ptr<CurrentFolderMemento> CreateMemento() const override { return inner->CreateMemento(); }
    void RestoreMemento(const CurrentFolderMemento& memento) override { inner->RestoreMemento(memento); }
    void StopFollowingWorkingFolder() override { inner->StopFollowingWorkingFolder(); }

private:
    std::unique_ptr<ICurrentFolderPathManager> inner;
    std::shared_ptr<ReportWatch> watch;
};

class WatchingFactory final : public ICurrentFolderPathManagerFactory {
public:
    WatchingFactory(std::unique_ptr<ICurrentFolderPathManagerFactory> real, std::shared_ptr<ReportWatch> watch)
        : real(std::move(real)), watch(std::move(watch)) {}
    std::unique_ptr<ICurrentFolderPathManager> CreateCurrentFolderPathManager(
        CurrentFolderPolicy policy) const override {
        return std::make_unique<WatchedManager>(real->CreateCurrentFolderPathManager(policy), watch);
    }

private:
    std::unique_ptr<ICurrentFolderPathManagerFactory> real;
    std::shared_ptr<ReportWatch> watch;
};

class CurrentFolderReplacementTest : public ManagerFixture {
protected:
    CurrentFolderReplacementTest() {
        tree.folders({"a", "cwd", "comp", "comp/sub", "other"}, "x.tf");
        Cd("cwd");
        auto events = foundation::msg_svc::eventmgr::getEngineEventMgr();
        auto real = std::make_unique<CurrentFolderPathManagerFactory>(events, registry, GetPathEntryFactory(),
                                                                      GetCurrentPathFactory(), monitor);
        manager =
            std::make_unique<MainSearchPathManager>(events, registry, GetPathEntryFactory(), GetCurrentPathFactory(),
                                                    std::make_unique<WatchingFactory>(std::move(real), watch),
                                                    FollowCurrentFolder, monitor, MainSearchPathManager::Off);
        SetPath({"a"});
    }
    // The manager refers to the monitor: it goes first.
    ~CurrentFolderReplacementTest() override { manager.reset(); }
    IMainSearchPathManager& Manager() override { return *manager; }
    // At stage 1 of the first installation a report of the current folder
    // starts, the subscriber drops the current folder.
    ChangeLog DropTheCurrentFolderDuringItsReport() {
        return ChangeLog([this, done = false](const PathChangeEvent& event) mutable {
            if (done || !event.IsCurrentFolderChange() || event.GetStage() != PathChangeEvent::AfterChange) return;
            done = true;
            Manager().SetCurrentFolderPolicy(NoCurrentFolder);
        });
    }

    FolderMonitor monitor{std::nullopt, GetCurrentPathFactory().CreatePath({}),
                          Thornfell::PackageRegistry::GetPackageRegistrar()};
    std::shared_ptr<ReportWatch> watch = std::make_shared<ReportWatch>();
    std::unique_ptr<IMainSearchPathManager> manager;
};

TEST_F(CurrentFolderReplacementTest, OnAWorkingFolderChange) {
    InstallPackage("comp");
    int componentChanges = 0;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        CurrentFolderComponentHasBeenChangedEvent::TypeName(),
        [&](const foundation::msg_svc::eventmgr::BaseEvent&) { ++componentChanges; });
    auto log = DropTheCurrentFolderDuringItsReport();
    Cd("comp");
    EXPECT_EQ(watch->destroyedWhileReporting, 0);
    EXPECT_EQ(componentChanges, 1);
    // The working folder's change, then the replacement's, each installed once.
    ASSERT_EQ(log.events.size(), 6u);
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("a"));

    log.events.clear();
    Cd("other");  // the replaced manager is heard no more
    EXPECT_EQ(log.events.size(), 0u);
    EXPECT_EQ(componentChanges, 1);
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("a"));
}

// Replaced during an installation that it didn't start, a manager is kept
// alive a while, but no longer follows the working folder: a later change
// of the folder's component is announced by nobody, since no current folder
// is kept.
TEST_F(CurrentFolderReplacementTest, DuringAnotherInstallation) {
    InstallPackage("comp");
    Cd("comp");
    int componentChanges = 0;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        CurrentFolderComponentHasBeenChangedEvent::TypeName(),
        [&](const foundation::msg_svc::eventmgr::BaseEvent&) { ++componentChanges; });
    {
        ChangeLog dropAtStageOne([this, done = false](const PathChangeEvent& event) mutable {
            if (done || event.GetStage() != PathChangeEvent::AfterChange) return;
            done = true;
            Manager().SetCurrentFolderPolicy(NoCurrentFolder);
        });
        SetPath({"a", "other"});
    }
    ChangeLog log;
    Cd("other");
    EXPECT_EQ(componentChanges, 0);
    EXPECT_THAT(log.events, IsEmpty());
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("a", "other"));
}

TEST_F(CurrentFolderReplacementTest, OnARegistryChange) {
    OrvianComponents::ComponentFeature::Set(true);
    Cd("comp/sub");
    auto log = DropTheCurrentFolderDuringItsReport();
    InstallPackage("comp");  // the working folder now lies in a component: its path stands there
    EXPECT_EQ(watch->destroyedWhileReporting, 0);
    EXPECT_EQ(log.events.size(), 6u);
    EXPECT_THAT(Folders(*Manager().GetSearchPath()), ElementsAre("a"));
}

}  // namespace
}  // namespace tfsp::test
