// Where packages land on the path when the registry changes.
#include "PackagesTestSupport.hpp"

#include "fl/i18n/MessageCatalog.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

#include <boost/make_shared.hpp>

#include <functional>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct Installed {
    std::string root;
    PackageSpec spec;
};

struct NewPackagesCase {
    std::string label;
    std::vector<Installed> packages;  // installed one change each, in order
    std::vector<std::string> expected;
};

class NewPackages : public PackagesFixture, public ::testing::WithParamInterface<NewPackagesCase> {};

TEST_P(NewPackages, GoToTheFrontOrTheBackByPositionAndStamp) {
    tree.folder("a");
    tree.folder("b");
    SetPath({"a", "b"});
    for (const auto& package : GetParam().packages) Install(package.root, package.spec);
    EXPECT_THAT(MainFolders(), ElementsAreArray(GetParam().expected));
    ASSERT_EQ(received.size(), GetParam().packages.size());
    for (const auto& notification : received) EXPECT_THAT(Identifiers(notification), IsEmpty());
}

const std::string begin = "PathPosition = \"begin\"";

INSTANTIATE_TEST_SUITE_P(
    Packages, NewPackages,
    ::testing::Values(
        NewPackagesCase{"BackInInstallOrder",
                        {{"p", {.name = "p", .members = {"m"}}}, {"q", {.name = "q"}}},
                        {"a", "b", "p", "p/m", "q"}},
        NewPackagesCase{"BeginLastInstalledFirst",
                        {{"p", {.name = "p", .members = {"m"}, .propertyLines = {begin}}},
                         {"q", {.name = "q", .propertyLines = {begin}}}},
                        {"q", "p", "p/m", "a", "b"}},
        NewPackagesCase{"OtherPositionsCountAsBack",
                        {{"p", {.name = "p", .propertyLines = {"PathPosition = \"Begin\""}}}},
                        {"a", "b", "p"}},
        NewPackagesCase{"ManagedWithManualInstall",
                        {{"p",
                          {.name = "p", .managed = true, .members = {"m"}, .propertyLines = {"ManualInstall = true"}}}},
                        {"a", "b", "p", "p/m"}},
        NewPackagesCase{"ManagedWithoutManualInstallStaysOff",
                        {{"p", {.name = "p", .managed = true}},
                         {"q", {.name = "q", .managed = true, .propertyLines = {"ManualInstall = false"}}}},
                        {"a", "b"}},
        NewPackagesCase{"UnmanagedNotAskingForThePathStaysOff", {{"p", {.name = "p", .onPath = false}}}, {"a", "b"}}),
    [](const auto& instance) { return instance.param.label; });

// Several packages of one change are ordered by stamp, not by the order the
// registry lists them in.
TEST_F(PackagesFixture, OneChangeOrdersNewPackagesByStamp) {
    for (const bool atFront : {true, false}) {
        SCOPED_TRACE(atFront);
        std::vector<registry::PackageDescription> packages;
        std::vector<OrvianComponents::ComponentIdentifier> ids;
        for (const auto& [name, stamp] : {std::pair{"seven", 7}, std::pair{"five", 5}}) {
            tree.folder(name);
            ids.emplace_back(fl::i18n::utf8_to_ustring(name), OrvianComponents::ComponentVersion("1"),
                             boost::uuids::random_generator()());
            packages.push_back(
                {.id = ids.back(), .root = Canonical(name), .installStamp = static_cast<std::uint64_t>(stamp)});
            if (atFront) packages.back().properties = {{"PathPosition", ustring(u"begin")}};
        }
        registry::PackageRegistryBuilder builder;
        for (const auto& package : packages) builder.Add(package);
        const auto before = registry::PackageRegistryBuilder().Build();
        foundation::msg_svc::eventmgr::getEngineEventMgr()->publish(
            boost::make_shared<registry::PackageRegistryHasBeenChanged>(
                std::make_shared<const registry::PackageRegistryChanges>(
                    before, builder.Build(), ids, std::vector<OrvianComponents::ComponentIdentifier>{},
                    std::vector<OrvianComponents::ComponentIdentifier>{})),
            0);
        EXPECT_THAT(MainFolders(), atFront ? ElementsAre("seven", "five") : ElementsAre("five", "seven"));
        SetPath({});
    }
}

// Updates and removals of a package that stands in the middle of the path.
struct ChangeCase {
    std::string label;
    std::function<void(PackagesFixture&)> change;
    std::vector<std::string> expected;
    std::vector<std::string> messageIds;
};

class ChangeOfPackageOnPath : public PackagesFixture, public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(ChangeOfPackageOnPath, KeepsThePlaceOfTheRoot) {
    tree.folders({"a", "b", "p/x", "p2/m1"});
    Install("p", {.name = "p", .onPath = false, .members = {"m1"}});
    SetPath({"a", "p", "p/m1", "b", "p/x", "p2"});
    received.clear();
    GetParam().change(*this);
    EXPECT_THAT(MainFolders(), ElementsAreArray(GetParam().expected));
    ASSERT_EQ(received.size(), 1u);
    EXPECT_THAT(Identifiers(received[0]), ElementsAreArray(GetParam().messageIds));
}

