#pragma once
// A search path for a program that embeds the library: what a host
// otherwise assembles by hand. It owns an engine instance, made current on
// the creating thread for the session's life, the modular package registry
// of that instance (its packages' entries and paths come from this system's
// factories), and the instance's main search path manager, registered so
// that GetMainSearchPathManager finds it.
//
// Like the manager, a session takes no lock: it is made, used and ended on
// one thread. Paths it hands out may be read on any thread.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"

#include <memory>

namespace Thornfell::PathManagement {

class TFSP_API ISearchPathSession {
public:
    virtual ~ISearchPathSession() = default;

    // The manager, made on first use: the feature switches and the working
    // folder in force then are the ones it starts from.
    virtual IMainSearchPathManager& GetManager() = 0;
    // Ends the manager; the next GetManager makes a new one, which reads the
    // feature switches again. Paths handed out stay valid.
    virtual void EndManager() = 0;
    // The registry the manager answers packages from; it outlives the manager.
    virtual OrvianComponents::IModularPackageRegistry& GetPackageRegistry() = 0;

    // Replaces the path whole; the returned messages name the folders left out.
    virtual foundation::core::except::Notification SetPathFolders(const FolderRange& folders) = 0;
    virtual foundation::core::except::Notification SetPathFolders(const CanonicalFolderRange& folders) = 0;
    // Moves the instance's working folder; a manager that follows it puts
    // the new folder ahead of the path. Throws the storage Exception when
    // `folder` is no folder; then nothing changes.
    virtual void ChangeWorkingFolder(const foundation::storage::vfs::AbsoluteIRI& folder) = 0;
};

// A new engine instance, current on this thread until the session ends (then
// the instance current before is current again).
TFSP_API std::unique_ptr<ISearchPathSession> CreateSearchPathSession();

}  // namespace Thornfell::PathManagement
