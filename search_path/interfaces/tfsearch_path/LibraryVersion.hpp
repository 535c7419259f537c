#pragma once
// The version of the library a program runs with, which may be newer than
// the headers it was built against.

#include "tfsearch_path/Export.hpp"

namespace Thornfell::PathManagement {

// "MAJOR.MINOR.PATCH", the version of the build that made the library.
TFSP_API const char* LibraryVersion() noexcept;

}  // namespace Thornfell::PathManagement
