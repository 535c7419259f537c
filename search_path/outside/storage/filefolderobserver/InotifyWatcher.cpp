#include "storage/filefolderobserver/InotifyWatcher.hpp"

#include "foundation/core/diag/Diagnostics.hpp"

#include <boost/container/small_vector.hpp>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace storage::filefolderobserver::detail {

namespace {

// What changes the listing of a folder: an entry added, removed or renamed,
// and the folder itself going away. Writing into a file, or changing the
// attributes or times of an entry (IN_MODIFY, IN_ATTRIB), leaves the names in
// the folder as they were, so it doesn't count. IN_IGNORED, IN_UNMOUNT and
// IN_Q_OVERFLOW come without being asked for.
constexpr std::uint32_t kWatchMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

struct WatchLease::Watch {
    explicit Watch(int descriptor) : wd(descriptor) {}
    const int wd;
    // One share for each lease, so a record may stand here more than once.
    // A folder nearly always has one observer: its share needs no block of
    // its own.
    boost::container::small_vector<std::shared_ptr<FolderRecord>, 1> records;
    bool removed = false;  // the kernel or we ended it; the descriptor means nothing now
};

WatchLease::WatchLease(std::shared_ptr<InotifyWatcher> watcher, std::shared_ptr<Watch> watch,
                       std::shared_ptr<FolderRecord> record)
    : watcher_(std::move(watcher)), watch_(std::move(watch)), record_(std::move(record)) {}

WatchLease::~WatchLease() { watcher_->release(watch_, record_.get()); }

InotifyWatcher::~InotifyWatcher() {
    stop();
    if (inotifyFd_ >= 0) ::close(inotifyFd_);
    if (wakeFd_ >= 0) ::close(wakeFd_);
}

int InotifyWatcher::startLocked() {
    if (inotifyFd_ >= 0) return 0;
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0) return errno;
    const int wake = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wake < 0) {
        const int error = errno;
        ::close(fd);
        return error;
    }
    inotifyFd_ = fd;
    wakeFd_ = wake;
    reader_ = std::thread([this] { readLoop(); });
    return 0;
}

InotifyWatcher::AddResult InotifyWatcher::addWatch(const std::string& path,
                                                   const std::shared_ptr<FolderRecord>& record) {
    // Adding under the lock keeps a concurrent release of the last lease of
    // the same inode from removing the watch that inotify is about to hand
    // out again.
    std::lock_guard lock(mutex_);
    if (stopped()) return {nullptr, ECANCELED};
    if (const int forced = failWatchesWith_.load(std::memory_order_acquire)) return {nullptr, forced};
    if (const int error = startLocked()) return {nullptr, error};
    const int wd = ::inotify_add_watch(inotifyFd_, path.c_str(), kWatchMask);
    if (wd < 0) return {nullptr, errno};
    auto& watch = watches_[wd];
    if (!watch) watch = std::make_shared<WatchLease::Watch>(wd);
    watch->records.push_back(record);
    return {std::make_unique<WatchLease>(shared_from_this(), watch, record), 0};
}

void InotifyWatcher::release(const std::shared_ptr<WatchLease::Watch>& watch, const FolderRecord* record) {
    std::lock_guard lock(mutex_);
    auto& records = watch->records;
    auto found = std::find_if(records.begin(), records.end(), [record](const auto& r) { return r.get() == record; });
    if (found != records.end()) records.erase(found);
    if (!records.empty() || watch->removed) return;
    watch->removed = true;
    ::inotify_rm_watch(inotifyFd_, watch->wd);
    watches_.erase(watch->wd);
}

std::size_t InotifyWatcher::watchCount() const {
    std::lock_guard lock(mutex_);
    return watches_.size();
}

void InotifyWatcher::stop() {
    std::thread reader;
    {
        std::lock_guard lock(mutex_);
        markStopped();
        reader = std::move(reader_);
    }
    if (!reader.joinable()) return;
    const std::uint64_t one = 1;
    // An eventfd write of 8 bytes can't be short; it fails only if the
    // counter would overflow, which one write per watcher never reaches.
    [[maybe_unused]] const auto written = ::write(wakeFd_, &one, sizeof one);
    reader.join();
}

void InotifyWatcher::readLoop() {
    foundation::core::diag::setCurrentThreadName("FileFolderObserver inotify reader");
    for (;;) {
        pollfd fds[2] = {{inotifyFd_, POLLIN, 0}, {wakeFd_, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[1].revents != 0) return;
        if (fds[0].revents == 0) continue;
        if (!readQueued(inotifyFd_)) break;
    }
    // Nobody reads the queue from here on, so no watched folder can be
    // trusted any more: say so, and count it as lost events.
    noteOverflow();
    markStopped();
}

void InotifyWatcher::markStopped() {
    stopped_.store(true, std::memory_order_release);
    changesHandled_.fetch_add(1, std::memory_order_release);
}

void InotifyWatcher::drainPending() {
    int fd = -1;
    {
        std::lock_guard lock(mutex_);
        if (stopped()) return;
        fd = inotifyFd_;
    }
    if (fd >= 0) readQueued(fd);
}

bool InotifyWatcher::readQueued(int fd) {
    std::lock_guard lock(readMutex_);
    char* const buffer = readBuffer_;
    for (;;) {
        const ssize_t length = ::read(fd, buffer, sizeof readBuffer_);
        if (length < 0) {
            if (errno == EINTR) continue;
            return errno == EAGAIN;  // the queue is empty
        }
        if (length == 0) return true;
        for (ssize_t offset = 0; offset + static_cast<ssize_t>(sizeof(inotify_event)) <= length;) {
            inotify_event event;
            std::memcpy(&event, buffer + offset, sizeof event);
            handleEvent(event.wd, event.mask);
            offset += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
}

void InotifyWatcher::handleEvent(int wd, std::uint32_t mask) {
    if (mask & IN_Q_OVERFLOW) {
        noteOverflow();
        return;
    }
    std::lock_guard lock(mutex_);
    const auto found = watches_.find(wd);
    // An event of a watch removed meanwhile (its IN_IGNORED among them).
    if (found == watches_.end()) return;
    const auto watch = found->second;
    for (const auto& record : watch->records) record->fileSystemChanges.fetch_add(1, std::memory_order_acq_rel);
    changesHandled_.fetch_add(1, std::memory_order_release);
    if (mask & IN_IGNORED) {
        // The kernel ended the watch: the folder was deleted, or its file
        // system unmounted.
        watch->removed = true;
        watches_.erase(found);
    } else if (mask & IN_MOVE_SELF) {
        // The watch follows the inode, not the name, so it no longer tells
        // anything about the folder its observers were made for; new
        // observers of that name get a watch of their own.
        watch->removed = true;
        ::inotify_rm_watch(inotifyFd_, wd);
        watches_.erase(found);
    }
}

} // namespace storage::filefolderobserver::detail
