#pragma once
// Lets an existing entry take part in a path under another face: forwards
// every operation to the wrapped entry.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"

namespace Thornfell::PathManagement {

class TFSP_API PathEntryDecorator : public IPathEntry {
public:
    // `decoratedEntry` is never null.
    explicit PathEntryDecorator(PathEntryPointer decoratedEntry) : decoratedEntry(std::move(decoratedEntry)) {}

    PathEntryType GetPathEntryType() const override { return decoratedEntry->GetPathEntryType(); }
    std::shared_ptr<const PathItemVector> GetPathItems() const override { return decoratedEntry->GetPathItems(); }
    foundation::storage::vfs::CanonicalAbsoluteIRI GetIRI() const override { return decoratedEntry->GetIRI(); }
    ustring GetDescriptor() const override { return decoratedEntry->GetDescriptor(); }
    PathEntryPointer GetPrivateEntry() const override { return decoratedEntry->GetPrivateEntry(); }
    PathEntryPointer GetResourcesEntry() const override { return decoratedEntry->GetResourcesEntry(); }
    PathEntryList GetPackageEntries() const override { return decoratedEntry->GetPackageEntries(); }
    PathEntryList GetMethodEntries() const override { return decoratedEntry->GetMethodEntries(); }
    PathEntryList GetUDDClassEntries() const override { return decoratedEntry->GetUDDClassEntries(); }
    PathItemPointer FindFirst(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override {
        return decoratedEntry->FindFirst(target, policy);
    }
    PathItemVector FindAll(const detail::SearchTarget& target, FilenameMatchingPolicy policy) const override {
        return decoratedEntry->FindAll(target, policy);
    }
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return decoratedEntry->ForEachEntry(scope, visitor);
    }
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return decoratedEntry->ConcurrentForEachEntry(scope, visitor);
    }
    FilenameMatcher CreateFilenameMatcher(FilenameMatchingPolicy policy) const override {
        return decoratedEntry->CreateFilenameMatcher(policy);
    }
    bool IsOutOfDate() const override { return decoratedEntry->IsOutOfDate(); }
    PathEntryPointer GetUpdatedPathEntry(const IPathEntryFactory& factory,
                                         const IFolderMonitor& monitor) const override {
        return decoratedEntry->GetUpdatedPathEntry(factory, monitor);
    }
    const foundation::storage::vfs::PathComparator& GetPathComparator() const override {
        return decoratedEntry->GetPathComparator();
    }

protected:
    const PathEntryPointer decoratedEntry;
};

}  // namespace Thornfell::PathManagement
