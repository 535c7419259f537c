// Paths at their edges: no entries, bad input, a folder that stands on the
// path twice, folders reached through links.
#include "PathTestHelpers.hpp"

#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include <gmock/gmock.h>

#include <algorithm>

namespace tfsp::test {
namespace {

using ::testing::IsEmpty;

class PathEdgeCaseTest : public EngineFixture {
protected:
    PathEntryPointer Entry(const std::string& folder) { return GetPathEntryFactory().GetPathEntry(tree.iri(folder)); }
    std::shared_ptr<const IPath> MakePath(PathEntryVector entries) {
        return GetCurrentPathFactory().CreatePath(std::move(entries));
    }
    TempTree tree;
};

TEST_F(PathEdgeCaseTest, AnEmptyPathAnswersEverythingEmpty) {
    tree.file("a/x.tf");
    const auto elsewhere = Entry("a");
    const auto path = MakePath({});
    EXPECT_THAT(*path->GetMainEntries(), IsEmpty());
    EXPECT_EQ(path->GetMainEntries(), path->GetMainEntries());  // the same vector, not a copy
    EXPECT_FALSE(path->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(u"x", {u".tf"}), CaseRuleOne));
    EXPECT_THAT(path->FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"a/x", {u".tf"}), CaseRuleTwo),
                IsEmpty());
    EXPECT_THAT(path->GetMethodEntries(), IsEmpty());
    EXPECT_THAT(path->GetPartiallyMatchingEntries(allEntryTypesScope, u"a", CaseRuleOne), IsEmpty());
    EXPECT_FALSE(path->GetPathEntryFromAbsoluteIRI(tree.iri("a"), StorageSystemRule));
    EXPECT_FALSE(path->ForEachEntry(allEntryTypesScope, [](const PathEntryPointer&) { return true; }));
    EXPECT_FALSE(path->IsEntryOnPath(*elsewhere));
}

TEST_F(PathEdgeCaseTest, BadInputGivesEmptyResults) {
    tree.file("a/x.tf");
    tree.file("a/@cls/y.tf");
    tree.file("b/x.tf");
    const auto notOnPath = Entry("b");
    const auto path = MakePath({Entry("a")});
    const auto onPath = path->GetMainEntries()->front();
    for (FilenameMatchingPolicy policy : kAllPolicies) {
        // Rooted names and names that end in a separator find nothing; an
        // empty name neither.
        for (const ustring name : {u"/x", u"\\x", u"/a/x", u"a/", u"", u"//x"}) {
            EXPECT_FALSE(path->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(name, {u".tf"}), policy));
            EXPECT_THAT(path->FindAllInScope(allEntryTypesScope, detail::SearchTarget(name, {u".tf"}), policy),
                        IsEmpty());
        }
        for (const ustring partial : {u"", u"\\", u"/", u"//", u"nowhere/a"})
            EXPECT_THAT(path->GetPartiallyMatchingEntries(allEntryTypesScope, partial, policy), IsEmpty());
        EXPECT_THAT(path->GetMethodEntriesByName(allEntryTypesScope, u"", policy), IsEmpty());
        // No types, no entries.
        EXPECT_FALSE(path->FindFirstInScope(SearchScope(), detail::SearchTarget(u"x", {u".tf"}), policy));
        EXPECT_THAT(path->GetMethodEntriesByName(SearchScope(), u"cls", policy), IsEmpty());
        EXPECT_THAT(path->GetPartiallyMatchingEntries(SearchScope(), u"a", policy), IsEmpty());
    }
    EXPECT_FALSE(path->ForEachEntry(SearchScope(), [](const PathEntryPointer&) { return true; }));
    // An entry from elsewhere has no place on the path.
    EXPECT_FALSE(path->IsEntryOnPath(*notOnPath));
    EXPECT_FALSE(path->GetMainEntryForEntry(*notOnPath));
    EXPECT_FALSE(path->GetParentEntryForEntry(*notOnPath));
    EXPECT_FALSE(path->FirstEntryIsBeforeSecondOnPath(*notOnPath, *onPath));
    EXPECT_FALSE(path->FirstEntryIsBeforeSecondOnPath(*onPath, *notOnPath));
}

