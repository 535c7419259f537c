#include "CompositePathSupport.hpp"

#include <algorithm>

namespace Thornfell::PathManagement::detail {

using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {

bool Contains(const HiddenFolders& hidden, const CanonicalAbsoluteIRI& folder) {
    return std::find(hidden.begin(), hidden.end(), folder) != hidden.end();
}

// Only a folder that the path holds can hide anything there: keeping the
// others out keeps every visibility test short.
bool AddHiddenFoldersHeldByPath(CompositePart& part, const HiddenFolders& folders) {
    bool added = false;
    for (const CanonicalAbsoluteIRI& folder : folders) {
        if (Contains(part.hidden, folder) || !part.path->GetPathEntryFromAbsoluteIRI(folder)) continue;
        part.hidden.push_back(folder);
        added = true;
    }
    return added;
}

} // namespace

void AppendParts(CompositeLayout& layout, const std::shared_ptr<const IPath>& path, const HiddenFolders& extraHidden) {
    if (!path) return;
    if (const CompositeLayout* inner = CompositePath::LayoutOf(*path)) {
        for (const CompositePart& innerPart : inner->parts) {
            CompositePart part = innerPart;
            // The inner composite's list of visible main entries stays valid
            // unless this one hides more.
            if (AddHiddenFoldersHeldByPath(part, extraHidden)) RefreshVisibleMainEntries(part);
            layout.parts.push_back(std::move(part));
        }
        return;
    }
    CompositePart part{path, {}, nullptr};
    AddHiddenFoldersHeldByPath(part, extraHidden);
    RefreshVisibleMainEntries(part);
    layout.parts.push_back(std::move(part));
}

bool AddHiddenFolder(CompositePart& part, const CanonicalAbsoluteIRI& folder) {
    if (Contains(part.hidden, folder)) return false;
    part.hidden.push_back(folder);
    return true;
}

void RefreshVisibleMainEntries(CompositePart& part) {
    PathEntryList all = part.path->GetMainEntries();
    if (part.hidden.empty()) {
        part.visibleMainEntries = std::move(all);
        return;
    }
    auto visible = std::make_shared<PathEntryVector>();
    visible->reserve(all->size());
    // A main entry has no entry above it on the path: only its own folder can
    // hide it.
    for (const PathEntryPointer& entry : *all)
        if (!Contains(part.hidden, entry->GetIRI())) visible->push_back(entry);
    part.visibleMainEntries = std::move(visible);
}

void JoinMainEntries(CompositeLayout& layout) {
    if (layout.parts.size() == 1) {
        layout.mainEntries = layout.parts.front().visibleMainEntries;
        return;
    }
    std::size_t total = 0;
    for (const CompositePart& part : layout.parts) total += part.visibleMainEntries->size();
    auto entries = std::make_shared<PathEntryVector>();
    entries->reserve(total);
    for (const CompositePart& part : layout.parts)
        entries->insert(entries->end(), part.visibleMainEntries->begin(), part.visibleMainEntries->end());
    layout.mainEntries = std::move(entries);
}

bool IsVisible(const CompositePart& part, const IPathEntry& entry) {
    if (part.hidden.empty()) return true;
    const CanonicalAbsoluteIRI folder = entry.GetIRI();
    bool belowHiddenFolder = false;
    for (const CanonicalAbsoluteIRI& hidden : part.hidden) {
        if (hidden == folder) return false;
        belowHiddenFolder = belowHiddenFolder || hidden.isAncestorOf(folder);
    }
    if (!belowHiddenFolder) return true;
    // Below a hidden folder on disk; hidden only if that folder stands between
    // the entry's main entry and the entry, that is, at or below the main
    // entry's folder. A main entry that merely lies inside a hidden folder is
    // a folder of its own on the path.
    const PathEntryPointer main = part.path->GetMainEntryForEntry(entry);
    if (!main) return true;
    const CanonicalAbsoluteIRI mainFolder = main->GetIRI();
    for (const CanonicalAbsoluteIRI& hidden : part.hidden)
        if (hidden.isAncestorOf(folder) && (hidden == mainFolder || mainFolder.isAncestorOf(hidden))) return false;
    return true;
}

bool ForEachVisibleEntry(const CompositePart& part, SearchScope scope, const PathEntryVisitor& visitor) {
    // The walk of a path is its main entries' walks one after the other, so
    // walking the visible main entries leaves out hidden ones whole, without
    // a test for each of their entries.
    for (const PathEntryPointer& main : *part.visibleMainEntries) {
        HiddenFolders hiddenBelow;
        if (!part.hidden.empty()) {
            const CanonicalAbsoluteIRI mainFolder = main->GetIRI();
            for (const CanonicalAbsoluteIRI& hidden : part.hidden)
                if (mainFolder.isAncestorOf(hidden)) hiddenBelow.push_back(hidden);
        }
        if (hiddenBelow.empty()) {
            if (main->ForEachEntry(scope, visitor)) return true;
            continue;
        }
        const bool stopped = main->ForEachEntry(scope, [&](const PathEntryPointer& entry) {
            const CanonicalAbsoluteIRI folder = entry->GetIRI();
            for (const CanonicalAbsoluteIRI& hidden : hiddenBelow)
                if (hidden == folder || hidden.isAncestorOf(folder)) return false;
            return visitor(entry);
        });
        if (stopped) return true;
    }
    return false;
}

} // namespace Thornfell::PathManagement::detail
