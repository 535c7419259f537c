#include "thornfell/CurrentWorkingFolder.hpp"

#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/usm/StateStore.hpp"

#include <boost/make_shared.hpp>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

namespace Thornfell::current_working_folder {

namespace {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using foundation::storage::vfs::Folder;

std::string processWorkingFolder() {
    std::vector<char> buffer(256);
    for (;;) {
        if (::getcwd(buffer.data(), buffer.size())) return buffer.data();
        if (errno != ERANGE) throw foundation::storage::vfs::Exception::fromErrno(errno, u"", "getcwd");
        buffer.resize(buffer.size() * 2);
    }
}

// The home folder of `user`, or of the calling user when it is empty; empty
// when there is none.
std::string homeFolder(const std::string& user) {
    if (user.empty()) {
        if (const char* home = std::getenv("HOME"); home && *home) return home;
    }
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    const int error = user.empty() ? ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)
                                   : ::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (error != 0 || !found || !found->pw_dir) return {};
    return found->pw_dir;
}

// "~" and "~name" at the start of a path, up to the first separator.
// Returns the path unchanged when it has no such start, and empty when the
// home folder is unknown.
ustring expandTilde(const ustring& path) {
    if (path.empty() || path.front() != u'~') return path;
    const std::size_t separator = path.find(u'/');
    const ustring user = path.substr(1, separator == ustring::npos ? ustring::npos : separator - 1);
    const std::string home = homeFolder(fl::i18n::ustring_to_utf8(user));
    if (home.empty()) return {};
    return fl::i18n::utf8_to_ustring(home) + (separator == ustring::npos ? ustring() : path.substr(separator));
}

class CurrentWorkingFolder final : public ICurrentWorkingFolder {
public:
    Folder get() const override { return Folder(current(), OrvianStorageSystem::GetStorageSystemReference()); }

    AbsoluteIRI absolutize(const ustring& path) const override {
        if (path.empty()) throw FailedToAbsolutizeException(path);
        const ustring expanded = expandTilde(path);
        if (expanded.empty()) throw FailedToAbsolutizeException(path);
        if (expanded.front() == u'/') return foundation::storage::vfs::toAbsoluteIRI("file", expanded);
        return AbsoluteIRI(current(), expanded);
    }

    void set(const AbsoluteIRI& folder) override {
        // Resolved before anything changes: a folder that can't be resolved
        // throws here and leaves the working folder as it was.
        const CanonicalAbsoluteIRI resolved =
            Folder(folder, OrvianStorageSystem::GetStorageSystemReference()).getCanonicalLocation();
        CanonicalAbsoluteIRI previous = [&] {
            std::lock_guard lock(mutex_);
            CanonicalAbsoluteIRI old = currentLocked();
            folder_ = resolved;
            return old;
        }();
        // Published without the lock: subscribers ask for the folder.
        foundation::msg_svc::eventmgr::getEngineEventMgr()->publish(
            boost::make_shared<CurrentWorkingFolderChangedEvent>(std::move(previous), resolved), 0);
    }

private:
    CanonicalAbsoluteIRI current() const {
        std::lock_guard lock(mutex_);
        return currentLocked();
    }

    // The process's working folder is taken once, when first asked; the
    // instance never changes it (other instances share the process), and
    // getcwd already gives it with links resolved.
    CanonicalAbsoluteIRI currentLocked() const {
        if (!folder_) {
            const ustring cwd = fl::i18n::utf8_to_ustring(processWorkingFolder());
            folder_.emplace(foundation::storage::vfs::toAbsoluteIRI("file", cwd), ustring());
        }
        return *folder_;
    }

    mutable std::mutex mutex_;
    mutable std::optional<CanonicalAbsoluteIRI> folder_;
};

}  // namespace

FailedToAbsolutizeException::FailedToAbsolutizeException(const ustring& path)
    : Exception("unable to make the path '" + fl::i18n::ustring_to_utf8(path) + "' absolute") {}

ICurrentWorkingFolder& GetCurrentWorkingFolder() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const auto id = Store::getNextID(typeid(CurrentWorkingFolder));
    return Store::findOrInsert<CurrentWorkingFolder>(id, [] { return std::make_unique<CurrentWorkingFolder>(); });
}

const std::string& CurrentWorkingFolderChangedEvent::TypeName() {
    static const std::string name = "Thornfell::current_working_folder::CurrentWorkingFolderChangedEvent";
    return name;
}

}  // namespace Thornfell::current_working_folder
