#pragma once
// The factory of the process's observers.
//
// It subscribes once on the local bus and keeps one table of folder records
// and one inotify watcher for all observers; observers hold shares of both,
// so an observer that outlives the factory still works (its watch can't be
// read any more, so a live one reports a change from then on).
//
// A live observer is, by the folder:
//  - on a network file system: by the remote path policy, "Reload" an
//    observer that always reports a change, "TimecheckDir" a time-stamp
//    observer, "None" one that hears events only;
//  - gone or not a folder: one that always reports a change;
//  - otherwise: an inotify observer, or, when no watch can be set, a
//    time-stamp observer and a warning by the change handle warning policy.
// The policies are read when an observer is made; a later change of policy
// leaves existing observers as they are.
//
// Between the listing of a folder and the start of its watch a change could
// go unseen, so after the watch is set the folder is read again and compared
// with the listing of the Folder given (which its copies share): a change
// before that reading shows in it, a change after it reaches the watch. That
// costs one more reading of the directory for each live observer; frozen
// observers read nothing.
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "storage/filefolderobserver/FolderRecords.hpp"
#include "storage/filefolderobserver/FolderSnapshot.hpp"
#include "storage/filefolderobserver/InotifyWatcher.hpp"

#include <atomic>
#include <memory>

namespace storage::filefolderobserver::detail {

class ObserverFactory final : public IFileFolderObserverFactory {
public:
    ObserverFactory();
    // Ends the subscription and joins the reader thread.
    ~ObserverFactory() override;
    ObserverFactory(const ObserverFactory&) = delete;
    ObserverFactory& operator=(const ObserverFactory&) = delete;

    std::unique_ptr<IFileFolderObserver> CreateFrozenObserver(foundation::storage::vfs::Folder folder) override;
    std::unique_ptr<IFileFolderObserver> CreateObserver(foundation::storage::vfs::Folder folder,
                                                        foundation::core::except::Notification& notification) override;
    void Synchronize() override { watcher_->drainPending(); }
    void SetRemotePathPolicy(int policy) override;
    int GetRemotePathPolicy() const override { return remotePolicy_.load(std::memory_order_acquire); }
    void SetChangeHandleWarning(int warning) override;
    int GetChangeHandleWarning() const override { return changeHandleWarning_.load(std::memory_order_acquire); }

    InotifyWatcher& watcher() { return *watcher_; }
    const InotifyWatcher& watcher() const { return *watcher_; }
    void treatFoldersAsRemote(bool remote) { treatAsRemote_.store(remote, std::memory_order_release); }

private:
    std::unique_ptr<IFileFolderObserver> createRemoteObserver(const foundation::storage::vfs::Folder& folder);
    void warnOfFallback(const foundation::storage::vfs::Folder& folder, int error,
                        foundation::core::except::Notification& notification);

    std::shared_ptr<FolderRecordTable> records_ = std::make_shared<FolderRecordTable>();
    std::shared_ptr<InotifyWatcher> watcher_ = std::make_shared<InotifyWatcher>();
    std::atomic<int> remotePolicy_{RemoteTimecheckDir};
    std::atomic<int> changeHandleWarning_{WarnAlways};
    // Under "once": whether the warning has been given since the policy was
    // set.
    std::atomic<bool> warnedSincePolicySet_{false};
    std::atomic<bool> treatAsRemote_{false};
    RemoteMounts remoteMounts_;
    foundation::msg_svc::eventmgr::ScopedConnection subscription_;
};

}  // namespace storage::filefolderobserver::detail
