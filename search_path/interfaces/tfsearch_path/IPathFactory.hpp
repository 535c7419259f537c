#pragma once
// Makes paths. One for each engine instance.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"

namespace Thornfell::PathManagement {

class TFSP_API IPathFactory {
public:
    virtual ~IPathFactory() = default;
    // The entries are moved into the new path in the order given. Any thread.
    virtual std::shared_ptr<const IPath> CreatePath(PathEntryVector mainEntries) const = 0;
    // The path of `mainEntries` that is to take the place of `previous`
    // (which may be null). A factory may make it from `previous`, to save
    // indexing what the two have in common; by default it is CreatePath's.
    virtual std::shared_ptr<const IPath> CreatePathReplacing(const std::shared_ptr<const IPath>& /*previous*/,
                                                             PathEntryVector mainEntries) const {
        return CreatePath(std::move(mainEntries));
    }
};

// The factory of the engine instance current on this thread.
TFSP_API const IPathFactory& GetCurrentPathFactory();

}  // namespace Thornfell::PathManagement
