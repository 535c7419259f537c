#include "CompositePathSupport.hpp"

#include "tfsearch_path/PathFunctions.hpp"

#include <optional>
#include <type_traits>
#include <utility>

namespace Thornfell::PathManagement {

using detail::CompositePart;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {

const IPathEntry& EntryOf(const PathEntryPointer& entry) { return *entry; }
const IPathEntry& EntryOf(const FoundItem& found) { return *found.GetPathEntry(); }

// The answers of `query` from each part, in part order, without what the
// parts hide. A part that hides nothing hands its answer through untouched.
template <class Parts, class Query>
auto CollectVisible(const Parts& parts, const Query& query) {
    using Result = std::invoke_result_t<const Query&, const IPath&>;
    Result result;
    for (const CompositePart& part : parts) {
        Result answer = query(*part.path);
        if (answer.empty()) continue;
        if (result.empty() && part.hidden.empty()) {
            result = std::move(answer);
            continue;
        }
        result.reserve(result.size() + answer.size());
        for (auto& element : answer)
            if (part.hidden.empty() || detail::IsVisible(part, EntryOf(element))) result.push_back(std::move(element));
    }
    return result;
}

// The target that an entry's own FindFirst is asked for: the item name behind
// the last separator of a partial pathname.
detail::SearchTarget ItemTarget(const detail::SearchTarget& target) {
    const ustring& name = target.name();
    const std::size_t lastSeparator = LastPathnameSeparator(name);
    if (lastSeparator == ustring::npos) return target;
    return detail::SearchTarget(name.substr(lastSeparator + 1), target.extensions());
}

// Which part shows the folder of `entry`: the part that holds this very
// object if one does, else the first part that shows the folder (the way a
// single path answers, by folder). Empty if no part shows it.
std::optional<std::size_t> LocateEntry(const detail::CompositeLayout& layout, const IPathEntry& entry) {
    const CanonicalAbsoluteIRI folder = entry.GetIRI();
    std::optional<std::size_t> firstShowingFolder;
    for (std::size_t index = 0; index < layout.parts.size(); ++index) {
        const CompositePart& part = layout.parts[index];
        const PathEntryPointer held = part.path->GetPathEntryFromAbsoluteIRI(folder);
        if (!held || !detail::IsVisible(part, *held)) continue;
        if (held.get() == &entry) return index;
        if (!firstShowingFolder) firstShowingFolder = index;
    }
    return firstShowingFolder;
}

}  // namespace

CompositePath::CompositePath(std::unique_ptr<const detail::CompositeLayout> layout) : layout_(std::move(layout)) {}

CompositePath::~CompositePath() = default;

PathEntryList CompositePath::GetMainEntries() const { return layout_->mainEntries; }

PathEntryVector CompositePath::GetMethodEntries() const {
    return CollectVisible(layout_->parts, [](const IPath& path) { return path.GetMethodEntries(); });
}

PathEntryVector CompositePath::GetMethodEntriesByName(SearchScope scope, const ustring& name,
                                                      FilenameMatchingPolicy policy) const {
    return CollectVisible(layout_->parts,
                          [&](const IPath& path) { return path.GetMethodEntriesByName(scope, name, policy); });
}

PathEntryVector CompositePath::GetPartiallyMatchingEntries(SearchScope scope, const ustring& partialPathname,
                                                           FilenameMatchingPolicy policy) const {
    return CollectVisible(layout_->parts, [&](const IPath& path) {
        return path.GetPartiallyMatchingEntries(scope, partialPathname, policy);
    });
}

PathEntryPointer CompositePath::GetMainEntryForEntry(const IPathEntry& entry) const {
    const std::optional<std::size_t> index = LocateEntry(*layout_, entry);
    return index ? layout_->parts[*index].path->GetMainEntryForEntry(entry) : nullptr;
}

PathEntryPointer CompositePath::GetParentEntryForEntry(const IPathEntry& entry) const {
    const std::optional<std::size_t> index = LocateEntry(*layout_, entry);
    return index ? layout_->parts[*index].path->GetParentEntryForEntry(entry) : nullptr;
}

PathEntryPointer CompositePath::GetPathEntryFromAbsoluteIRI(const CanonicalAbsoluteIRI& iri) const {
    for (const CompositePart& part : layout_->parts)
        if (PathEntryPointer found = part.path->GetPathEntryFromAbsoluteIRI(iri);
            found && detail::IsVisible(part, *found))
            return found;
    return nullptr;
}

PathEntryPointer CompositePath::GetPathEntryFromAbsoluteIRI(const AbsoluteIRI& iri,
                                                            FilenameMatchingPolicy policy) const {
    // A folder of exactly this name anywhere wins over a looser match in an
    // earlier part, as it does on a single path.
    if (PathEntryPointer exact = GetPathEntryFromAbsoluteIRI(CanonicalAbsoluteIRI(iri, ustring()))) return exact;
    for (const CompositePart& part : layout_->parts) {
        const PathEntryPointer found = part.path->GetPathEntryFromAbsoluteIRI(iri, policy);
        if (!found) continue;
        if (detail::IsVisible(part, *found)) return found;
        // The storage system names one folder, and that one is hidden here.
        if (policy == StorageSystemRule) continue;
        // The part's best match is hidden; its next one may not be. The
        // entries named like the folder are the candidates, in path order.
        const ustring wanted = iri.toString();
        for (const PathEntryPointer& candidate :
             part.path->GetPartiallyMatchingEntries(allEntryTypesScope, iri.getName(), policy)) {
            if (DoesEntryIRITextMatch(*candidate, wanted, policy) && detail::IsVisible(part, *candidate))
                return candidate;
        }
    }
    return nullptr;
}

boost::optional<FoundItem> CompositePath::FindFirstInScope(SearchScope scope, const detail::SearchTarget& target,
                                                           FilenameMatchingPolicy policy) const {
    for (const CompositePart& part : layout_->parts) {
        boost::optional<FoundItem> found = part.path->FindFirstInScope(scope, target, policy);
        if (!found) continue;
        if (detail::IsVisible(part, *found->GetPathEntry())) return found;
        // The first hit lies in a hidden folder. The next visible one is among
        // all hits of this part, in path order; that costs a full search, but
        // only when a hidden folder holds the name and no earlier part does,
        // which the parts in front of a masked folder usually prevent.
        const detail::SearchTarget itemTarget = ItemTarget(target);
        const IPathEntry* tried = nullptr;
        for (const FoundItem& hit : part.path->FindAllInScope(scope, target, policy)) {
            const PathEntryPointer& entry = hit.GetPathEntry();
            if (entry.get() == tried) continue;
            tried = entry.get();
            if (!detail::IsVisible(part, *entry)) continue;
            // The entry's own choice among its items (the preferred
            // extension), as the path's first-match search makes it.
            if (PathItemPointer item = entry->FindFirst(itemTarget, policy)) return FoundItem(std::move(item), entry);
        }
    }
    return boost::none;
}

FoundItemView CompositePath::FindFirstViewInScope(SearchScope scope, const detail::SearchTarget& target,
                                                  FilenameMatchingPolicy policy) const {
    for (const CompositePart& part : layout_->parts) {
        const FoundItemView found = part.path->FindFirstViewInScope(scope, target, policy);
        if (!found) continue;
        if (detail::IsVisible(part, *found.entry)) return found;
        // A hidden folder holds the first hit of this part, and no part in
        // front holds the name: the search for the next visible one is
        // FindFirstInScope's, which is rare enough to pay for the shares.
        return IPath::FindFirstViewInScope(scope, target, policy);
    }
    return {};
}

std::vector<FoundItem> CompositePath::FindAllInScope(SearchScope scope, const detail::SearchTarget& target,
                                                     FilenameMatchingPolicy policy) const {
    return CollectVisible(layout_->parts,
                          [&](const IPath& path) { return path.FindAllInScope(scope, target, policy); });
}

bool CompositePath::ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    for (const CompositePart& part : layout_->parts)
        if (detail::ForEachVisibleEntry(part, scope, visitor)) return true;
    return false;
}

bool CompositePath::ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const {
    return ForEachEntry(scope, visitor);
}

bool CompositePath::FirstEntryIsBeforeSecondOnPath(const IPathEntry& first, const IPathEntry& second) const {
    const std::optional<std::size_t> firstPart = LocateEntry(*layout_, first);
    const std::optional<std::size_t> secondPart = LocateEntry(*layout_, second);
    if (!firstPart || !secondPart) return false;
    // Every entry of an earlier part stands before every entry of a later one.
    if (*firstPart != *secondPart) return *firstPart < *secondPart;
    return layout_->parts[*firstPart].path->FirstEntryIsBeforeSecondOnPath(first, second);
}

bool CompositePath::IsEntryOnPath(const IPathEntry& entry) const { return LocateEntry(*layout_, entry).has_value(); }

}  // namespace Thornfell::PathManagement
