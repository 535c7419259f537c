#include "tfsearch_path/ToolboxPathCache.hpp"

#include "tfsearch_path/IPathEntryFactory.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>

namespace Thornfell::PathManagement {

namespace {

std::string ErrnoText(int error) { return std::strerror(error); }

// A file name beside the target that no other writer uses: the process id
// and a counter, made with O_EXCL so that a leftover of a crashed writer is
// never reused. The mode is that of any new file (0666 under the umask).
std::string CreateTemporaryBeside(const std::string& target) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0;; ++attempt) {
        std::string name = target + ".tmp" + std::to_string(::getpid()) + "." + std::to_string(counter++);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            ::close(fd);
            return name;
        }
        if (errno != EEXIST || attempt == 100)
            throw UnableToSaveToolboxCacheException("can't create a file beside " + target + ": " + ErrnoText(errno));
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

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? std::string("/") : path.substr(0, slash);
}

} // namespace

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

} // namespace Thornfell::PathManagement
