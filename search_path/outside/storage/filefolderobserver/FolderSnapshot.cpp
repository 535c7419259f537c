#include "storage/filefolderobserver/FolderSnapshot.hpp"

#include <sys/vfs.h>

#include <algorithm>
#include <ctime>
#include <functional>

namespace storage::filefolderobserver::detail {

namespace {

using foundation::storage::vfs::Folder;

// splitmix64's finaliser: spreads std::hash's bits so that sums of them
// don't cancel in the low bits.
std::uint64_t mix(std::uint64_t x) {
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ULL;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

// A file and a folder of the same name are different listings.
constexpr std::uint64_t kFolderTag = 0x9e3779b97f4a7c15ULL;

}  // namespace

std::optional<ListingDigest> digestListing(const Folder& folder) {
    try {
        ListingDigest digest;
        const std::hash<ustring_view> hash;
        for (const ustring_view name : folder.fileNames()) {
            ++digest.files;
            digest.sum += mix(hash(name));
        }
        for (const auto& child : folder.listFolders(ustring())) {
            ++digest.folders;
            digest.sum += mix(hash(child.getName()) + kFolderTag);
        }
        return digest;
    } catch (const foundation::storage::vfs::Exception&) {
        return std::nullopt;
    }
}

std::optional<ListingDigest> digestListingNow(const Folder& folder) {
    // A new Folder: copies of `folder` share its listing, which may be old.
    return digestListing(Folder(folder.getIRI(), folder.getStorageSystem()));
}

std::optional<FolderStamp> FolderStamp::take(const std::string& path) {
    // The clock first: a change after the stat gets a time no earlier than
    // this reading.
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
    FolderStamp stamp;
    stamp.device = status.st_dev;
    stamp.inode = status.st_ino;
    stamp.modified = status.st_mtim;
    stamp.changed = status.st_ctim;
    stamp.trusted = std::max(stamp.modified.tv_sec, stamp.changed.tv_sec) < now.tv_sec;
    return stamp;
}

bool FolderStamp::sameAs(const FolderStamp& other) const {
    const auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    return device == other.device && inode == other.inode && same(modified, other.modified) &&
           same(changed, other.changed);
}

bool isOnRemoteFileSystem(const std::string& path) {
    struct statfs info {};
    if (::statfs(path.c_str(), &info) != 0) return false;
    // Network and cluster file systems whose contents other machines change,
    // and FUSE, behind which sshfs and the like stand: inotify sees none of
    // the changes made elsewhere on any of them.
    switch (static_cast<unsigned long>(info.f_type)) {
    case 0x6969UL:      // NFS
    case 0x517BUL:      // SMB
    case 0xFE534D42UL:  // SMB2
    case 0xFF534D42UL:  // CIFS
    case 0x5346414FUL:  // AFS
    case 0x6B414653UL:  // kAFS
    case 0x73757245UL:  // CODA
    case 0x564CUL:      // NCP
    case 0x01021997UL:  // 9P
    case 0x00C36400UL:  // Ceph
    case 0x0BD00BD0UL:  // Lustre
    case 0x01161970UL:  // GFS2
    case 0x7461636FUL:  // OCFS2
    case 0x65735546UL:  // FUSE
        return true;
    default: return false;
    }
}

bool RemoteMounts::isRemote(const Folder& folder, const std::string& path) {
    const auto stamp = folder.getListingStamp();
    if (!stamp || stamp->mountId == 0) return isOnRemoteFileSystem(path);
    {
        decltype(known_)::const_accessor found;
        if (known_.find(found, stamp->mountId)) return found->second;
    }
    const bool remote = isOnRemoteFileSystem(path);
    known_.insert({stamp->mountId, remote});
    return remote;
}

}  // namespace storage::filefolderobserver::detail
