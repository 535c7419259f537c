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
// A watch follows its inode, not its name: when a folder above a watched one
// is renamed, deleted or replaced, the watched folder's own watch sees
// nothing, yet its name now leads elsewhere or nowhere. So the ancestors of
// the watched folders are watched too, and the folders are kept as a tree of
// names: an event in a folder that names a child on the way down to watched
// folders, or the folder's own move or deletion, marks every watched folder
// below it as changed, and ends the watches below it, which were set on
// what the name led to before. Ancestors are shared: the folders of one tree
// add a handful of watches. Where an ancestor can't be watched (a symbolic
// link among them, which is not followed), the observers below are told
// (AddResult::ancestorsWatched) and check their folder's identity
// themselves.
//
// The instance and the thread are started with the first watch, so that a
// process with frozen observers only never has them.
#include "storage/filefolderobserver/FolderRecords.hpp"

#include <boost/container/small_vector.hpp>

#include <sys/inotify.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace storage::filefolderobserver::detail {

class InotifyWatcher;

// An observer's share of a watch; gives it back on destruction.
class WatchLease {
public:
    struct Node;
    WatchLease(std::shared_ptr<InotifyWatcher> watcher, Node* node, std::shared_ptr<FolderRecord> record);
    ~WatchLease();
    WatchLease(const WatchLease&) = delete;
    WatchLease& operator=(const WatchLease&) = delete;

    const InotifyWatcher& watcher() const { return *watcher_; }

private:
    std::shared_ptr<InotifyWatcher> watcher_;
    Node* node_;  // lives while this lease holds a share of it
    std::shared_ptr<FolderRecord> record_;
};

class InotifyWatcher : public std::enable_shared_from_this<InotifyWatcher> {
public:
    InotifyWatcher();
    ~InotifyWatcher();
    InotifyWatcher(const InotifyWatcher&) = delete;
    InotifyWatcher& operator=(const InotifyWatcher&) = delete;

    struct AddResult {
        std::unique_ptr<WatchLease> lease;  // null when the watch couldn't be set
        int error = 0;                      // the errno, then
        // Whether every folder above stands watched: if not, a rename or
        // deletion above the folder can go unseen by the watches.
        bool ancestorsWatched = true;
    };
    // Watches the folder at `path` (a native, absolute path in generic form)
    // for `record`, and the folders above it.
    AddResult addWatch(const std::string& path, const std::shared_ptr<FolderRecord>& record);

    // Hands every event the kernel has queued so far to its records, on the
    // calling thread: one read of the queue when nothing is there. A change
    // made before this call is then seen by the observers, and an observer
    // made afterwards counts only changes made after it.
    void drainPending();

    // Counts the times the kernel's queue overflowed: events were lost then,
    // and every watched folder has to count as changed.
    std::uint64_t overflowCount() const { return overflows_.load(std::memory_order_acquire); }
    // True once nobody reads the queue any more (stop(), or a read failure):
    // watched folders can't be trusted from then on.
    bool stopped() const { return stopped_.load(std::memory_order_acquire); }
    // Ends and joins the reader. Watches stay until their observers go.
    void stop();
    // Moves after each of the above: an event that marked a record, an
    // overflow, the end of reading (see UnchangedAt).
    std::uint64_t changesHandled() const { return changesHandled_.load(std::memory_order_acquire); }

    // Test hooks. failWatchesWith: every later watch fails with this errno
    // (0: watches are set again), as a full watch table would make it.
    void failWatchesWith(int error) { failWatchesWith_.store(error, std::memory_order_release); }
    // The same for the watches of ancestors not watched yet.
    void failAncestorWatchesWith(int error) { failAncestorWatchesWith_.store(error, std::memory_order_release); }
    // What the reader does on IN_Q_OVERFLOW.
    void noteOverflow() {
        overflows_.fetch_add(1, std::memory_order_acq_rel);
        changesHandled_.fetch_add(1, std::memory_order_release);
    }
    // The watches of observed folders, and those held for their ancestors
    // alone.
    std::size_t watchCount() const;
    std::size_t ancestorWatchCount() const;

private:
    using Node = WatchLease::Node;
    friend class WatchLease;
    int startLocked();  // an errno, or 0
    void release(Node* node, const FolderRecord* record);
    Node& nodeLocked(std::string_view path);
    void attachLocked(Node& node, int wd);
    void detachLocked(Node& node, bool removeWatch);
    bool watchAncestorsLocked(Node& node);
    void dropUseLocked(Node* node);
    std::size_t markLocked(const Node& node, bool below);
    // Ends the watches of `node` and of every folder below it, and forgets
    // why any of them couldn't be watched: its name leads elsewhere now.
    void forgetWatchesLocked(Node& node);
    std::size_t observedWatchesLocked() const;
    void readLoop();
    // Reads and handles what the queue holds; false when reading failed for
    // good. Under readMutex_, so that the events of one read are handled
    // before anyone else reads.
    bool readQueued(int fd);
    void handleEvent(int wd, std::uint32_t mask, std::string_view name);
    void markStopped();

    std::mutex readMutex_;
    // Large enough for many events per read; aligned as the kernel writes
    // them. Guarded by readMutex_.
    alignas(struct inotify_event) char readBuffer_[64 * 1024];

    mutable std::mutex mutex_;  // guards the fields below, and pairs add/remove of watches with the tree
    int inotifyFd_ = -1;
    int wakeFd_ = -1;  // an eventfd that tells the reader to end
    std::thread reader_;
    // The watched folders and their ancestors, by path (the key views the
    // node's own path); the nodes of each watch descriptor.
    std::unordered_map<std::string_view, std::unique_ptr<Node>> nodes_;
    std::unordered_map<int, boost::container::small_vector<Node*, 1>> byWatch_;

    std::atomic<std::uint64_t> overflows_{0};
    std::atomic<bool> stopped_{false};
    std::atomic<std::uint64_t> changesHandled_{0};
    std::atomic<int> failWatchesWith_{0};
    std::atomic<int> failAncestorWatchesWith_{0};
};

}  // namespace storage::filefolderobserver::detail
