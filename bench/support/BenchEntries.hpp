#pragma once
// The main folders of a generated tree as the benchmarks use them.
#include "support/GeneratedTree.hpp"

#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <vector>

namespace tfsp::bench {

std::vector<foundation::storage::vfs::AbsoluteIRI> MainFolderIRIs(const GeneratedTree& tree);
// Frozen entries of the main folders, in order: no change watch is set up.
Thornfell::PathManagement::PathEntryVector FrozenMainEntries(const GeneratedTree& tree);

} // namespace tfsp::bench
