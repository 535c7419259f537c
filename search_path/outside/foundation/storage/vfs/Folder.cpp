#include "foundation/storage/vfs/Folder.hpp"

#include "fl/ustring.hpp"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace foundation::storage::vfs {

struct Folder::Listing {
    struct SubFolder {
        SubFolder(ustring n, bool link) : name(std::move(n)), viaLink(link) {}
        ustring name;
        // Reached through a symbolic link: its own name is not canonical.
        bool viaLink;
    };
    // The files' names, one after another in one buffer rather than one
    // allocation each, and a view of each of them into it.
    ustring fileNameText;
    std::vector<ustring_view> fileNames;
    std::vector<SubFolder> folders;
    std::optional<Folder::ListingStamp> stamp;
};

// Shared by all copies of a Folder.
struct Folder::State {
    explicit State(std::optional<CanonicalAbsoluteIRI> known) : canonical(std::move(known)) {}
    ~State() {
        if (const int fd = openFolder.load(std::memory_order_relaxed); fd >= 0) ::close(fd);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // The folder as resolving its name opened it, kept for the first
    // reading, which then needn't look the name up again; -1 when there is
    // none. Whoever takes it closes it.
    std::atomic<int> openFolder{-1};
    // Whether that descriptor was reached through a symbolic link; written
    // before the descriptor is kept.
    std::atomic<bool> openFolderThroughLink{false};

    // The resolution, the observer and a reading each want the native name:
    // it is made once. (Not with std::call_once: glibc's pthread_once ends
    // each first call with a futex wake, a system call per folder.)
    std::mutex nativeMutex;
    std::atomic<bool> nativeMade{false};
    std::string native;  // written once, under nativeMutex, before nativeMade

    std::mutex canonicalMutex;
    std::optional<CanonicalAbsoluteIRI> canonical;  // guarded by canonicalMutex
    // Taken by openForListing with the descriptor in `openFolder`, for the
    // reading that takes that descriptor.
    std::optional<ListingStamp> openStamp;  // guarded by canonicalMutex

    // Set as a reading begins, under listingMutex.
    std::atomic<bool> readingBegun{false};

    // The listing is read once and then only read from: publish it through an
    // atomic pointer so that later calls take no lock. A failed reading
    // publishes nothing, and the next call tries again.
    std::mutex listingMutex;
    std::unique_ptr<const Listing> listing;  // guarded by listingMutex
    std::atomic<const Listing*> published{nullptr};

    std::optional<CanonicalAbsoluteIRI> knownCanonical() {
        std::lock_guard lock(canonicalMutex);
        return canonical;
    }
};

namespace {

// The name handed to system calls. Names of this system are UTF-8.
std::string nativePath(const AbsoluteIRI& iri) {
    const ustring& path = iri.getPath();
    if (path.find(u'\0') != ustring::npos)
        throw Exception(ErrorCode::InvalidLocation, path, "the path holds a NUL character");
    return fl::i18n::ustring_to_utf8(path);
}

struct FdCloser {
    explicit FdCloser(int descriptor) : fd(descriptor) {}
    ~FdCloser() {
        if (fd >= 0) ::close(fd);
    }
    FdCloser(const FdCloser&) = delete;
    FdCloser& operator=(const FdCloser&) = delete;
    const int fd;
};

struct FreeDeleter {
    void operator()(char* p) const noexcept { std::free(p); }
};

enum class EntryKind { File, Folder, FolderViaLink, Gone };

// What a link points to counts; a link that leads nowhere (broken, or a
// loop) is a file, as the user still sees a name there.
EntryKind followLink(int dirFd, const char* name) {
    struct stat st;
    if (::fstatat(dirFd, name, &st, 0) == 0 && S_ISDIR(st.st_mode)) return EntryKind::FolderViaLink;
    return EntryKind::File;
}

// Takes the type from the directory itself where the file system gives it,
// so that a plain listing costs no stat per entry.
EntryKind classify(int dirFd, const dirent64& entry) {
    switch (entry.d_type) {
    case DT_DIR: return EntryKind::Folder;
    case DT_LNK: return followLink(dirFd, entry.d_name);
    case DT_UNKNOWN: {
        struct stat st;
        if (::fstatat(dirFd, entry.d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) return EntryKind::Gone;
        if (S_ISLNK(st.st_mode)) return followLink(dirFd, entry.d_name);
        return S_ISDIR(st.st_mode) ? EntryKind::Folder : EntryKind::File;
    }
    default: return EntryKind::File;
    }
}

// The folder at `path` opened for reading, when no component of the path is
// a symbolic link; -1 otherwise, or where the kernel can't tell (openat2 came
// with Linux 5.6). Names in generic form hold no "." and no empty component,
// so a path without ".." that opens this way is already the name the kernel
// would give the folder, and needn't be asked for it.
int openWithoutLinks(const std::string& path) {
    if (path.find("/../") != std::string::npos || path.ends_with("/..")) return -1;
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how));
}

// The folder at `path` opened for reading; `throughLink` tells whether a
// symbolic link (or a "..", or a kernel without openat2) was on the way,
// which costs nothing more where none is.
int openForReading(const std::string& path, bool& throughLink) {
    if (const int fd = openWithoutLinks(path); fd >= 0) {
        throughLink = false;
        return fd;
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    throughLink = fd >= 0;
    return fd;
}

// The name under which the kernel opened the folder at `path`: links and
// ".." resolved in one walk of the path, where realpath walks it once for
// each component. Empty where that doesn't tell (no /proc, or a folder no
// longer reachable by name, or no folder there at all): the caller then asks
// realpath, which tells the failures apart.
//
// The folder is opened for reading where it may be, and that descriptor is
// handed to `readable` for the listing that usually follows; else (-1 there)
// it is opened as a bare path, which needs no permission to read. Where the
// path opens as it is, with no link or ".." in it, it is its own name:
// `asGiven` is set and nothing is returned.
std::string resolvedByKernel(const std::string& path, int& readable, bool& asGiven) {
    readable = -1;
    asGiven = false;
    if (const int fd = openWithoutLinks(path); fd >= 0) {
        readable = fd;
        asGiven = true;
        return {};
    }
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        fd = ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    else
        readable = fd;
    if (fd < 0) return {};
    const FdCloser closer{readable < 0 ? fd : -1};
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    char resolved[PATH_MAX];
    const ssize_t length = ::readlink(link, resolved, sizeof resolved);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof resolved || resolved[0] != '/' ||
        std::string_view(resolved, static_cast<std::size_t>(length)).ends_with(" (deleted)")) {
        if (readable >= 0) ::close(std::exchange(readable, -1));
        return {};
    }
    return std::string(resolved, static_cast<std::size_t>(length));
}

// Linux 6.8 and later: stx_mnt_id then holds an identifier that no other
// mount gets while the system runs (STATX_MNT_ID's may be reused).
#ifndef STATX_MNT_ID_UNIQUE
#define STATX_MNT_ID_UNIQUE 0x00004000U
#endif

// The identity and times of the open folder, and its mount where the kernel
// tells it: one statx in place of the fstat, so that an observer made later
// needn't ask the file system for its type again (see Folder::ListingStamp).
// The moment is taken first: a change after it moves the times.
std::optional<Folder::ListingStamp> takeStamp(int dirFd) {
    Folder::ListingStamp stamp;
    struct statx info {};
    if (::clock_gettime(CLOCK_REALTIME, &stamp.takenAt) != 0 ||
        ::statx(dirFd, "", AT_EMPTY_PATH | AT_STATX_SYNC_AS_STAT,
                STATX_TYPE | STATX_INO | STATX_MTIME | STATX_CTIME | STATX_MNT_ID_UNIQUE, &info) != 0)
        return std::nullopt;
    const auto time = [](const struct statx_timestamp& t) { return timespec{t.tv_sec, t.tv_nsec}; };
    stamp.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    stamp.inode = info.stx_ino;
    stamp.modified = time(info.stx_mtime);
    stamp.changed = time(info.stx_ctime);
    stamp.mountId = (info.stx_mask & STATX_MNT_ID_UNIQUE) ? info.stx_mnt_id : 0;
    return stamp;
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

Folder::Folder(const AbsoluteIRI& iri, StorageSystemReference storage)
    : iri_(iri), storage_(std::move(storage)), state_(std::make_shared<State>(std::nullopt)) {}

Folder::Folder(const CanonicalAbsoluteIRI& iri, StorageSystemReference storage)
    : iri_(iri), storage_(std::move(storage)), state_(std::make_shared<State>(iri)) {}

CanonicalAbsoluteIRI Folder::getCanonicalLocation() const {
    if (std::optional<CanonicalAbsoluteIRI> known = state_->knownCanonical()) return *std::move(known);

    const std::string& path = getNativePath();
    int readable = -1;
    bool openedAsGiven = false;
    std::string resolved = resolvedByKernel(path, readable, openedAsGiven);
    if (readable >= 0) {
        // Only a listing not yet read wants it; a descriptor already kept
        // (another copy resolved at the same time) goes.
        if (state_->published.load(std::memory_order_acquire)) {
            ::close(readable);
        } else {
            state_->openFolderThroughLink.store(!openedAsGiven);
            if (const int previous = state_->openFolder.exchange(readable); previous >= 0) ::close(previous);
        }
    }
    if (!openedAsGiven && resolved.empty()) {
        const std::unique_ptr<char, FreeDeleter> walked(::realpath(path.c_str(), nullptr));
        if (!walked) throw Exception::fromErrno(errno, iri_.getPath(), "realpath");
        struct stat st;
        if (::stat(walked.get(), &st) != 0) throw Exception::fromErrno(errno, iri_.getPath(), "stat");
        if (!S_ISDIR(st.st_mode)) throw Exception(ErrorCode::NotFound, iri_.getPath(), "not a folder");
        resolved = walked.get();
    }

    // A name that opened as it is and comes back from UTF-8 as it was (no
    // unpaired surrogate in it) is its own canonical name: it needs no
    // second conversion, parse and hash.
    const std::string& name = openedAsGiven ? path : resolved;
    const ustring& given = iri_.getPath();
    const bool noSurrogate =
        std::none_of(given.begin(), given.end(), [](char16_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; });
    const bool asGiven = (openedAsGiven || resolved == path) && noSurrogate;
    CanonicalAbsoluteIRI canonical =
        asGiven ? CanonicalAbsoluteIRI(iri_, ustring())
                : CanonicalAbsoluteIRI(toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(name)), ustring());
    std::lock_guard lock(state_->canonicalMutex);
    if (!state_->canonical) state_->canonical = std::move(canonical);
    return *state_->canonical;
}

const std::string& Folder::getNativePath() const {
    if (!state_->nativeMade.load(std::memory_order_acquire)) {
        std::lock_guard lock(state_->nativeMutex);
        if (!state_->nativeMade.load(std::memory_order_relaxed)) {
            state_->native = nativePath(iri_);
            state_->nativeMade.store(true, std::memory_order_release);
        }
    }
    return state_->native;
}

const PathComparator& Folder::getPathComparator() const { return storage_.get().getPathComparator(); }

Folder Folder::getParent() const {
    // The lexical parent of a canonical name is canonical too.
    const std::optional<CanonicalAbsoluteIRI> known = state_->knownCanonical();
    if (known && *known == iri_) return Folder(known->getParent(), storage_);
    return Folder(iri_.getParent(), storage_);
}

const Folder::Listing& Folder::listing() const {
    if (const Listing* done = state_->published.load(std::memory_order_acquire)) return *done;

    std::lock_guard lock(state_->listingMutex);
    if (state_->listing) return *state_->listing;

    // The folder is read with getdents64 itself: opendir would stat it a
    // second time, and a bare descriptor is all the reading needs. The one
    // left by resolving the name is used first (reading a folder removed
    // since fails with ENOENT, as opening its name would). A failed reading
    // below opens the folder anew on the next call.
    state_->readingBegun.store(true);
    int opened = state_->openFolder.exchange(-1);
    bool throughLink = state_->openFolderThroughLink.load();
    // The stamp taken with that descriptor, if any, is the reading's.
    std::optional<ListingStamp> openStamp;
    {
        std::lock_guard canonicalLock(state_->canonicalMutex);
        openStamp = std::exchange(state_->openStamp, std::nullopt);
    }
    if (opened < 0) {
        openStamp.reset();
        opened = openForReading(getNativePath(), throughLink);
    }
    const FdCloser dir{opened};
    if (dir.fd < 0) throw Exception::fromErrno(errno, iri_.getPath(), "opendir");
    const int dirFd = dir.fd;

    auto listing = std::make_unique<Listing>();
    // Where each file's name ends in the text: views of it are taken once
    // the text has stopped growing. On the stack for a folder of usual size.
    boost::container::small_vector<std::size_t, 128> fileNameEnds;
    // The folder's times as the reading begins: a change after this moment
    // moves them, which lets an observer made later tell cheaply whether the
    // listing may be stale.
    listing->stamp = openStamp ? openStamp : takeStamp(dirFd);
    if (listing->stamp && !openStamp) listing->stamp->throughLink = throughLink;
    alignas(dirent64) char buffer[32 * 1024];
    // A reading's file names, widened one after another, before they join
    // the text in one piece: a name takes no more units than its bytes, and
    // the text is then made once, of its size. (Widened into the text itself,
    // each name resized it twice, and room for a whole reading's bytes made
    // it about twice too large, a block the heap searched its bins for.) On
    // the stack for a folder of usual size.
    boost::container::small_vector<char16_t, 4096> widened;
    for (;;) {
        const ssize_t filled = ::getdents64(dirFd, buffer, sizeof buffer);
        if (filled < 0) throw Exception::fromErrno(errno, iri_.getPath(), "readdir");
        if (filled == 0) break;
        widened.resize(static_cast<std::size_t>(filled), boost::container::default_init);
        std::size_t used = 0;
        for (ssize_t offset = 0; offset < filled;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(buffer + offset);
            offset += entry.d_reclen;
            if (isDotOrDotDot(entry.d_name)) continue;
            switch (classify(dirFd, entry)) {
            case EntryKind::File:
                used += fl::i18n::widen_utf8(entry.d_name, widened.data() + used);
                fileNameEnds.push_back(listing->fileNameText.size() + used);
                break;
            case EntryKind::Folder:
                listing->folders.emplace_back(fl::i18n::utf8_to_ustring(entry.d_name), false);
                break;
            case EntryKind::FolderViaLink:
                listing->folders.emplace_back(fl::i18n::utf8_to_ustring(entry.d_name), true);
                break;
            case EntryKind::Gone:  // removed while we read the folder
                break;
            }
        }
        listing->fileNameText.append(widened.data(), used);
    }
    listing->fileNames.reserve(fileNameEnds.size());
    const std::span<const std::size_t> ends(fileNameEnds.data(), fileNameEnds.size());
    fl::i18n::for_each_name_view(listing->fileNameText, ends,
                                 [&](std::size_t, ustring_view name) { listing->fileNames.push_back(name); });

    state_->listing = std::move(listing);
    state_->published.store(state_->listing.get(), std::memory_order_release);
    return *state_->listing;
}

std::optional<Folder::ListingStamp> Folder::getListingStamp() const {
    if (const Listing* done = state_->published.load(std::memory_order_acquire)) return done->stamp;
    std::lock_guard lock(state_->canonicalMutex);
    return state_->openStamp;
}

bool Folder::openForListing() const {
    if (hasBegunListing()) return true;
    {
        std::lock_guard lock(state_->canonicalMutex);
        if (state_->openStamp) return true;
    }
    int fd = state_->openFolder.exchange(-1);
    bool throughLink = state_->openFolderThroughLink.load();
    if (fd < 0) fd = openForReading(getNativePath(), throughLink);
    if (fd < 0) return false;
    std::optional<ListingStamp> stamp = takeStamp(fd);
    if (stamp) stamp->throughLink = throughLink;
    {
        std::lock_guard lock(state_->canonicalMutex);
        state_->openStamp = std::move(stamp);
    }
    // Kept for the reading; where another copy opened the folder meanwhile,
    // the reading takes that one and reads its own stamp.
    state_->openFolderThroughLink.store(throughLink);
    if (const int other = state_->openFolder.exchange(fd); other >= 0) ::close(other);
    return true;
}

bool Folder::hasBegunListing() const { return state_->readingBegun.load(); }

std::vector<File> Folder::listFiles(const ustring& filter) const {
    const Listing& all = listing();
    std::vector<File> files;
    files.reserve(filter.empty() ? all.fileNames.size() : 1);
    for (const ustring_view name : all.fileNames)
        if (filter.empty() || name == filter) files.emplace_back(ustring(name));
    return files;
}

std::span<const ustring_view> Folder::fileNames() const { return listing().fileNames; }

std::vector<Folder> Folder::listFolders(const ustring& filter) const {
    const Listing& all = listing();
    // A subfolder of a canonical folder that is not a link has a canonical
    // name too, so its Folder needn't resolve it later.
    const std::optional<CanonicalAbsoluteIRI> known = state_->knownCanonical();
    const bool baseIsCanonical = known && *known == iri_;
    // Only the base to join names to; it says nothing about the disk.
    const CanonicalAbsoluteIRI base(iri_, ustring());

    std::vector<Folder> folders;
    folders.reserve(filter.empty() ? all.folders.size() : 1);
    for (const Listing::SubFolder& sub : all.folders) {
        if (!filter.empty() && sub.name != filter) continue;
        if (baseIsCanonical && !sub.viaLink)
            folders.emplace_back(CanonicalAbsoluteIRI(base, sub.name), storage_);
        else
            folders.emplace_back(AbsoluteIRI(base, sub.name), storage_);
    }
    return folders;
}

}  // namespace foundation::storage::vfs
