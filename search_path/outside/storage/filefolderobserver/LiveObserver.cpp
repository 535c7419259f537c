#include "storage/filefolderobserver/LiveObserver.hpp"

namespace storage::filefolderobserver::detail {

LiveObserver::LiveObserver(std::unique_ptr<FolderEventView> events, std::unique_ptr<WatchLease> lease)
    : events_(std::move(events)),
      lease_(std::move(lease)),
      changesSeen_(events_->record()->fileSystemChanges.load(std::memory_order_acquire)),
      overflowsSeen_(lease_->watcher().overflowCount()) {}

bool LiveObserver::hasChanged() const {
    if (latched_.load(std::memory_order_acquire)) return true;
    const auto& watcher = lease_->watcher();
    const bool changed = events_->record()->fileSystemChanges.load(std::memory_order_acquire) != changesSeen_ ||
                         watcher.overflowCount() != overflowsSeen_ || watcher.stopped() || events_->changed(true);
    if (changed) latched_.store(true, std::memory_order_release);
    return changed;
}

} // namespace storage::filefolderobserver::detail
