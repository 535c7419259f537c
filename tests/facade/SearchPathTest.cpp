// The facade on one thread: what a name finds, the folders it is given, the
// working folder, and names that aren't plain ASCII.
#include "FacadeTestSupport.hpp"

#include "tfsearch_path/IPath.hpp"
#include "tfsearch_path/SearchPath.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tfsp::test {
namespace {

using namespace Thornfell::PathManagement;
using std::filesystem::path;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Found = std::optional<path>;

TEST(FacadeFind, FollowsTheRuleForBareNamesAndReachesTheRestByPartialOrDottedNames) {
    TempTree tree("tfsp-facade");
    const path a = tree.folder("a"), b = tree.folder("b");
    tree.file("a/Shape.tf");         // a plain function first on the path...
    tree.file("b/@Shape/Shape.tf");  // ...loses to a class constructor later on it
    tree.file("b/@Shape/area.tf");   // a method
    tree.file("a/+geo/dist.tf");     // a package function
    tree.file("a/+geo/+flat/dot.tf");
    tree.file("a/+geo/@Inner/Inner.tf");  // a class inside a package
    tree.file("a/private/secret.tf");
    tree.file("a/both.tf");
    tree.file("b/both.tf");
    SearchPath searchPath;
    EXPECT_TRUE(searchPath.SetFolders(std::vector<path>{a, b}).empty());

    EXPECT_EQ(searchPath.Find("Shape"), Found(b / "@Shape/Shape.tf"));
    EXPECT_THAT(searchPath.FindAll("Shape"), ElementsAre(b / "@Shape/Shape.tf", a / "Shape.tf"));
    EXPECT_EQ(searchPath.Find("both"), Found(a / "both.tf"));
    EXPECT_THAT(searchPath.FindAll("both"), ElementsAre(a / "both.tf", b / "both.tf"));

    // Not reached by a bare name.
    for (const char* hidden : {"area", "dist", "dot", "Inner", "secret", "nosuchname"})
        EXPECT_EQ(searchPath.Find(hidden), std::nullopt) << hidden;
    EXPECT_THAT(searchPath.FindAll("area"), ElementsAre());

    // Partial pathnames and the dotted form.
    EXPECT_EQ(searchPath.Find("@Shape/area"), Found(b / "@Shape/area.tf"));
    EXPECT_EQ(searchPath.Find("+geo/dist"), Found(a / "+geo/dist.tf"));
    EXPECT_EQ(searchPath.Find("+geo/+flat/dot"), Found(a / "+geo/+flat/dot.tf"));
    EXPECT_EQ(searchPath.Find("private/secret"), Found(a / "private/secret.tf"));
    EXPECT_EQ(searchPath.Find("geo.dist"), Found(a / "+geo/dist.tf"));
    EXPECT_EQ(searchPath.Find("geo.flat.dot"), Found(a / "+geo/+flat/dot.tf"));
    // A dotted name with a part that is no identifier is a plain name.
    EXPECT_EQ(searchPath.Find("geo.1dist"), std::nullopt);
    EXPECT_EQ(searchPath.Find("geo..dist"), std::nullopt);
    // The dotted form reaches package functions, not methods or folders.
    EXPECT_EQ(searchPath.Find("Shape.area"), std::nullopt);
    EXPECT_EQ(searchPath.Find("geo.flat"), std::nullopt);

    // Find borrows its hit from the snapshot, FindAll takes shares: one rule.
    for (const char* name :
         {"Shape", "both", "area", "secret", "@Shape/area", "+geo/dist", "geo.flat.dot", "geo.1dist"}) {
        const auto all = searchPath.FindAll(name);
        EXPECT_EQ(searchPath.Find(name), all.empty() ? std::nullopt : Found(all.front())) << name;
    }
}

TEST(FacadeFind, PrefersExtensionsInTheGivenOrderAndMatchesNamesByThePolicy) {
    TempTree tree("tfsp-facade");
    tree.file("f/both.tf");
    tree.file("f/both.tfx");
    tree.file("f/Mixed.tf");
    SearchPath preferTfx(SearchPathOptions{.extensions = {".tfx", ".tf"}});
    preferTfx.SetFolders(std::vector<path>{tree.path("f")});
    EXPECT_EQ(preferTfx.Find("both"), Found(tree.path("f/both.tfx")));

    SearchPath folded(SearchPathOptions{.policy = CaseRuleTwo});
    folded.SetFolders(std::vector<path>{tree.path("f")});
    EXPECT_EQ(folded.Find("mixed"), Found(tree.path("f/Mixed.tf")));
    SearchPath exact(SearchPathOptions{.policy = CaseRuleOne});
    exact.SetFolders(std::vector<path>{tree.path("f")});
    EXPECT_EQ(exact.Find("mixed"), std::nullopt);
}

TEST(FacadeInput, RefusesEmptyNamesAndNamesEndingInASeparator) {
    TwoFolders folders;
    SearchPath searchPath;
    searchPath.SetFolders(folders.both());
    for (const char* bad : {"", "hello/", "+pkg/", "a\\"}) {
        EXPECT_THROW(searchPath.Find(bad), std::invalid_argument) << bad;
        EXPECT_THROW(searchPath.FindAll(bad), std::invalid_argument) << bad;
    }
    EXPECT_EQ(searchPath.Find("hello"), Found(folders.first() / "hello.tf"));
}

TEST(FacadeInput, LeavesOutFoldersThatCantStandOnThePathAndKeepsTheOthers) {
    TwoFolders folders;
    folders.tree.file("first/+pkg/f.tf");
    const path missing = folders.tree.path("no-such-folder");
    SearchPath searchPath;
    const std::vector<std::string> messages = searchPath.SetFolders(
        std::vector<path>{folders.first(), missing, "", folders.first() / "+pkg", folders.second()});

    ASSERT_EQ(messages.size(), 3u);
    EXPECT_THAT(messages[0], HasSubstr("empty folder"));
    EXPECT_THAT(messages[1], HasSubstr("no-such-folder"));
    EXPECT_THAT(messages[2], HasSubstr("+pkg"));
    EXPECT_THAT(searchPath.Folders(), ElementsAre(folders.first(), folders.second()));
    EXPECT_EQ(searchPath.Find("only-in-second"), Found(folders.second() / "only-in-second.tf"));
}

TEST(FacadeFolders, TakesRelativeFoldersAgainstTheProcesssWorkingFolder) {
    TwoFolders folders;
    const WorkingFolderScope inside(folders.first());
    SearchPath searchPath;
    EXPECT_TRUE(searchPath.SetFolders(std::vector<path>{".", "../second/", "../first/../second"}).empty());
    // The same folder twice stands once, where it first came.
    EXPECT_THAT(searchPath.Folders(), ElementsAre(folders.first(), folders.second()));
    EXPECT_EQ(searchPath.Find("only-in-second"), Found(folders.second() / "only-in-second.tf"));
}

TEST(FacadeWorkingFolder, IsOffTheSearchPathUnlessAskedFor) {
    TwoFolders folders;
    const path here = folders.tree.folder("here");
    folders.tree.file("here/hello.tf");
    folders.tree.file("here/only-here.tf");
    folders.tree.file("elsewhere/only-elsewhere.tf");
    const WorkingFolderScope inside(here);

    SearchPath plain;
    plain.SetFolders(std::vector<path>{folders.second()});
    EXPECT_EQ(plain.Find("hello"), Found(folders.second() / "hello.tf"));
    EXPECT_EQ(plain.Find("only-here"), std::nullopt);

    SearchPath host(SearchPathOptions{.followWorkingFolder = true});
    host.SetFolders(std::vector<path>{folders.second()});
    EXPECT_EQ(host.Find("hello"), Found(here / "hello.tf"));
    EXPECT_THAT(host.Folders(), ElementsAre(folders.second()));  // the folders set, not the working folder

    // The working folder is read again at each refresh.
    std::filesystem::current_path(folders.tree.path("elsewhere"));
    EXPECT_EQ(host.Find("only-here"), Found(here / "only-here.tf"));  // not before the refresh
    EXPECT_TRUE(host.Refresh());
    EXPECT_EQ(host.Find("only-here"), std::nullopt);
    EXPECT_EQ(host.Find("only-elsewhere"), Found(folders.tree.path("elsewhere/only-elsewhere.tf")));
    EXPECT_EQ(host.Find("hello"), Found(folders.second() / "hello.tf"));
    EXPECT_FALSE(plain.Refresh());
}

TEST(FacadeRefresh, FindsAFileMadeOnDiskAfterOneRefreshAndReportsNoChangeWithoutOne) {
    TwoFolders folders;
    SearchPath searchPath;
    searchPath.SetFolders(folders.both());
    EXPECT_FALSE(searchPath.Refresh());
    folders.tree.file("second/late.tf");
    EXPECT_TRUE(searchPath.Refresh());
    EXPECT_EQ(searchPath.Find("late"), Found(folders.second() / "late.tf"));
    EXPECT_FALSE(searchPath.Refresh());
}

TEST(FacadeNames, CarriesNonAsciiAndNonUtf8NamesAsTheBytesOnDisk) {
    TempTree tree("tfsp-facade");
    const std::string accented = "caf\xc3\xa9";  // "café" in UTF-8
    const std::string notUtf8 = "raw\xff\xfe";   // two bytes that start no UTF-8 sequence
    tree.file(accented + "/r\xc3\xa9sum\xc3\xa9.tf");
    tree.file(notUtf8 + "/odd\x80name.tf");
    tree.file(notUtf8 + "/plain.tf");
    SearchPath searchPath;
    EXPECT_TRUE(searchPath.SetFolders(std::vector<path>{tree.path(accented), tree.path(notUtf8)}).empty());

    EXPECT_THAT(searchPath.Folders(), ElementsAre(path(tree.path(accented)), path(tree.path(notUtf8))));
    const Found resume = searchPath.Find("r\xc3\xa9sum\xc3\xa9");
    ASSERT_TRUE(resume);
    EXPECT_EQ(resume->native(), tree.path(accented + "/r\xc3\xa9sum\xc3\xa9.tf"));
    const Found plain = searchPath.Find("plain");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->native(), tree.path(notUtf8 + "/plain.tf"));
    const Found odd = searchPath.Find("odd\x80name");
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->native(), tree.path(notUtf8 + "/odd\x80name.tf"));
    EXPECT_TRUE(std::filesystem::exists(*odd));
}

