// What reaches the host when a change can't be followed, and what stays.
#include "PackagesTestSupport.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

#include <boost/make_shared.hpp>

#include <functional>
#include <new>
#include <stdexcept>
#include <variant>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(PackagesFixture, FixedPathStaysAndTheCallbackHearsWhy) {
    tree.folders({"a", "p"});
    SetPath({"a", "p"});
    const auto hold = Manager().PushMutabilityPolicy(PathEntriesFixed);
    // The package brings a folder that isn't on the path: no folder may come.
    Install("p", {.name = "p", .members = {"m"}});
    EXPECT_THAT(MainFolders(), ElementsAre("a", "p"));
    ASSERT_EQ(received.size(), 1u);
    // The member folder message comes ahead of the failure to install.
    EXPECT_THAT(Identifiers(received[0]), ElementsAre(ids::mpath::packageMemberFolderRemovedFromPath.Text(),
                                                      ids::mpath::PathAlterationNotSupported.Text()));
}

TEST_F(PackagesFixture, ChangeDuringAnInstallationIsReportedNotApplied) {
    tree.folder("a");
    bool installed = false;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        PathChangeEvent::TypeName(), [&](const foundation::msg_svc::eventmgr::BaseEvent& event) {
            if (installed || static_cast<const PathChangeEvent&>(event).GetStage() != PathChangeEvent::BeforeChange)
                return;
            installed = true;
            Install("q", {.name = "q"});
        });
    SetPath({"a"});
    ASSERT_TRUE(installed);
    EXPECT_THAT(MainFolders(), ElementsAre("a"));
    ASSERT_EQ(received.size(), 1u);
    EXPECT_THAT(Identifiers(received[0]), ElementsAre(ids::mpath::UnableToModifyOrvianpath.Text()));
}

// A failure of the installation itself leaves the path as it was: lack of
// memory is reported, anything else passes unreported; the callback hears
// the rest either way.
TEST_F(PackagesFixture, FailureOfTheInstallationIsReportedAsLackOfMemoryOrSwallowed) {
    tree.folders({"a", "p"});
    struct Case {
        std::function<void()> fail;
        std::vector<std::string> identifiers;
    };
    const Case cases[] = {
        {[] { throw std::bad_alloc(); },
         {ids::mpath::packageMemberFolderRemovedFromPath.Text(), ids::legacy_two_part::nomem.Text()}},
        {[] { throw std::runtime_error("subscriber failed"); },
         {ids::mpath::packageMemberFolderRemovedFromPath.Text()}},
    };
    for (const auto& c : cases) {
        SetPath({"a", "p"});
        received.clear();
        auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
            PathChangeEvent::TypeName(), [&c](const foundation::msg_svc::eventmgr::BaseEvent&) { c.fail(); });
        Install("p", {.name = "p", .members = {"m"}});
        connection.disconnect();
        EXPECT_THAT(MainFolders(), ElementsAre("a", "p"));
        ASSERT_EQ(received.size(), 1u);
        EXPECT_THAT(Identifiers(received[0]), ::testing::ElementsAreArray(c.identifiers));
        Remove("p");
    }
}

TEST_F(PackagesFixture, EmptyChangeStillCallsTheCallback) {
    tree.folder("a");
    SetPath({"a"});
    Registrar().Install(Registrar().GetRegistry());
    ASSERT_EQ(received.size(), 1u);
    EXPECT_THAT(Identifiers(received[0]), IsEmpty());
    EXPECT_THAT(MainFolders(), ElementsAre("a"));
}

// A failure while planning passes out of the event, with the path as it was
// and no call of the callback.
TEST_F(PackagesFixture, FailureWhilePlanningLeavesThePath) {
    tree.folder("a");
    tree.folder("p");
    SetPath({"a"});
    OrvianComponents::ComponentIdentifier id(u"p", OrvianComponents::ComponentVersion("1"),
                                             boost::uuids::random_generator()());
    registry::PackageDescription package{.id = id,
                                         .root = Canonical("p"),
                                         .properties = {{"PathPosition", std::int64_t{1}}}};
    EXPECT_THROW(Registrar().Install(registry::PackageRegistryBuilder(*Registrar().GetRegistry()).Add(package).Build()),
                 std::bad_variant_access);
    EXPECT_THAT(MainFolders(), ElementsAre("a"));
    EXPECT_THAT(received, IsEmpty());
}

// A manifest that can't be used: a clear error that names the file and the
// line, nothing registered, the path unchanged.
TEST_F(PackagesFixture, BadManifestIsRefusedAndChangesNothing) {
    struct Case {
        std::string manifest;  // empty: no manifest at all
        std::string where;
        std::string problem;
    };
    const std::vector<Case> cases{
        {"", "package.manifest", "no package manifest"},
        {"name = p\nversion\n", "package.manifest:2", "expected 'key = value'"},
        {"name = p\nversion = 1.x\n", "package.manifest:2", "numbers separated by dots"},
        {"name = p\n# no version\n", "package.manifest", "gives no version"},
        {"name = p\nversion = 1\nfolder = missing\n", "package.manifest:3", "does not exist"},
        {"name = p\nversion = 1\n\nfolder = ../a\n", "package.manifest:4", "outside the package root"},
        {"name = p\nversion = 1\nproperty ManualInstall = \"yes\"\n", "package.manifest:3",
         "ManualInstall must be true or false"},
        {"name = p\nversion = 1\nproperty PathPosition = true\n", "package.manifest:3", "PathPosition must be a text"},
        {"name = p\nversion = 1\nmanaged = maybe\n", "package.manifest:3", "'managed' must be true or false"},
    };
    tree.folder("a");
    SetPath({"a"});
    const auto registryBefore = Registrar().GetRegistry();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.manifest);
        tree.folder("p");
        if (!c.manifest.empty()) tree.file("p/package.manifest", c.manifest);
        try {
            registry::InstallPackageFromFolder(Registrar(), tree.path("p"));
            ADD_FAILURE() << "the manifest was taken";
        } catch (const registry::PackageInstallationException& error) {
            EXPECT_THAT(error.what(), HasSubstr(tree.path("p/" + c.where)));
            EXPECT_THAT(error.what(), HasSubstr(c.problem));
        }
        tree.remove("p");
    }
    EXPECT_EQ(Registrar().GetRegistry(), registryBefore);
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(MainFolders(), ElementsAre("a"));
}

TEST_F(PackagesFixture, RegistryRefusesClashesAndUnknownNames) {
    Install("p", {.name = "p"});
    const auto registryBefore = Registrar().GetRegistry();
    EXPECT_THROW(Install("p", {.name = "p"}), registry::PackageInstallationException);      // installed already
    EXPECT_THROW(Install("p", {.name = "q"}), registry::PackageInstallationException);      // root of p
    EXPECT_THROW(Update("p", "p", {.name = "q"}), registry::PackageInstallationException);  // another package
    EXPECT_THROW(Remove("nothing"), registry::PackageInstallationException);
    EXPECT_EQ(Registrar().GetRegistry(), registryBefore);
    Install("p2", {.name = "p", .version = "2"});
    EXPECT_THROW(Remove("p"), registry::PackageInstallationException);  // which version?
    EXPECT_NO_THROW(Remove("p@2"));
    EXPECT_EQ(Registrar().GetRegistry()->GetPackages(nullptr)->size(), 1u);
}

}  // namespace
}  // namespace tfsp::test
