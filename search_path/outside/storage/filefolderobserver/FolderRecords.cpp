#include "storage/filefolderobserver/FolderRecords.hpp"

#include "foundation/core/diag/Diagnostics.hpp"

namespace storage::filefolderobserver::detail {

std::shared_ptr<FolderRecord> FolderRecordTable::acquire(const ustring& key, bool* observedBefore) {
    Table::accessor entry;
    table_.insert(entry, key);
    auto existing = entry->second.lock();
    if (observedBefore) *observedBefore = existing != nullptr;
    if (existing) return existing;
    // A new entry, or one whose last observer is on its way out: that
    // observer's release() finds a live record here and leaves it alone.
    auto made = std::make_shared<FolderRecord>(key);
    entry->second = made;
    return made;
}

void FolderRecordTable::release(std::shared_ptr<FolderRecord>&& record) {
    // Every holder drops its share before it looks, so the look of the last
    // one to drop finds the entry expired.
    if (!record) return;
    const ustring key = record->key;
    record.reset();
    Table::accessor entry;
    if (table_.find(entry, key) && entry->second.expired()) table_.erase(entry);
}

void FolderRecordTable::markChanged(const ustring& key, FrozenInclusion inclusion) {
    std::shared_ptr<FolderRecord> record;
    {
        Table::const_accessor entry;
        if (!table_.find(entry, key)) return;
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

FolderEventView::FolderEventView(std::shared_ptr<FolderRecordTable> table, const ustring& key)
    : FolderEventView(table, table->acquire(key)) {}

FolderEventView::FolderEventView(std::shared_ptr<FolderRecordTable> table, std::shared_ptr<FolderRecord> record)
    : table_(std::move(table)),
      record_(std::move(record)),
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

} // namespace storage::filefolderobserver::detail
