// Every query of a path, on trees made from a seed, against a plain walk of
// all entries in path order: the indexes may narrow the search, but never
// change what is found or its order.
#include "PathTestHelpers.hpp"

#include "Path.hpp"
#include "PathFactory.hpp"

#include "support/GeneratedTree.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <gmock/gmock.h>

#include <tuple>

namespace tfsp::test {
namespace {

// A tree of every kind of folder, with more of each: two names for package,
// class and UDD class folders, main folders also named as those ("pkg1",
// "cls1"), three case variants of "foo", files with and without an extension.
GeneratedTreeOptions ReferenceTree(std::uint64_t seed) {
    GeneratedTreeOptions options = EveryKindOfFolder(200, seed);
    options.filesPerFolder = 5;
    options.nestedNames = 2;
    options.mainNames.push_back("cls1");
    options.stemPool = {"Foo", "foo", "FOO", "u3"};
    for (int k = 0; k < 12; ++k) options.stemPool.push_back("s" + std::to_string(k));
    options.extensions = {".tf", ".tfc", ".tfx", ""};
    options.filesInEveryFolder.push_back("common");
    return options;
}

// Whether the folder names of `entry`'s location end in `parts`.
bool LocationEndsWith(const IPathEntry& entry, const std::vector<ustring>& parts, FilenameMatchingPolicy policy) {
    std::vector<ustring> components;
    const ustring path = entry.GetIRI().getPath();
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t stop = std::min(path.find(u'/', start), path.size());
        components.push_back(path.substr(start, stop - start));
        start = stop + 1;
    }
    if (parts.size() > components.size()) return false;
    for (std::size_t i = 0; i < parts.size(); ++i)
        if (!SameName(components[components.size() - parts.size() + i], parts[i], policy)) return false;
    return true;
}

std::vector<std::string> Describe(const std::vector<FoundItem>& found) {
    std::vector<std::string> out;
    for (const FoundItem& f : found)
        out.push_back(Utf8(f.GetPathEntry()->GetIRI().getPath() + u"|" + f.GetPathItem()->FileName()));
    return out;
}
std::vector<std::string> Describe(const boost::optional<FoundItem>& found) {
    return found ? Describe(std::vector<FoundItem>{*found}) : std::vector<std::string>{};
}
std::vector<std::string> Describe(const PathEntryVector& entries) {
    std::vector<std::string> out;
    for (const PathEntryPointer& e : entries) out.push_back(e ? Utf8(e->GetIRI().getPath()) : "<null>");
    return out;
}

// A seed, and whether the path under test is derived from earlier paths
// instead of built from its entries.
using ReferenceParam = std::tuple<std::uint64_t, bool>;

class PathQueryReferenceTest : public EngineFixture, public ::testing::WithParamInterface<ReferenceParam> {
protected:
    static std::uint64_t Seed() { return std::get<0>(GetParam()); }

    // Built from `mains`, or derived twice over from paths in which some of
    // them were other folders: plain main folders changed, and the last main
    // folder with folders below it stood as one without, so that what follows
    // it moved. The earlier paths and their folders are gone before the
    // first query, so that whatever the shared index still points at must
    // have been kept.
    std::shared_ptr<const IPath> MakePath() const {
        const IPathFactory& factory = GetCurrentPathFactory();
        if (!std::get<1>(GetParam())) return factory.CreatePath(mains);
        std::vector<std::size_t> entriesByMain(mains.size(), 0);
        for (const WalkedEntry& w : walked) ++entriesByMain[w.mainIndex];
        std::vector<std::size_t> plain;
        std::size_t lastWithChildren = 0;
        for (std::size_t i = 0; i < mains.size(); ++i)
            (entriesByMain[i] == 1 ? plain.push_back(i) : void(lastWithChildren = i));
        const auto other = [](int k, const std::vector<ustring>& itsStems) {
            return MemoryEntry(u"/elsewhere/m" + Utf16(std::to_string(k)), Main, itsStems);
        };
        PathEntryVector first = mains;
        PathEntryVector second = mains;
        first[plain.at(0)] = other(0, {u"common", u"Foo", u"absent", u"s1"});
        // The stem map's keys point into the items of the folders it was
        // built from; a lookup that meets one in its bucket reads it, so the
        // items must outlive every path that shares the map.
        const std::weak_ptr<const PathItemVector> goneItems = first[plain.at(0)]->GetPathItems();
        first[plain.at(1)] = other(1, {u"fOO", u"u3"});
        first[lastWithChildren] = other(2, {u"common", u"s2"});
        second[plain.at(1)] = other(3, {u"absent", u"FOO"});
        second[plain.at(2)] = other(4, {u"s3", u"common"});
        std::shared_ptr<const IPath> earlier = factory.CreatePath(std::move(first));
        earlier = factory.CreatePathReplacing(earlier, std::move(second));
        std::shared_ptr<const IPath> derived = factory.CreatePathReplacing(earlier, mains);
        EXPECT_TRUE(dynamic_cast<const Path&>(*earlier).SharesStemMap());
        EXPECT_TRUE(dynamic_cast<const Path&>(*derived).SharesStemMap());
        earlier.reset();
        EXPECT_FALSE(goneItems.expired());
        return derived;
    }

