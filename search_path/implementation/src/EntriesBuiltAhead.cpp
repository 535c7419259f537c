#include "EntriesBuiltAhead.hpp"

#include "WarningDeferral.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

namespace Thornfell::PathManagement {

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
    ForEachFolderAhead(folders.size(), [&](std::size_t i) {
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
