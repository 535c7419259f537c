#include "FolderMonitor.hpp"

#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

namespace Thornfell::PathManagement {

using foundation::storage::vfs::CanonicalAbsoluteIRI;

FolderMonitor::FolderMonitor(std::optional<CanonicalAbsoluteIRI> root, std::shared_ptr<const IPath> firstPath,
                             PackageRegistry::IPackageRegistrar& registrar)
    : installRoot(std::move(root)), path(std::move(firstPath)), packageRegistrar(registrar) {}

FolderMonitoringState FolderMonitor::GetFolderMonitoringState(const CanonicalAbsoluteIRI& folder) const {
    // A folder of a package follows its package, wherever it lies.
    const auto registry = packageRegistrar.GetRegistry();
    if (const auto owner = registry->GetOwner(folder)) {
        const auto package = registry->GetPackage(*owner);
        return package && package->WantsFolderMonitoring() ? Monitored : Frozen;
    }
    if (installRoot && installRoot->isAncestorOf(folder)) return Frozen;
    if (frozenFolders.count(folder)) return Frozen;
    if (path && path->GetPathEntryFromAbsoluteIRI(folder)) return Monitored;
    return Unclassified;
}

FolderMonitoringState FolderMonitor::GetParentFolderMonitoringState(const CanonicalAbsoluteIRI& folder) const {
    if (!folder.hasParent()) return Unclassified;
    return GetFolderMonitoringState(folder.getParent());
}

bool FolderMonitor::IsFolderOfPackage(const CanonicalAbsoluteIRI& folder) const {
    // Asked anew each time: packages come and go.
    return packageRegistrar.GetRegistry()->GetOwner(folder).has_value();
}

void FolderMonitor::FreezeFolder(const CanonicalAbsoluteIRI& folder) {
    if (IsFolderOfPackage(folder)) throw PackageFolderMonitoringChangeException(folder);
    frozenFolders.insert(folder);
}

void FolderMonitor::UnfreezeFolder(const CanonicalAbsoluteIRI& folder) {
    if (IsFolderOfPackage(folder)) throw PackageFolderMonitoringChangeException(folder);
    frozenFolders.erase(folder);
}

void FolderMonitor::SetPath(std::shared_ptr<const IPath> newPath) { path = std::move(newPath); }

namespace {
// The monitor of an engine instance.
struct FolderMonitorState {
    std::unique_ptr<IFolderMonitor> monitor;
};

FolderMonitorState& GetFolderMonitorState() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const foundation::usm::SlotID id = Store::getNextID(typeid(FolderMonitorState));
    if (auto* state = Store::find<FolderMonitorState>(id)) return *state;
    return Store::findOrInsert<FolderMonitorState>(id, [] { return std::make_unique<FolderMonitorState>(); });
}
}  // namespace

IFolderMonitor& GetFolderMonitor() {
    auto& state = GetFolderMonitorState();
    if (!state.monitor) throw std::logic_error("no folder monitor has been set for this engine instance");
    return *state.monitor;
}

void SetFolderMonitor(std::unique_ptr<IFolderMonitor>&& monitor) {
    auto& state = GetFolderMonitorState();
    if (monitor.get() == state.monitor.get()) {
        // The state already owns it: one owner must let go.
        monitor.release();
        return;
    }
    state.monitor = std::move(monitor);
}

}  // namespace Thornfell::PathManagement
