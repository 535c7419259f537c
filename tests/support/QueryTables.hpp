#pragma once
// The query settings the reference tests ask every path with: each matching
// policy, scopes from every entry type to none, and extension lists in
// orders other than the path's.
#include "tfsearch_path/PathItem.hpp"
#include "tfsearch_path/PathTypes.hpp"

#include <boost/optional.hpp>

#include <ostream>
#include <vector>

namespace tfsp::test {

namespace pm = Thornfell::PathManagement;

inline constexpr pm::FilenameMatchingPolicy kAllPolicies[] = {pm::CaseRuleOne, pm::CaseRuleTwo, pm::StorageSystemRule};

inline constexpr pm::PathEntryType kMainTypes[] = {pm::Main};
inline constexpr pm::PathEntryType kPackageAndMethodTypes[] = {pm::Package, pm::Method};
inline constexpr pm::PathEntryType kBelowClassTypes[] = {pm::Private, pm::UDDClass, pm::Resources};
inline constexpr pm::SearchScope kScopes[] = {pm::allEntryTypesScope, pm::SearchScope(kMainTypes),
                                              pm::SearchScope(kPackageAndMethodTypes),
                                              pm::SearchScope(kBelowClassTypes), pm::SearchScope()};

inline const std::vector<std::vector<ustring>> kExtensionLists = {{u".tf"}, {u".tfc", u".tf", u""}, {u".tfx", u""}};

// FindFirstInScope's answer as FindFirstViewInScope gives it: the borrowed
// query must name the same objects.
inline pm::FoundItemView ViewOf(const boost::optional<pm::FoundItem>& found) {
    if (!found) return {};
    return {found->GetPathItem().get(), found->GetPathEntry().get()};
}

}  // namespace tfsp::test

namespace Thornfell::PathManagement {
inline void PrintTo(const FoundItemView& view, std::ostream* out) {
    *out << "{item " << view.item << ", entry " << view.entry << "}";
}
}  // namespace Thornfell::PathManagement
