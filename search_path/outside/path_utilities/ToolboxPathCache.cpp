#include "tfsearch_path/ToolboxPathCache.hpp"

#include "tfsearch_path/IPathEntryFactory.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <optional>
#include <string_view>

namespace Thornfell::PathManagement {

namespace {

std::string ErrnoText(int error) { return std::strerror(error); }

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? std::string("/") : path.substr(0, slash);
}

// Temporary files are ".tfcache-PPPPPPPP-NNNNNNNN.tmp": the writer's process
// id and a counter, in hexadecimal. The name is short and of fixed length so
// that it fits in the folder whenever the target's own name does.
constexpr std::string_view kTemporaryPrefix = ".tfcache-";
constexpr std::string_view kTemporarySuffix = ".tmp";
constexpr std::size_t kTemporaryNameSize = kTemporaryPrefix.size() + 8 + 1 + 8 + kTemporarySuffix.size();

std::string TemporaryName(std::uint32_t process, std::uint32_t counter) {
    char name[kTemporaryNameSize + 1];
    std::snprintf(name, sizeof name, "%.*s%08x-%08x%.*s", static_cast<int>(kTemporaryPrefix.size()),
                  kTemporaryPrefix.data(), process, counter, static_cast<int>(kTemporarySuffix.size()),
                  kTemporarySuffix.data());
    return name;
}

// The process that made a temporary file of ours, if `name` is one.
std::optional<pid_t> WriterOfTemporary(std::string_view name) {
    if (name.size() != kTemporaryNameSize || !name.starts_with(kTemporaryPrefix) || !name.ends_with(kTemporarySuffix) ||
        name[kTemporaryPrefix.size() + 8] != '-')
        return std::nullopt;
    std::uint32_t process = 0, counter = 0;
    const char* first = name.data() + kTemporaryPrefix.size();
    const auto [end, error] = std::from_chars(first, first + 8, process, 16);
    const auto [counterEnd, counterError] = std::from_chars(first + 9, first + 17, counter, 16);
    if (error != std::errc() || end != first + 8 || counterError != std::errc() || counterEnd != first + 17)
        return std::nullopt;
    return static_cast<pid_t>(process);
}

// A writer killed half-way leaves its temporary file behind; the next write
// into the folder removes those of processes that no longer exist. A process
// of another pid namespace that shares the folder looks dead from here: its
// file may go, and its write then fails at the rename rather than losing a
// good cache.
void RemoveTemporariesOfEndedWriters(const std::string& folder) {
    DIR* listing = ::opendir(folder.c_str());
    if (!listing) return;
    while (const dirent* item = ::readdir(listing)) {
        const auto writer = WriterOfTemporary(item->d_name);
        if (writer && *writer != ::getpid() && ::kill(*writer, 0) != 0 && errno == ESRCH)
            ::unlinkat(::dirfd(listing), item->d_name, 0);
    }
    ::closedir(listing);
}

// A file beside the target that no other writer uses, made with O_EXCL so
// that a leftover is never reused. The mode is that of any new file (0666
// under the umask).
std::string CreateTemporaryBeside(const std::string& target) {
    static std::atomic<std::uint32_t> counter{0};
    const std::string folder = FolderOf(target);
    RemoveTemporariesOfEndedWriters(folder);
    for (int attempt = 0;; ++attempt) {
        std::string name = folder + "/" + TemporaryName(static_cast<std::uint32_t>(::getpid()), counter++);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            ::close(fd);
            return name;
        }
        if (errno != EEXIST || attempt == 100)
            throw UnableToSaveToolboxCacheException("can't create a file in " + folder + ": " + ErrnoText(errno));
    }
}

// Forces the file's bytes to the disk, so that the rename never makes a
// name point at data that a crash could still lose.
bool SyncToDisk(const std::string& path, int flags) {
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC);
    if (fd < 0) return false;
    const bool synced = ::fsync(fd) == 0 || errno == EINVAL;  // some file systems can't sync a folder
    ::close(fd);
    return synced;
}

}  // namespace

void WriteToolboxPathCache(const foundation::storage::vfs::AbsoluteIRI& cacheFile,
                           const foundation::storage::vfs::AbsoluteIRI& root, const IPathEntryFactory& factory,
                           foundation::core::except::Notification* leftOut) {
    const std::string target = fl::i18n::ustring_to_utf8(cacheFile.getPath());
    const std::string temporary = CreateTemporaryBeside(target);
    try {
        {
            std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
            if (!out) throw UnableToSaveToolboxCacheException("can't open " + temporary + " for writing");
            factory.WriteToolboxCache(out, root, leftOut);
            out.flush();
            if (!out) throw UnableToSaveToolboxCacheException("can't write " + temporary + " (is the disk full?)");
        }
        if (!SyncToDisk(temporary, O_RDONLY))
            throw UnableToSaveToolboxCacheException("can't write " + temporary + " to the disk: " + ErrnoText(errno));
        if (::rename(temporary.c_str(), target.c_str()) != 0)
            throw UnableToSaveToolboxCacheException("can't replace " + target + ": " + ErrnoText(errno));
    } catch (const std::bad_alloc&) {
        ::unlink(temporary.c_str());
        throw;
    } catch (const UnableToSaveToolboxCacheException&) {
        ::unlink(temporary.c_str());
        throw;
    } catch (const std::exception& e) {
        ::unlink(temporary.c_str());
        throw UnableToSaveToolboxCacheException("can't write the toolbox cache " + target + ": " + e.what());
    }
    // The rename itself lasts once the folder's record is on the disk; the
    // new file is complete either way, so a failure here loses nothing.
    SyncToDisk(FolderOf(target), O_RDONLY | O_DIRECTORY);
}

}  // namespace Thornfell::PathManagement
