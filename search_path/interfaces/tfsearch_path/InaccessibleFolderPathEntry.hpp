#pragma once
// The entry of a folder that can't be read: it keeps the folder's place on a
// path, with no files and no child folders.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <memory>

namespace storage::filefolderobserver {
class IFileFolderObserver;
}

namespace Thornfell::PathManagement {

class TFSP_API InaccessibleFolderPathEntry final : public IPathEntry,
                                                   public std::enable_shared_from_this<InaccessibleFolderPathEntry> {
public:
    InaccessibleFolderPathEntry(PathEntryType type, foundation::storage::vfs::CanonicalAbsoluteIRI iri,
                                ustring descriptor);
    ~InaccessibleFolderPathEntry() override;

    PathEntryType GetPathEntryType() const override { return type_; }
    std::shared_ptr<const PathItemVector> GetPathItems() const override;
    foundation::storage::vfs::CanonicalAbsoluteIRI GetIRI() const override { return iri_; }
    ustring GetDescriptor() const override { return descriptor_; }
    PathEntryPointer GetPrivateEntry() const override { return nullptr; }
    PathEntryPointer GetResourcesEntry() const override { return nullptr; }
    PathEntryList GetPackageEntries() const override;
    PathEntryList GetMethodEntries() const override;
    PathEntryList GetUDDClassEntries() const override;
    PathItemPointer FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override;
    PathItemVector FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override;
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    FilenameMatcher CreateFilenameMatcher(FilenameMatchingPolicy policy) const override;
    // Out of date once the folder is there again, so that a refresh tries it
    // then and not before. The parent folder is watched: while it doesn't
    // change the answer costs no system call; after that, or where it can't
    // be watched, one look at the folder.
    bool IsOutOfDate() const override;
    // Tries the folder again; if it still can't be read, the storage
    // exception reaches the caller, who keeps this entry.
    PathEntryPointer GetUpdatedPathEntry(const IPathEntryFactory& factory,
                                         const IFolderMonitor& monitor) const override;
    const foundation::storage::vfs::PathComparator& GetPathComparator() const override { return comparator_; }

private:
    PathEntryType type_;
    foundation::storage::vfs::CanonicalAbsoluteIRI iri_;
    ustring descriptor_;
    foundation::storage::vfs::PathComparator comparator_;
    PolicyFilenameMatchers matchers_{comparator_};
    std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> parentObserver_;
    bool lookEveryTime_ = true;
};

}  // namespace Thornfell::PathManagement
