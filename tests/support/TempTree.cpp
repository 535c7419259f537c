#include "TempTree.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <dirent.h>
#include <sys/stat.h>

namespace tfsp::test {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), what + " " + path);
}

std::string parentOf(const std::string& path) { return fs::path(path).parent_path().string(); }

// /tmp may itself be reached through a link; tests compare against canonical
// names.
std::string resolved(const std::string& path) {
    char* name = ::realpath(path.c_str(), nullptr);
    if (!name) fail("realpath", path);
    std::string result = name;
    std::free(name);
    return result;
}

}  // namespace

TempTree::TempTree(const std::string& prefix) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + prefix + "-XXXXXX";
    if (!::mkdtemp(pattern.data())) fail("mkdtemp", pattern);
    root_ = resolved(pattern);
}

TempTree::TempTree(Kept, const std::string& root) : kept_(true) {
    fs::create_directories(root);
    root_ = resolved(root);
}

TempTree::~TempTree() {
    if (kept_) return;
    std::error_code ignored;
    for (const std::string& path : chmodded_)
        fs::permissions(path, fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow, ignored);
    fs::remove_all(root_, ignored);
}

std::string TempTree::path(const std::string& relative) const {
    return relative.empty() ? root_ : root_ + "/" + relative;
}

foundation::storage::vfs::AbsoluteIRI TempTree::iri(const std::string& relative) const {
    return foundation::storage::vfs::toAbsoluteIRI("file", upath(relative));
}

std::string TempTree::folder(const std::string& relative) {
    const std::string full = path(relative);
    fs::create_directories(full);
    return full;
}

std::string TempTree::file(const std::string& relative, const std::string& content) {
    const std::string full = path(relative);
    fs::create_directories(parentOf(full));
    std::ofstream out(full, std::ios::binary);
    if (!out) fail("create", full);
    out << content;
    return full;
}

void TempTree::folders(std::initializer_list<std::string> relatives, const std::string& fileInEach) {
    for (const std::string& relative : relatives) {
        if (fileInEach.empty())
            folder(relative);
        else
            file(relative + "/" + fileInEach);
    }
}

std::string TempTree::symlink(const std::string& relative, const std::string& target) {
    const std::string full = path(relative);
    fs::create_directories(parentOf(full));
    fs::create_symlink(target, full);
    return full;
}

void TempTree::chmod(const std::string& relative, unsigned mode) {
    const std::string full = path(relative);
    if (::chmod(full.c_str(), mode) != 0) fail("chmod", full);
    chmodded_.push_back(full);
}

void TempTree::remove(const std::string& relative) { fs::remove_all(path(relative)); }

bool permissionsAreEnforced() {
    // Root, or a process with CAP_DAC_OVERRIDE, reads a folder of mode 000:
    // try it rather than guess from the user id.
    TempTree probe;
    probe.folder("locked");
    probe.chmod("locked", 0);
    DIR* dir = ::opendir(probe.path("locked").c_str());
    if (!dir) return true;
    ::closedir(dir);
    return false;
}

}  // namespace tfsp::test
