// A refresh as the factories it is given see it: which folders it reads
// again, through which factory it builds its paths, and what it makes of a
// folder that is gone when it looks.
#include "ManagerTestSupport.hpp"

#include "CurrentFolderPathManagerFactory.hpp"
#include "FolderMonitor.hpp"
#include "MainSearchPathManager.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <map>
#include <mutex>
#include <set>

namespace tfsp::test {
namespace {

using foundation::storage::vfs::AbsoluteIRI;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;
using ::testing::Not;

storage::filefolderobserver::IFileFolderObserverFactory& Observers() {
    return storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
}

// The process's entry factory, with a record of the folders read again and
// of the change handle warning in force meanwhile. A folder in `vanishing`
// is gone by the time it is read, whatever the disk says when asked before.
class RecordingEntryFactory final : public IPathEntryFactory {
public:
    PathEntryPointer GetPathEntry(const CanonicalAbsoluteIRI& folder) const override { return real.GetPathEntry(folder); }
    PathEntryPointer GetPathEntry(const AbsoluteIRI& folder) const override { return real.GetPathEntry(folder); }
    PathEntryPointer GetFrozenPathEntry(const CanonicalAbsoluteIRI& folder) const override {
        return real.GetFrozenPathEntry(folder);
    }
    PathEntryPointer GetFrozenPathEntry(const AbsoluteIRI& folder) const override { return real.GetFrozenPathEntry(folder); }
    PathEntryPointer CreateUpdatedPathEntry(const CanonicalAbsoluteIRI& folder, const IFolderMonitor& monitor) const override {
        {
            std::lock_guard lock(mutex);  // the refresh reads folders on the pool
            warningsWhileReading[fl::i18n::ustring_to_utf8(folder.getName())].insert(Observers().GetChangeHandleWarning());
        }
        if (vanishing.count(folder.getPath()))
            throw foundation::storage::vfs::Exception(foundation::storage::vfs::ErrorCode::NotFound, folder.getPath(),
                                                      "gone again");
        return real.CreateUpdatedPathEntry(folder, monitor);
    }
    PathEntryPointer GetMonitoredPathEntry(const AbsoluteIRI& folder, const IFolderMonitor& monitor) const override {
        return real.GetMonitoredPathEntry(folder, monitor);
    }
    PathEntryPointer GetFrozenEntryFor(const PathEntryPointer& entry) const override { return real.GetFrozenEntryFor(entry); }
    void LoadToolboxCache(std::istream& in, const AbsoluteIRI& root) override { real.LoadToolboxCache(in, root); }
    void WriteToolboxCache(std::ostream& out, const AbsoluteIRI& root,
                           foundation::core::except::Notification* leftOut) const override {
        real.WriteToolboxCache(out, root, leftOut);
    }
    std::shared_ptr<const PathEntryVector> GetToolboxEntries() const override { return real.GetToolboxEntries(); }
    CanonicalAbsoluteIRI GetCanonicalFolderIRI(const AbsoluteIRI& folder) const override {
        return real.GetCanonicalFolderIRI(folder);
    }
    CanonicalAbsoluteIRI GetCanonicalFileIRI(const AbsoluteIRI& file) const override {
        return real.GetCanonicalFileIRI(file);
    }

    IPathEntryFactory& real = GetPathEntryFactory();
    std::set<ustring> vanishing;
    mutable std::mutex mutex;
    // The warning in force at each reading, by the folders' base names.
    mutable std::map<std::string, std::set<int>> warningsWhileReading;
};

// The engine's path factory, with a record of the entries of each path it
// made; it knows nothing of making a path from the one before.
class RecordingPathFactory final : public IPathFactory {
public:
    std::shared_ptr<const IPath> CreatePath(PathEntryVector mainEntries) const override {
        made.push_back(mainEntries);
        return GetCurrentPathFactory().CreatePath(std::move(mainEntries));
    }
    mutable std::vector<PathEntryVector> made;
};

class RefreshRulesTest : public ManagerFixture {
protected:
    RefreshRulesTest() {
        tree.folders({"a", "b", "cwd", "p/b", "comp", "comp/sub"}, "x.tf");
        Cd("cwd");
    }
    ~RefreshRulesTest() override { manager.reset(); }
    void Make(MainSearchPathManager::PackagesFeaturePhase phase = MainSearchPathManager::Off) {
        auto events = foundation::msg_svc::eventmgr::getEngineEventMgr();
        manager = std::make_unique<MainSearchPathManager>(
            events, registry, entries, paths,
            std::make_unique<CurrentFolderPathManagerFactory>(events, registry, entries, paths, monitor),
            FollowCurrentFolder, monitor, phase);
    }
    IMainSearchPathManager& Manager() override { return *manager; }
    PathEntryPointer MainEntry(std::size_t i) { return Manager().GetMainPath()->GetMainEntries()->at(i); }

