#pragma once
// The paths in order, each folder once, the first occurrence winning.
//
// A folder (by canonical IRI, at any level) that an earlier path shows hides
// every later occurrence of it together with the folders below that
// occurrence. Repeats within one path are not looked for: paths are built
// from lists without repeats, and finding them would mean walking the whole
// of every path at each construction.
#include "tfsearch_path/CompositePath.hpp"
#include "tfsearch_path/Export.hpp"

#include <vector>

namespace Thornfell::PathManagement {

class TFSP_API DeduplicatedPath final : public CompositePath {
public:
    // Null paths count as empty ones. Building costs a lookup in each later
    // path for each entry of the earlier ones, nothing for the last path: put
    // the small paths first.
    explicit DeduplicatedPath(std::vector<std::shared_ptr<const IPath>>&& paths);
};

}  // namespace Thornfell::PathManagement
