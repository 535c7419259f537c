// The differences between two lists of main entries, by folder.
#include "CompositeTestHelpers.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "tfsearch_path/PathEntryVectorDifferentiator.hpp"

#include <gmock/gmock.h>

#include <array>
#include <map>

namespace tfsp::test {
namespace {

// Entries of folders "/d/<name>" without touching the disk; Fresh gives a
// new object for a folder already made.
class DifferentiatorTest : public ::testing::Test {
protected:
    PathEntryPointer Fresh(const std::string& name) {
        const auto iri = foundation::storage::vfs::toAbsoluteIRI(u"file", Utf16("/d/" + name));
        entries[name] = std::make_shared<InaccessibleFolderPathEntry>(
            Main, foundation::storage::vfs::CanonicalAbsoluteIRI(iri, ustring()), Utf16(name));
        return entries[name];
    }
    PathEntryPointer Of(const std::string& name) { return entries.count(name) ? entries[name] : Fresh(name); }
    PathEntryVector List(const std::string& names) {
        PathEntryVector list;
        for (char name : names) list.push_back(Of(std::string(1, name)));
        return list;
    }
    static std::string Names(const PathEntryList& list) {
        std::string names;
        for (const PathEntryPointer& entry : *list) names += Utf8(entry->GetDescriptor());
        return names;
    }
    void Compare(const PathEntryVector& before, const PathEntryVector& after) {
        differences.Compare(before, after, CompareByFolder);
    }

    std::map<std::string, PathEntryPointer> entries;
    PathEntryVectorDifferentiator differences;
};

TEST_F(DifferentiatorTest, AddedAndRemovedFoldersMoveNothing) {
    for (const PathEntryList& list : {differences.GetAdded(), differences.GetRemoved(), differences.GetReordered(),
                                      differences.GetRefreshedBefore(), differences.GetRefreshedAfter()})
        EXPECT_TRUE(list && list->empty());
    // {before, after, added, removed}
    for (const auto& [before, after, added, removed] : std::vector<std::array<std::string, 4>>{
             {"abcdef", "abcdef", "", ""}, {"abcdef", "xabdeyf", "xy", "c"}, {"abc", "", "", "abc"}}) {
        Compare(List(before), List(after));
        EXPECT_EQ(Names(differences.GetAdded()), added) << before << "->" << after;
        EXPECT_EQ(Names(differences.GetRemoved()), removed) << before << "->" << after;
        EXPECT_EQ(Names(differences.GetReordered()) + Names(differences.GetRefreshedAfter()), "");
    }
}

TEST_F(DifferentiatorTest, ReorderedAreTheFoldersOutsideTheLongestRunInOrder) {
    // The current folder moved to the front; of two equal runs, the one moved
    // forward is reported.
    for (const auto& [before, after, moved] : std::vector<std::array<std::string, 3>>{{"abcdefgh", "fabcdegh", "f"},
                                                                                      {"abcdef", "bcdefa", "a"},
                                                                                      {"ab", "ba", "b"}}) {
        Compare(List(before), List(after));
        EXPECT_EQ(Names(differences.GetReordered()), moved) << before << "->" << after;
    }
    Compare(List("abcdef"), List("fedcba"));
    EXPECT_EQ(differences.GetReordered()->size(), 5u);
    Compare(List("abcxdef"), List("aebycdf"));  // with comings and goings around
    EXPECT_EQ(Names(differences.GetReordered()), "e");
    EXPECT_EQ(Names(differences.GetAdded()), "y");
    EXPECT_EQ(Names(differences.GetRemoved()), "x");
}

TEST_F(DifferentiatorTest, RefreshedFoldersPairOldAndNewObjects) {
    const PathEntryVector before = List("abcde");
    const PathEntryPointer oldB = Of("b"), oldD = Of("d");
    Fresh("b");
    Fresh("d");
    const PathEntryVector after = List("adcbe");
    Compare(before, after);
    EXPECT_THAT(*differences.GetRefreshedBefore(), ::testing::ElementsAre(oldD, oldB));
    EXPECT_THAT(*differences.GetRefreshedAfter(), ::testing::ElementsAre(after[1], after[3]));
    EXPECT_EQ(Names(differences.GetAdded()) + Names(differences.GetRemoved()), "");
    Compare(before, List("abcde"));
    EXPECT_EQ(differences.GetRefreshedAfter()->size(), 2u);
    EXPECT_EQ(Names(differences.GetReordered()), "");

    // The lists of an earlier comparison stay as they were.
    const PathEntryList earlier = differences.GetRefreshedAfter();
    PathEntryVectorDifferentiator copy = differences;
    Compare(after, after);
    EXPECT_EQ(earlier->size(), 2u);
    EXPECT_EQ(copy.GetRefreshedAfter()->size(), 2u);
}

TEST(DifferentiatorDeathTest, AnUnknownFilterEndsTheProgram) {
    PathEntryVectorDifferentiator differences;
    EXPECT_DEATH(differences.Compare({}, {}, static_cast<ComparisonFilter>(0)),
                 "Unrecognized ComparisonFilter passed to PathEntryVectorDifferentiator::Compare");
}

}  // namespace
}  // namespace tfsp::test
