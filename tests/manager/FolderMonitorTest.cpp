// Which folders are watched, by the rules in their order of precedence.
#include "ManagerTestSupport.hpp"

#include "FolderMonitor.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

namespace tfsp::test {
namespace {

class FolderMonitorTest : public ManagerFixture {
protected:
    FolderMonitorTest() {
        tree.file("install/toolbox/t/a.tf");
        tree.file("install/pkg/a.tf");
        tree.file("user/a.tf");
        tree.file("user/+p/b.tf");
        tree.file("other/a.tf");
    }
    FolderMonitor Monitor(std::shared_ptr<const IPath> path = nullptr) {
        if (!path) path = GetCurrentPathFactory().CreatePath({});
        return FolderMonitor(Canonical("install"), std::move(path), Thornfell::PackageRegistry::GetPackageRegistrar());
    }
    std::shared_ptr<const IPath> PathOf(const std::string& folder) {
        return GetCurrentPathFactory().CreatePath({GetPathEntryFactory().GetPathEntry(tree.iri(folder))});
    }
};

TEST_F(FolderMonitorTest, PackagesOutrankTheInstallRootAndFollowTheirOwnWish) {
    auto monitor = Monitor();
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("install/pkg")), Frozen);
    OrvianComponents::ComponentIdentifier id(u"pkg", OrvianComponents::ComponentVersion("1"),
                                             boost::uuids::random_generator()());
    Thornfell::PackageRegistry::PackageDescription package{id, Canonical("install/pkg")};
    package.wantsFolderMonitoring = true;
    auto& registrar = Thornfell::PackageRegistry::GetPackageRegistrarForUpdate();
    registrar.Install(Thornfell::PackageRegistry::PackageRegistryBuilder().Add(package).Build());
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("install/pkg")), Monitored);
    // Package folders can't be frozen or unfrozen by name, frozen before or not.
    EXPECT_THROW(monitor.FreezeFolder(Canonical("install/pkg")), PackageFolderMonitoringChangeException);
    EXPECT_THROW(monitor.UnfreezeFolder(Canonical("install/pkg")), PackageFolderMonitoringChangeException);
}

TEST_F(FolderMonitorTest, TheInstallRootOutranksThePath) {
    auto monitor = Monitor(PathOf("install/toolbox/t"));
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("install/toolbox/t")), Frozen);
}

TEST_F(FolderMonitorTest, WhatStandsOnThePathIsWatchedUnlessFrozenByName) {
    auto monitor = Monitor();
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user")), Unclassified);
    monitor.SetPath(PathOf("user"));
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user")), Monitored);
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user/+p")), Monitored);  // children count too
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("other")), Unclassified);

    monitor.FreezeFolder(Canonical("user"));
    monitor.FreezeFolder(Canonical("user"));
    monitor.FreezeFolder(Canonical("other"));  // off the path, frozen all the same
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user")), Frozen);
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("other")), Frozen);
    monitor.UnfreezeFolder(Canonical("user"));  // once is enough
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user")), Monitored);
    monitor.UnfreezeFolder(Canonical("never-frozen"));
}

TEST_F(FolderMonitorTest, ParentStateIsTheStateOfTheParent) {
    auto monitor = Monitor(PathOf("user"));
    EXPECT_EQ(monitor.GetParentFolderMonitoringState(Canonical("user/+p")), Monitored);
    EXPECT_EQ(monitor.GetParentFolderMonitoringState(Canonical("install/toolbox")), Unclassified);
    const CanonicalAbsoluteIRI root(foundation::storage::vfs::toAbsoluteIRI(u"file", u"/"), ustring());
    EXPECT_EQ(monitor.GetParentFolderMonitoringState(root), Unclassified);
}

TEST_F(FolderMonitorTest, AFolderFrozenByTheMonitorGetsAFrozenEntry) {
    const auto live = GetPathEntryFactory().GetPathEntry(tree.iri("other"));
    auto monitor = Monitor();
    monitor.FreezeFolder(Canonical("other"));
    const auto frozen = GetPathEntryFactory().CreateUpdatedPathEntry(Canonical("other"), monitor);
    EXPECT_NE(frozen, live);
    tree.file("other/new.tf");
    SynchronizeObservers();
    ASSERT_TRUE(live->IsOutOfDate());
    EXPECT_FALSE(frozen->IsOutOfDate());
}

TEST_F(FolderMonitorTest, CreationPutsTheMonitorInPlaceAndSetFolderMonitorReplacesIt) {
    fl::filesystem::set_install_path(tree.upath("install"));
    Manager();
    IFolderMonitor& monitor = GetFolderMonitor();
    EXPECT_EQ(&Manager().GetFolderMonitor(), &monitor);
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("install/toolbox/t")), Frozen);
    SetPath({"user"});
    EXPECT_EQ(monitor.GetFolderMonitoringState(Canonical("user")), Monitored);
}

}  // namespace
}  // namespace tfsp::test
