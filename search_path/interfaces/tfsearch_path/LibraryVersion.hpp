#pragma once
// The version of the library a program runs with, which may be newer than
// the headers it was built against.

namespace Thornfell::PathManagement {

// "MAJOR.MINOR.PATCH", the version of the build that made the library.
const char* LibraryVersion() noexcept;

} // namespace Thornfell::PathManagement
