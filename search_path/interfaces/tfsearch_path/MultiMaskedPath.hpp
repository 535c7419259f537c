#pragma once
// A path without the listed entries, and without the folders below them.
//
// Entries are matched by folder (canonical IRI), as IsEntryOnPath matches
// them: a listed entry hides the path's entry of the same folder even when it
// is another object. A listed entry whose folder isn't on the path, or a null
// one, hides nothing. Building costs a lookup for each listed entry and one
// copy of the main entries' list.
#include "tfsearch_path/CompositePath.hpp"
#include "tfsearch_path/Export.hpp"

#include <vector>

namespace Thornfell::PathManagement {

class TFSP_API MultiMaskedPath final : public CompositePath {
public:
    // A null path counts as an empty one.
    MultiMaskedPath(std::shared_ptr<const IPath> path, std::vector<std::shared_ptr<const IPathEntry>> masked);
};

}  // namespace Thornfell::PathManagement
