// Every query of a path, on trees made from a seed, against a plain walk of
// all entries in path order: the indexes may narrow the search, but never
// change what is found or its order.
#include "PathTestHelpers.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <gmock/gmock.h>

namespace tfsp::test {
namespace {

const char* const kExtensions[] = {".tf", ".tfc", ".tfx", ""};
const char* const kCaseVariants[] = {"Foo", "foo", "FOO"};
const char* const kMainNames[] = {"util", "Util", "lib", "pkg1", "cls1"};

// A tree of main folders made from a seed: plain, package, class (with UDD
// classes), private and resources folders; folder and file names that differ
// only in case; and stems held by every main folder ("common", "Foo").
class RandomTree {
public:
    RandomTree(std::uint64_t seed, int mainFolders) : random(seed) {
        for (int i = 0; i < mainFolders; ++i) {
            // Main folders share base names across parents, so that partial
            // pathnames have many candidates; "pkg1" and "cls1" also name the
            // package and class folders.
            std::uniform_int_distribution<int> pick(0, 7);
            const int name = pick(random);
            const std::string base = name < 5 ? kMainNames[name] : "d" + std::to_string(i);
            mains.push_back("g" + std::to_string(i) + "/" + base);
            tree.folder(mains.back());
            Fill(mains.back(), FolderKind::Main, 0);
        }
        for (const char* stem : {"common", "Foo", "foo", "FOO", "fOO", "absent", "pkg1", "u3"}) stems.push_back(Utf16(stem));
        for (int k = 0; k < 12; ++k) stems.push_back(Utf16("s" + std::to_string(k)));
    }
    // Entries of the main folders, in path order, from the process's factory.
    PathEntryVector MainEntries() const {
        PathEntryVector entries;
        for (const std::string& main : mains) entries.push_back(GetPathEntryFactory().GetFrozenPathEntry(tree.iri(main)));
        return entries;
    }

    std::vector<ustring> stems;  // every stem used anywhere, and one used nowhere
    std::mt19937_64 random;
    TempTree tree;

private:
    enum class FolderKind { Main, Package, Class, UDDClass, Leaf };
    void Fill(const std::string& folder, FolderKind kind, int depth) {
        auto chance = [this](double p) { return std::uniform_real_distribution<double>(0, 1)(random) < p; };
        auto extension = [this] { return std::string(kExtensions[random() % 4]); };
        tree.file(folder + "/common" + extension());
        if (chance(0.7)) tree.file(folder + "/" + kCaseVariants[random() % 3] + extension());
        if (chance(0.3)) tree.file(folder + "/" + kCaseVariants[random() % 3] + extension());
        for (int i = 0, files = 1 + static_cast<int>(random() % 3); i < files; ++i) {
            const std::string stem = chance(0.5) ? "s" + std::to_string(random() % 12) : "u" + std::to_string(random() % 1000);
            tree.file(folder + "/" + stem + extension());
        }
        if (kind == FolderKind::Leaf || depth > 2) return;
        const std::string k = std::to_string(1 + random() % 2);
        const bool mainOrPackage = kind == FolderKind::Main || kind == FolderKind::Package;
        if (mainOrPackage && chance(0.4)) Fill(folder + "/+pkg" + k, FolderKind::Package, depth + 1);
        if (mainOrPackage && chance(0.35)) Fill(folder + "/@cls" + k, FolderKind::Class, depth + 1);
        if (kind == FolderKind::Class && chance(0.4)) Fill(folder + "/@udd" + k, FolderKind::UDDClass, depth + 1);
        if (chance(0.3)) Fill(folder + "/private", FolderKind::Leaf, depth + 1);
        if (kind == FolderKind::Main && chance(0.2)) Fill(folder + "/resources", FolderKind::Leaf, depth + 1);
    }
    std::vector<std::string> mains;
};

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

constexpr PathEntryType kMainOnly[] = {Main};
constexpr PathEntryType kPackagesAndMethods[] = {Package, Method};
constexpr PathEntryType kBelowClasses[] = {Private, UDDClass, Resources};
const SearchScope kScopes[] = {allEntryTypesScope, SearchScope(kMainOnly), SearchScope(kPackagesAndMethods),
                               SearchScope(kBelowClasses), SearchScope()};
const std::vector<std::vector<ustring>> kExtensionLists = {{u".tf"}, {u".tfc", u".tf", u""}, {u".tfx", u""}};

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

class PathQueryReferenceTest : public EngineFixture, public ::testing::WithParamInterface<std::uint64_t> {
protected:
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

    RandomTree tree{GetParam(), 90};
    PathEntryVector mains = tree.MainEntries();
    std::vector<WalkedEntry> walked = WalkInPathOrder(mains);
    std::shared_ptr<const IPath> path = GetCurrentPathFactory().CreatePath(mains);
};

TEST_P(PathQueryReferenceTest, NamesAndPartialPathnamesFindWhatTheWalkFinds) {
    for (const ustring& stem : tree.stems) CheckFind(stem, {}, stem);
    std::mt19937_64 random(GetParam());
    std::vector<std::vector<ustring>> partials = {{u"pkg1"}, {u"+pkg1"}, {u"@cls1"}, {u"cls1"}, {u"+pkg1", u"+pkg2"},
                                                  {u"util"}, {u"Util"}, {u"+pkg2", u"@cls1", u"@udd1"}};
    for (int i = 0; i < 25; ++i) partials.push_back(RandomParts(random));
    for (const auto& parts : partials) {
        const ustring stem = tree.stems[random() % tree.stems.size()];
        CheckFind(Join(parts, random() % 2 ? u'/' : u'\\') + u"/" + stem, parts, stem);
    }
}

TEST_P(PathQueryReferenceTest, FolderQueriesAndPlacesOnThePathAgreeWithTheWalk) {
    std::mt19937_64 random(GetParam() + 100);
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
                EXPECT_EQ(Describe(path->GetPartiallyMatchingEntries(scope, (random() % 2 ? u"/" : u"") + asked, policy)),
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
            EXPECT_EQ(path->GetPathEntryFromAbsoluteIRI(foundation::storage::vfs::toAbsoluteIRI(u"file", upper), policy),
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
        EXPECT_FALSE(path->ForEachEntry(scope, [&](const PathEntryPointer& e) { visited.push_back(e); return false; }));
        EXPECT_EQ(visited, expected);
    }
    int calls = 0;
    EXPECT_TRUE(path->ConcurrentForEachEntry(allEntryTypesScope, [&](const PathEntryPointer&) { return ++calls == 5; }));
    EXPECT_EQ(calls, 5);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PathQueryReferenceTest, ::testing::Values(1u, 2u));

} // namespace
} // namespace tfsp::test
