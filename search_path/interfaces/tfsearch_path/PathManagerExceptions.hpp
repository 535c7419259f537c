#pragma once
// The exceptions of path changes: a whole change that can't be made.
#include "tfsearch_path/Export.hpp"
#include "foundation/core/except/Exception.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <exception>
#include <string>

namespace Thornfell::PathManagement {

using InternalException =
    foundation::core::except::Exception<foundation::core::except::IInternalException, std::exception, void>;

// The mutability policy refused a change of the path.
class TFSP_API PathAlterationNotSupportedException : public InternalException {
public:
    const char* what() const noexcept override { return "the search path may not be altered now"; }
};

// A change of the path was asked for while another was being installed.
class TFSP_API RecursivePathChangeException : public InternalException {
public:
    const char* what() const noexcept override { return "the search path is already being changed"; }
};

// The frozen state of a folder of a package follows its package.
class TFSP_API PackageFolderMonitoringChangeException : public InternalException {
public:
    explicit PackageFolderMonitoringChangeException(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder);
    const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
};

}  // namespace Thornfell::PathManagement
