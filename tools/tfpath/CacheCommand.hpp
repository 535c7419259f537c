#pragma once
// The toolbox cache from the command line: write one from folders put on a
// path, load one before a lookup, check one without loading it. The
// functions below do the work of each, so that an interactive session can
// call them too.
#include "foundation/core/except/Notification.hpp"

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>

namespace tfpath {

// Both take absolute paths (a session makes its words absolute against its
// own working folder) and throw BadInput with a one-line text that names
// what is wrong: a root that is no folder, a file that can't be written or
// read, the byte offset of a cache file's first fault.

// Writes the cache of the entries alive below `root` in the process's entry
// factory into `file`, replacing it whole; the folders left out go into
// `leftOut`. A failure leaves the file as it was.
void WriteCacheFile(const std::string& file, const std::string& root, foundation::core::except::Notification& leftOut);

// Loads `file` into the process's entry factory, names in it being relative
// to `root`. The folders read before a fault stay loaded.
void LoadCacheFile(const std::string& file, const std::string& root);

struct CacheCheck {
    std::size_t folders = 0;                // folder elements, nested ones too
    std::size_t files = 0;                  // file lines
    std::optional<std::streamoff> faultAt;  // the byte offset of the first fault
};
// Reads a cache file from `in` without building anything.
CacheCheck CheckCacheFile(std::istream& in);

}  // namespace tfpath
