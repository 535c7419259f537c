#include "CurrentFolderPathManager.hpp"

#include "SearchPathPublicFunctions.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/log/DiagnosticLogger.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "tfsearch_path/PathEntryDecorator.hpp"
#include "tfsearch_path/PathManagerEvents.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"

#include <boost/make_shared.hpp>

#include <typeinfo>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::CanonicalAbsoluteIRI;
using OrvianComponents::ComponentIdentifier;
using OrvianComponents::IModularPackageRegistry;

namespace {

const foundation::log::basic_diagnostic_logger currentFolderLogger("searchpath::currentfolder");

// A private folder shown as a main entry: the top level of a path holds only
// main entries, and the files of a private working folder must still be
// found. The folder then stands twice: as this main entry, and as its
// private entry, which is the undecorated entry.
class PrivateToMainEntryDecorator final : public PathEntryDecorator,
                                          public std::enable_shared_from_this<PrivateToMainEntryDecorator> {
public:
    using PathEntryDecorator::PathEntryDecorator;

    PathEntryType GetPathEntryType() const override { return Main; }
    PathEntryPointer GetPrivateEntry() const override { return decoratedEntry; }
    // The walk stops at the decorator: it neither enters the wrapped entry
    // nor its children, so a scope of Private alone selects nothing.
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return scope.contains(Main) && visitor(shared_from_this());
    }
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return ForEachEntry(scope, visitor);
    }
};

PathEntryPointer CreateCurrentFolderEntry(const IPathEntryFactory& entryFactory, const IFolderMonitor& folderMonitor,
                                          const CanonicalAbsoluteIRI& currentFolderIri,
                                          const std::optional<ComponentIdentifier>& component,
                                          const IModularPackageRegistry& registry) {
    FL_FUNCTION_TRACE(currentFolderLogger);
    currentFolderLogger.write(2,
                              " currentFolderIri.toString()=" + fl::i18n::ustring_to_utf8(currentFolderIri.toString()));
    if (component) {
        // Inside a component the component's own entry stands, whatever its
        // kind. A registry that has no entry for the folder leaves it to the
        // factory rather than leave the current folder without an entry.
        if (const auto package = registry.GetPackageRegistry()->GetPackage(*component))
            if (PathEntryPointer entry = package->GetFolderEntry(currentFolderIri)) return entry;
    }
    try {
        PathEntryPointer entry = entryFactory.CreateUpdatedPathEntry(currentFolderIri, folderMonitor);
        if (entry->GetPathEntryType() == Private)
            return std::make_shared<PrivateToMainEntryDecorator>(std::move(entry));
        return entry;
    } catch (const foundation::storage::vfs::Exception&) {
        // The folder keeps its place even though it can't be read.
        return std::make_shared<InaccessibleFolderPathEntry>(Main, currentFolderIri, currentFolderIri.toString());
    }
}

std::shared_ptr<const IPath> CreateCurrentFolderPath(const IPathFactory& pathFactory, const PathEntryPointer& entry,
                                                     const std::optional<ComponentIdentifier>& component,
                                                     const IModularPackageRegistry& registry) {
    FL_FUNCTION_TRACE(currentFolderLogger);
    if (OrvianComponents::ComponentFeature::IsOn()) {
        if (component) {
            const auto installed = registry.GetComponent(*component);
            if (installed) return installed->GetPath();
            return pathFactory.CreatePath({});
        }
        if (entry && entry->GetPathEntryType() == Main) return pathFactory.CreatePath({entry});
        return pathFactory.CreatePath({});
    }
    if (entry && entry->GetPathEntryType() == Main) {
        currentFolderLogger.write(8, "Current folder path created successfully.");
        return pathFactory.CreatePath({entry});
    }
    currentFolderLogger.write(8, "Current folder path empty.");
    return pathFactory.CreatePath({});
}

}  // namespace

bool SameComponent(const std::optional<ComponentIdentifier>& a, const std::optional<ComponentIdentifier>& b) {
    if (a.has_value() != b.has_value()) return false;
    return !a || (a->GetUniqueID() == b->GetUniqueID() && a->GetVersion() == b->GetVersion());
}

