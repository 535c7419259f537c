#pragma once
// Makes paths. One for each engine instance.
#include "tfsearch_path/IPath.hpp"

namespace Thornfell::PathManagement {

class IPathFactory {
public:
    virtual ~IPathFactory() = default;
    // The entries are moved into the new path in the order given. Any thread.
    virtual std::shared_ptr<const IPath> CreatePath(PathEntryVector mainEntries) const = 0;
};

// The factory of the engine instance current on this thread.
const IPathFactory& GetCurrentPathFactory();

} // namespace Thornfell::PathManagement
