#include "tfsearch_path/PackagesOnPathCoordinator.hpp"

#include "PackageChangeApplier.hpp"
#include "foundation/usm/StateStore.hpp"

#include <typeinfo>

namespace Thornfell::PathManagement {

namespace {

using Thornfell::PackageRegistry::PackageRegistryHasBeenChanged;

using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;

// Taken once per process; a function-local static initialises once.
foundation::usm::SlotID CoordinatorSlot() {
    static const foundation::usm::SlotID slot = Store::getNextID(typeid(PackagesOnPathCoordinator));
    return slot;
}

}  // namespace

PackagesOnPathCoordinator::PackagesOnPathCoordinator(foundation::msg_svc::eventmgr::EventMgr& eventManager,
                                                     IMainSearchPathManager& manager,
                                                     PackageNotificationCallback&& notify) {
    const std::string& typeName = PackageRegistryHasBeenChanged::TypeName();
    connection = eventManager.subscribe(foundation::msg_svc::eventmgr::mangleEvent(typeName, "Level1"),
                                        [&manager, notify = std::move(notify),
                                         &typeName](const foundation::msg_svc::eventmgr::BaseEvent& event) {
                                            if (!event.isKindOf(typeName)) throw std::bad_cast();
                                            const auto& changed =
                                                static_cast<const PackageRegistryHasBeenChanged&>(event);
                                            detail::PackageChangeApplier(manager, notify, changed.GetChanges()).Run();
                                        });
}

void InstallPackagesOnPathCoordinator(foundation::msg_svc::eventmgr::EventMgr& eventManager,
                                      IMainSearchPathManager& manager, PackageNotificationCallback&& notify) {
    auto coordinator = std::make_unique<PackagesOnPathCoordinator>(eventManager, manager, std::move(notify));
    Store::insert(CoordinatorSlot(), coordinator);
}

}  // namespace Thornfell::PathManagement
