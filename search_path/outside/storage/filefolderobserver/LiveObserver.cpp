#include "storage/filefolderobserver/LiveObserver.hpp"

#include <sys/stat.h>

namespace storage::filefolderobserver::detail {

LiveObserver::LiveObserver(std::shared_ptr<FolderRecordTable> records, std::shared_ptr<FolderRecord> record,
                           InotifyWatcher& watcher, const std::string& path, bool throughLink)
    : events_(std::move(records), std::move(record)) {
    auto added = watcher.addWatch(path, events_.record());
    watchError_ = added.error;
    lease_ = std::move(added.lease);
    if (!lease_) return;
    watcher_ = &lease_->watcher();
    changesSeen_ = events_.record()->fileSystemChanges.load(std::memory_order_acquire);
    overflowsSeen_ = watcher_->overflowCount();
    if (!added.ancestorsWatched || throughLink) {
        // The time stamps' way for what the watches can't tell: a stat at
        // each question, for these folders only. Watches follow names
        // without links: a link on the way, or one that a link leads to,
        // can be changed where no watch of the folder's own chain looks.
        path_ = path;
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0)
            identity_.emplace(status.st_dev, status.st_ino);
        else
            setChangedAtStart();
    }
}

bool LiveObserver::nameLeadsElsewhere() const {
    if (!identity_) return false;
    struct stat status {};
    return ::stat(path_.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
           std::pair(status.st_dev, status.st_ino) != *identity_;
}

bool LiveObserver::hasChanged() const {
    if (latched_.load(std::memory_order_acquire)) return true;
    bool changed = false;
    const std::uint64_t handled = watcher_->changesHandled();
    if (!unchangedAt_.covers(handled)) {
        changed = events_.record()->fileSystemChanges.load(std::memory_order_acquire) != changesSeen_ ||
                  watcher_->overflowCount() != overflowsSeen_ || watcher_->stopped();
        if (!changed) unchangedAt_.remember(handled);
    }
    changed = changed || events_.changed(true) || nameLeadsElsewhere();
    if (changed) latched_.store(true, std::memory_order_release);
    return changed;
}

}  // namespace storage::filefolderobserver::detail
