#include "tfsearch_path/DeduplicatedPath.hpp"

#include "CompositePathSupport.hpp"

namespace Thornfell::PathManagement {

namespace {

std::unique_ptr<const detail::CompositeLayout> Deduplicate(const std::vector<std::shared_ptr<const IPath>>& paths) {
    auto layout = std::make_unique<detail::CompositeLayout>();
    for (const std::shared_ptr<const IPath>& path : paths) detail::AppendParts(*layout, path);
    auto& parts = layout->parts;
    std::vector<bool> hidesMore(parts.size(), false);
    // Each part hides the folders that the parts before it show. Its own
    // hidden folders are complete once those parts have been walked, so the
    // parts are settled front to back; the last one is never walked, which
    // keeps a small path in front of a large one cheap.
    for (std::size_t index = 0; index + 1 < parts.size(); ++index) {
        detail::CompositePart& earlier = parts[index];
        if (hidesMore[index]) detail::FindHiddenMainEntries(earlier);
        detail::ForEachVisibleEntry(earlier, allEntryTypesScope, [&](const PathEntryPointer& entry) {
            const foundation::storage::vfs::CanonicalAbsoluteIRI folder = entry->GetIRI();
            for (std::size_t later = index + 1; later < parts.size(); ++later)
                if (parts[later].path->GetPathEntryFromAbsoluteIRI(folder) &&
                    detail::AddHiddenFolder(parts[later], folder))
                    hidesMore[later] = true;
            return false;
        });
    }
    if (!parts.empty() && hidesMore.back()) detail::FindHiddenMainEntries(parts.back());
    detail::JoinMainEntries(*layout);
    return layout;
}

}  // namespace

DeduplicatedPath::DeduplicatedPath(std::vector<std::shared_ptr<const IPath>>&& paths)
    : CompositePath(Deduplicate(paths)) {}

}  // namespace Thornfell::PathManagement
