#pragma once
// A path without the listed entries, and without the folders below them.
//
// Entries are matched by folder (canonical IRI), as IsEntryOnPath matches
// them: a listed entry hides the path's entry of the same folder even when it
// is another object, and hides every entry of that folder that the path
// holds. A listed entry that isn't on the path, or is null, hides nothing.
#include "tfsearch_path/CompositePath.hpp"

#include <vector>

namespace Thornfell::PathManagement {

class MultiMaskedPath final : public CompositePath {
public:
    // A null path counts as an empty one.
    MultiMaskedPath(std::shared_ptr<const IPath> path, std::vector<std::shared_ptr<const IPathEntry>> masked);
};

} // namespace Thornfell::PathManagement