    // What a plain walk finds for the item `stem` in the entries whose location
    // ends in `parts`.
    std::vector<FoundItem> WalkFindAll(SearchScope scope, const std::vector<ustring>& parts, const ustring& stem,
                                       const std::vector<ustring>& extensions, FilenameMatchingPolicy policy,
                                       bool firstOnly) const {
        std::vector<FoundItem> found;
        const detail::SearchTarget target(stem, extensions);
        for (const WalkedEntry& w : walked) {
            if (!scope.contains(w.entry->GetPathEntryType()) || !LocationEndsWith(*w.entry, parts, policy)) continue;
            if (firstOnly) {
                if (auto item = w.entry->FindFirst(target, policy)) return {FoundItem(item, w.entry)};
            } else {
                for (auto& item : w.entry->FindAll(target, policy)) found.emplace_back(item, w.entry);
            }
        }
        return found;
    }

    void CheckFind(const ustring& name, const std::vector<ustring>& parts, const ustring& stem) const {
        for (FilenameMatchingPolicy policy : kAllPolicies)
            for (const SearchScope& scope : kScopes)
                for (const auto& extensions : kExtensionLists) {
                    const detail::SearchTarget target(name, extensions);
                    const std::string query = Utf8(name) + " policy " + std::to_string(policy);
                    EXPECT_EQ(Describe(path->FindFirstInScope(scope, target, policy)),
                              Describe(WalkFindAll(scope, parts, stem, extensions, policy, true)))
                        << query;
                    EXPECT_EQ(path->FindFirstViewInScope(scope, target, policy),
                              ViewOf(path->FindFirstInScope(scope, target, policy)))
                        << query;
                    EXPECT_EQ(Describe(path->FindAllInScope(scope, target, policy)),
                              Describe(WalkFindAll(scope, parts, stem, extensions, policy, false)))
                        << query;
                }
    }

    // Up to three trailing folder names of a random entry, some in capitals,
    // joined with either separator.
    std::vector<ustring> RandomParts(std::mt19937_64& random) const {
        const ustring location = walked[random() % walked.size()].entry->GetIRI().getPath();
        std::vector<ustring> parts;
        for (const ustring& part : SplitPartialPathname(location)) parts.push_back(part);
        parts.erase(parts.begin(), parts.end() - std::min<std::size_t>(parts.size(), 1 + random() % 3));
        for (ustring& part : parts)
            if (random() % 4 == 0) part = Upper(part);
        return parts;
    }
    PathEntryVector EntriesNamed(SearchScope scope, const ustring& location, FilenameMatchingPolicy policy) const {
        PathEntryVector named;
        for (const WalkedEntry& w : walked)
            if (scope.contains(w.entry->GetPathEntryType()) && SameName(w.entry->GetIRI().getPath(), location, policy))
                named.push_back(w.entry);
        return named;
    }
    static ustring Upper(ustring text) {
        for (char16_t& c : text)
            if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
        return text;
    }
    static ustring Join(const std::vector<ustring>& parts, char16_t separator) {
        ustring joined;
        for (const ustring& part : parts) joined += (joined.empty() ? u"" : ustring(1, separator)) + part;
        return joined;
    }