INSTANTIATE_TEST_SUITE_P(
    Packages, ChangeOfPackageOnPath,
    ::testing::Values(ChangeCase{"OtherMemberFolders",
                                 [](auto& f) { f.Update("p", "p", {.name = "p", .members = {"m2"}}); },
                                 {"a", "p", "p/m2", "b", "p/x", "p2"},
                                 {}},
                      ChangeCase{"NewVersion",
                                 [](auto& f) { f.Update("p", "p", {.name = "p", .version = "2", .members = {"m1"}}); },
                                 {"a", "p", "p/m1", "b", "p/x", "p2"},
                                 {}},
                      ChangeCase{"NoLongerAskingForThePath",
                                 [](auto& f) { f.Update("p", "p", {.name = "p", .onPath = false, .members = {"m1"}}); },
                                 {"a", "p", "p/m1", "b", "p/x", "p2"},
                                 {}},
                      ChangeCase{"LooseFolderBecomesMember",
                                 [](auto& f) {
                                     f.Update("p", "p", {.name = "p", .members = {"m1", "x"}});
                                 },
                                 {"a", "p", "p/m1", "p/x", "b", "p2"},
                                 {ids::mpath::packageMemberFolderRemovedFromPath.Text()}},
                      ChangeCase{"RootMoved",
                                 [](auto& f) { f.Update("p", "p2", {.name = "p", .version = "2", .members = {"m1"}}); },
                                 {"a", "p2", "p2/m1", "b", "p/x"},
                                 {ids::mpath::packageMemberFolderRemovedFromPath.Text()}},
                      ChangeCase{"Removed", [](auto& f) { f.Remove("p"); }, {"a", "b", "p/x", "p2"}, {}}),
    [](const auto& instance) { return instance.param.label; });

TEST_F(PackagesFixture, UpdateToANewVersionReplacesTheOldOne) {
    const auto first = Install("p", {.name = "p"});
    const auto second = Update("p", "p", {.name = "p", .version = "2.1"});
    const auto installed = Registrar().GetRegistry()->GetPackages(nullptr);
    ASSERT_EQ(installed->size(), 1u);
    EXPECT_EQ(installed->front().GetVersion().toString(), "2.1");
    EXPECT_EQ(first.GetUniqueID(), second.GetUniqueID());
}

// A folder on the path that a new package takes as its own leaves its place;
// the message names it, its package, and for a managed package how to put
// the package on the path.
TEST_F(PackagesFixture, FolderThatBecomesAMemberIsReported) {
    struct Case {
        PackageSpec spec;
        std::vector<std::string> expected;
        bool withInfo;
    };
    const std::vector<Case> cases{
        {{.name = "p"}, {"a", "b", "p"}, false},
        {{.name = "p", .managed = true, .propertyLines = {"ManualInstall = true"}}, {"a", "b", "p"}, true},
        {{.name = "p", .managed = true}, {"a", "b"}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spec.managed);
        tree.folders({"a", "p", "b"});
        SetPath({"a", "p", "b"});
        received.clear();
        Install("p", c.spec);
        EXPECT_THAT(MainFolders(), ElementsAreArray(c.expected));
        ASSERT_EQ(received.size(), 1u);
        ASSERT_THAT(Identifiers(received[0]), ElementsAre(ids::mpath::packageMemberFolderRemovedFromPath.Text()));
        const std::string info = c.withInfo ? fl::i18n::ustring_to_utf8(fl::i18n::MessageCatalog::format(
                                                  ids::mpath::AddPackageToPathInfo.Message({tree.upath("p")})))
                                            : "";
        EXPECT_THAT(Arguments(received[0].messages()[0]), ElementsAre(tree.path("p"), "p", info));
        Remove("p");
    }
}

TEST_F(PackagesFixture, SeveralVersionsOnThePathAreReportedInPathOrder) {
    tree.folder("a");
    SetPath({"a"});
    Install("p1", {.name = "p"});
    Install("p2", {.name = "p", .version = "2"});
    Install("p3", {.name = "p", .version = "3"});
    EXPECT_THAT(MainFolders(), ElementsAre("a", "p1", "p2", "p3"));
    ASSERT_EQ(received.size(), 3u);
    EXPECT_THAT(Identifiers(received[0]), IsEmpty());
    ASSERT_THAT(Identifiers(received[1]), ElementsAre(ids::mpath::MultiplePackageVersionsOnPath.Text()));
    EXPECT_THAT(Arguments(received[1].messages()[0]), ElementsAre("'p@1'", "'p@2'"));
    // The first version on the path, then all the others.
    ASSERT_THAT(Identifiers(received[2]), ElementsAre(ids::mpath::MultiplePackageVersionsOnPath.Text()));
    EXPECT_THAT(Arguments(received[2].messages()[0]), ElementsAre("'p@1'", "'p@2', 'p@3'"));
}

}  // namespace
}  // namespace tfsp::test
