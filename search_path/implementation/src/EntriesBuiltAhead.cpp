#include "EntriesBuiltAhead.hpp"

#include "WarningDeferral.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

namespace Thornfell::PathManagement {

namespace {

// Whether each of `folders` holds another of them below it, or is held by
// another, through package, class, private and resources folders, which a
// folder's build builds with it. The serial steps build such a folder with
// the first of the two in path order, and give its warnings there. Built
// ahead, it could be built twice at once, with two observers, or on its own
// before the folder above it reached it: its warnings would then come twice,
// or in another place.
std::vector<bool> NestedInOneAnother(std::span<const foundation::storage::vfs::CanonicalAbsoluteIRI> folders) {
    std::unordered_map<foundation::storage::vfs::CanonicalAbsoluteIRI, std::size_t,
                       foundation::storage::vfs::AbsoluteIRIHash, foundation::storage::vfs::AbsoluteIRIEqual>
        places;
    for (std::size_t i = 0; i != folders.size(); ++i) places.emplace(folders[i], i);
    std::vector<bool> nested(folders.size(), false);
    for (std::size_t i = 0; i != folders.size(); ++i) {
        const auto selfAndAbove = foundation::storage::vfs::selfAndAncestors(folders[i]);
        // Up from the folder while the name is of a folder that the one
        // above builds.
        for (std::size_t level = selfAndAbove.size() - 1; level != 0; --level) {
            const ustring_view path = selfAndAbove[level].path;
            const ustring name(path.substr(path.find_last_of(u'/') + 1));
            if (GetPathEntryTypeFromBaseName(name) == Main) break;
            if (const auto above = places.find(selfAndAbove[level - 1]); above != places.end())
                nested[i] = nested[above->second] = true;
        }
    }
    return nested;
}

}  // namespace

EntriesBuiltAhead::EntriesBuiltAhead(const IPathEntryFactory& factory, const IFolderMonitor& monitor,
                                     std::span<const foundation::storage::vfs::CanonicalAbsoluteIRI> folders)
    : entries_(folders.size()), warnings_(folders.size()) {
    if (OrvianComponents::SerialEntryBuildFeature::IsOn()) return;  // each folder is built in its serial step
    // Under "once", the one warning must name the first folder in path
    // order that falls back, and the observers decide which folder has it
    // as they are made: on the pool, that would be whichever came first.
    if (storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference())
            .GetChangeHandleWarning() == storage::filefolderobserver::WarnOnce)
        return;
    const std::vector<bool> nested = NestedInOneAnother(folders);
    ForEachFolderAhead(folders.size(), [&](std::size_t i) {
        if (nested[i]) return;  // left to the serial steps
        const WarningDeferral deferral(warnings_[i]);
        try {
            entries_[i] = factory.CreateUpdatedPathEntry(folders[i], monitor);
        } catch (...) {
            // The serial steps meet it again, and report it, warnings and all.
            warnings_[i] = {};
        }
    });
    for (std::size_t i = 0; i != folders.size(); ++i)
        if (!warnings_[i].empty()) heldWarnings_.emplace(folders[i], i);
}

void ForEachFolderAhead(std::size_t count, const std::function<void(std::size_t)>& body) {
    if (OrvianComponents::SerialEntryBuildFeature::IsOn()) {
        for (std::size_t i = 0; i != count; ++i) body(i);
        return;
    }
    // One folder (tens of microseconds) is about the least a task should carry.
    constexpr std::size_t kFoldersPerTask = 4;
    tbb::this_task_arena::isolate([&] {
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, kFoldersPerTask),
                          [&](const tbb::blocked_range<std::size_t>& chunk) {
                              for (std::size_t i = chunk.begin(); i != chunk.end(); ++i) body(i);
                          });
    });
}

void EntriesBuiltAhead::GiveWarningsOf(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) {
    if (heldWarnings_.empty()) return;
    const auto held = heldWarnings_.find(folder);
    if (held == heldWarnings_.end()) return;
    for (const auto& warning : warnings_[held->second]) GiveHostWarning(warning);
    heldWarnings_.erase(held);
}

}  // namespace Thornfell::PathManagement
