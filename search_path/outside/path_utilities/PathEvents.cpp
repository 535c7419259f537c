#include "tfsearch_path/PathEvents.hpp"

namespace Thornfell::PathManagement {

const std::string& PathEntryWillBeDestroyedEvent::TypeName() {
    static const std::string name = "Thornfell::PathManagement::PathEntryWillBeDestroyedEvent";
    return name;
}

} // namespace Thornfell::PathManagement

#include "tfsearch_path/PathManagerEvents.hpp"

namespace Thornfell::PathManagement {

const std::string& PathChangeEvent::TypeName() {
    static const std::string name = "Thornfell::PathManagement::PathChangeEvent";
    return name;
}

const std::string& PathManagerWillBeDestroyedEvent::TypeName() {
    static const std::string name = "Thornfell::PathManagement::PathManagerWillBeDestroyedEvent";
    return name;
}

const std::string& CurrentFolderComponentHasBeenChangedEvent::TypeName() {
    static const std::string name = "Thornfell::PathManagement::CurrentFolderComponentHasBeenChangedEvent";
    return name;
}

PackageFolderMonitoringChangeException::PackageFolderMonitoringChangeException(
    const foundation::storage::vfs::CanonicalAbsoluteIRI& folder)
    : message_("the monitoring of folder '" + fl::i18n::ustring_to_utf8(folder.getPath()) +
               "' follows its package and can't be changed") {}

} // namespace Thornfell::PathManagement
