// Each composite against a plain path of the entries it shows, in the same
// order: every query must give the same objects in the same order.
#include "CompositeTestHelpers.hpp"

#include "support/QueryTables.hpp"

#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"
#include "tfsearch_path/MultiMaskedPath.hpp"

#include <algorithm>
#include <cstdint>
#include <random>

namespace tfsp::test {
namespace {

std::string Describe(const PathEntryPointer& e) {
    return e ? Utf8(e->GetIRI().getPath()) + "@" + std::to_string(reinterpret_cast<std::uintptr_t>(e.get())) : "<null>";
}
std::vector<std::string> Describe(const PathEntryVector& entries) {
    std::vector<std::string> out;
    for (const PathEntryPointer& entry : entries) out.push_back(Describe(entry));
    return out;
}
std::vector<std::string> Describe(const std::vector<FoundItem>& found) {
    std::vector<std::string> out;
    for (const FoundItem& f : found)
        out.push_back(Describe(f.GetPathEntry()) + "|" + Utf8(f.GetPathItem()->FileName()));
    return out;
}
std::vector<std::string> Describe(const boost::optional<FoundItem>& found) {
    return found ? Describe(std::vector<FoundItem>{*found}) : std::vector<std::string>{};
}
ustring Upper(ustring text) {
    for (char16_t& c : text)
        if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
    return text;
}
PathEntryVector Walk(const IPath& path, SearchScope scope, int stopAfter) {
    PathEntryVector visited;
    path.ForEachEntry(scope, [&](const PathEntryPointer& entry) {
        visited.push_back(entry);
        return static_cast<int>(visited.size()) == stopAfter;
    });
    return visited;
}

// Asks `path` and `reference` every query of IPath, for names, partial
// pathnames, folders and scopes drawn from the tree, and for each of
// `entries` (which may include entries neither path shows), and expects the
// same objects in the same order.
void ExpectSameAnswers(const IPath& path, const IPath& reference, const PathEntryVector& entries) {
#define EXPECT_SAME(call) EXPECT_EQ(Describe(path.call), Describe(reference.call))
    EXPECT_EQ(Describe(*path.GetMainEntries()), Describe(*reference.GetMainEntries()));
    EXPECT_SAME(GetMethodEntries());
    for (const SearchScope& scope : kScopes)
        for (int stopAfter : {-1, 3})
            EXPECT_EQ(Describe(Walk(path, scope, stopAfter)), Describe(Walk(reference, scope, stopAfter)));
    const std::vector<ustring> names = {u"common",
                                        u"foo",
                                        u"Foo",
                                        u"s1",
                                        u"s4",
                                        u"absent",
                                        u"pkg1/common",
                                        u"+pkg1/common",
                                        u"@cls1/foo",
                                        u"Util\\s2",
                                        u"+pkg1/@cls1/common",
                                        u"/common"};
    const std::vector<ustring> partials = {u"pkg1",    u"+pkg1",       u"@cls1",  u"util", u"Util",
                                           u"private", u"+pkg1/@cls1", u"cv/lib", u""};
    for (FilenameMatchingPolicy policy : kAllPolicies) {
        for (const SearchScope& scope : kScopes) {
            for (const ustring& name : names)
                for (const auto& extensions : kExtensionLists) {
                    const detail::SearchTarget target(name, extensions);
                    EXPECT_SAME(FindFirstInScope(scope, target, policy)) << Utf8(name) << " policy " << policy;
                    EXPECT_EQ(path.FindFirstViewInScope(scope, target, policy),
                              ViewOf(path.FindFirstInScope(scope, target, policy)))
                        << Utf8(name) << " policy " << policy;
                    EXPECT_SAME(FindAllInScope(scope, target, policy)) << Utf8(name) << " policy " << policy;
                }
            for (const ustring& partial : partials)
                EXPECT_SAME(GetPartiallyMatchingEntries(scope, partial, policy)) << Utf8(partial);
            for (const ustring name : {u"cls1", u"CLS1", u"udd1"})
                EXPECT_SAME(GetMethodEntriesByName(scope, name, policy));
        }
        for (std::size_t i = 0; i < entries.size(); i += 3) {
            const ustring upper = Upper(entries[i]->GetIRI().getPath());
            EXPECT_SAME(GetPartiallyMatchingEntries(allEntryTypesScope, upper, policy));
            const auto iri = foundation::storage::vfs::toAbsoluteIRI(u"file", upper);
            EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(iri, policy), reference.GetPathEntryFromAbsoluteIRI(iri, policy))
                << Utf8(upper);
        }
    }
#undef EXPECT_SAME
    std::mt19937_64 random(11);
    for (const PathEntryPointer& entry : entries) {
        const std::string where = Utf8(entry->GetIRI().getPath());
        EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(entry->GetIRI()),
                  reference.GetPathEntryFromAbsoluteIRI(entry->GetIRI()))
            << where;
        for (FilenameMatchingPolicy policy : kAllPolicies)
            EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(entry->GetIRI(), policy),
                      reference.GetPathEntryFromAbsoluteIRI(entry->GetIRI(), policy))
                << where;
        EXPECT_EQ(path.IsEntryOnPath(*entry), reference.IsEntryOnPath(*entry)) << where;
        EXPECT_EQ(path.GetMainEntryForEntry(*entry), reference.GetMainEntryForEntry(*entry)) << where;
        EXPECT_EQ(path.GetParentEntryForEntry(*entry), reference.GetParentEntryForEntry(*entry)) << where;
        const IPathEntry& other = *entries[random() % entries.size()];
        EXPECT_EQ(path.FirstEntryIsBeforeSecondOnPath(*entry, other),
                  reference.FirstEntryIsBeforeSecondOnPath(*entry, other))
            << where << " vs " << Utf8(other.GetIRI().getPath());
    }
}