CurrentFolderPathManager::CurrentFolderPathManager(boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> events,
                                                   const IModularPackageRegistry& registry,
                                                   const IPathEntryFactory& entries, const IPathFactory& paths,
                                                   const IFolderMonitor& monitor, const CanonicalAbsoluteIRI& folder)
    : eventManager(std::move(events)), componentRegistry(registry), entryFactory(entries), pathFactory(paths),
      folderMonitor(monitor) {
    MakeCurrent(folder);

    using current_working_folder::CurrentWorkingFolderChangedEvent;
    folderChangeConnection = eventManager->subscribe(
        CurrentWorkingFolderChangedEvent::TypeName(), [this](const foundation::msg_svc::eventmgr::BaseEvent& event) {
            if (!event.isKindOf(CurrentWorkingFolderChangedEvent::TypeName())) throw std::bad_cast();
            HandleCurrentFolderChanged(static_cast<const CurrentWorkingFolderChangedEvent&>(event).getNew());
        });
    if (folderChangeConnection.isEmpty() && fl_diag_terminate())
        FL_DIAG_TERMINATE("Failed to subscribe to folder change event. Status of event manager connection: " +
                          folderChangeConnection.getConnectionStatus());
}

void CurrentFolderPathManager::MakeCurrent(const CanonicalAbsoluteIRI& folder) {
    currentComponent = componentRegistry.GetOwningComponent(folder);
    currentEntry = CreateCurrentFolderEntry(entryFactory, folderMonitor, folder, currentComponent, componentRegistry);
    currentPath = CreateCurrentFolderPath(pathFactory, currentEntry, currentComponent, componentRegistry);
}

std::shared_ptr<const IPath> CurrentFolderPathManager::GetCurrentFolderPathForMainPath(const IPath& mainPath) const {
    if (currentPath->GetMainEntries()->empty()) return currentPath;
    PathEntryPointer candidate = currentEntry;
    if (!currentComponent) candidate = mainPath.GetPathEntryFromAbsoluteIRI(currentEntry->GetIRI());
    // Built around the main path's own entry object, so that the folder is
    // one entry on both paths.
    if (candidate && candidate->GetPathEntryType() == Main)
        return CreateCurrentFolderPath(pathFactory, candidate, currentComponent, componentRegistry);
    return currentPath;
}

void CurrentFolderPathManager::ConnectCurrentFolderChangedHandler(ChangedHandler handler) {
    folderChangedSignal.connect(std::move(handler), boost::signals2::at_back);
}

void CurrentFolderPathManager::HandleCurrentFolderChanged(const CanonicalAbsoluteIRI& folder) {
    FL_FUNCTION_TRACE(currentFolderLogger);
    const std::optional<ComponentIdentifier> oldComponent = currentComponent;
    const std::shared_ptr<const IPath> oldPath = currentPath;
    MakeCurrent(folder);
    folderChangedSignal(oldPath, oldComponent);
    if (!SameComponent(oldComponent, currentComponent))
        eventManager->publish(boost::make_shared<CurrentFolderComponentHasBeenChangedEvent>(oldComponent,
                                                                                            currentComponent),
                              0);
}

void CurrentFolderPathManager::HandleModularPackageRegistryChanged() {
    const CanonicalAbsoluteIRI folder = currentEntry->GetIRI();
    if (SameComponent(componentRegistry.GetOwningComponent(folder), currentComponent)) return;
    HandleCurrentFolderChanged(folder);
}

void CurrentFolderPathManager::MarkCurrentFolderOutOfDate(RefreshType type) {
    if (type == TrustObservers) return;
    ReportFoldersAsChanged(*currentPath);
}

std::pair<PathEntryVector, PathEntryVector> CurrentFolderPathManager::RequestRefresh(RefreshType type) {
    FL_FUNCTION_TRACE(currentFolderLogger);
    MarkCurrentFolderOutOfDate(type);
    if (!currentEntry->IsOutOfDate()) return {};
    PathEntryVector left{currentEntry};
    MakeCurrent(currentEntry->GetIRI());
    return {std::move(left), PathEntryVector{currentEntry}};
}

std::shared_ptr<CurrentFolderMemento> CurrentFolderPathManager::CreateMemento() const {
    return std::make_shared<CurrentFolderMemento>(CurrentFolderMemento{currentEntry, currentPath, currentComponent});
}

void CurrentFolderPathManager::RestoreMemento(const CurrentFolderMemento& memento) {
    // A memento of another folder is ignored: the working folder has moved on.
    if (!memento.entry || memento.entry->GetIRI() != currentEntry->GetIRI()) return;
    currentEntry = memento.entry;
    currentPath = memento.path;
    currentComponent = memento.component;
}

}  // namespace Thornfell::PathManagement
