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

}  // namespace Thornfell::PathManagement
