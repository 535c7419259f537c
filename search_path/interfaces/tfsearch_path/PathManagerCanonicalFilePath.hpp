#pragma once
// The canonical name of a file as the search path sees it.
#include "tfsearch_path/Export.hpp"
#include "foundation/core/except/Exception.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <memory>

namespace Thornfell::PathManagement {

// A file name has no main folder above it to be made canonical through.
class TFSP_API NoParentIRIException : public foundation::core::except::IInternalException {
public:
    NoParentIRIException() = default;
    NoParentIRIException(const NoParentIRIException&) = default;
    NoParentIRIException(NoParentIRIException&&) = default;
    NoParentIRIException& operator=(const NoParentIRIException&) = default;
    NoParentIRIException& operator=(NoParentIRIException&&) = default;
    ~NoParentIRIException() override;

    virtual std::unique_ptr<NoParentIRIException> clone() const;
    [[noreturn]] virtual void rethrow() const;
    virtual const char* what() const noexcept;
};

// A file whose folder is on the search path comes back as it is: names on
// the path are canonical already. Otherwise the nearest main folder above
// the file (the first that is no package, class, private or resources
// folder) is made canonical by the storage system, and the names below it
// follow unchanged. Throws NoParentIRIException when the walk up passes a
// root.
TFSP_API foundation::storage::vfs::AbsoluteIRI PathManagerCanonicalFilePath(
    const foundation::storage::vfs::AbsoluteIRI& file);

}  // namespace Thornfell::PathManagement
