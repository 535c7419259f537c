#pragma once
// An observer that never looks at the file system: only a
// FileFolderChangedEvent for its folder makes it report a change.
//
// The factory also gives one, hearing the events meant for live observers
// too, for a folder on a network file system under the policy "None".
#include "storage/filefolderobserver/FolderRecords.hpp"

#include <memory>

namespace storage::filefolderobserver::detail {

class FrozenObserver final : public IFileFolderObserver {
public:
    enum class Hears { FrozenEvents, AllEvents };
    FrozenObserver(std::shared_ptr<FolderRecordTable> records, const foundation::storage::vfs::AbsoluteIRI& folder,
                   Hears hears)
        : events_(std::move(records), folder), hearsLiveOnlyEvents_(hears == Hears::AllEvents) {}

    bool hasChanged() const override { return events_.changed(hearsLiveOnlyEvents_); }
    bool observesChildFoldersToo() const override { return false; }

private:
    FolderEventView events_;
    const bool hearsLiveOnlyEvents_;
};

}  // namespace storage::filefolderobserver::detail
