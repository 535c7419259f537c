// Paths on the command line: made absolute, and checked before a command
// reads anything, so that a typo is a plain one-line refusal (status 2)
// rather than an empty answer or a library's text.
#include "Commands.hpp"
#include "ExitStatus.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace tfpath {

namespace {

// The stat of `path`, or BadInput saying that there is no such `what`.
struct stat StatOf(const std::string& path, const std::string& label, const char* what) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        const int error = errno;
        throw BadInput((label.empty() ? path : label) + ": " +
                       (error == ENOENT || error == ENOTDIR ? std::string("no such ") + what : std::strerror(error)));
    }
    return info;
}

}  // namespace

std::string AbsolutePath(const std::string& argument) {
    if (argument.empty()) throw BadInput("an empty path");
    if (argument.front() == '/') return argument;
    char cwd[PATH_MAX];
    if (!::getcwd(cwd, sizeof cwd)) throw BadInput("can't read the working folder");
    return std::string(cwd) + "/" + argument;
}

ustring AbsoluteFolderArgument(const std::string& argument) {
    return fl::i18n::utf8_to_ustring(AbsolutePath(argument));
}

void RequireFolder(const std::string& path, const std::string& label) {
    if (!S_ISDIR(StatOf(path, label, "folder").st_mode))
        throw BadInput((label.empty() ? path : label) + ": not a folder");
}

void RequireFolders(const std::vector<std::string>& paths) {
    for (const auto& path : paths) RequireFolder(path);
}

void RequireFile(const std::string& path, const std::string& label) {
    if (S_ISDIR(StatOf(path, label, "file").st_mode))
        throw BadInput((label.empty() ? path : label) + ": a folder, not a file");
}

}  // namespace tfpath
