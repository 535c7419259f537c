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
#include "fl/ustring.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <oneapi/tbb/concurrent_hash_map.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace storage::filefolderobserver::detail {

struct FolderRecord {
    explicit FolderRecord(ustring folderKey) : key(std::move(folderKey)) {}

    const ustring key;  // the text of the folder's IRI, as events name it
    std::atomic<std::uint64_t> allEvents{0};          // events for frozen and live observers
    std::atomic<std::uint64_t> liveEvents{0};         // events for live observers only
    std::atomic<std::uint64_t> fileSystemChanges{0};  // what the inotify reader saw
};

class FolderRecordTable {
public:
    // The record of `key`, made if nobody observes the folder yet.
    std::shared_ptr<FolderRecord> acquire(const ustring& key);
    // Whether some observer of the folder is alive.
    bool observed(const ustring& key) const;
    // Drops the caller's share, and the table's entry if that was the last.
    void release(std::shared_ptr<FolderRecord>&& record);
    // What a FileFolderChangedEvent does.
    void markChanged(const ustring& key, FrozenInclusion inclusion);
    std::size_t size() const { return table_.size(); }

private:
    using Table = tbb::concurrent_hash_map<ustring, std::weak_ptr<FolderRecord>, tbb::tbb_hash_compare<ustring>>;
    Table table_;
};

// An observer's view of its folder's events: the record and the counters as
// they stood when the observer was made. Gives the record back on
// destruction.
class FolderEventView {
public:
    FolderEventView(std::shared_ptr<FolderRecordTable> table, const ustring& key);
    ~FolderEventView();
    FolderEventView(const FolderEventView&) = delete;
    FolderEventView& operator=(const FolderEventView&) = delete;

    // Whether an event has named the folder since; `live` also counts the
    // events meant for live observers only.
    bool changed(bool live) const;
    const std::shared_ptr<FolderRecord>& record() const { return record_; }

private:
    std::shared_ptr<FolderRecordTable> table_;
    std::shared_ptr<FolderRecord> record_;
    const std::uint64_t allEventsSeen_;
    const std::uint64_t liveEventsSeen_;
};

} // namespace storage::filefolderobserver::detail
