#include "storage/filefolderobserver/FolderRecords.hpp"

#include "foundation/core/diag/Diagnostics.hpp"

namespace storage::filefolderobserver::detail {

std::shared_ptr<FolderRecord> FolderRecordTable::acquire(const foundation::storage::vfs::AbsoluteIRI& folder) {
    Table::accessor entry;
    table_.insert(entry, folder);
    if (auto existing = entry->second.lock()) return existing;
    // A new entry, or one whose last observer is on its way out: that
    // observer's release() finds a live record here and leaves it alone.
    auto made = std::make_shared<FolderRecord>(entry->first);
    entry->second = made;
    return made;
}

void FolderRecordTable::release(std::shared_ptr<FolderRecord>&& record) {
    if (!record) return;
    // The entry is found while the share still keeps it (and so the key it
    // is found by), and the share is dropped under its lock: of holders that
    // let go together, the one to drop last finds the entry expired.
    Table::accessor entry;
    const bool found = table_.find(entry, *record->key);
    record.reset();
    if (found && entry->second.expired()) table_.erase(entry);
}

void FolderRecordTable::markChanged(const ustring& folder, FrozenInclusion inclusion) {
    // Only the text of a file IRI names a folder that is observed.
    static constexpr ustring_view scheme = u"file://";
    if (!ustring_view(folder).starts_with(scheme)) return;
    const ustring_view path = ustring_view(folder).substr(scheme.size());
    std::shared_ptr<FolderRecord> record;
    {
        Table::const_accessor entry;
        const foundation::storage::vfs::GenericPathView view{path, foundation::storage::vfs::genericPathHash(path)};
        if (!table_.find(entry, view)) return;
        record = entry->second.lock();
    }
    if (!record) return;
    switch (inclusion) {
    case FrozenInclusion::IncludeFrozen: record->allEvents.fetch_add(1, std::memory_order_acq_rel); break;
    case FrozenInclusion::LiveOnly: record->liveEvents.fetch_add(1, std::memory_order_acq_rel); break;
    default: FL_DIAG_TERMINATE("Unrecognized FrozenInclusion in FileFolderChangedEvent");
    }
    eventsMarked_.fetch_add(1, std::memory_order_release);
    // The observers may have gone meanwhile; whoever drops the last share
    // removes the entry, and that may be this event.
    release(std::move(record));
}

FolderEventView::FolderEventView(std::shared_ptr<FolderRecordTable> table,
                                 const foundation::storage::vfs::AbsoluteIRI& folder)
    : FolderEventView(table, table->acquire(folder)) {}

FolderEventView::FolderEventView(std::shared_ptr<FolderRecordTable> table, std::shared_ptr<FolderRecord> record)
    : table_(std::move(table)), record_(std::move(record)),
      allEventsSeen_(record_->allEvents.load(std::memory_order_acquire)),
      liveEventsSeen_(record_->liveEvents.load(std::memory_order_acquire)) {}

FolderEventView::~FolderEventView() { table_->release(std::move(record_)); }

bool FolderEventView::changed(bool live) const {
    const std::uint64_t marked = table_->eventsMarked();
    if (unchangedAt_.covers(marked)) return false;
    if (record_->allEvents.load(std::memory_order_acquire) != allEventsSeen_) return true;
    const bool liveEventSince = record_->liveEvents.load(std::memory_order_acquire) != liveEventsSeen_;
    if (live && liveEventSince) return true;
    // Remembered only when both counters stand, so that it holds for either
    // kind of question.
    if (!liveEventSince) unchangedAt_.remember(marked);
    return false;
}

}  // namespace storage::filefolderobserver::detail
