#include "tfsearch_path/IPath.hpp"

namespace Thornfell::PathManagement {

FoundItemView IPath::FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                          FilenameMatchingPolicy policy) const {
    // The shares go with the temporary; what they point to stays, held by
    // this path's entries.
    const boost::optional<FoundItem> found = FindFirstInScope(scope, target, policy);
    if (!found) return {};
    return {found->GetPathItem().get(), found->GetPathEntry().get()};
}

}  // namespace Thornfell::PathManagement