    RecordingEntryFactory entries;
    RecordingPathFactory paths;
    FolderMonitor monitor{std::nullopt, GetCurrentPathFactory().CreatePath({}),
                          Thornfell::PackageRegistry::GetPackageRegistrar()};
    std::unique_ptr<IMainSearchPathManager> manager;
};

TEST_F(RefreshRulesTest, BuildsItsPathsThroughTheManagersPathFactory) {
    Make();
    SetPath({"a", "b"});
    tree.file("a/new.tf");
    paths.made.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(paths.made, Contains(*Manager().GetMainPath()->GetMainEntries()));
    EXPECT_TRUE(Manager().GetSearchPath()->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(u"new", {u".tf"}),
                                                            CaseRuleOne));
}

// The folders are read again with no warning about change handles, and the
// host's setting comes back afterwards.
TEST_F(RefreshRulesTest, ReadsFoldersWithoutChangeHandleWarnings) {
    Make();
    SetPath({"a", "b"});
    Observers().SetChangeHandleWarning(storage::filefolderobserver::WarnOnce);
    entries.warningsWhileReading.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    for (const char* folder : {"a", "b"})
        EXPECT_THAT(entries.warningsWhileReading[folder], ElementsAre(storage::filefolderobserver::WarnNever)) << folder;
    EXPECT_EQ(Observers().GetChangeHandleWarning(), storage::filefolderobserver::WarnOnce);
}

// A folder that came back, and was gone again when it was read, gets a new
// inaccessible entry in its place, listed as refreshed.
TEST_F(RefreshRulesTest, AFolderGoneAgainGetsAFreshInaccessibleEntry) {
    Make();
    SetPath({"a", "p/b"});
    tree.remove("p");
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    const PathEntryPointer first = MainEntry(1);
    ASSERT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(first.get()), nullptr);

    tree.folder("p/b");
    ASSERT_TRUE(first->IsOutOfDate());
    entries.vanishing.insert(Canonical("p/b").getPath());
    ChangeLog log;
    EXPECT_TRUE(Manager().Refresh(TrustObservers));
    const PathEntryPointer second = MainEntry(1);
    EXPECT_NE(second, first);
    EXPECT_NE(dynamic_cast<const InaccessibleFolderPathEntry*>(second.get()), nullptr);
    EXPECT_EQ(second->GetIRI(), first->GetIRI());
    ASSERT_EQ(log.events.size(), 3u);
    EXPECT_THAT(*log.events[1].GetSearchPathDifferences().refreshed, ElementsAre(second));
    EXPECT_EQ(Manager().GetPathFolders()->size(), 2u);
}

// With the packages feature on, the folders of installed components follow
// their component: a refresh neither reports them as changed nor reads them.
// The user search path is made from the refreshed main path.
TEST_F(RefreshRulesTest, LeavesComponentFoldersAloneWithThePackagesFeatureOn) {
    OrvianComponents::ComponentFeature::Set(true);
    InstallPackage("comp", /*managed=*/true, "1.0", {"comp/sub"});
    Make(MainSearchPathManager::PackagesLast);
    SetPath({"a", "comp"});
    ASSERT_THAT(Folders(*Manager().GetMainPath()), ElementsAre("a", "comp", "comp/sub"));
    const PathEntryVector before = *Manager().GetMainPath()->GetMainEntries();
    entries.warningsWhileReading.clear();
    ASSERT_TRUE(Manager().Refresh(ForceRefresh));
    EXPECT_THAT(entries.warningsWhileReading, Contains(Key("a")));
    EXPECT_THAT(entries.warningsWhileReading, Not(Contains(Key("comp"))));
    EXPECT_THAT(entries.warningsWhileReading, Not(Contains(Key("sub"))));
    const PathEntryVector after = *Manager().GetMainPath()->GetMainEntries();
    ASSERT_EQ(after.size(), 3u);
    EXPECT_NE(after[0], before[0]);
    EXPECT_EQ(after[1], before[1]);
    EXPECT_EQ(after[2], before[2]);
    EXPECT_FALSE(after[1]->IsOutOfDate());
    EXPECT_FALSE(after[2]->IsOutOfDate());
    EXPECT_THAT(Folders(*Manager().GetUserSearchPath()), ElementsAre("cwd", "a"));
    EXPECT_EQ(Manager().GetUserSearchPath()->GetMainEntries()->at(1), after[0]);
}

} // namespace
} // namespace tfsp::test
