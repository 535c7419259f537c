#pragma once
// The first path, then the second: nothing hidden, nothing deduplicated.
#include "tfsearch_path/CompositePath.hpp"
#include "tfsearch_path/Export.hpp"

namespace Thornfell::PathManagement {

class TFSP_API ConcatenatedPath final : public CompositePath {
public:
    // A null path counts as an empty one.
    ConcatenatedPath(const std::shared_ptr<const IPath>& first, const std::shared_ptr<const IPath>& second);
};

}  // namespace Thornfell::PathManagement
