#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"

#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <sys/stat.h>

namespace Thornfell::PathManagement {

namespace {
const std::shared_ptr<const PathItemVector>& NoItems() {
    static const auto items = std::make_shared<const PathItemVector>();
    return items;
}
const PathEntryList& NoEntries() {
    static const auto entries = std::make_shared<const PathEntryVector>();
    return entries;
}

bool IsFolderThere(const foundation::storage::vfs::AbsoluteIRI& iri) {
    struct stat status {};
    return ::stat(fl::i18n::ustring_to_utf8(iri.getPath()).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsSymbolicLink(const foundation::storage::vfs::AbsoluteIRI& iri) {
    struct stat status {};
    return ::lstat(fl::i18n::ustring_to_utf8(iri.getPath()).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}
}  // namespace

InaccessibleFolderPathEntry::InaccessibleFolderPathEntry(PathEntryType type,
                                                         foundation::storage::vfs::CanonicalAbsoluteIRI iri,
                                                         ustring descriptor)
    : type_(type), iri_(std::move(iri)), descriptor_(std::move(descriptor)) {
    if (iri_.hasParent()) {
        try {
            // Its own warnings about change handles don't concern anybody:
            // without a watch the folder is looked at each time.
            foundation::core::except::Notification unused;
            const auto storage = OrvianStorageSystem::GetStorageSystemReference();
            parentObserver_ = storage::filefolderobserver::GetFileFolderObserverFactory(storage).CreateObserver(
                foundation::storage::vfs::Folder(iri_.getParent(), storage), unused);
        } catch (const foundation::storage::vfs::Exception&) {
        }
    }
    // The folder may have come back before the watch began. A link that
    // leads nowhere (or in a loop) comes back when what it leads to does,
    // which happens anywhere but in the parent: such a name is looked at
    // each time.
    lookEveryTime_ = !parentObserver_ || IsFolderThere(iri_) || IsSymbolicLink(iri_);
}

InaccessibleFolderPathEntry::~InaccessibleFolderPathEntry() = default;

bool InaccessibleFolderPathEntry::IsOutOfDate() const {
    if (!lookEveryTime_ && !parentObserver_->hasChanged()) return false;
    return IsFolderThere(iri_);
}

std::shared_ptr<const PathItemVector> InaccessibleFolderPathEntry::GetPathItems() const { return NoItems(); }
PathEntryList InaccessibleFolderPathEntry::GetPackageEntries() const { return NoEntries(); }
PathEntryList InaccessibleFolderPathEntry::GetMethodEntries() const { return NoEntries(); }
PathEntryList InaccessibleFolderPathEntry::GetUDDClassEntries() const { return NoEntries(); }

PathItemPointer InaccessibleFolderPathEntry::FindFirst(const detail::SearchTarget&,
                                                       FilenameMatchingPolicy policy) const {
    matchers_.ForPolicy(policy);  // a bad policy is fatal here as on any entry
    return nullptr;
}

PathItemVector InaccessibleFolderPathEntry::FindAll(const detail::SearchTarget&, FilenameMatchingPolicy policy) const {
    matchers_.ForPolicy(policy);
    return {};
}

bool InaccessibleFolderPathEntry::ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    return scope.contains(GetPathEntryType()) && visitor(shared_from_this());
}

bool InaccessibleFolderPathEntry::ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    return ForEachEntry(scope, visitor);
}

FilenameMatcher InaccessibleFolderPathEntry::CreateFilenameMatcher(FilenameMatchingPolicy policy) const {
    return matchers_.Share(shared_from_this(), policy);
}

PathEntryPointer InaccessibleFolderPathEntry::GetUpdatedPathEntry(const IPathEntryFactory& factory,
                                                                  const IFolderMonitor& monitor) const {
    return factory.CreateUpdatedPathEntry(iri_, monitor);
}

}  // namespace Thornfell::PathManagement
