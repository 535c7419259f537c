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
// and the folder itself going away. Above a watched folder, the same events
// tell that a name on the way down to it went or came. Writing into a file,
// or changing the attributes or times of an entry (IN_MODIFY, IN_ATTRIB),
// leaves the names in the folder as they were, so it doesn't count.
// IN_IGNORED, IN_UNMOUNT and IN_Q_OVERFLOW come without being asked for.
constexpr std::uint32_t kWatchMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

}  // namespace

struct WatchLease::Node {
    explicit Node(std::string_view folder) : path(folder) {}
    const std::string path;
    Node* parent = nullptr;  // the folder above; null for the root
    // The folders below that are watched or lead to watched ones, in no
    // order; a folder's place among its parent's children, so that it
    // leaves in one step however many folders one holds.
    std::vector<Node*> children;
    std::size_t place = 0;
    // One share for each lease, so a record may stand here more than once.
    // A folder nearly always has one observer: its share needs no block of
    // its own.
    boost::container::small_vector<std::shared_ptr<FolderRecord>, 1> records;
    int wd = -1;  // the watch; -1 when there is none (not set yet, ended, or refused)
    // Why the folder couldn't be watched as an ancestor; it isn't asked
    // again while the node stands (a full watch table stays full).
    int watchError = 0;
};

WatchLease::WatchLease(std::shared_ptr<InotifyWatcher> watcher, Node* node, std::shared_ptr<FolderRecord> record)
    : watcher_(std::move(watcher)), node_(node), record_(std::move(record)) {}

WatchLease::~WatchLease() { watcher_->release(node_, record_.get()); }

// Out of line, where a node is a complete type.
InotifyWatcher::InotifyWatcher() = default;

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
    Node& node = nodeLocked(path);
    attachLocked(node, wd);
    node.records.push_back(record);
    const bool ancestorsWatched = watchAncestorsLocked(node);
    return {std::make_unique<WatchLease>(shared_from_this(), &node, record), 0, ancestorsWatched};
}

WatchLease::Node& InotifyWatcher::nodeLocked(std::string_view path) {
    if (const auto found = nodes_.find(path); found != nodes_.end()) return *found->second;
    auto made = std::make_unique<Node>(path);
    Node& node = *made;
    nodes_.emplace(node.path, std::move(made));
    const std::size_t slash = path.rfind('/');
    if (slash != std::string_view::npos && path != "/") {
        node.parent = &nodeLocked(slash == 0 ? std::string_view("/") : path.substr(0, slash));
        node.place = node.parent->children.size();
        node.parent->children.push_back(&node);
    }
    return node;
}

void InotifyWatcher::attachLocked(Node& node, int wd) {
    if (node.wd == wd) return;
    // The name leads to another folder than the one watched so far, and
    // the event that would tell it may still be queued: whatever was
    // observed below it is out of date now.
    if (node.wd >= 0) {
        if (markLocked(node, true)) changesHandled_.fetch_add(1, std::memory_order_release);
        detachLocked(node, true);
    }
    node.wd = wd;
    node.watchError = 0;
    byWatch_[wd].push_back(&node);
}

void InotifyWatcher::detachLocked(Node& node, bool removeWatch) {
    if (node.wd < 0) return;
    if (const auto found = byWatch_.find(node.wd); found != byWatch_.end()) {
        auto& nodes = found->second;
        nodes.erase(std::remove(nodes.begin(), nodes.end(), &node), nodes.end());
        if (nodes.empty()) {
            if (removeWatch) ::inotify_rm_watch(inotifyFd_, node.wd);
            byWatch_.erase(found);
        }
    }
    node.wd = -1;
}

bool InotifyWatcher::watchAncestorsLocked(Node& node) {
    bool all = true;
    for (Node* above = node.parent; above; above = above->parent) {
        if (above->wd < 0 && above->watchError == 0) {
            const int forced = failAncestorWatchesWith_.load(std::memory_order_acquire);
            // Not through a link: a link's target lies elsewhere, where the
            // names on the way down aren't watched, and the link itself
            // can't be watched as a folder; the observers below then check
            // their folder's identity themselves.
            const int wd =
                forced ? -1 : ::inotify_add_watch(inotifyFd_, above->path.c_str(), kWatchMask | IN_DONT_FOLLOW);
            if (wd >= 0)
                attachLocked(*above, wd);
            else
                above->watchError = forced ? forced : errno;
        }
        all = all && above->wd >= 0;
    }
    return all;
}

