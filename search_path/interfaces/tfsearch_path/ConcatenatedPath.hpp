#pragma once
// The first path, then the second: nothing hidden, nothing deduplicated.
#include "tfsearch_path/CompositePath.hpp"

namespace Thornfell::PathManagement {

class ConcatenatedPath final : public CompositePath {
public:
    // A null path counts as an empty one.
    ConcatenatedPath(const std::shared_ptr<const IPath>& first, const std::shared_ptr<const IPath>& second);
};

} // namespace Thornfell::PathManagement