TEST_F(PathEdgeCaseTest, AFolderOnThePathAsMainEntryIsKnownAsSuchAlsoAsAPrivateFolder) {
    tree.file("a/private/p.tf");
    tree.file("a/x.tf");
    const auto a = Entry("a");
    const auto privateOfA = a->GetPrivateEntry();
    ASSERT_TRUE(privateOfA);
    // The same folder, put on the path by itself (as the current folder would).
    const PathEntryPointer asMain =
        std::make_shared<const InaccessibleFolderPathEntry>(Main, privateOfA->GetIRI(), privateOfA->GetDescriptor());
    for (const PathEntryVector& order : {PathEntryVector{a, asMain}, PathEntryVector{asMain, a}}) {
        const auto path = MakePath(order);
        EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(privateOfA->GetIRI()), asMain);
        EXPECT_FALSE(path->GetParentEntryForEntry(*asMain));
        EXPECT_EQ(path->GetMainEntryForEntry(*asMain), asMain);
    }
    const auto path = MakePath({a});
    EXPECT_EQ(path->GetParentEntryForEntry(*privateOfA), a);
    // Another object of a folder on the path counts as on it.
    EXPECT_TRUE(path->IsEntryOnPath(*asMain));
    EXPECT_FALSE(path->FirstEntryIsBeforeSecondOnPath(*a, *privateOfA));
    EXPECT_FALSE(path->FirstEntryIsBeforeSecondOnPath(*privateOfA, *a));
}

TEST_F(PathEdgeCaseTest, TheStorageSystemRuleResolvesFoldersThroughLinks) {
    tree.file("real/+pkg/x.tf");
    tree.symlink("link", tree.path("real"));
    const auto path = MakePath({Entry("real")});
    const auto linked = tree.iri("link");
    EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(linked, StorageSystemRule), path->GetMainEntries()->front());
    EXPECT_FALSE(path->GetPathEntryFromAbsoluteIRI(linked, CaseRuleOne));
    // A name that the storage system can't resolve is no error.
    EXPECT_FALSE(path->GetPathEntryFromAbsoluteIRI(tree.iri("missing/+pkg"), StorageSystemRule));
    // The package folder of a plain folder of the same name stands apart.
    EXPECT_EQ(path->GetPartiallyMatchingEntries(allEntryTypesScope, u"real/+pkg", CaseRuleOne).size(), 1u);
    EXPECT_THAT(path->GetPartiallyMatchingEntries(allEntryTypesScope, u"real/pkg", CaseRuleOne), IsEmpty());
}

TEST_F(PathEdgeCaseTest, EntriesMadeElsewhereAnswerInPathOrderAmongOurOwn) {
    // Past the serial limit, so that the hits are gathered on the pool; every
    // third folder is wrapped, and each holds the name twice.
    PathEntryVector entries;
    std::vector<std::string> expected;
    std::vector<const IPathEntry*> expectedHolders;
    for (int i = 0; i < 100; ++i) {
        const std::string folder = "f" + std::to_string(i);
        tree.file(folder + "/shared.tf");
        tree.file(folder + "/Shared.tfx");
        PathEntryPointer entry = Entry(folder);
        if (i % 3 == 0) entry = std::make_shared<const ForwardingEntry>(entry);
        entries.push_back(entry);
        for (const char* name : {"/Shared.tfx", "/shared.tf"}) {
            expected.push_back(folder + name);
            expectedHolders.push_back(entry.get());
        }
    }
    const auto path = MakePath(entries);
    std::vector<std::string> found;
    std::vector<const IPathEntry*> holders;
    for (const FoundItem& hit :
         path->FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"SHARED", {u".tfx", u".tf"}), CaseRuleTwo)) {
        const std::string location = Utf8(hit.GetPathEntry()->GetIRI().getPath());
        found.push_back(location.substr(location.rfind('/') + 1) + "/" + Utf8(hit.GetPathItem()->FileName()));
        holders.push_back(hit.GetPathEntry().get());
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(holders, expectedHolders);
}

TEST_F(PathEdgeCaseTest, AnEntryWhoseItemsOfOneNameStandApartIsListedOnceForTheName) {
    tree.file("f/a.tf");
    tree.file("f/A.tfc");
    tree.file("f/b.tf");
    const auto entry = std::make_shared<const ShuffledItemsEntry>(Entry("f"));
    ASSERT_EQ(Utf8((*entry->GetPathItems())[1]->FileName()), "b.tf");
    const auto path = MakePath({entry});
    const auto found =
        path->FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"a", {u".tf", u".tfc"}), CaseRuleTwo);
    std::vector<std::string> names;
    for (const FoundItem& hit : found) names.push_back(Utf8(hit.GetPathItem()->FileName()));
    EXPECT_EQ(names, (std::vector<std::string>{"a.tf", "A.tfc"}));
}

}  // namespace
}  // namespace tfsp::test
