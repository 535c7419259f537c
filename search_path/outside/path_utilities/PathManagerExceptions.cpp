#include "tfsearch_path/PathManagerExceptions.hpp"

#include "fl/ustring.hpp"

namespace Thornfell::PathManagement {

PackageFolderMonitoringChangeException::PackageFolderMonitoringChangeException(
    const foundation::storage::vfs::CanonicalAbsoluteIRI& folder)
    : message_("the monitoring of folder '" + fl::i18n::ustring_to_utf8(folder.getPath()) +
               "' follows its package and can't be changed") {}

}  // namespace Thornfell::PathManagement
