#include "storage/filefolderobserver/TimeStampObserver.hpp"

namespace storage::filefolderobserver::detail {

namespace {
// A Folder of the same name that shares nothing with the listed one.
foundation::storage::vfs::Folder unlisted(const foundation::storage::vfs::Folder& folder) {
    return foundation::storage::vfs::Folder(folder.getIRI(), folder.getStorageSystem());
}
}  // namespace

TimeStampObserver::TimeStampObserver(std::shared_ptr<FolderRecordTable> records,
                                     const foundation::storage::vfs::Folder& folder)
    : events_(std::move(records), folder.getIRI()), folder_(unlisted(folder)), path_(folder.getNativePath()),
      listed_(digestListing(folder)) {
    // Stamp first, then compare listings: a change before the stamp shows in
    // the listing, and one after it in the stamp (once trusted).
    stamp_ = FolderStamp::take(path_);
    if (!stamp_ || !listed_ || digestListingNow(folder_) != listed_) latched_.store(true, std::memory_order_release);
}

bool TimeStampObserver::lookLocked() const {
    const auto now = FolderStamp::take(path_);
    if (!now || !now->sameAs(*stamp_)) return true;
    if (stamp_->trusted) return false;
    // The listing is read after `now` was taken, so if it matches and `now`
    // is trusted, `now` covers everything later.
    if (digestListingNow(folder_) != listed_) return true;
    if (now->trusted) stamp_ = now;
    return false;
}

bool TimeStampObserver::hasChanged() const {
    if (latched_.load(std::memory_order_acquire)) return true;
    bool changed = events_.changed(true);
    if (!changed) {
        std::lock_guard lock(mutex_);
        changed = lookLocked();
    }
    if (changed) latched_.store(true, std::memory_order_release);
    return changed;
}

}  // namespace storage::filefolderobserver::detail