TEST(FacadeSnapshot, StaysAsItWasAcrossChangesAndOutlivesItsSearchPath) {
    TwoFolders folders;
    std::shared_ptr<const IPath> snapshot;
    {
        SearchPath searchPath;
        searchPath.SetFolders(folders.both());
        snapshot = searchPath.Snapshot();
        searchPath.SetFolders(folders.reversed());
        EXPECT_NE(searchPath.Snapshot(), snapshot);
        EXPECT_EQ(searchPath.Find("hello"), Found(folders.second() / "hello.tf"));
    }
    EXPECT_EQ(snapshot->GetMainEntries()->size(), 2u);
    EXPECT_EQ(snapshot->GetMainEntries()->front()->GetIRI().getName(), u"first");
}

TEST(FacadeSnapshot, ANewSearchPathNeverAnswersFromAnEndedOnesSnapshot) {
    TwoFolders folders;
    // Made and ended in turn, the objects often take the same address; each
    // must answer from its own folders.
    for (int round = 0; round < 4; ++round) {
        SearchPath searchPath;
        searchPath.SetFolders(round % 2 ? folders.reversed() : folders.both());
        EXPECT_EQ(searchPath.Find("hello"), Found((round % 2 ? folders.second() : folders.first()) / "hello.tf"))
            << round;
    }
}

TEST(FacadeMove, AMovedFromSearchPathRefusesAndTheMovedToOneKeepsThePath) {
    TwoFolders folders;
    SearchPath source;
    source.SetFolders(folders.both());
    SearchPath target(std::move(source));
    EXPECT_EQ(target.Find("hello"), Found(folders.first() / "hello.tf"));
    EXPECT_THROW(source.Find("hello"), std::logic_error);  // NOLINT(bugprone-use-after-move)
    SearchPath other;
    other = std::move(target);
    EXPECT_THAT(other.Folders(), ElementsAre(folders.first(), folders.second()));
}

}  // namespace
}  // namespace tfsp::test
