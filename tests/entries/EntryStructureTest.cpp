// What the factory makes of a folder: kinds of child, what is left out, and
// the order of items.
#include "EntryTestHelpers.hpp"
#include "PathEntry.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/PathEntryDecorator.hpp"

#include <gmock/gmock.h>

#include <random>
#include <set>

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class EntryStructureTest : public EngineFixture {
protected:
    PathEntryPointer Entry(const std::string& relative) {
        return GetPathEntryFactory().GetPathEntry(tree.iri(relative));
    }
    TempTree tree;
};

TEST_F(EntryStructureTest, SpecialSubfoldersBecomeChildrenOfTheirKind) {
    tree.file("main/f.tf");
    tree.file("main/+pkg/p.tf");
    tree.file("main/+pkg/+inner/q.tf");
    tree.file("main/@Cls/m.tf");
    tree.file("main/@Cls/@Sub/u.tf");
    tree.file("main/@Cls/@Sub/@TooDeep/x.tf");  // a UDD class holds only private
    tree.file("main/@Cls/@Sub/private/up.tf");
    tree.file("main/@Cls/+notHere/x.tf");  // a class holds no packages
    tree.file("main/private/h.tf");
    tree.file("main/private/private/hidden.tf");  // private folders aren't read
    tree.file("main/resources/r.txt");
    tree.file("main/plain/ignored.tf");  // a plain subfolder is nobody's child
    tree.file("main/+1bad/x.tf");        // not a valid identifier after "+"
    tree.file("main/@/x.tf");

    const auto main = Entry("main");
    EXPECT_EQ(main->GetPathEntryType(), Main);
    EXPECT_THAT(FileNames(*main), ElementsAre("f.tf"));
    EXPECT_THAT(BaseNames(main->GetPackageEntries()), ElementsAre("+pkg"));
    EXPECT_THAT(BaseNames(main->GetMethodEntries()), ElementsAre("@Cls"));
    EXPECT_THAT(*main->GetUDDClassEntries(), IsEmpty());
    ASSERT_NE(main->GetPrivateEntry(), nullptr);
    EXPECT_EQ(main->GetPrivateEntry()->GetPathEntryType(), Private);
    EXPECT_THAT(*main->GetPrivateEntry()->GetPackageEntries(), IsEmpty());
    ASSERT_NE(main->GetResourcesEntry(), nullptr);
    EXPECT_EQ(main->GetResourcesEntry()->GetPathEntryType(), Resources);

    const auto pkg = main->GetPackageEntries()->front();
    EXPECT_EQ(pkg->GetPathEntryType(), Package);
    EXPECT_THAT(BaseNames(pkg->GetPackageEntries()), ElementsAre("+inner"));

    const auto cls = main->GetMethodEntries()->front();
    EXPECT_THAT(*cls->GetPackageEntries(), IsEmpty());
    ASSERT_THAT(BaseNames(cls->GetUDDClassEntries()), ElementsAre("@Sub"));
    const auto udd = cls->GetUDDClassEntries()->front();
    EXPECT_EQ(udd->GetPathEntryType(), UDDClass);
    EXPECT_THAT(*udd->GetMethodEntries(), IsEmpty());
    EXPECT_THAT(*udd->GetUDDClassEntries(), IsEmpty());
    ASSERT_NE(udd->GetPrivateEntry(), nullptr);
    EXPECT_THAT(FileNames(*udd->GetPrivateEntry()), ElementsAre("up.tf"));
}

TEST_F(EntryStructureTest, ChildrenCarryCanonicalIRIsAndTheDescriptorIsTheIRIText) {
    tree.file("real/+pkg/p.tf");
    tree.symlink("link", tree.path("real"));
    const auto entry = Entry("link");
    EXPECT_EQ(entry->GetIRI(), tree.iri("real"));
    EXPECT_EQ(entry->GetDescriptor(), tree.iri("real").toString());
    EXPECT_EQ(entry->GetPackageEntries()->front()->GetIRI(), tree.iri("real/+pkg"));
    // Both names of the folder give the one entry.
    EXPECT_EQ(Entry("real"), entry);
}