void InotifyWatcher::release(Node* node, const FolderRecord* record) {
    std::lock_guard lock(mutex_);
    auto& records = node->records;
    const auto found =
        std::find_if(records.begin(), records.end(), [record](const auto& r) { return r.get() == record; });
    if (found != records.end()) records.erase(found);
    dropUseLocked(node);
}

void InotifyWatcher::dropUseLocked(Node* node) {
    // A folder goes from the tree, and its watch with it, once nothing is
    // observed at it or below it; then its parent may go as well.
    while (node && node->records.empty() && node->children.empty()) {
        Node* const parent = node->parent;
        detachLocked(*node, true);
        if (parent) {
            auto& siblings = parent->children;
            siblings[node->place] = siblings.back();
            siblings[node->place]->place = node->place;
            siblings.pop_back();
        }
        nodes_.erase(nodes_.find(node->path));
        node = parent;
    }
}

void InotifyWatcher::forgetWatchesLocked(Node& node) {
    detachLocked(node, true);
    node.watchError = 0;
    for (Node* child : node.children) forgetWatchesLocked(*child);
}

std::size_t InotifyWatcher::markLocked(const Node& node, bool below) {
    for (const auto& record : node.records) record->fileSystemChanges.fetch_add(1, std::memory_order_acq_rel);
    std::size_t marked = node.records.size();
    if (below)
        for (const Node* child : node.children) marked += markLocked(*child, true);
    return marked;
}

std::size_t InotifyWatcher::watchCount() const {
    std::lock_guard lock(mutex_);
    return observedWatchesLocked();
}

std::size_t InotifyWatcher::ancestorWatchCount() const {
    std::lock_guard lock(mutex_);
    return byWatch_.size() - observedWatchesLocked();
}

std::size_t InotifyWatcher::observedWatchesLocked() const {
    return static_cast<std::size_t>(std::count_if(byWatch_.begin(), byWatch_.end(), [](const auto& watch) {
        return std::any_of(watch.second.begin(), watch.second.end(), [](const Node* n) { return !n->records.empty(); });
    }));
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
            // The name is padded with NULs to the length the event gives.
            const char* const name = buffer + offset + sizeof event;
            handleEvent(event.wd, event.mask, std::string_view(name, ::strnlen(name, event.len)));
            offset += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
}

void InotifyWatcher::handleEvent(int wd, std::uint32_t mask, std::string_view name) {
    if (mask & IN_Q_OVERFLOW) {
        noteOverflow();
        return;
    }
    std::lock_guard lock(mutex_);
    const auto found = byWatch_.find(wd);
    // An event of a watch removed meanwhile (its IN_IGNORED among them).
    if (found == byWatch_.end()) return;
    const auto nodes = found->second;  // detaching below changes the table's
    const bool selfGone = mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT);
    std::size_t marked = 0;
    std::string childPath;
    for (const Node* node : nodes) {
        // The folder itself went: nothing below it is where it was.
        if (selfGone) {
            marked += markLocked(*node, true);
            continue;
        }
        // An entry of the folder came or went: its listing changed, and if
        // the entry leads down to watched folders, their names now lead
        // elsewhere or nowhere. Most events are in folders with nothing
        // watched below, which look nothing up.
        marked += markLocked(*node, false);
        if (node->children.empty() || name.empty()) continue;
        childPath.assign(node->path);
        if (childPath != "/") childPath += '/';
        childPath += name;
        const auto child = nodes_.find(childPath);
        if (child == nodes_.end()) continue;
        marked += markLocked(*child->second, true);
        // The watches below were set on what the name led to before; the
        // next folder observed below sets them again on what it leads to now.
        forgetWatchesLocked(*child->second);
    }
    // Events that concern no observer (an ancestor's other entries) leave
    // the count alone, so that observers that found nothing needn't look
    // again.
    if (marked) changesHandled_.fetch_add(1, std::memory_order_release);
    if (mask & IN_IGNORED) {
        // The kernel ended the watch: the folder was deleted, or its file
        // system unmounted.
        for (Node* node : nodes) detachLocked(*node, false);
    } else if (mask & IN_MOVE_SELF) {
        // The watch follows the inode, not the name, so it no longer tells
        // anything about the folder its observers were made for; new
        // observers of that name get a watch of their own, and as an
        // ancestor the name is watched again with the next folder below it.
        for (Node* node : nodes) detachLocked(*node, true);
    }
}

}  // namespace storage::filefolderobserver::detail
