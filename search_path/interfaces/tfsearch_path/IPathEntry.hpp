#pragma once
// One folder and the special folders below it that belong to it. Immutable:
// every operation is const and may run on any thread without a lock.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/PathItem.hpp"
#include "tfsearch_path/PathTypes.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace Thornfell::PathManagement {

class IPathEntry;
class IPathEntryFactory;
class IFolderMonitor;

using PathEntryPointer = std::shared_ptr<const IPathEntry>;
using PathEntryVector = std::vector<PathEntryPointer>;
using PathEntryList = std::shared_ptr<const PathEntryVector>;
// The callback of a walk: returns true to stop.
using PathEntryVisitor = std::function<bool(const PathEntryPointer&)>;

class TFSP_API IPathEntry {
public:
    virtual ~IPathEntry() = default;

    virtual PathEntryType GetPathEntryType() const = 0;
    // The folder's files, sorted by (normalizedStem, stem, extension,
    // folderIRI); never null.
    virtual std::shared_ptr<const PathItemVector> GetPathItems() const = 0;
    virtual foundation::storage::vfs::CanonicalAbsoluteIRI GetIRI() const = 0;
    virtual ustring GetDescriptor() const = 0;
    virtual PathEntryPointer GetPrivateEntry() const = 0;
    virtual PathEntryPointer GetResourcesEntry() const = 0;
    // Never null, possibly empty.
    virtual PathEntryList GetPackageEntries() const = 0;
    virtual PathEntryList GetMethodEntries() const = 0;
    virtual PathEntryList GetUDDClassEntries() const = 0;
    // The best item of this folder alone for the target's stem, trying the
    // extensions in their order; null if none.
    virtual PathItemPointer FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const = 0;
    virtual PathItemVector FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const = 0;
    // Visits this entry, then those below it (packages, methods, UDD classes,
    // private, resources), calling `visitor` for each whose type is in scope.
    // Returns true if the visitor stopped the walk.
    virtual bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const = 0;
    // Same contract; the visitor may be called on several threads at once.
    virtual bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const = 0;
    // The comparison this entry uses under `policy`. It lives in the entry,
    // and the pointer shares ownership of the entry: it stays valid for as
    // long as it is held.
    virtual FilenameMatcher CreateFilenameMatcher(FilenameMatchingPolicy policy) const = 0;
    virtual bool IsOutOfDate() const = 0;
    virtual PathEntryPointer GetUpdatedPathEntry(const IPathEntryFactory& factory,
                                                 const IFolderMonitor& monitor) const = 0;
    virtual const foundation::storage::vfs::PathComparator& GetPathComparator() const = 0;
};

}  // namespace Thornfell::PathManagement