TEST_F(EntryStructureTest, FileNamesSplitAtTheLastDot) {
    tree.file("f/a.b.tf");
    tree.file("f/noext");
    tree.file("f/trailing.");
    tree.file("f/.hidden");
    tree.file("f/twice..");
    tree.file("f/Été.Tf");
    tree.file("f/日本");
    tree.file("f/bad\xFF.x\xFF");
    const auto entry = Entry("f");
    std::vector<std::pair<std::string, std::string>> split;
    for (const auto& item : *entry->GetPathItems()) split.emplace_back(Utf8(item->stem), Utf8(item->extension));
    EXPECT_THAT(split, ::testing::UnorderedElementsAre(std::pair<std::string, std::string>{"a.b", ".tf"},
                                                       std::pair<std::string, std::string>{"noext", ""},
                                                       std::pair<std::string, std::string>{"trailing", "."},
                                                       std::pair<std::string, std::string>{"", ".hidden"},
                                                       std::pair<std::string, std::string>{"twice.", "."},
                                                       std::pair<std::string, std::string>{"Été", ".Tf"},
                                                       std::pair<std::string, std::string>{"日本", ""},
                                                       std::pair<std::string, std::string>{"bad\xFF", ".x\xFF"}));
}

TEST_F(EntryStructureTest, ItemsAreSortedSoThatCaseVariantsStandTogether) {
    for (const char* name : {"b.tf", "abc.two", "B.tf", "ABC.one", "Abc.tf", "a.tf"})
        tree.file(std::string("f/") + name);
    const auto entry = Entry("f");
    EXPECT_THAT(FileNames(*entry), ElementsAre("a.tf", "ABC.one", "Abc.tf", "abc.two", "B.tf", "b.tf"));
}

TEST_F(EntryStructureTest, ItemsAreSortedWhereNamesShareALongPrefix) {
    // Names that run out early, that differ only far into the name, that
    // differ only in case, and that leave ASCII, across and past the
    // surrogates, after a prefix that all of them share.
    for (const char* name :
         {"prefix_\xEF\xBC\xA1.tf", "prefix_abcdeZ.tf", "prefix_b.m", "prefix_\xF0\x9F\x98\x80.tf", "prefix_abcd.tf",
          "PREFIX_B.tf", "prefix_.tf", "prefix_abcdea.tf", "prefix_\xC3\xA9.tf", "prefix_a.tf"})
        tree.file(std::string("f/") + name);
    EXPECT_THAT(FileNames(*Entry("f")),
                ElementsAre("prefix_.tf", "prefix_a.tf", "prefix_abcd.tf", "prefix_abcdea.tf", "prefix_abcdeZ.tf",
                            "PREFIX_B.tf", "prefix_b.m", "prefix_\xC3\xA9.tf", "prefix_\xF0\x9F\x98\x80.tf",
                            "prefix_\xEF\xBC\xA1.tf"));
}

TEST_F(EntryStructureTest, ItemsOfManyLikeNamesComeInTheOrderOfAComparisonSort) {
    // Stems drawn from few letters, in both cases and outside ASCII, so that
    // many agree far into the name or fold alike, and extensions that tell
    // apart what the stems don't.
    const std::vector<std::string> letters = {
        "a", "A", "b", "_", "0", "\xC3\xA9", "\xC3\x89", "\xE6\x97\xA5", "\xF0\x9F\x98\x80"};
    const std::vector<std::string> extensions = {".tf", ".TF", ".tfc", ""};
    std::mt19937 random(7);
    std::set<std::string> names;
    while (names.size() != 300) {
        std::string name = "p";
        for (std::size_t length = random() % 9; length != 0; --length) name += letters[random() % letters.size()];
        names.insert(name + extensions[random() % extensions.size()]);
    }
    for (const std::string& name : names) tree.file("f/" + name);

    const auto items = *Entry("f")->GetPathItems();
    ASSERT_EQ(items.size(), names.size());
    auto expected = items;
    std::sort(expected.begin(), expected.end(), PathItemLess);
    EXPECT_EQ(items, expected);
}

TEST_F(EntryStructureTest, AnUnreadableFolderIsAStorageError) {
    tree.file("file.tf");
    try {
        Entry("missing");
        FAIL() << "no exception";
    } catch (const foundation::storage::vfs::Exception& e) {
        EXPECT_EQ(e.getCode(), foundation::storage::vfs::ErrorCode::NotFound);
    }
    EXPECT_THROW(Entry("file.tf"), foundation::storage::vfs::Exception);
}

