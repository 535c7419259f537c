#include "foundation/storage/vfs/StorageException.hpp"

#include <cerrno>
#include <system_error>

namespace foundation::storage::vfs {

namespace {

std::string composeMessage(const ustring& location, const std::string& detail) {
    if (location.empty()) return detail;
    return '"' + fl::i18n::ustring_to_utf8(location) + "\": " + detail;
}

// Callers tell apart only "invalid location", "permission denied", "doesn't
// exist or isn't a folder" and "other failure", and report each of them as a
// message about one folder. So every errno lands on one of those four. A
// link loop, like a link that no longer leads to a folder, leaves no folder
// at that name: it is what a refresh must take as a folder that went, not as
// one it can't read for now. An over-long name or a name the system rejects
// can't designate a folder as written, which is what "invalid location"
// tells the user. Anything else (I/O errors, exhausted descriptors or
// memory) is an access failure.
ErrorCode codeForErrno(int errnoValue) {
    switch (errnoValue) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP: return ErrorCode::NotFound;
    case EACCES:
    case EPERM: return ErrorCode::PermissionDenied;
    case ENAMETOOLONG:
    case EINVAL:
    case EILSEQ: return ErrorCode::InvalidLocation;
    default: return ErrorCode::AccessFailure;
    }
}

}  // namespace

Exception::Exception(ErrorCode code, ustring location, std::string detail)
    : code_(code), location_(std::move(location)), message_(composeMessage(location_, detail)) {}

Exception Exception::fromErrno(int errnoValue, const ustring& location, const char* operation) {
    // std::system_category().message is thread safe, unlike strerror.
    return Exception(codeForErrno(errnoValue), location,
                     std::string(operation) + ": " + std::system_category().message(errnoValue));
}

UnsupportedIRISchemeException::UnsupportedIRISchemeException(const ustring& scheme)
    : Exception(ErrorCode::UnsupportedScheme, scheme, "unsupported IRI scheme") {}

}  // namespace foundation::storage::vfs
