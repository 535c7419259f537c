#pragma once
// What changed between two lists of entries (the main entries of a path
// before and after a change): which folders came, went, moved, or stand there
// as a new object.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <cstdint>

namespace Thornfell::PathManagement {

enum ComparisonFilter : std::int32_t {
    // Entries are matched by their folder (canonical IRI); an entry that
    // stands in both lists as another object counts as refreshed.
    CompareByFolder = 1,
};

class TFSP_API PathEntryVectorDifferentiator {
public:
    // All lists empty.
    PathEntryVectorDifferentiator();

    // Replaces the lists with the differences from `before` to `after`. Each
    // folder is expected once in each list (as on a path); null entries are
    // ignored. Any filter other than CompareByFolder ends the program.
    //   added      entries of `after` whose folder isn't in `before`, in `after` order
    //   removed    entries of `before` whose folder isn't in `after`, in `before` order
    //   reordered  entries of `after` whose folder is in both lists but whose
    //              place relative to the other common folders changed: all
    //              common folders but a longest run that kept its relative
    //              order. Of several longest runs, the one that ends earliest
    //              in `before` stays, so an entry moved towards the front is
    //              the one reported. Comings and goings move nothing.
    //   refreshed  folders in both lists as different objects: the old objects
    //              (RefreshedBefore) and the new ones (RefreshedAfter), both in
    //              `after` order, so that the two lists pair up by index.
    void Compare(const PathEntryVector& before, const PathEntryVector& after, ComparisonFilter filter);

    // Never null; empty when there is no change of that kind. The lists are
    // shared, never changed: a later Compare makes new ones.
    PathEntryList GetAdded() const { return added_; }
    PathEntryList GetRemoved() const { return removed_; }
    PathEntryList GetReordered() const { return reordered_; }
    PathEntryList GetRefreshedBefore() const { return refreshedBefore_; }
    PathEntryList GetRefreshedAfter() const { return refreshedAfter_; }

private:
    PathEntryList added_;
    PathEntryList removed_;
    PathEntryList reordered_;
    PathEntryList refreshedBefore_;
    PathEntryList refreshedAfter_;
};

}  // namespace Thornfell::PathManagement
