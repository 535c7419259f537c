#pragma once
// An engine instance with its search path manager, made the way a host
// makes them.
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfpath {

class EngineSession {
public:
    // Makes the instance current on this thread; with `currentFolder`, the
    // working folder moves there first.
    explicit EngineSession(const std::optional<std::string>& currentFolder, bool followCurrentFolder = true);
    ~EngineSession();

    Thornfell::PathManagement::IMainSearchPathManager& manager() { return *manager_; }
    // Puts the folders on the path; messages go to standard error. Returns
    // how many messages there were.
    std::size_t SetPathFolders(const std::vector<std::string>& folders);

private:
    foundation::usm::EngineInstance engine_;
    std::optional<foundation::usm::EngineInstance::MakeCurrent> current_;
    std::unique_ptr<OrvianComponents::ModularPackageRegistry> registry_;
    std::unique_ptr<Thornfell::PathManagement::IMainSearchPathManager> manager_;
};

} // namespace tfpath
