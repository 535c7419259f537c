#pragma once
// What a toolbox cache file that isn't in the cache format gives, whatever
// its fault: the reader stops at the first one, and the stream it read from
// stands at the fault.
#include "tfsearch_path/Export.hpp"
#include "foundation/core/except/Exception.hpp"

namespace Thornfell::PathManagement {

class TFSP_API ToolboxCacheWrongFormatException
    : public foundation::core::except::Exception<foundation::core::except::IInternalException, std::exception, void> {
public:
    ToolboxCacheWrongFormatException() = default;
    const char* what() const noexcept override { return "the toolbox cache file is not in the expected format"; }
};

}  // namespace Thornfell::PathManagement
