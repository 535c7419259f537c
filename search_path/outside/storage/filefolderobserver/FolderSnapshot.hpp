#pragma once
// What can be known of a folder without watching it: a digest of its listing,
// its time stamps, and whether it lies on a network file system.
#include "foundation/storage/vfs/Folder.hpp"

#include <oneapi/tbb/concurrent_hash_map.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace storage::filefolderobserver::detail {

// The names of a folder's files and subfolders, reduced to counts and a 64-bit
// sum of name hashes. A sum doesn't depend on the order the directory gives,
// so no sorting is needed; two different listings that agree by chance are
// as likely as a collision of 64-bit hashes.
struct ListingDigest {
    std::size_t files = 0;
    std::size_t folders = 0;
    std::uint64_t sum = 0;
    friend bool operator==(const ListingDigest&, const ListingDigest&) = default;
};

// The digest of what `folder` lists. A Folder that has been listed answers
// from its listing, so for the Folder an entry was built from this is the
// digest of what the entry holds. Nothing on failure (the folder went, or
// can't be read).
std::optional<ListingDigest> digestListing(const foundation::storage::vfs::Folder& folder);
// The digest of the folder as it is now on disk.
std::optional<ListingDigest> digestListingNow(const foundation::storage::vfs::Folder& folder);

// A folder's identity and time stamps.
//
// A stamp is trusted when both times lie in a second before the one in which
// it was taken. The kernel stamps a change with its coarse clock, and some
// file systems keep whole seconds only, so a later change in the same second
// could leave the times as they were; a change after a trusted stamp can't.
struct FolderStamp {
    dev_t device = 0;
    ino_t inode = 0;
    timespec modified{};
    timespec changed{};
    bool trusted = false;

    // Nothing when the folder can't be stat'ed.
    static std::optional<FolderStamp> take(const std::string& path);
    bool sameAs(const FolderStamp& other) const;
};

// Whether the folder lies on a network file system, where inotify sees only
// the changes made from this machine. False when that can't be told.
bool isOnRemoteFileSystem(const std::string& path);

// isOnRemoteFileSystem, remembered for each mount that a folder's listing
// stamp names: a mount's file system stays what it is, so its type is asked
// once for the mount rather than once for each folder made on it. A folder
// not listed yet, or whose mount the kernel doesn't name, is asked by path.
class RemoteMounts {
public:
    bool isRemote(const foundation::storage::vfs::Folder& folder, const std::string& path);

private:
    tbb::concurrent_hash_map<std::uint64_t, bool> known_;
};

}  // namespace storage::filefolderobserver::detail
