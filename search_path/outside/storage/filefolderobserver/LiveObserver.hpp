#pragma once
// An observer of a folder with an inotify watch.
//
// It reports a change when the reader has seen an entry of the folder added,
// removed or renamed, or the folder itself or one above it go or be
// replaced, since the observer was made;
// when the kernel's queue overflowed meanwhile; when nobody reads the queue
// any more; or when an event names the folder. It was made with
// `changedAtStart` when the folder already differed from the listing the
// observer was made for.
#include "storage/filefolderobserver/FolderRecords.hpp"
#include "storage/filefolderobserver/InotifyWatcher.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <sys/types.h>

namespace storage::filefolderobserver::detail {

class LiveObserver final : public IFileFolderObserver {
public:
    // Watches the folder at `path` (a native path) for `record`, acquired
    // from `records`; `throughLink` when the path leads there through a
    // symbolic link. The counters are taken once the watch stands, so a
    // change the reader reports from then on is seen. Check watchError()
    // before use.
    LiveObserver(std::shared_ptr<FolderRecordTable> records, std::shared_ptr<FolderRecord> record,
                 InotifyWatcher& watcher, const std::string& path, bool throughLink);

    // The errno of a watch that couldn't be set; such an observer is of no
    // use. 0 when the watch stands.
    int watchError() const { return watchError_; }

    // Whether the folder differs from its listing already: to be told once
    // the watch stands, see ObserverFactory.
    void setChangedAtStart() { latched_.store(true, std::memory_order_release); }

    bool hasChanged() const override;
    bool observesChildFoldersToo() const override { return false; }

private:
    // Whether the name no longer leads to the folder the watch was set on,
    // for a folder some ancestor of which couldn't be watched.
    bool nameLeadsElsewhere() const;

    // Every source below only grows, so a change stays a change; the flag
    // spares the later calls the look.
    mutable std::atomic<bool> latched_{false};
    // What an unchanged answer reads comes first, in this object; the
    // record is read only once the watcher has handled something new.
    const InotifyWatcher* watcher_ = nullptr;  // the lease's
    UnchangedAt unchangedAt_;
    FolderEventView events_;
    std::unique_ptr<WatchLease> lease_;
    std::uint64_t changesSeen_ = 0;
    std::uint64_t overflowsSeen_ = 0;
    int watchError_ = 0;
    // Where an ancestor couldn't be watched, or a link is on the way, the
    // folder's identity as the watch began, compared with what its name
    // leads to at each question.
    std::string path_;
    std::optional<std::pair<dev_t, ino_t>> identity_;
};

}  // namespace storage::filefolderobserver::detail
