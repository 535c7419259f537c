// After one refresh the path answers from the disk as it is, whatever
// happened to a folder on it: a folder above it renamed or removed, the
// folder replaced by a symbolic link that leads nowhere, and names that are
// not valid UTF-8, which must reach the file they name.
#include "ManagerTestSupport.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

namespace tfsp::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class FreshnessTest : public ManagerFixture {
protected:
    FreshnessTest() {
        tree.folder("cwd");
        Cd("cwd");
    }
    bool IsInaccessible(std::size_t position) {
        const auto entry = Manager().GetMainPath()->GetMainEntries()->at(position);
        return dynamic_cast<const InaccessibleFolderPathEntry*>(entry.get()) != nullptr;
    }
    // Whether the file opens by the name a lookup reported, as a host opens it.
    bool Opens(const std::string& relative) const {
        const int fd = ::open(tree.path(relative).c_str(), O_RDONLY);
        if (fd < 0) return false;
        ::close(fd);
        return true;
    }
};

// Watching the folder alone doesn't see these: its inode moves along with a
// renamed parent, or another folder takes its name.
TEST_F(FreshnessTest, AFolderWhoseParentOrGrandparentMovesFollowsItsName) {
    struct Case {
        const char* what;
        std::function<void(TempTree&)> change;
        bool recreated;  // x/a/b exists again afterwards, holding other.tf
    };
    const auto recreate = [](TempTree& t) { t.file("x/a/b/other.tf"); };
    const Case cases[] = {
        {"parent renamed", [](TempTree& t) { fs::rename(t.path("x/a"), t.path("x/old")); }, false},
        {"parent renamed and re-created",
         [&](TempTree& t) {
             fs::rename(t.path("x/a"), t.path("x/old"));
             recreate(t);
         },
         true},
        {"parent deleted and re-created",
         [&](TempTree& t) {
             t.remove("x/a");
             recreate(t);
         },
         true},
        {"grandparent renamed", [](TempTree& t) { fs::rename(t.path("x"), t.path("y")); }, false},
        {"grandparent renamed and re-created",
         [&](TempTree& t) {
             fs::rename(t.path("x"), t.path("y"));
             recreate(t);
         },
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        for (const char* gone : {"x", "y"}) tree.remove(gone);
        tree.file("x/a/b/f.tf");
        ASSERT_TRUE(SetPath({"x/a/b"}).empty());
        ASSERT_EQ(FoundFirst("f"), "x/a/b/f.tf");

        c.change(tree);
        ASSERT_TRUE(Manager().Refresh(TrustObservers));
        EXPECT_EQ(FoundFirst("f"), "");
        EXPECT_EQ(FoundFirst("other"), c.recreated ? "x/a/b/other.tf" : "");
        EXPECT_EQ(IsInaccessible(0), !c.recreated);
        // The folder now under the name is the one watched.
        if (c.recreated) {
            tree.file("x/a/b/later.tf");
            ASSERT_TRUE(Manager().Refresh(TrustObservers));
            EXPECT_EQ(FoundFirst("later"), "x/a/b/later.tf");
        }
        ASSERT_TRUE(SetPath({}).empty());
    }
}

// A link that can't lead to a folder is a folder that isn't there: its entry
// keeps its place and finds nothing, also when every folder is read again.
TEST_F(FreshnessTest, AFolderReplacedByALinkThatLeadsNowhereFindsNothing) {
    struct Case {
        const char* what;
        std::function<void(TempTree&)> change;
    };
    const Case cases[] = {
        {"a link to itself",
         [](TempTree& t) {
             t.remove("x/a/b");
             t.symlink("x/a/b", "b");
         }},
        {"two links to each other",
         [](TempTree& t) {
             t.remove("x/a/b");
             t.symlink("x/a/b", "c");
             t.symlink("x/a/c", "b");
         }},
        {"a loop above it",
         [](TempTree& t) {
             t.remove("x/a");
             t.symlink("x/a", "a");
         }},
        {"a link to a folder that goes",
         [](TempTree& t) {
             t.remove("x/a/b");
             t.file("x/elsewhere/g.tf");
             t.symlink("x/a/b", t.path("x/elsewhere"));
             t.remove("x/elsewhere");
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        tree.remove("x");
        tree.file("x/a/b/f.tf");
        ASSERT_TRUE(SetPath({"x/a/b"}).empty());
        ASSERT_EQ(FoundFirst("f"), "x/a/b/f.tf");

        c.change(tree);
        ASSERT_TRUE(Manager().Refresh(TrustObservers));
        EXPECT_TRUE(IsInaccessible(0));
        EXPECT_EQ(FoundFirst("f"), "");
        ASSERT_TRUE(Manager().Refresh(ForceRefresh));
        EXPECT_TRUE(IsInaccessible(0));
        EXPECT_EQ(FoundFirst("f"), "");
        ASSERT_TRUE(SetPath({}).empty());
    }
}

// A link to a folder is read through, before and after the folder it
// replaces is gone.
TEST_F(FreshnessTest, AFolderReplacedByALinkToAnotherFolderShowsThatFolder) {
    tree.file("x/a/b/f.tf");
    tree.file("x/other/g.tf");
    ASSERT_TRUE(SetPath({"x/a/b"}).empty());
    tree.remove("x/a/b");
    tree.symlink("x/a/b", tree.path("x/other"));
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(FoundFirst("f"), "");
    EXPECT_EQ(FoundFirst("g"), "x/a/b/g.tf");
    tree.file("x/other/h.tf");
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(FoundFirst("h"), "x/a/b/h.tf");
}

// A name above the folder that was a link, then a folder: the names on the
// way down are watched where they lead now, not where the link led, so a
// later rename above is seen.
TEST_F(FreshnessTest, AFolderBelowALinkReplacedByAFolderIsWatchedByItsOwnNames) {
    tree.file("elsewhere/a/c/f.tf");
    tree.symlink("x", tree.path("elsewhere"));
    ASSERT_TRUE(SetPath({"x/a/c"}).empty());
    ASSERT_EQ(FoundFirst("f"), "x/a/c/f.tf");

    tree.remove("x");
    tree.file("x/a/c/g.tf");
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    ASSERT_EQ(FoundFirst("f"), "");
    ASSERT_EQ(FoundFirst("g"), "x/a/c/g.tf");

    fs::rename(tree.path("x/a"), tree.path("x/d"));
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(FoundFirst("g"), "");
    EXPECT_TRUE(IsInaccessible(0));
}

// Each byte that isn't part of valid UTF-8 stands for itself, as the code
// unit U+DC00 + byte, which no valid text gives; valid text around it is
// read as text.
TEST_F(FreshnessTest, NamesThatAreNotUtf8AreFoundByWhatTheyAreAndOpenByTheNameReported) {
    struct Name {
        std::string bytes;
        ustring units;
    };
    const Name names[] = {
        {"x\xff", u"x\xDCFF"},         {"caf\xc3\xa9\xff", u"caf\u00e9\xDCFF"},
        {"\x80\xfe", u"\xDC80\xDCFE"}, {"b\xc3z", u"b\xDCC3z"},  // a sequence cut short
        {"a\xfe", u"a\xDCFE"},                                   // these two differ only in a byte that
        {"a\xff", u"a\xDCFF"},                                   // isn't text: two names, two files
        {"caf\xc3\xa9", u"caf\u00e9"},
    };
    for (const Name& name : names) tree.file("n/" + name.bytes + ".tf", name.bytes);
    ASSERT_TRUE(SetPath({"n"}).empty());
    EXPECT_EQ(Manager().GetMainPath()->GetMainEntries()->front()->GetPathItems()->size(), std::size(names));
    for (const Name& name : names) {
        SCOPED_TRACE(::testing::PrintToString(name.bytes));
        const auto found =
            Manager().GetSearchPath()->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(name.units, {u".tf"}),
                                                        CaseRuleOne);
        EXPECT_TRUE(found.has_value());
        if (!found) continue;
        EXPECT_EQ(found->GetPathItem()->FileName(), name.units + u".tf");
        // Back to bytes, the name is the file's, and opens it.
        const std::string reported = Relative(*found);
        EXPECT_EQ(reported, "n/" + name.bytes + ".tf");
        EXPECT_TRUE(Opens(reported)) << reported;
        // A host that converts the bytes it was given finds the same file.
        EXPECT_EQ(FoundFirst(name.bytes), reported);
    }
}

TEST_F(FreshnessTest, AFolderWhoseNameIsNotUtf8StandsOnThePathAndIsWatched) {
    const std::string folder = "d\xff/sub\xc3\xa9\xfe";
    tree.file(folder + "/g.tf");
    ASSERT_TRUE(SetPath({folder}).empty());
    EXPECT_THAT(Folders(*Manager().GetMainPath()), ElementsAre(folder));
    EXPECT_EQ(FoundFirst("g"), folder + "/g.tf");
    EXPECT_TRUE(Opens(FoundFirst("g")));
    tree.file(folder + "/h.tf");
    ASSERT_TRUE(Manager().Refresh(TrustObservers));
    EXPECT_EQ(FoundFirst("h"), folder + "/h.tf");
}

}  // namespace
}  // namespace tfsp::test
