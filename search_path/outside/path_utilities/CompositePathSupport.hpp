#pragma once
// What the composite paths are made of: a list of inner paths, each seen
// through the folders it hides, and the rules of what is hidden.
//
// Hiding is by folder. A part hides an entry whose folder is one of its
// hidden folders, or lies below one of them within the same main entry. The
// entries below an entry are folders below it on disk (package, class,
// private and resources folders), so "below" is a test on the IRIs, and only
// an entry under a hidden folder's IRI ever costs a lookup in the inner path.
// A folder is taken to stand once in each inner path, as on the paths that
// the manager builds: a path's index knows one entry per folder, and that is
// the entry hidden.
#include "tfsearch_path/CompositePath.hpp"

#include <boost/container/small_vector.hpp>

#include <vector>

namespace Thornfell::PathManagement::detail {

// Hidden folders are few: the current folder, or the masked entries.
using HiddenFolders = boost::container::small_vector<foundation::storage::vfs::CanonicalAbsoluteIRI, 2>;

struct CompositePart {
    // Never a composite: nested composites are flattened into their parts.
    std::shared_ptr<const IPath> path;
    HiddenFolders hidden;
    // The main entries of `path` that `hidden` hides, as objects of `path`
    // (which keeps them alive): found through the path's index once, so that
    // leaving them out of a list or a walk compares pointers only.
    boost::container::small_vector<const IPathEntry*, 2> hiddenMainEntries;
};

struct CompositeLayout {
    // Most composites join two paths.
    boost::container::small_vector<CompositePart, 2> parts;
    // The visible main entries of all parts, in order.
    PathEntryList mainEntries;

    // The layout of `path` if it is a composite, else null: a composite made
    // of composites takes over their parts instead of stacking on them, so
    // that a query crosses one level whatever the nesting.
    static const CompositeLayout* Of(const IPath& path);
};

// Appends the parts of `path` (itself, or the parts of a composite), each
// hiding as well those of `extraHidden` that it holds. A null path adds none.
void AppendParts(CompositeLayout& layout, const std::shared_ptr<const IPath>& path,
                 const HiddenFolders& extraHidden = {});
// Hides `folder` in `part` unless it already is, and says whether it wasn't;
// the hidden main entries are not brought up to date (see
// FindHiddenMainEntries).
bool AddHiddenFolder(CompositePart& part, const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);
void FindHiddenMainEntries(CompositePart& part);
// Fills `layout.mainEntries` from the parts: one copy of the visible main
// entries, or none when a single part hides none.
void JoinMainEntries(CompositeLayout& layout);

// Whether `entry`, an entry of `part.path`, is visible through the part.
bool IsVisible(const CompositePart& part, const IPathEntry& entry);

// Every visible entry of the part in path order, children after their main
// entry, whose type is in scope, until the visitor returns true.
bool ForEachVisibleEntry(const CompositePart& part, SearchScope scope, const PathEntryVisitor& visitor);

}  // namespace Thornfell::PathManagement::detail
