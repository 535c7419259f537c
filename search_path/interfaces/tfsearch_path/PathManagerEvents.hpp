#pragma once
// Events of the search path manager and the current folder.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"

#include <optional>

namespace Thornfell::PathManagement {

using SharedEntryVector = std::shared_ptr<const PathEntryVector>;

// Published around each installation of a new path: Stage 0 before the
// swap (subscribers still see the old paths), stages 1 and 2 after it.
class TFSP_API PathChangeEvent : public foundation::msg_svc::eventmgr::EventBase<PathChangeEvent> {
public:
    enum Stage : std::int32_t { BeforeChange = 0, AfterChange = 1, AfterChangeNotified = 2 };

    struct Differences {
        SharedEntryVector added, removed, reordered, refreshed;
    };

    PathChangeEvent(Stage stage, const IMainSearchPathManager& manager, bool isCurrentFolderChange,
                    bool currentFolderPositionChanged, std::shared_ptr<const CanonicalFolderVector>&& oldFolders,
                    std::shared_ptr<const CanonicalFolderVector>&& newFolders, SharedEntryVector&& searchAdded,
                    SharedEntryVector&& searchRemoved, SharedEntryVector&& searchReordered,
                    SharedEntryVector&& searchRefreshed, SharedEntryVector&& userSearchAdded,
                    SharedEntryVector&& userSearchRemoved, SharedEntryVector&& userSearchReordered,
                    SharedEntryVector&& userSearchRefreshed)
        : stage_(stage), manager_(&manager), isCurrentFolderChange_(isCurrentFolderChange),
          currentFolderPositionChanged_(currentFolderPositionChanged), oldFolders_(std::move(oldFolders)),
          newFolders_(std::move(newFolders)), search_{std::move(searchAdded), std::move(searchRemoved),
                                                      std::move(searchReordered), std::move(searchRefreshed)},
          userSearch_{std::move(userSearchAdded), std::move(userSearchRemoved), std::move(userSearchReordered),
                      std::move(userSearchRefreshed)} {}

    static const std::string& TypeName();
    Stage GetStage() const { return stage_; }
    const IMainSearchPathManager& GetManager() const { return *manager_; }
    bool IsCurrentFolderChange() const { return isCurrentFolderChange_; }
    bool CurrentFolderPositionChanged() const { return currentFolderPositionChanged_; }
    const std::shared_ptr<const CanonicalFolderVector>& GetOldFolders() const { return oldFolders_; }
    const std::shared_ptr<const CanonicalFolderVector>& GetNewFolders() const { return newFolders_; }
    const Differences& GetSearchPathDifferences() const { return search_; }
    const Differences& GetUserSearchPathDifferences() const { return userSearch_; }

private:
    Stage stage_;
    const IMainSearchPathManager* manager_;
    bool isCurrentFolderChange_;
    bool currentFolderPositionChanged_;
    std::shared_ptr<const CanonicalFolderVector> oldFolders_, newFolders_;
    Differences search_, userSearch_;
};

// Published first thing in the manager's destructor, while it is still whole.
class TFSP_API PathManagerWillBeDestroyedEvent
    : public foundation::msg_svc::eventmgr::EventBase<PathManagerWillBeDestroyedEvent> {
public:
    explicit PathManagerWillBeDestroyedEvent(const IMainSearchPathManager& manager) : manager_(&manager) {}
    static const std::string& TypeName();
    const IMainSearchPathManager& GetManager() const { return *manager_; }

private:
    const IMainSearchPathManager* manager_;
};

// Published when the installed component that owns the working folder comes,
// goes, or changes its identity or version.
class TFSP_API CurrentFolderComponentHasBeenChangedEvent
    : public foundation::msg_svc::eventmgr::EventBase<CurrentFolderComponentHasBeenChangedEvent> {
public:
    CurrentFolderComponentHasBeenChangedEvent(std::optional<OrvianComponents::ComponentIdentifier> oldComponent,
                                              std::optional<OrvianComponents::ComponentIdentifier> newComponent)
        : old_(std::move(oldComponent)), new_(std::move(newComponent)) {}
    static const std::string& TypeName();
    const std::optional<OrvianComponents::ComponentIdentifier>& GetOldComponent() const { return old_; }
    const std::optional<OrvianComponents::ComponentIdentifier>& GetNewComponent() const { return new_; }

private:
    std::optional<OrvianComponents::ComponentIdentifier> old_, new_;
};

}  // namespace Thornfell::PathManagement
