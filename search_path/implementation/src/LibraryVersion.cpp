#include "tfsearch_path/LibraryVersion.hpp"

namespace Thornfell::PathManagement {

// TFSP_VERSION is the project's version, given to this source alone so that
// a new version rebuilds one file.
const char* LibraryVersion() noexcept { return TFSP_VERSION; }

}  // namespace Thornfell::PathManagement
