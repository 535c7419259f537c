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

// The first item the scope holds, or with `all` every one.
std::vector<FoundItem> Query(const IPath& path, SearchScope scope, const detail::SearchTarget& target,
                             FilenameMatchingPolicy policy, bool all) {
    if (all) return path.FindAllInScope(scope, target, policy);
    std::vector<FoundItem> found;
    if (auto first = path.FindFirstInScope(scope, target, policy)) found.push_back(std::move(*first));
    return found;
}

} // namespace

std::vector<FoundItem> LookUpName(const IPath& path, const ustring& name, const std::vector<ustring>& extensions,
                                  FilenameMatchingPolicy policy, bool all) {
    if (name.empty()) throw std::invalid_argument("an empty name finds nothing");
    const std::size_t lastSeparator = LastPathnameSeparator(name);
    if (lastSeparator == name.size() - 1)
        throw std::invalid_argument("a name can't end in a separator: " + fl::i18n::ustring_to_utf8(name));

    if (lastSeparator != ustring::npos)
        return Query(path, allEntryTypesScope, detail::SearchTarget(name, extensions), policy, all);
    if (const ustring packaged = PackagePathnameOfDottedName(name); !packaged.empty())
        return Query(path, kPackageTypes, detail::SearchTarget(packaged, extensions), policy, all);

    // A class constructor anywhere on the path outranks a plain function of
    // the same name, as it does for the host's own lookup.
    const detail::SearchTarget target(name, extensions);
    std::vector<FoundItem> found;
    for (const PathEntryPointer& classFolder : path.GetMethodEntriesByName(kMainTypes, name, policy)) {
        if (PathItemPointer item = classFolder->FindFirst(target, policy)) {
            found.emplace_back(std::move(item), classFolder);
            if (!all) return found;
        }
    }
    if (found.empty()) return Query(path, kMainTypes, target, policy, all);
    std::vector<FoundItem> plain = Query(path, kMainTypes, target, policy, all);
    found.insert(found.end(), std::make_move_iterator(plain.begin()), std::make_move_iterator(plain.end()));
    return found;
}

} // namespace Thornfell::PathManagement
