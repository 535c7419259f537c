#include "CompositeTestHelpers.hpp"

#include <cstdint>
#include <random>

namespace tfsp::test {

namespace {

constexpr PathEntryType kMainOnly[] = {Main};
constexpr PathEntryType kPackagesAndMethods[] = {Package, Method};
constexpr PathEntryType kBelowClasses[] = {Private, UDDClass, Resources};
const SearchScope kScopes[] = {allEntryTypesScope, SearchScope(kMainOnly), SearchScope(kPackagesAndMethods),
                               SearchScope(kBelowClasses), SearchScope()};
const FilenameMatchingPolicy kPolicies[] = {CaseRuleOne, CaseRuleTwo, StorageSystemRule};
const std::vector<std::vector<ustring>> kExtensionLists = {{u".tf"}, {u".tfc", u".tf", u""}};

std::vector<std::string> Describe(const PathEntryVector& entries) {
    std::vector<std::string> out;
    for (const PathEntryPointer& entry : entries)
        out.push_back(entry ? Utf8(entry->GetIRI().getPath()) + "@" + std::to_string(reinterpret_cast<std::uintptr_t>(entry.get()))
                            : "<null>");
    return out;
}
std::vector<std::string> Describe(const PathEntryPointer& entry) { return Describe(PathEntryVector{entry}); }
std::vector<std::string> Describe(const std::vector<FoundItem>& found) {
    std::vector<std::string> out;
    for (const FoundItem& f : found) out.push_back(Describe(f.GetPathEntry()).front() + "|" + Utf8(f.GetPathItem()->FileName()));
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

} // namespace

CompositeTree::CompositeTree(int mainFolders) {
    std::mt19937_64 random(7);
    const char* const names[] = {"util", "Util", "lib", "pkg1"};
    const auto files = [&](const std::string& folder) {
        tree.file(folder + "/common.tf");
        tree.file(folder + (random() % 2 ? "/Foo.tf" : "/foo.tfc"));
        tree.file(folder + "/s" + std::to_string(random() % 6) + (random() % 2 ? ".tf" : ".tfc"));
    };
    std::vector<std::string> folders;
    for (int i = 0; i < mainFolders; ++i) {
        const std::string main = "g" + std::to_string(i) + "/" + (i % 3 ? names[random() % 4] : "d" + std::to_string(i));
        folders.push_back(main);
        files(main);
        std::vector<std::string> below;
        if (random() % 2) below.insert(below.end(), {"/+pkg1", "/+pkg1/@cls1"});
        if (random() % 2) below.insert(below.end(), {"/@cls1", "/@cls1/@udd1", "/@cls1/private"});
        if (random() % 3 == 0) below.push_back("/private");
        if (random() % 4 == 0) below.push_back("/resources");
        for (const std::string& folder : below) files(main + folder);
    }
    for (const std::string main : {"cv/Lib", "cv/lib"}) {
        folders.push_back(main);
        files(main);
    }
    for (const std::string& folder : folders) mains.push_back(GetPathEntryFactory().GetFrozenPathEntry(tree.iri(folder)));
}

PathEntryVector AllEntriesOf(const PathEntryVector& mains) {
    PathEntryVector all;
    for (const PathEntryPointer& main : mains)
        main->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& entry) {
            all.push_back(entry);
            return false;
        });
    return all;
}

void ExpectSameAnswers(const IPath& path, const IPath& reference, const PathEntryVector& entries) {
    EXPECT_EQ(Describe(*path.GetMainEntries()), Describe(*reference.GetMainEntries()));
    EXPECT_EQ(Describe(path.GetMethodEntries()), Describe(reference.GetMethodEntries()));
    for (const SearchScope& scope : kScopes) {
        EXPECT_EQ(Describe(Walk(path, scope, -1)), Describe(Walk(reference, scope, -1)));
        EXPECT_EQ(Describe(Walk(path, scope, 3)), Describe(Walk(reference, scope, 3)));
    }
    const std::vector<ustring> names = {u"common", u"foo", u"Foo", u"s1", u"s4", u"absent", u"pkg1/common",
                                        u"+pkg1/common", u"@cls1/foo", u"Util\\s2", u"+pkg1/@cls1/common", u"/common"};
    const std::vector<ustring> partials = {u"pkg1", u"+pkg1", u"@cls1", u"util", u"Util", u"private", u"+pkg1/@cls1",
                                           u"cv/lib", u""};
    for (FilenameMatchingPolicy policy : kPolicies) {
        for (const SearchScope& scope : kScopes) {
            for (const ustring& name : names)
                for (const auto& extensions : kExtensionLists) {
                    const detail::SearchTarget target(name, extensions);
                    const std::string query = Utf8(name) + " policy " + std::to_string(policy);
                    EXPECT_EQ(Describe(path.FindFirstInScope(scope, target, policy)),
                              Describe(reference.FindFirstInScope(scope, target, policy)))
                        << query;
                    EXPECT_EQ(Describe(path.FindAllInScope(scope, target, policy)),
                              Describe(reference.FindAllInScope(scope, target, policy)))
                        << query;
                }
            for (const ustring& partial : partials)
                EXPECT_EQ(Describe(path.GetPartiallyMatchingEntries(scope, partial, policy)),
                          Describe(reference.GetPartiallyMatchingEntries(scope, partial, policy)))
                    << Utf8(partial);
            for (const ustring name : {u"cls1", u"CLS1", u"udd1"})
                EXPECT_EQ(Describe(path.GetMethodEntriesByName(scope, name, policy)),
                          Describe(reference.GetMethodEntriesByName(scope, name, policy)));
        }
        for (std::size_t i = 0; i < entries.size(); i += 3) {
            const ustring location = entries[i]->GetIRI().getPath();
            EXPECT_EQ(Describe(path.GetPartiallyMatchingEntries(allEntryTypesScope, Upper(location), policy)),
                      Describe(reference.GetPartiallyMatchingEntries(allEntryTypesScope, Upper(location), policy)));
            const auto upper = foundation::storage::vfs::toAbsoluteIRI(u"file", Upper(location));
            EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(upper, policy), reference.GetPathEntryFromAbsoluteIRI(upper, policy))
                << Utf8(location);
        }
    }
    std::mt19937_64 random(11);
    for (const PathEntryPointer& entry : entries) {
        const std::string where = Utf8(entry->GetIRI().getPath());
        EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(entry->GetIRI()), reference.GetPathEntryFromAbsoluteIRI(entry->GetIRI()))
            << where;
        for (FilenameMatchingPolicy policy : kPolicies)
            EXPECT_EQ(path.GetPathEntryFromAbsoluteIRI(entry->GetIRI(), policy),
                      reference.GetPathEntryFromAbsoluteIRI(entry->GetIRI(), policy))
                << where;
        EXPECT_EQ(path.IsEntryOnPath(*entry), reference.IsEntryOnPath(*entry)) << where;
        EXPECT_EQ(path.GetMainEntryForEntry(*entry), reference.GetMainEntryForEntry(*entry)) << where;
        EXPECT_EQ(path.GetParentEntryForEntry(*entry), reference.GetParentEntryForEntry(*entry)) << where;
        const IPathEntry& other = *entries[random() % entries.size()];
        EXPECT_EQ(path.FirstEntryIsBeforeSecondOnPath(*entry, other), reference.FirstEntryIsBeforeSecondOnPath(*entry, other))
            << where << " vs " << Utf8(other.GetIRI().getPath());
    }
}

} // namespace tfsp::test
