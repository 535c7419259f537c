// In a source of its own, apart from the functions that need the storage
// system: the cache reader's fuzz target, which links no storage, uses it.
#include "tfsearch_path/PathFunctions.hpp"

namespace Thornfell::PathManagement {

PathEntryType GetPathEntryTypeFromBaseName(const ustring& baseName) {
    if (!baseName.empty()) {
        if (baseName.front() == u'+') return Package;
        if (baseName.front() == u'@') return Method;
    }
    if (baseName == u"private") return Private;
    if (baseName == u"resources") return Resources;
    return Main;
}

}  // namespace Thornfell::PathManagement
