#pragma once
// An immutable ordered list of folder entries with name queries. Every
// operation is const and may run on any thread without a lock; results come
// in path order. An absent name is no failure: null, empty or false.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <boost/optional.hpp>

namespace Thornfell::PathManagement {

class TFSP_API IPath {
public:
    virtual ~IPath() = default;

    // The main entries in path order.
    virtual PathEntryList GetMainEntries() const = 0;
    // Every Method entry of the path.
    virtual PathEntryVector GetMethodEntries() const = 0;
    // Method entries named "@" + name whose parent's type is in scope.
    virtual PathEntryVector GetMethodEntriesByName(SearchScope scope, const ustring& name,
                                                   FilenameMatchingPolicy policy) const = 0;
    // Entries in scope whose location ends in the partial pathname, or that
    // are the folder an absolute pathname names.
    virtual PathEntryVector GetPartiallyMatchingEntries(SearchScope scope, const ustring& partialPathname,
                                                        FilenameMatchingPolicy policy) const = 0;
    virtual PathEntryPointer GetMainEntryForEntry(const IPathEntry& entry) const = 0;
    // Null for an entry that has no parent (a main entry).
    virtual PathEntryPointer GetParentEntryForEntry(const IPathEntry& entry) const = 0;
    virtual PathEntryPointer GetPathEntryFromAbsoluteIRI(
        const foundation::storage::vfs::CanonicalAbsoluteIRI& iri) const = 0;
    virtual PathEntryPointer GetPathEntryFromAbsoluteIRI(const foundation::storage::vfs::AbsoluteIRI& iri,
                                                         FilenameMatchingPolicy policy) const = 0;
    virtual boost::optional<FoundItem> FindFirstInScope(SearchScope scope, const detail::SearchTarget& target,
                                                        FilenameMatchingPolicy policy) const = 0;
    virtual std::vector<FoundItem> FindAllInScope(SearchScope scope, const detail::SearchTarget& target,
                                                  FilenameMatchingPolicy policy) const = 0;
    // FindFirstInScope's answer, borrowed from this path (see FoundItemView).
    // This default asks FindFirstInScope; a path that can answer without
    // taking shares of what it holds does so.
    virtual FoundItemView FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                               FilenameMatchingPolicy policy) const;
    // Every entry of the path, children included, whose type is in scope,
    // until the visitor returns true.
    virtual bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const = 0;
    virtual bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const = 0;
    virtual bool FirstEntryIsBeforeSecondOnPath(const IPathEntry& first, const IPathEntry& second) const = 0;
    virtual bool IsEntryOnPath(const IPathEntry& entry) const = 0;
};

using PathPointer = std::shared_ptr<const IPath>;

}  // namespace Thornfell::PathManagement
