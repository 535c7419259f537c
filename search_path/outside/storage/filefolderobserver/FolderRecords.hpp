#pragma once
// What observers of one folder share: counters that only grow.
//
// An observer takes the counters when it is made and reports a change once
// one of them has moved. That lets one subscription on the local bus and one
// reader of the inotify queue serve any number of observers: marking a folder
// changed is one lookup and one increment, whatever the number of observers.
//
// The table holds weak pointers, so a folder's record goes when the last
// observer of the folder goes, and an event for a folder nobody observes
// costs a failed lookup.
//
// A refresh asks every observer of the path in turn, and nearly always
// nothing has changed; the records are scattered over the heap, so reading
// them is what such a question costs. Each source of changes therefore also
// keeps one count of all it handed out, and an observer that found nothing
// remembers that count (UnchangedAt): while it stands still, the answer
// stands too, and the record isn't read.
#include "fl/ustring.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <oneapi/tbb/concurrent_hash_map.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace storage::filefolderobserver::detail {

// A record is found by its folder's IRI, which holds the folder's path and
// its hash: the table's key shares them rather than copying the path, and
// lookups compare hashes before paths (the paths of one tree share long
// beginnings). An event names its folder by text; it is looked up as the
// path it holds, without an IRI made of it.
struct FolderHashCompare {
    using Folder = foundation::storage::vfs::AbsoluteIRI;
    using PathView = foundation::storage::vfs::GenericPathView;
    using is_transparent = void;
    static std::size_t hash(const Folder& folder) { return folder.hashValue(); }
    static std::size_t hash(const PathView& view) { return view.hash; }
    static bool equal(const Folder& a, const Folder& b) { return a == b; }
    static bool equal(const PathView& a, const Folder& b) { return foundation::storage::vfs::AbsoluteIRIEqual{}(a, b); }
};

struct FolderRecord {
    explicit FolderRecord(const foundation::storage::vfs::AbsoluteIRI& folderKey) : key(&folderKey) {}

    // The key of the table's entry, which stands as long as a record made
    // for it lives: the entry goes only once its record has expired.
    const foundation::storage::vfs::AbsoluteIRI* const key;
    std::atomic<std::uint64_t> allEvents{0};          // events for frozen and live observers
    std::atomic<std::uint64_t> liveEvents{0};         // events for live observers only
    std::atomic<std::uint64_t> fileSystemChanges{0};  // what the inotify reader saw
};

// The count of a source of changes at which an observer last found its
// counters unchanged. The source bumps its count after the record's counter,
// and the observer reads the count before the counters, so every change
// within a remembered count was seen by the look that found nothing. Any
// thread may remember a count it checked; an older one only costs a look.
class UnchangedAt {
public:
    bool covers(std::uint64_t count) const { return count == count_.load(std::memory_order_relaxed); }
    void remember(std::uint64_t count) const { count_.store(count, std::memory_order_relaxed); }

private:
    // No source counts that far, so the first question always looks.
    mutable std::atomic<std::uint64_t> count_{~std::uint64_t{0}};
};

class FolderRecordTable {
public:
    // The record of `folder`, made if nobody observes the folder yet.
    std::shared_ptr<FolderRecord> acquire(const foundation::storage::vfs::AbsoluteIRI& folder);
    // Drops the caller's share, and the table's entry if that was the last.
    void release(std::shared_ptr<FolderRecord>&& record);
    // What a FileFolderChangedEvent does: `folder` is the text of the
    // folder's IRI, as AbsoluteIRI::toString gives it.
    void markChanged(const ustring& folder, FrozenInclusion inclusion);
    std::size_t size() const { return table_.size(); }
    // The events that reached a record so far, of any folder.
    std::uint64_t eventsMarked() const { return eventsMarked_.load(std::memory_order_acquire); }

private:
    using Table =
        tbb::concurrent_hash_map<foundation::storage::vfs::AbsoluteIRI, std::weak_ptr<FolderRecord>, FolderHashCompare>;
    Table table_;
    std::atomic<std::uint64_t> eventsMarked_{0};
};

// An observer's view of its folder's events: the record and the counters as
// they stood when the observer was made. Gives the record back on
// destruction.
class FolderEventView {
public:
    FolderEventView(std::shared_ptr<FolderRecordTable> table, const foundation::storage::vfs::AbsoluteIRI& folder);
    // Takes a record acquired from `table` already.
    FolderEventView(std::shared_ptr<FolderRecordTable> table, std::shared_ptr<FolderRecord> record);
    ~FolderEventView();
    FolderEventView(const FolderEventView&) = delete;
    FolderEventView& operator=(const FolderEventView&) = delete;

    // Whether an event has named the folder since; `live` also counts the
    // events meant for live observers only.
    bool changed(bool live) const;
    const std::shared_ptr<FolderRecord>& record() const { return record_; }

private:
    // What an unchanged answer reads comes first.
    std::shared_ptr<FolderRecordTable> table_;
    UnchangedAt unchangedAt_;
    std::shared_ptr<FolderRecord> record_;
    const std::uint64_t allEventsSeen_;
    const std::uint64_t liveEventsSeen_;
};

}  // namespace storage::filefolderobserver::detail
