#pragma once
// Makes the current folder manager that a policy asks for.
#include "tfsearch_path/ICurrentFolderPathManager.hpp"
#include "tfsearch_path/IFolderMonitor.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "thornfell/PackageRegistry.hpp"

namespace Thornfell::PathManagement {

class CurrentFolderPathManagerFactory final : public ICurrentFolderPathManagerFactory {
public:
    CurrentFolderPathManagerFactory(boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager,
                                    const OrvianComponents::IModularPackageRegistry& registry,
                                    const IPathEntryFactory& entryFactory, const IPathFactory& pathFactory,
                                    const IFolderMonitor& folderMonitor)
        : eventManager(std::move(eventManager)), componentRegistry(registry), entryFactory(entryFactory),
          pathFactory(pathFactory), folderMonitor(folderMonitor) {}

    // Policy 0 follows the working folder of this moment; any other gives
    // the null manager.
    std::unique_ptr<ICurrentFolderPathManager> CreateCurrentFolderPathManager(
        CurrentFolderPolicy policy) const override;

private:
    boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> eventManager;
    const OrvianComponents::IModularPackageRegistry& componentRegistry;
    const IPathEntryFactory& entryFactory;
    const IPathFactory& pathFactory;
    const IFolderMonitor& folderMonitor;
};

}  // namespace Thornfell::PathManagement