class CompositeReferenceTest : public EngineFixture {
protected:
    PathEntryVector Mains(std::initializer_list<std::size_t> indices) const {
        PathEntryVector entries;
        for (std::size_t index : indices) entries.push_back(mains[index]);
        return entries;
    }
    PathEntryVector Range(std::size_t begin, std::size_t end) const {
        return {mains.begin() + begin, mains.begin() + end};
    }
    static PathEntryVector Without(PathEntryVector entries, const PathEntryVector& left) {
        std::erase_if(entries, [&](const PathEntryPointer& e) { return std::ranges::count(left, e) != 0; });
        return entries;
    }
    static PathEntryVector Join(PathEntryVector a, const PathEntryVector& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }
    void ExpectFlat(const IPath& path, const PathEntryVector& shown) const {
        ExpectSameAnswers(path, *MakePath(shown), all);
    }

    CompositeTree tree{48};
    const PathEntryVector& mains = tree.mains;  // 26: the last two are "cv/Lib", "cv/lib"
    const PathEntryVector all = [this] {
        PathEntryVector entries;
        for (const PathEntryPointer& main : mains)
            main->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& e) {
                entries.push_back(e);
                return false;
            });
        return entries;
    }();
    const std::shared_ptr<const IPath> mainPath = MakePath(mains);
};

TEST_F(CompositeReferenceTest, ConcatenationShowsTheFirstPathThenTheSecond) {
    ExpectFlat(ConcatenatedPath(MakePath(Range(0, 10)), MakePath(Range(10, mains.size()))), mains);
    ExpectFlat(ConcatenatedPath(nullptr, mainPath), mains);  // a null path is an empty one
}

TEST_F(CompositeReferenceTest, MaskingHidesTheListedFoldersByFolderNotByObject) {
    // The first folder holds "common", as every folder does, so first-match
    // searches must look past it; "cv/Lib" hides the first folder-insensitive match of
    // "cv/lib".
    const PathEntryVector masked = Mains({0, 7, 19, 24});
    ExpectFlat(MultiMaskedPath(mainPath, masked), Without(mains, masked));
    const PathEntryPointer copy = AnotherObject(mains[3]);
    ASSERT_NE(copy, mains[3]);
    ExpectFlat(MultiMaskedPath(mainPath, {copy, nullptr}), Without(mains, {mains[3]}));
}

TEST_F(CompositeReferenceTest, DeduplicationKeepsTheFirstOccurrenceOfEachFolder) {
    const PathEntryVector front = Join(Range(0, 8), Mains({12, 25}));
    ExpectFlat(DeduplicatedPath({MakePath(front), MakePath(Range(8, mains.size()))}),
               Join(front, Without(Range(8, mains.size()), front)));
}

TEST_F(CompositeReferenceTest, NestedCompositesAnswerAsTheirFlatEquivalent) {
    // The current folder in front of the path it stands on, as the manager
    // composes it without packages.
    ExpectFlat(ConcatenatedPath(MakePath(Mains({5})), std::make_shared<MultiMaskedPath>(mainPath, Mains({5}))),
               Join(Mains({5}), Without(mains, Mains({5}))));
    const auto joined = std::make_shared<ConcatenatedPath>(MakePath(Range(0, 4)), MakePath(Mains({9, 2})));
    const auto masked = std::make_shared<MultiMaskedPath>(mainPath, Mains({3, 11}));
    const PathEntryVector shown = Join(Range(0, 4), Mains({9}));
    ExpectFlat(DeduplicatedPath({joined, masked}), Join(shown, Without(mains, Join(shown, Mains({11})))));
}

TEST_F(CompositeReferenceTest, EmptyCompositesAnswerNothing) {
    const auto empty = MakePath({});
    ExpectFlat(DeduplicatedPath({}), {});
    ExpectFlat(DeduplicatedPath({nullptr, empty}), {});
    ExpectFlat(MultiMaskedPath(empty, mains), {});
    ExpectFlat(MultiMaskedPath(mainPath, mains), {});
}

}  // namespace
}  // namespace tfsp::test
