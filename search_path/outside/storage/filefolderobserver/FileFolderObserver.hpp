#pragma once
// Observers that tell whether a folder has changed since they were made.
//
// A frozen observer changes only when a FileFolderChangedEvent that names its
// folder is delivered on the local bus (ovutil::eventmgr::createLocalEventMgr
// with an empty identifier). A live observer watches the folder with Linux
// inotify (one inotify instance for the factory, one watch per folder shared
// by all observers of that folder); where no watch can be set it falls back to
// the folder's time stamps. Live observers heed the event as well. When the
// kernel's event queue overflows, every live observer reports a change.
//
// Observers cover only their own folder: observesChildFoldersToo() is false.
// hasChanged() may be called from any thread; once it has said true it keeps
// saying so. It answers for the changes handed over so far: Synchronize()
// hands over all that happened before it.
#include "foundation/core/except/Notification.hpp"
#include "foundation/msg_svc/eventmgr/BaseEvent.hpp"
#include "foundation/storage/vfs/Folder.hpp"

#include <memory>

namespace storage::filefolderobserver {

class IFileFolderObserver {
public:
    virtual ~IFileFolderObserver() = default;
    virtual bool hasChanged() const = 0;
    virtual bool observesChildFoldersToo() const = 0;
};

// Policy for folders on network file systems (SetRemotePathPolicy), where
// change notification can't be trusted. It is read when a live observer is
// made; observers made before a change of policy keep what they were.
enum RemotePathPolicy : int {
    RemoteReload = 0,        // "Reload": the observer always reports a change,
                             // so each refresh reads the folder again
    RemoteTimecheckDir = 1,  // "TimecheckDir" (the default): the folder's
                             // time stamps are compared on each question
    RemoteNone = 2,          // "None": the disk is never asked; only a
                             // FileFolderChangedEvent marks the folder changed
};

// Whether a live observer that can't get a change handle (an inotify watch)
// and falls back to time stamps leaves a warning,
// "ORVIAN:FileFolderObserver:ChangeHandleFallback", in the notification of
// CreateObserver (SetChangeHandleWarning).
enum ChangeHandleWarning : int {
    WarnAlways = 0,  // "always" (the default): a warning for every such folder
    WarnOnce = 1,    // "once": the first such folder after the policy was set;
                     // any setting (the same one too) gives one more
    WarnNever = 2,   // "never"
};

class IFileFolderObserverFactory {
public:
    virtual ~IFileFolderObserverFactory() = default;
    virtual std::unique_ptr<IFileFolderObserver> CreateFrozenObserver(foundation::storage::vfs::Folder folder) = 0;
    // Warnings (a fallback to time stamps) go into `notification`.
    virtual std::unique_ptr<IFileFolderObserver> CreateObserver(
        foundation::storage::vfs::Folder folder, foundation::core::except::Notification& notification) = 0;
    // Hands every change that the file system reported before this call to
    // the observers, so that hasChanged() on any thread answers for all of
    // them. Changes reach observers from a reader thread, which may lag a
    // little; a refresh calls this first. One system call, whatever the
    // number of folders.
    virtual void Synchronize() = 0;
    virtual void SetRemotePathPolicy(int policy) = 0;
    virtual int GetRemotePathPolicy() const = 0;
    virtual void SetChangeHandleWarning(int warning) = 0;
    virtual int GetChangeHandleWarning() const = 0;
};

// The observer factory of a storage system; one for the process.
IFileFolderObserverFactory& GetFileFolderObserverFactory(
    const foundation::storage::vfs::StorageSystemReference& storage);

enum class FrozenInclusion : int {
    IncludeFrozen = 0,  // frozen and live observers of the folder report a change
    LiveOnly = 1,       // only live observers do
};

// Published on the local bus: the observers of `folder` (the text of the
// folder's IRI, AbsoluteIRI::toString) report a change.
class FileFolderChangedEvent : public foundation::msg_svc::eventmgr::EventBase<FileFolderChangedEvent> {
public:
    FileFolderChangedEvent(ustring folder, FrozenInclusion inclusion)
        : folder_(std::move(folder)), inclusion_(inclusion) {}
    static const std::string& TypeName();
    const ustring& getFolder() const { return folder_; }
    FrozenInclusion getFrozenInclusion() const { return inclusion_; }

private:
    ustring folder_;
    FrozenInclusion inclusion_;
};

}  // namespace storage::filefolderobserver
