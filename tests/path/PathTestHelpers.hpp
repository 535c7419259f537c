#pragma once
// Shared by the path tests: a plain walk of a path's entries that the indexed
// queries are checked against, entries made in memory, and entries made
// elsewhere than in this library.
#include "support/EngineFixture.hpp"
#include "support/QueryTables.hpp"
#include "support/TempTree.hpp"
#include "support/Text.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathEntryDecorator.hpp"
#include "PathEntry.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;

// Names as the policy compares them: folded under CaseRuleTwo, exact
// otherwise (the POSIX storage system's own rule is exact).
inline bool SameName(const ustring& a, const ustring& b, FilenameMatchingPolicy policy) {
    return policy == CaseRuleTwo ? foundation::storage::vfs::equalFolded(a, b) : a == b;
}

// One entry as a plain walk of the main entries sees it.
struct WalkedEntry {
    PathEntryPointer entry;
    PathEntryPointer parent;  // null for a main entry
    std::size_t mainIndex;
};

// Every entry under the main entries, each before its children, children in
// the order packages, methods, UDD classes, private, resources.
inline std::vector<WalkedEntry> WalkInPathOrder(const PathEntryVector& mainEntries) {
    std::vector<WalkedEntry> walked;
    std::function<void(const PathEntryPointer&, const PathEntryPointer&, std::size_t)> visit =
        [&](const PathEntryPointer& entry, const PathEntryPointer& parent, std::size_t mainIndex) {
            walked.push_back({entry, parent, mainIndex});
            ForEachChildEntry(*entry,
                              [&](const PathEntryPointer& child, PathEntryType) { visit(child, entry, mainIndex); });
        };
    for (std::size_t i = 0; i < mainEntries.size(); ++i) visit(mainEntries[i], nullptr, i);
    return walked;
}

// An entry made in memory, for trees too large to write to disk: its files
// are the stems with ".tf", and it has no observer.
inline PathEntryPointer MemoryEntry(const ustring& location, PathEntryType type, const std::vector<ustring>& stems,
                                    PathEntryPointer privateChild = nullptr) {
    const foundation::storage::vfs::CanonicalAbsoluteIRI iri(foundation::storage::vfs::toAbsoluteIRI(u"file", location),
                                                             ustring());
    PathItemVector items;
    for (const ustring& stem : stems)
        items.push_back(std::make_shared<const PathItem>(ustring(stem), ustring(u".tf"),
                                                         foundation::storage::vfs::CanonicalAbsoluteIRI(iri)));
    return std::make_shared<const PathEntry>(PathEntry::Parts{.iri = iri,
                                                              .descriptor = iri.toString(),
                                                              .entryType = type,
                                                              .children = {.privateEntry = std::move(privateChild)},
                                                              .items = std::move(items)});
}

// An entry made elsewhere, which answers only through the interface: the path
// must take its items as it gives them, in candidate order among its own. It
// stands on the path under its own face, as the decorators of the manager do.
class ForwardingEntry : public PathEntryDecorator, public std::enable_shared_from_this<ForwardingEntry> {
public:
    using PathEntryDecorator::PathEntryDecorator;
    bool ForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return scope.contains(GetPathEntryType()) && visitor(shared_from_this());
    }
    bool ConcurrentForEachEntry(SearchScope scope, const PathEntryVisitor& visitor) const override {
        return ForEachEntry(scope, visitor);
    }
};

// An entry made elsewhere that gives its items out of order, with a name's
// items apart (of three or more): the index must still list the entry once
// for that name.
class ShuffledItemsEntry final : public ForwardingEntry {
public:
    using ForwardingEntry::ForwardingEntry;
    std::shared_ptr<const PathItemVector> GetPathItems() const override {
        PathItemVector items = *ForwardingEntry::GetPathItems();
        // The last one goes second.
        if (items.size() > 2) std::rotate(items.begin() + 1, items.end() - 1, items.end());
        return std::make_shared<const PathItemVector>(std::move(items));
    }
};

}  // namespace tfsp::test
