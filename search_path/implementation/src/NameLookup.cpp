#include "tfsearch_path/NameLookup.hpp"

#include "tfsearch_path/PathFunctions.hpp"

#include <iterator>
#include <stdexcept>

namespace Thornfell::PathManagement {

namespace {

constexpr PathEntryType kMainTypes[] = {Main};
constexpr PathEntryType kPackageTypes[] = {Package};

bool IsIdentifier(ustring_view part) {
    if (part.empty()) return false;
    const auto letter = [](char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    if (!letter(part.front())) return false;
    for (char16_t c : part)
        if (!letter(c) && !(c >= u'0' && c <= u'9') && c != u'_') return false;
    return true;
}

// "pkg.sub.name" as "+pkg/+sub/name"; empty when `name` is not of that form.
ustring PackagePathnameOfDottedName(const ustring& name) {
    if (name.find(u'.') == ustring::npos) return {};  // most names: nothing to make
    ustring pathname;
    std::size_t start = 0;
    for (;;) {
        const std::size_t dot = name.find(u'.', start);
        const ustring_view part = ustring_view(name).substr(start, dot == ustring::npos ? ustring::npos : dot - start);
        if (!IsIdentifier(part)) return {};
        if (dot == ustring::npos) return start == 0 ? ustring() : pathname + ustring(part);
        pathname += u'+';
        pathname += part;
        pathname += u'/';
        start = dot + 1;
    }
}

// The rule, written once for both kinds of result. `sink` is told of each
// class constructor's folder in turn (constructor(), which says whether the
// sink has all it wants) and then of the one scope to query (query()).
template <class Sink>
void LookUp(const IPath& path, const ustring& name, const std::vector<ustring>& extensions,
            FilenameMatchingPolicy policy, Sink& sink) {
    if (name.empty()) throw std::invalid_argument("an empty name finds nothing");
    const std::size_t lastSeparator = LastPathnameSeparator(name);
    if (lastSeparator == name.size() - 1)
        throw std::invalid_argument("a name can't end in a separator: " + fl::i18n::ustring_to_utf8(name));

    if (lastSeparator != ustring::npos)
        return sink.query(path, allEntryTypesScope, detail::SearchTarget(name, extensions), policy);
    if (const ustring packaged = PackagePathnameOfDottedName(name); !packaged.empty())
        return sink.query(path, kPackageTypes, detail::SearchTarget(packaged, extensions), policy);

    // A class constructor anywhere on the path outranks a plain function of
    // the same name, as it does for the host's own lookup.
    const detail::SearchTarget target(name, extensions);
    for (const PathEntryPointer& classFolder : path.GetMethodEntriesByName(kMainTypes, name, policy))
        if (sink.constructor(classFolder, target, policy)) return;
    sink.query(path, kMainTypes, target, policy);
}

// The first file, or with `all` every one, as shares.
struct FoundItems {
    const bool all;
    std::vector<FoundItem> found;

    bool constructor(const PathEntryPointer& classFolder, const detail::SearchTarget& target,
                     FilenameMatchingPolicy policy) {
        PathItemPointer item = classFolder->FindFirst(target, policy);
        if (!item) return false;
        found.emplace_back(std::move(item), classFolder);
        return !all;
    }
    void query(const IPath& path, SearchScope scope, const detail::SearchTarget& target,
               FilenameMatchingPolicy policy) {
        if (all) {
            std::vector<FoundItem> hits = path.FindAllInScope(scope, target, policy);
            found.insert(found.end(), std::make_move_iterator(hits.begin()), std::make_move_iterator(hits.end()));
        } else if (auto first = path.FindFirstInScope(scope, target, policy)) {
            found.push_back(std::move(*first));
        }
    }
};

// The first file, borrowed.
struct FirstView {
    FoundItemView found;

    bool constructor(const PathEntryPointer& classFolder, const detail::SearchTarget& target,
                     FilenameMatchingPolicy policy) {
        // The share goes; the item stays in the entry, which the path keeps.
        found = {classFolder->FindFirst(target, policy).get(), classFolder.get()};
        return bool(found);
    }
    void query(const IPath& path, SearchScope scope, const detail::SearchTarget& target,
               FilenameMatchingPolicy policy) {
        found = path.FindFirstViewInScope(scope, target, policy);
    }
};

}  // namespace

std::vector<FoundItem> LookUpName(const IPath& path, const ustring& name, const std::vector<ustring>& extensions,
                                  FilenameMatchingPolicy policy, bool all) {
    FoundItems sink{all, {}};
    LookUp(path, name, extensions, policy, sink);
    return std::move(sink.found);
}

FoundItemView LookUpFirstName(const IPath& path, const ustring& name, const std::vector<ustring>& extensions,
                              FilenameMatchingPolicy policy) {
    FirstView sink;
    LookUp(path, name, extensions, policy, sink);
    return sink.found;
}

}  // namespace Thornfell::PathManagement
