#pragma once
// Checking a toolbox cache file without loading it: whether it would load,
// and what it holds.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/ToolboxCacheWrongFormatException.hpp"

#include <cstddef>
#include <iosfwd>

namespace Thornfell::PathManagement {

struct ToolboxCacheCounts {
    std::size_t folders = 0;  // folder elements, nested ones too
    std::size_t files = 0;    // file lines
};

// Reads a toolbox cache file from the stream's position to its end line, as
// IPathEntryFactory::LoadToolboxCache reads it, but builds no entry and needs
// no root: a file it accepts, a load accepts, and one it refuses, a load
// refuses at the same byte. Throws ToolboxCacheWrongFormatException at the
// first fault, with `in` standing at the offending byte (or at the end of
// the input; clear its state to ask tellg where).
TFSP_API ToolboxCacheCounts CheckToolboxCache(std::istream& in);

}  // namespace Thornfell::PathManagement
