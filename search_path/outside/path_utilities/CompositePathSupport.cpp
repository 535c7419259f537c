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

}  // namespace

const CompositeLayout* CompositeLayout::Of(const IPath& path) {
    const auto* composite = dynamic_cast<const CompositePath*>(&path);
    return composite ? composite->layout_.get() : nullptr;
}

void AppendParts(CompositeLayout& layout, const std::shared_ptr<const IPath>& path, const HiddenFolders& extraHidden) {
    if (!path) return;
    if (const CompositeLayout* inner = CompositeLayout::Of(*path)) {
        for (const CompositePart& innerPart : inner->parts) {
            CompositePart part = innerPart;
            // What the inner composite found of its hidden main entries stays
            // valid unless this one hides more.
            if (AddHiddenFoldersHeldByPath(part, extraHidden)) FindHiddenMainEntries(part);
            layout.parts.push_back(std::move(part));
        }
        return;
    }
    CompositePart part{path, {}, {}};
    if (AddHiddenFoldersHeldByPath(part, extraHidden)) FindHiddenMainEntries(part);
    layout.parts.push_back(std::move(part));
}

bool AddHiddenFolder(CompositePart& part, const CanonicalAbsoluteIRI& folder) {
    if (Contains(part.hidden, folder)) return false;
    part.hidden.push_back(folder);
    return true;
}

void FindHiddenMainEntries(CompositePart& part) {
    // The path's index gives the entry of each hidden folder; those without a
    // parent are main entries.
    part.hiddenMainEntries.clear();
    for (const CanonicalAbsoluteIRI& folder : part.hidden)
        if (const PathEntryPointer entry = part.path->GetPathEntryFromAbsoluteIRI(folder);
            entry && !part.path->GetParentEntryForEntry(*entry))
            part.hiddenMainEntries.push_back(entry.get());
}

namespace {

bool IsHiddenMainEntry(const CompositePart& part, const PathEntryPointer& main) {
    return std::find(part.hiddenMainEntries.begin(), part.hiddenMainEntries.end(), main.get()) !=
           part.hiddenMainEntries.end();
}

}  // namespace

void JoinMainEntries(CompositeLayout& layout) {
    if (layout.parts.size() == 1 && layout.parts.front().hiddenMainEntries.empty()) {
        layout.mainEntries = layout.parts.front().path->GetMainEntries();
        return;
    }
    // Comparing objects instead of folders spares a copy of the IRI of every
    // main entry, which would be most of the cost of a composition on a long
    // path.
    boost::container::small_vector<PathEntryList, 2> lists;
    std::size_t total = 0;
    for (const CompositePart& part : layout.parts) {
        lists.push_back(part.path->GetMainEntries());
        total += lists.back()->size();
    }
    auto entries = std::make_shared<PathEntryVector>();
    entries->reserve(total);
    for (std::size_t index = 0; index < lists.size(); ++index) {
        const CompositePart& part = layout.parts[index];
        for (const PathEntryPointer& main : *lists[index])
            if (!IsHiddenMainEntry(part, main)) entries->push_back(main);
    }
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
    const PathEntryList mains = part.path->GetMainEntries();
    for (const PathEntryPointer& main : *mains) {
        if (IsHiddenMainEntry(part, main)) continue;
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

}  // namespace Thornfell::PathManagement::detail