TEST_F(EntryStructureTest, WalkVisitsParentsBeforeChildrenInKindOrder) {
    tree.file("m/+p/a.tf");
    tree.file("m/@C/a.tf");
    tree.file("m/private/a.tf");
    tree.file("m/resources/a.tf");
    const auto entry = Entry("m");
    std::vector<PathEntryType> seen;
    EXPECT_FALSE(entry->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) {
        seen.push_back(e->GetPathEntryType());
        return false;
    }));
    EXPECT_THAT(seen, ElementsAre(Main, Package, Method, Private, Resources));

    static constexpr PathEntryType onlyPrivate[] = {Private};
    seen.clear();
    entry->ForEachEntry(SearchScope(onlyPrivate), [&](const PathEntryPointer& e) {
        seen.push_back(e->GetPathEntryType());
        return false;
    });
    EXPECT_THAT(seen, ElementsAre(Private));

    // Stopping at the package skips the rest.
    seen.clear();
    EXPECT_TRUE(entry->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) {
        seen.push_back(e->GetPathEntryType());
        return e->GetPathEntryType() == Package;
    }));
    EXPECT_THAT(seen, ElementsAre(Main, Package));

    EXPECT_FALSE(entry->ForEachEntry(SearchScope(), [](const PathEntryPointer&) -> bool {
        ADD_FAILURE() << "an empty scope selects nothing";
        return true;
    }));
}

// An entry of `type` made in memory, with `children` and no files.
PathEntryPointer MemoryEntry(const TempTree& tree, const std::string& relative, PathEntryType type,
                             PathEntry::Children children = {}) {
    const CanonicalAbsoluteIRI iri(tree.iri(relative), ustring());
    return PathEntry::Create(
        PathEntry::Parts{.iri = iri, .descriptor = iri.toString(), .entryType = type, .children = std::move(children)});
}

// A folder that stands as its own private folder.
class OwnPrivateEntry final : public PathEntryDecorator, public std::enable_shared_from_this<OwnPrivateEntry> {
public:
    using PathEntryDecorator::PathEntryDecorator;
    PathEntryPointer GetPrivateEntry() const override { return shared_from_this(); }
};

TEST_F(EntryStructureTest, ChildWalkTakesEachChildOnceInKindOrderAndStopsWhenAsked) {
    // Every kind, two of one.
    const auto entry =
        MemoryEntry(tree, "m", Main,
                    {.packages = {MemoryEntry(tree, "m/+p", Package), MemoryEntry(tree, "m/+q", Package)},
                     .methods = {MemoryEntry(tree, "m/@C", Method)},
                     .uddClasses = {MemoryEntry(tree, "m/@C/@U", UDDClass)},
                     .privateEntry = MemoryEntry(tree, "m/private", Private),
                     .resourcesEntry = MemoryEntry(tree, "m/resources", Resources)});
    using Visit = std::pair<std::string, PathEntryType>;
    std::vector<Visit> seen;
    const auto record = [&](const PathEntryPointer& child, PathEntryType kind) {
        seen.emplace_back(Utf8(child->GetIRI().getName()), kind);
    };
    EXPECT_FALSE(ForEachChildEntry(*entry, record));
    EXPECT_THAT(seen, ElementsAre(Pair("+p", Package), Pair("+q", Package), Pair("@C", Method), Pair("@U", UDDClass),
                                  Pair("private", Private), Pair("resources", Resources)));

    seen.clear();
    EXPECT_TRUE(ForEachChildEntry(*entry, [&](const PathEntryPointer& child, PathEntryType kind) {
        record(child, kind);
        return kind == Method;
    }));
    EXPECT_THAT(seen, ElementsAre(Pair("+p", Package), Pair("+q", Package), Pair("@C", Method)));

    // The walks the entry makes of itself take the same order.
    std::vector<PathEntryType> walked;
    entry->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) {
        walked.push_back(e->GetPathEntryType());
        return false;
    });
    EXPECT_THAT(walked, ElementsAre(Main, Package, Package, Method, UDDClass, Private, Resources));
}

TEST_F(EntryStructureTest, ChildWalkLeavesOutAnEntryThatIsItsOwnPrivateEntry) {
    const auto own = std::make_shared<OwnPrivateEntry>(
        MemoryEntry(tree, "p", Private, {.resourcesEntry = MemoryEntry(tree, "p/resources", Resources)}));
    ASSERT_EQ(own->GetPrivateEntry(), own);
    std::vector<PathEntryType> kinds;
    ForEachChildEntry(*own, [&](const PathEntryPointer& child, PathEntryType kind) {
        EXPECT_NE(child, own);
        kinds.push_back(kind);
    });
    EXPECT_THAT(kinds, ElementsAre(Resources));
}

}  // namespace
}  // namespace tfsp::test
