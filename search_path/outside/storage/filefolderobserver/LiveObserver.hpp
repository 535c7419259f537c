#pragma once
// An observer of a folder with an inotify watch.
//
// It reports a change when the reader has seen an entry of the folder added,
// removed or renamed, or the folder itself go, since the observer was made;
// when the kernel's queue overflowed meanwhile; when nobody reads the queue
// any more; or when an event names the folder. It was made with
// `changedAtStart` when the folder already differed from the listing the
// observer was made for.
#include "storage/filefolderobserver/FolderRecords.hpp"
#include "storage/filefolderobserver/InotifyWatcher.hpp"

#include <atomic>
#include <cstdint>
#include <memory>

namespace storage::filefolderobserver::detail {

class LiveObserver final : public IFileFolderObserver {
public:
    // `events` and `lease` must be of the same record; the counters are taken
    // here, so a change the reader reports from now on is seen.
    LiveObserver(std::unique_ptr<FolderEventView> events, std::unique_ptr<WatchLease> lease);

    // Whether the folder differs from its listing already: to be told once
    // the counters are taken, see ObserverFactory.
    void setChangedAtStart() { latched_.store(true, std::memory_order_release); }

    bool hasChanged() const override;
    bool observesChildFoldersToo() const override { return false; }

private:
    std::unique_ptr<FolderEventView> events_;
    std::unique_ptr<WatchLease> lease_;
    const std::uint64_t changesSeen_;
    const std::uint64_t overflowsSeen_;
    // Every source above only grows, so a change stays a change; the flag
    // spares the later calls the look.
    mutable std::atomic<bool> latched_{false};
};

} // namespace storage::filefolderobserver::detail
