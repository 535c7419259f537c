#pragma once
#include "fl/ustring.hpp"
#include "foundation/core/except/Exception.hpp"

#include <string>

namespace foundation::storage::vfs {

// Error codes. Callers tell apart 1, 2, 4 and 9, so the failures of system
// calls all map onto those (see fromErrno); the other values are never made
// by this storage system, and a caller passes them on as unknown failures.
enum class ErrorCode : int {
    None = 0,
    InvalidLocation = 1,   // not a valid name of a file or folder
    PermissionDenied = 2,  // the folder exists but may not be read
    TooManyLinks = 3,      // a loop of symbolic links
    NotFound = 4,          // doesn't exist, or isn't a folder
    NameTooLong = 5,
    UnsupportedScheme = 6,
    AccessFailure = 9,  // any other failure of the storage system
};

class Exception
    : public foundation::core::except::Exception<foundation::core::except::IInternalException, std::exception, void> {
public:
    Exception(ErrorCode code, ustring location, std::string detail);

    int getErrorCode() const noexcept { return static_cast<int>(code_); }
    ErrorCode getCode() const noexcept { return code_; }
    // The location that failed, as given to the storage system.
    const ustring& getLocation() const noexcept { return location_; }
    const char* what() const noexcept override { return message_.c_str(); }

    // Builds the exception for an errno of a failed system call: ENOENT and
    // ENOTDIR give 4, EACCES and EPERM give 2, ELOOP, ENAMETOOLONG, EINVAL and
    // EILSEQ give 1, anything else 9. The message names the operation, the
    // location and the system's text for the errno.
    static Exception fromErrno(int errnoValue, const ustring& location, const char* operation);

private:
    ErrorCode code_;
    ustring location_;
    std::string message_;
};

class UnsupportedIRISchemeException : public Exception {
public:
    explicit UnsupportedIRISchemeException(const ustring& scheme);
};

}  // namespace foundation::storage::vfs
