#pragma once
// Hooks for tests of the observers: faults that a test can't easily cause
// for real. They work on the factory of GetFileFolderObserverFactory.
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <cstddef>

namespace storage::filefolderobserver::testhooks {

// Every later watch fails with `errnoValue`, as when the watch table is full
// (ENOSPC); 0 lets watches be set again.
void FailWatchesForTesting(IFileFolderObserverFactory& factory, int errnoValue);
// The same for the folders above observed ones that aren't watched yet: their
// observers then check what their name leads to themselves.
void FailAncestorWatchesForTesting(IFileFolderObserverFactory& factory, int errnoValue);
// Takes every folder as one on a network file system (or stops doing so).
void TreatFoldersAsRemoteForTesting(IFileFolderObserverFactory& factory, bool remote);
// Acts as if the kernel's event queue had overflowed.
void SimulateOverflowForTesting(IFileFolderObserverFactory& factory);
// The number of inotify watches the factory holds for observed folders, and
// those it holds only for the folders above them.
std::size_t WatchCountForTesting(const IFileFolderObserverFactory& factory);
std::size_t AncestorWatchCountForTesting(const IFileFolderObserverFactory& factory);

}  // namespace storage::filefolderobserver::testhooks
