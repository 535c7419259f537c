#pragma once
// Shared by the composite path tests: a folder tree whose entries have every
// kind of child folder, and a check that a path answers every query as a
// reference path does.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"

#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;

inline std::string Utf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }
inline ustring Utf16(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }

// Main folders "g<i>/<name>" with package, class, UDD class, private and
// resources folders below some of them, files that several folders share
// ("common", "Foo"/"foo"), base names shared between folders, and two main
// folders "cv/Lib" and "cv/lib" that differ only in case, in that order.
class CompositeTree {
public:
    explicit CompositeTree(int mainFolders);
    PathEntryVector mains;
    TempTree tree;
};

inline std::shared_ptr<const IPath> MakePath(PathEntryVector entries) {
    return GetCurrentPathFactory().CreatePath(std::move(entries));
}

// A new entry object of the folder of `entry`, with new objects below it.
inline PathEntryPointer AnotherObject(const PathEntryPointer& entry) {
    // Folders outside the installation are watched; the frozen entries of the
    // tree come from another cache, so this one is built afresh.
    return GetPathEntryFactory().GetPathEntry(entry->GetIRI());
}

// Every entry below the given main entries, each before its children.
PathEntryVector AllEntriesOf(const PathEntryVector& mains);

// Asks `path` and `reference` every query of IPath, for names, partial
// pathnames, folders and scopes drawn from the tree, and for each entry of
// `entries` (which may include entries that neither path shows), and expects
// the same answers, the same objects in the same order.
void ExpectSameAnswers(const IPath& path, const IPath& reference, const PathEntryVector& entries);

} // namespace tfsp::test
