#pragma once
// An observer that compares the folder's identity and time stamps with those
// it took when it was made: the way for a folder on a network file system
// under the policy "TimecheckDir", and for a folder whose watch couldn't be
// set.
//
// Time stamps alone would miss a change made in the same clock tick as the
// stamp, so while the stamp isn't trusted (FolderStamp) the observer compares
// the folder's listing with the one it was made for as well, and trusts a new
// stamp as soon as one can be. On a network file system the times come from
// the server's clock, so there a change in the second of the stamp can still
// go unseen.
#include "storage/filefolderobserver/FolderRecords.hpp"
#include "storage/filefolderobserver/FolderSnapshot.hpp"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

namespace storage::filefolderobserver::detail {

class TimeStampObserver final : public IFileFolderObserver {
public:
    // `folder` is the one the caller listed; its listing is what counts as
    // unchanged.
    TimeStampObserver(std::shared_ptr<FolderRecordTable> records, const foundation::storage::vfs::Folder& folder);

    bool hasChanged() const override;
    bool observesChildFoldersToo() const override { return false; }

private:
    // With mutex_ held: whether the folder differs from stamp_ and listed_.
    bool lookLocked() const;

    FolderEventView events_;
    const foundation::storage::vfs::Folder folder_;  // for new listings; not listed itself
    const std::string path_;
    std::optional<ListingDigest> listed_;

    mutable std::mutex mutex_;
    mutable std::optional<FolderStamp> stamp_;  // upgraded to a trusted one when it can be
    mutable std::atomic<bool> latched_{false};
};

}  // namespace storage::filefolderobserver::detail
