#pragma once
// One inotify instance for the process's observers, and the thread that reads
// it.
//
// A folder has one watch however many observers it has: inotify itself hands
// out one watch descriptor per inode, so a second observer of the folder (by
// the same or by another name) joins the watch it finds, and the watch is
// removed when its last observer goes. The reader bumps the change counter of
// every folder record on the watch.
//
// The instance and the thread are started with the first watch, so that a
// process with frozen observers only never has them.
#include "storage/filefolderobserver/FolderRecords.hpp"

#include <sys/inotify.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>

namespace storage::filefolderobserver::detail {

class InotifyWatcher;

// An observer's share of a watch; gives it back on destruction.
class WatchLease {
public:
    struct Watch;
    WatchLease(std::shared_ptr<InotifyWatcher> watcher, std::shared_ptr<Watch> watch,
               std::shared_ptr<FolderRecord> record);
    ~WatchLease();
    WatchLease(const WatchLease&) = delete;
    WatchLease& operator=(const WatchLease&) = delete;

    const InotifyWatcher& watcher() const { return *watcher_; }

private:
    std::shared_ptr<InotifyWatcher> watcher_;
    std::shared_ptr<Watch> watch_;
    std::shared_ptr<FolderRecord> record_;
};

class InotifyWatcher : public std::enable_shared_from_this<InotifyWatcher> {
public:
    InotifyWatcher() = default;
    ~InotifyWatcher();
    InotifyWatcher(const InotifyWatcher&) = delete;
    InotifyWatcher& operator=(const InotifyWatcher&) = delete;

    struct AddResult {
        std::unique_ptr<WatchLease> lease;  // null when the watch couldn't be set
        int error = 0;                      // the errno, then
    };
    // Watches the folder at `path` (a native path) for `record`.
    AddResult addWatch(const std::string& path, const std::shared_ptr<FolderRecord>& record);

    // Hands every event the kernel has queued so far to its records, on the
    // calling thread. An observer made afterwards then counts only changes
    // made after this call, not the queued ones the reader hadn't got to.
    void drainPending();

    // Counts the times the kernel's queue overflowed: events were lost then,
    // and every watched folder has to count as changed.
    std::uint64_t overflowCount() const { return overflows_.load(std::memory_order_acquire); }
    // True once nobody reads the queue any more (stop(), or a read failure):
    // watched folders can't be trusted from then on.
    bool stopped() const { return stopped_.load(std::memory_order_acquire); }
    // Ends and joins the reader. Watches stay until their observers go.
    void stop();
    // Moves after each of the above: an event handed to records, an
    // overflow, the end of reading (see UnchangedAt).
    std::uint64_t changesHandled() const { return changesHandled_.load(std::memory_order_acquire); }

    // Test hooks. failWatchesWith: every later watch fails with this errno
    // (0: watches are set again), as a full watch table would make it.
    void failWatchesWith(int error) { failWatchesWith_.store(error, std::memory_order_release); }
    // What the reader does on IN_Q_OVERFLOW.
    void noteOverflow() {
        overflows_.fetch_add(1, std::memory_order_acq_rel);
        changesHandled_.fetch_add(1, std::memory_order_release);
    }
    std::size_t watchCount() const;

private:
    friend class WatchLease;
    int startLocked();  // an errno, or 0
    void release(const std::shared_ptr<WatchLease::Watch>& watch, const FolderRecord* record);
    void readLoop();
    // Reads and handles what the queue holds; false when reading failed for
    // good. Under readMutex_, so that the events of one read are handled
    // before anyone else reads.
    bool readQueued(int fd);
    void handleEvent(int wd, std::uint32_t mask);
    void markStopped();

    std::mutex readMutex_;
    // Large enough for many events per read; aligned as the kernel writes
    // them. Guarded by readMutex_.
    alignas(struct inotify_event) char readBuffer_[64 * 1024];

    mutable std::mutex mutex_;  // guards the fields below, and pairs add/remove of watches with the table
    int inotifyFd_ = -1;
    int wakeFd_ = -1;  // an eventfd that tells the reader to end
    std::thread reader_;
    std::unordered_map<int, std::shared_ptr<WatchLease::Watch>> watches_;

    std::atomic<std::uint64_t> overflows_{0};
    std::atomic<bool> stopped_{false};
    std::atomic<std::uint64_t> changesHandled_{0};
    std::atomic<int> failWatchesWith_{0};
};

} // namespace storage::filefolderobserver::detail
