// Which file of a folder a name finds, under each matching policy.
#include "EntryTestHelpers.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <gmock/gmock.h>

#include <functional>

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;

class FindTest : public EngineFixture {
protected:
    PathEntryPointer Folder(std::initializer_list<const char*> files) {
        for (const char* file : files) tree.file(std::string("f/") + file);
        return GetPathEntryFactory().GetPathEntry(tree.iri("f"));
    }
    static std::vector<std::string> Names(const PathItemVector& items) {
        std::vector<std::string> names;
        for (const auto& item : items) names.push_back(Utf8(item->FileName()));
        return names;
    }
    static std::string Name(const PathItemPointer& item) { return item ? Utf8(item->FileName()) : "<none>"; }
    TempTree tree;
};

TEST_F(FindTest, ExtensionOrderOutranksItemOrder) {
    const auto entry = Folder({"abc.two", "ABC.one"});
    EXPECT_EQ(Name(entry->FindFirst(Target(u"abc", {u".one", u".two"}), CaseRuleTwo)), "ABC.one");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"abc", {u".two", u".one"}), CaseRuleTwo)), "abc.two");
    EXPECT_THAT(Names(entry->FindAll(Target(u"abc", {u".two", u".one"}), CaseRuleTwo)),
                ElementsAre("abc.two", "ABC.one"));
    // An item is listed once for each extension that matches it.
    EXPECT_THAT(Names(entry->FindAll(Target(u"abc", {u".one", u".ONE"}), CaseRuleTwo)),
                ElementsAre("ABC.one", "ABC.one"));
}

TEST_F(FindTest, ExactRulesDontFoldCase) {
    const auto entry = Folder({"abc.tf", "ABC.tf"});
    for (auto policy : {CaseRuleOne, StorageSystemRule}) {
        EXPECT_EQ(Name(entry->FindFirst(Target(u"abc", {u".tf"}), policy)), "abc.tf");
        EXPECT_EQ(Name(entry->FindFirst(Target(u"ABC", {u".tf"}), policy)), "ABC.tf");
        EXPECT_EQ(Name(entry->FindFirst(Target(u"Abc", {u".tf"}), policy)), "<none>");
        EXPECT_EQ(Name(entry->FindFirst(Target(u"abc", {u".TF"}), policy)), "<none>");
    }
}

TEST_F(FindTest, FoldedRuleFindsEveryCaseVariantCapitalsFirst) {
    const auto entry = Folder({"abc.tf", "ABC.tf", "Äbc.TF", "äBC.tf"});
    EXPECT_EQ(Name(entry->FindFirst(Target(u"aBc", {u".tf"}), CaseRuleTwo)), "ABC.tf");
    EXPECT_THAT(Names(entry->FindAll(Target(u"aBc", {u".tf"}), CaseRuleTwo)), ElementsAre("ABC.tf", "abc.tf"));
    EXPECT_THAT(Names(entry->FindAll(Target(u"ÄBC", {u".tf"}), CaseRuleTwo)), ElementsAre("Äbc.TF", "äBC.tf"));
}

TEST_F(FindTest, TheEmptyExtensionFindsOnlyFilesWithoutOne) {
    const auto entry = Folder({"README", "README.md", "notes."});
    EXPECT_EQ(Name(entry->FindFirst(Target(u"README", {u""}), CaseRuleOne)), "README");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"README", {u".txt", u""}), CaseRuleOne)), "README");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"notes", {u""}), CaseRuleOne)), "<none>");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"notes", {u"."}), CaseRuleOne)), "notes.");
    // No extensions, nothing found.
    EXPECT_EQ(Name(entry->FindFirst(Target(u"README", {}), CaseRuleOne)), "<none>");
    EXPECT_TRUE(entry->FindAll(Target(u"README", {}), CaseRuleOne).empty());
}

TEST_F(FindTest, NamesAreStemsNotPathsAndPrefixesDontMatch) {
    const auto entry = Folder({"abc.tf", "abcd.tf"});
    EXPECT_EQ(Name(entry->FindFirst(Target(u"ab", {u".tf"}), CaseRuleOne)), "<none>");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"f/abc", {u".tf"}), CaseRuleOne)), "<none>");
    EXPECT_EQ(Name(entry->FindFirst(Target(u"", {u".tf"}), CaseRuleOne)), "<none>");
}

// A matcher is all a caller may keep of an entry: it must stay usable, and
// keep the entry, after the caller's last share of the entry is gone.
TEST_F(FindTest, AMatcherKeepsItsEntryAlive) {
    tree.file("f/abc.tf");
    const std::pair<const char*, std::function<PathEntryPointer()>> makers[] = {
        {"listed", [&] { return GetPathEntryFactory().GetPathEntry(tree.iri("f")); }},
        {"unreadable", [&] {
             return std::make_shared<const InaccessibleFolderPathEntry>(Main, CanonicalAbsoluteIRI(tree.iri("f"), u""),
                                                                        u"f");
         }}};
    for (const auto& [kind, make] : makers) {
        PathEntryPointer entry = make();
        const std::weak_ptr<const IPathEntry> watch = entry;
        const FilenameMatcher exact = entry->CreateFilenameMatcher(CaseRuleOne);
        const FilenameMatcher folded = entry->CreateFilenameMatcher(CaseRuleTwo);
        entry.reset();
        EXPECT_FALSE(watch.expired()) << kind;
        EXPECT_FALSE((*exact)(u"abc", u"ABC")) << kind;
        EXPECT_TRUE((*folded)(u"abc", u"ABC")) << kind;
    }
}

using FindDeathTest = FindTest;

TEST_F(FindDeathTest, ABadPolicyIsFatalEvenInAnEmptyFolder) {
    tree.folder("empty");
    const auto entry = GetPathEntryFactory().GetPathEntry(tree.iri("empty"));
    const auto bad = static_cast<FilenameMatchingPolicy>(7);
    EXPECT_DEATH(entry->FindFirst(Target(u"x", {u".tf"}), bad),
                 "Unrecognized FilenameMatchingPolicy passed to GetFilenameMatcher");
    EXPECT_DEATH(entry->FindAll(Target(u"x", {u".tf"}), bad),
                 "Unrecognized FilenameMatchingPolicy passed to GetFilenameMatcher");
    EXPECT_DEATH(entry->CreateFilenameMatcher(bad), "Unrecognized FilenameMatchingPolicy passed to GetFilenameMatcher");
}

}  // namespace
}  // namespace tfsp::test
