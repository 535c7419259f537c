#include "storage/filefolderobserver/ObserverFactory.hpp"

#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/usm/StateStore.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "storage/filefolderobserver/FolderSnapshot.hpp"

#include <sys/stat.h>
#include "storage/filefolderobserver/FrozenObserver.hpp"
#include "storage/filefolderobserver/LiveObserver.hpp"
#include "storage/filefolderobserver/ObserverTestHooks.hpp"
#include "storage/filefolderobserver/TimeStampObserver.hpp"

#include <cerrno>
#include <system_error>

namespace storage::filefolderobserver {

namespace detail {

namespace {

using foundation::storage::vfs::Folder;

// For a folder that has gone, and for remote folders under "Reload".
class AlwaysChangedObserver final : public IFileFolderObserver {
public:
    bool hasChanged() const override { return true; }
    bool observesChildFoldersToo() const override { return false; }
};

}  // namespace

ObserverFactory::ObserverFactory() {
    std::weak_ptr<FolderRecordTable> records = records_;
    subscription_ = ovutil::eventmgr::createLocalEventMgr(boost::none)
                        ->subscribe(FileFolderChangedEvent::TypeName(),
                                    [records](const foundation::msg_svc::eventmgr::BaseEvent& event) {
                                        const auto* changed = dynamic_cast<const FileFolderChangedEvent*>(&event);
                                        if (!changed) return;
                                        if (const auto table = records.lock())
                                            table->markChanged(changed->getFolder(), changed->getFrozenInclusion());
                                    });
}

ObserverFactory::~ObserverFactory() {
    subscription_.disconnect();
    watcher_->stop();
}

std::unique_ptr<IFileFolderObserver> ObserverFactory::CreateFrozenObserver(Folder folder) {
    return std::make_unique<FrozenObserver>(records_, folder.getIRI(), FrozenObserver::Hears::FrozenEvents);
}

namespace {

// True when the folder's times prove that nothing changed in it since its
// listing was read. A change stamps the folder with the kernel's coarse
// clock; times from a second before the listing began can't be repeated by
// a later change, so equal times then mean no change. Recent times prove
// nothing, and the caller reads the folder again.
bool UnchangedSinceListing(const Folder& folder, const std::string& path) {
    const auto listed = folder.getListingStamp();
    if (!listed) return false;
    if (listed->modified.tv_sec >= listed->takenAt.tv_sec || listed->changed.tv_sec >= listed->takenAt.tv_sec)
        return false;
    struct stat now {};
    if (::stat(path.c_str(), &now) != 0) return false;
    auto same = [](const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; };
    return now.st_dev == listed->device && now.st_ino == listed->inode && same(now.st_mtim, listed->modified) &&
           same(now.st_ctim, listed->changed);
}

}  // namespace

std::unique_ptr<IFileFolderObserver> ObserverFactory::CreateObserver(
    Folder folder, foundation::core::except::Notification& notification) {
    const std::string& path = folder.getNativePath();
    // A folder not read yet is opened for its reading now: its stamp names
    // the mount for the test below, and the reading comes after the watch.
    // One that can't be opened can't be read either, and counts as changed.
    if (!folder.openForListing()) return std::make_unique<AlwaysChangedObserver>();
    if (treatAsRemote_.load(std::memory_order_acquire) || remoteMounts_.isRemote(folder, path))
        return createRemoteObserver(folder);

    // Events still queued are of changes made before now: the listing shows
    // them already, or the check below finds them. They are handed over
    // before the observer takes its counters and joins the tree of watched
    // names, so that they can't mark it changed when the reader gets to them
    // after it is made: another observer of the folder shares its counters,
    // and an event in a folder above (the folder's own creation, say) is
    // matched by name against what is watched when it is handled. One read
    // of the queue, which is nearly always empty.
    watcher_->drainPending();
    const auto stamp = folder.getListingStamp();
    auto observer = std::make_unique<LiveObserver>(records_, records_->acquire(folder.getIRI()), *watcher_, path,
                                                   stamp && stamp->throughLink);
    if (const int error = observer->watchError()) {
        observer.reset();
        if (error == ENOENT || error == ENOTDIR) return std::make_unique<AlwaysChangedObserver>();
        warnOfFallback(folder, error, notification);
        return std::make_unique<TimeStampObserver>(records_, folder);
    }
    // The watch and the counters stand, so a change from here on is seen.
    // A reading that begins after this shows every change before it; for
    // one that began earlier, what happened since shows in the folder's
    // times or, where those can't tell, in a new reading.
    if (!folder.hasBegunListing()) return observer;
    if (!UnchangedSinceListing(folder, path)) {
        const auto listed = digestListing(folder);
        if (!listed || digestListingNow(folder) != listed) observer->setChangedAtStart();
    }
    return observer;
}

std::unique_ptr<IFileFolderObserver> ObserverFactory::createRemoteObserver(const Folder& folder) {
    switch (GetRemotePathPolicy()) {
    case RemoteReload: return std::make_unique<AlwaysChangedObserver>();
    case RemoteNone:
        return std::make_unique<FrozenObserver>(records_, folder.getIRI(), FrozenObserver::Hears::AllEvents);
    default: return std::make_unique<TimeStampObserver>(records_, folder);
    }
}

void ObserverFactory::warnOfFallback(const Folder& folder, int error,
                                     foundation::core::except::Notification& notification) {
    switch (GetChangeHandleWarning()) {
    case WarnAlways: break;
    case WarnOnce:
        if (warnedSincePolicySet_.exchange(true, std::memory_order_acq_rel)) return;
        break;
    default: return;
    }
    notification.add(resource_core::BaseMsgID("ORVIAN:FileFolderObserver", "ChangeHandleFallback",
                                              {folder.getIRI().getPath(),
                                               fl::i18n::utf8_to_ustring(std::generic_category().message(error))}));
}

void ObserverFactory::SetRemotePathPolicy(int policy) {
    if (policy < RemoteReload || policy > RemoteNone)
        FL_DIAG_TERMINATE("Unrecognized RemotePathPolicy passed to SetRemotePathPolicy");
    remotePolicy_.store(policy, std::memory_order_release);
}

void ObserverFactory::SetChangeHandleWarning(int warning) {
    if (warning < WarnAlways || warning > WarnNever)
        FL_DIAG_TERMINATE("Unrecognized ChangeHandleWarning passed to SetChangeHandleWarning");
    // Setting "once" again, even over "once", gives one more warning.
    warnedSincePolicySet_.store(false, std::memory_order_release);
    changeHandleWarning_.store(warning, std::memory_order_release);
}

}  // namespace detail

IFileFolderObserverFactory& GetFileFolderObserverFactory(const foundation::storage::vfs::StorageSystemReference&) {
    // The process has one storage system, so one factory serves every
    // reference to it.
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const auto id = Store::getNextID(typeid(detail::ObserverFactory));
    return Store::findOrInsert<detail::ObserverFactory>(id, [] { return std::make_unique<detail::ObserverFactory>(); });
}

namespace testhooks {

namespace {
detail::ObserverFactory& concrete(IFileFolderObserverFactory& factory) {
    return dynamic_cast<detail::ObserverFactory&>(factory);
}
const detail::ObserverFactory& concrete(const IFileFolderObserverFactory& factory) {
    return dynamic_cast<const detail::ObserverFactory&>(factory);
}
}  // namespace

void FailWatchesForTesting(IFileFolderObserverFactory& factory, int errnoValue) {
    concrete(factory).watcher().failWatchesWith(errnoValue);
}

void FailAncestorWatchesForTesting(IFileFolderObserverFactory& factory, int errnoValue) {
    concrete(factory).watcher().failAncestorWatchesWith(errnoValue);
}

void TreatFoldersAsRemoteForTesting(IFileFolderObserverFactory& factory, bool remote) {
    concrete(factory).treatFoldersAsRemote(remote);
}

void SimulateOverflowForTesting(IFileFolderObserverFactory& factory) { concrete(factory).watcher().noteOverflow(); }

std::size_t WatchCountForTesting(const IFileFolderObserverFactory& factory) {
    return concrete(factory).watcher().watchCount();
}

std::size_t AncestorWatchCountForTesting(const IFileFolderObserverFactory& factory) {
    return concrete(factory).watcher().ancestorWatchCount();
}

}  // namespace testhooks

}  // namespace storage::filefolderobserver