    GeneratedTree tree{ReferenceTree(Seed())};
    // Every stem used anywhere, and some used nowhere.
    std::vector<ustring> stems = [] {
        std::vector<ustring> all = {u"common", u"fOO", u"absent", u"pkg1"};
        for (const std::string& stem : ReferenceTree(0).stemPool) all.push_back(Utf16(stem));
        return all;
    }();
    PathEntryVector mains = FrozenMainEntries(tree);
    std::vector<WalkedEntry> walked = WalkInPathOrder(mains);
    std::shared_ptr<const IPath> path = MakePath();
};

TEST_P(PathQueryReferenceTest, NamesAndPartialPathnamesFindWhatTheWalkFinds) {
    for (const ustring& stem : stems) CheckFind(stem, {}, stem);
    std::mt19937_64 random(Seed());
    std::vector<std::vector<ustring>> partials = {{u"pkg1"},
                                                  {u"+pkg1"},
                                                  {u"@cls1"},
                                                  {u"cls1"},
                                                  {u"+pkg1", u"+pkg2"},
                                                  {u"util"},
                                                  {u"Util"},
                                                  {u"+pkg2", u"@cls1", u"@udd1"}};
    for (int i = 0; i < 25; ++i) partials.push_back(RandomParts(random));
    for (const auto& parts : partials) {
        const ustring stem = stems[random() % stems.size()];
        // Either separator between the folders and before the item, so that
        // the last one may be of the other kind than those before it.
        const char16_t between = random() % 2 ? u'/' : u'\\';
        const char16_t last = random() % 2 ? u'/' : u'\\';
        CheckFind(Join(parts, between) + last + stem, parts, stem);
    }
}

TEST_P(PathQueryReferenceTest, FolderQueriesAndPlacesOnThePathAgreeWithTheWalk) {
    std::mt19937_64 random(Seed() + 100);
    for (FilenameMatchingPolicy policy : kAllPolicies) {
        for (const SearchScope& scope : kScopes) {
            for (int i = 0; i < 20; ++i) {
                const std::vector<ustring> parts = RandomParts(random);
                PathEntryVector expected;
                for (const WalkedEntry& w : walked)
                    if (scope.contains(w.entry->GetPathEntryType()) && LocationEndsWith(*w.entry, parts, policy))
                        expected.push_back(w.entry);
                EXPECT_EQ(Describe(path->GetPartiallyMatchingEntries(scope, Join(parts, u'/'), policy)),
                          Describe(expected));
                // An absolute name is the folder itself, compared as a whole;
                // two separators at the start make a name absolute too.
                const ustring location = walked[random() % walked.size()].entry->GetIRI().getPath();
                const ustring asked = random() % 2 ? Upper(location) : location;
                EXPECT_EQ(Describe(
                              path->GetPartiallyMatchingEntries(scope, (random() % 2 ? u"/" : u"") + asked, policy)),
                          Describe(EntriesNamed(scope, asked, policy)));
            }
            for (const ustring name : {u"cls1", u"cls2", u"CLS1", u"udd1", u"@cls1", u"pkg1", u""}) {
                PathEntryVector expected;
                for (const WalkedEntry& w : walked)
                    if (w.entry->GetPathEntryType() == Method && w.parent &&
                        scope.contains(w.parent->GetPathEntryType()) &&
                        SameName(w.entry->GetIRI().getName(), u"@" + name, policy))
                        expected.push_back(w.entry);
                EXPECT_EQ(Describe(path->GetMethodEntriesByName(scope, name, policy)), Describe(expected))
                    << Utf8(name);
            }
        }
        // A folder named in other capitals: only the folding policy compares
        // names; the storage system's own rule asks the (case sensitive) disk.
        for (const WalkedEntry& w : walked) {
            const ustring upper = Upper(w.entry->GetIRI().getPath());
            const PathEntryPointer expected = policy == CaseRuleTwo ? w.entry : nullptr;
            EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(foundation::storage::vfs::toAbsoluteIRI(u"file", upper),
                                                        policy),
                      expected);
        }
    }
    PathEntryVector methods;
    for (const WalkedEntry& w : walked)
        if (w.entry->GetPathEntryType() == Main)
            methods.insert(methods.end(), w.entry->GetMethodEntries()->begin(), w.entry->GetMethodEntries()->end());
    EXPECT_EQ(Describe(path->GetMethodEntries()), Describe(methods));

    // Where each entry stands, with either rule for what makes a root.
    for (bool componentFeature : {false, true}) {
        OrvianComponents::ComponentFeature::Set(componentFeature);
        for (const WalkedEntry& w : walked) {
            EXPECT_TRUE(path->IsEntryOnPath(*w.entry));
            EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(w.entry->GetIRI()), w.entry);
            EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(w.entry->GetIRI(), StorageSystemRule), w.entry);
            EXPECT_EQ(path->GetParentEntryForEntry(*w.entry), w.parent);
            EXPECT_EQ(path->GetMainEntryForEntry(*w.entry), mains[w.mainIndex]);
        }
    }
    for (int i = 0; i < 300; ++i) {
        const WalkedEntry& a = walked[random() % walked.size()];
        const WalkedEntry& b = walked[random() % walked.size()];
        EXPECT_EQ(path->FirstEntryIsBeforeSecondOnPath(*a.entry, *b.entry), a.mainIndex < b.mainIndex);
    }
    for (const SearchScope& scope : kScopes) {
        PathEntryVector expected, visited;
        for (const WalkedEntry& w : walked)
            if (scope.contains(w.entry->GetPathEntryType())) expected.push_back(w.entry);
        EXPECT_FALSE(path->ForEachEntry(scope, [&](const PathEntryPointer& e) {
            visited.push_back(e);
            return false;
        }));
        EXPECT_EQ(visited, expected);
    }
    int calls = 0;
    EXPECT_TRUE(
        path->ConcurrentForEachEntry(allEntryTypesScope, [&](const PathEntryPointer&) { return ++calls == 5; }));
    EXPECT_EQ(calls, 5);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PathQueryReferenceTest,
                         ::testing::Combine(::testing::Values(1u, 2u), ::testing::Bool()),
                         [](const ::testing::TestParamInfo<ReferenceParam>& instance) {
                             return "seed" + std::to_string(std::get<0>(instance.param)) +
                                    (std::get<1>(instance.param) ? "Derived" : "Built");
                         });

}  // namespace
}  // namespace tfsp::test
