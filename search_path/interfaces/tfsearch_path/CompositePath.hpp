#pragma once
// The common base of the composite paths (ConcatenatedPath, DeduplicatedPath,
// MultiMaskedPath): an IPath made of other paths, each seen through a list of
// folders that it hides.
//
// A composite shares its inner paths and copies nothing of their indexes; it
// is immutable and answers every query of IPath, on any thread, as a Path of
// its visible entries in the same order would. Name queries are delegated to
// the inner paths' indexes and hidden results dropped, so a composite costs
// little to build and little to ask.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"

#include <memory>

namespace Thornfell::PathManagement {

namespace detail {
// What a composite is made of: the path utilities' own.
struct CompositeLayout;
}  // namespace detail

class TFSP_API CompositePath : public IPath {
public:
    ~CompositePath() override;
    CompositePath(const CompositePath&) = delete;
    CompositePath& operator=(const CompositePath&) = delete;

    PathEntryList GetMainEntries() const override;
    PathEntryVector GetMethodEntries() const override;
    PathEntryVector GetMethodEntriesByName(SearchScope scope, const ustring& name,
                                           FilenameMatchingPolicy policy) const override;
    PathEntryVector GetPartiallyMatchingEntries(SearchScope scope, const ustring& partialPathname,
                                                FilenameMatchingPolicy policy) const override;
    PathEntryPointer GetMainEntryForEntry(const IPathEntry& entry) const override;
    PathEntryPointer GetParentEntryForEntry(const IPathEntry& entry) const override;
    PathEntryPointer GetPathEntryFromAbsoluteIRI(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& iri) const override;
    PathEntryPointer GetPathEntryFromAbsoluteIRI(const foundation::storage::vfs::AbsoluteIRI& iri,
                                                 FilenameMatchingPolicy policy) const override;
    boost::optional<FoundItem> FindFirstInScope(SearchScope scope, const detail::SearchTarget& target,
                                                FilenameMatchingPolicy policy) const override;
    std::vector<FoundItem> FindAllInScope(SearchScope scope, const detail::SearchTarget& target,
                                          FilenameMatchingPolicy policy) const override;
    FoundItemView FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                       FilenameMatchingPolicy policy) const override;
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    // The walk of ForEachEntry: the visitor runs on the calling thread, one
    // entry at a time, which the contract allows.
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override;
    bool FirstEntryIsBeforeSecondOnPath(const IPathEntry& first, const IPathEntry& second) const override;
    bool IsEntryOnPath(const IPathEntry& entry) const override;

protected:
    explicit CompositePath(std::unique_ptr<const detail::CompositeLayout> layout);

private:
    // A composite made of composites reads their layouts.
    friend struct detail::CompositeLayout;
    const std::unique_ptr<const detail::CompositeLayout> layout_;
};

}  // namespace Thornfell::PathManagement
