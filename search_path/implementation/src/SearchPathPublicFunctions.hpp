#pragma once
// What several parts of the library share.
#include "tfsearch_path/PathTypes.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <functional>

namespace Thornfell::PathManagement {

namespace detail {
// The message for a folder of a kind that can't stand on the path itself
// (a package, class, private or resources folder).
void AddErrorToNotificationForProcessingNonMainEntry(foundation::core::except::Notification& notification,
                                                     const PathEntryType& type, const ustring& folder);
} // namespace detail

// Called inside a catch handler: turns the storage failure in flight into a
// message about `folder`, or lets an exception it doesn't know go on.
void AddStorageFailure(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                       foundation::core::except::Notification& notification);

// Runs `work`, which hands tasks to the oneTBB pool and waits for them. The
// oneTBB library isn't built for ThreadSanitizer, which therefore can't see
// the pool hand its task objects from thread to thread and reports that as
// races: under it the tasks keep to the calling thread.
void RunOnPool(const std::function<void()>& work);

// The component text of the manager's messages.
inline constexpr const char* MpathComponent = "ORVIAN:mpath";

} // namespace Thornfell::PathManagement
