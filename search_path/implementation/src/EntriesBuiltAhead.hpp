#pragma once
// The entries of an alteration's folders, built all at once on the pool
// before the alteration's serial steps ask the factory for them one by one.
#include "tfsearch_path/IFolderMonitor.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <cstddef>
#include <functional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Thornfell::PathManagement {

// Listing a folder is mostly the kernel's work, on one core at a time when
// folders are listed in turn. Built here in parallel, the entries stay alive
// in this object, so that the serial steps find each one up to date in the
// factory and keep their order, their messages and their rules as they are.
// A folder that fails here is left to the serial steps, which meet the same
// failure and report it in its place; so are two folders of which one holds
// the other (a package folder given beside its parent), which the serial
// steps build as one.
//
// The warnings of a folder's build (an observer that fell back to time
// stamps) are held back until the serial steps reach the folder: the host
// gets them in the order of the folders, as from a serial build. When the
// host asks for one such warning only, nothing is built ahead.
class EntriesBuiltAhead {
public:
    // Nothing built ahead: every folder is built by the serial steps.
    EntriesBuiltAhead() = default;
    // `folders` without repeats.
    EntriesBuiltAhead(const IPathEntryFactory& factory, const IFolderMonitor& monitor,
                      std::span<const foundation::storage::vfs::CanonicalAbsoluteIRI> folders);

    // Gives the host the warnings of `folder`'s build, the first time only;
    // to be called just before the serial steps ask for the folder's entry.
    void GiveWarningsOf(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);

private:
    PathEntryVector entries_;  // null where the build failed
    std::vector<foundation::core::except::Notification> warnings_;
    std::unordered_map<foundation::storage::vfs::CanonicalAbsoluteIRI, std::size_t,
                       foundation::storage::vfs::AbsoluteIRIHash>
        heldWarnings_;  // the folders whose warnings are held, by their index
};

// Calls `body` for each index below `count`: at once on the pool, a few
// indices a task, or in turn on this thread when the host asks for serial
// entry builds. `body` must not throw. Isolated: the caller may hold the
// manager's lock, and must not pick up a task of the pool that waits for it
// while it waits for the loop.
void ForEachFolderAhead(std::size_t count, const std::function<void(std::size_t)>& body);

}  // namespace Thornfell::PathManagement
