#include "tfsearch_path/MultiMaskedPath.hpp"

#include "CompositePathSupport.hpp"

namespace Thornfell::PathManagement {

namespace {

std::unique_ptr<const detail::CompositeLayout> Mask(const std::shared_ptr<const IPath>& path,
                                                    const std::vector<std::shared_ptr<const IPathEntry>>& masked) {
    detail::HiddenFolders folders;
    for (const PathEntryPointer& entry : masked)
        if (entry) folders.push_back(entry->GetIRI());
    auto layout = std::make_unique<detail::CompositeLayout>();
    detail::AppendParts(*layout, path, folders);
    detail::JoinMainEntries(*layout);
    return layout;
}

}  // namespace

MultiMaskedPath::MultiMaskedPath(std::shared_ptr<const IPath> path,
                                 std::vector<std::shared_ptr<const IPathEntry>> masked)
    : CompositePath(Mask(path, masked)) {}

}  // namespace Thornfell::PathManagement
