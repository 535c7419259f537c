#pragma once
// Keeps the path of an engine instance in step with its package registry:
// on each PackageRegistryHasBeenChanged, removed packages leave the path,
// updated ones keep their place with their new folders, new ones come to the
// front or the back, and the host hears of it through one callback.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"

#include <functional>

namespace Thornfell::PathManagement {

using PackageNotificationCallback = std::function<void(const foundation::core::except::Notification&)>;

class TFSP_API PackagesOnPathCoordinator {
public:
    // Subscribes on `eventManager`; `manager` must outlive the coordinator.
    PackagesOnPathCoordinator(foundation::msg_svc::eventmgr::EventMgr& eventManager, IMainSearchPathManager& manager,
                              PackageNotificationCallback&& notify);

private:
    // Destroying the coordinator ends the subscription.
    foundation::msg_svc::eventmgr::ScopedConnection connection;
};

// Makes the coordinator of the current engine instance and keeps it in the
// instance's state store. A second call leaves the first coordinator in place.
TFSP_API void InstallPackagesOnPathCoordinator(foundation::msg_svc::eventmgr::EventMgr& eventManager,
                                               IMainSearchPathManager& manager, PackageNotificationCallback&& notify);

}  // namespace Thornfell::PathManagement
