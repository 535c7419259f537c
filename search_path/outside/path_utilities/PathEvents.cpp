#include "tfsearch_path/PathEvents.hpp"

namespace Thornfell::PathManagement {

const std::string& PathEntryWillBeDestroyedEvent::TypeName() {
    static const std::string name = "Thornfell::PathManagement::PathEntryWillBeDestroyedEvent";
    return name;
}

}  // namespace Thornfell::PathManagement
