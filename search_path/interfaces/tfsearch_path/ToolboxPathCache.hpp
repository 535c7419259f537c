#pragma once
// Saving the toolbox cache file of an entry factory.
#include "tfsearch_path/Export.hpp"
#include "foundation/core/except/Exception.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <string>

namespace Thornfell::PathManagement {

class IPathEntryFactory;

class TFSP_API UnableToSaveToolboxCacheException
    : public foundation::core::except::Exception<foundation::core::except::IInternalException, std::exception, void> {
public:
    // `reason` names the file and what went wrong, for the user.
    explicit UnableToSaveToolboxCacheException(std::string reason) : reason_(std::move(reason)) {}
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string reason_;
};

// Writes the factory's cache of the folders below `root` into `cacheFile`,
// whole or not at all: it is written beside the file under another name and
// then renamed into place, so a reader never meets a half-written cache and
// an earlier file stays as it was when anything fails. The other name is
// short and of fixed length; temporary files that writers killed half-way
// left in that folder are removed first. Throws
// UnableToSaveToolboxCacheException when the file can't be written;
// std::bad_alloc passes as it is. The folders left out go into `leftOut`, if
// given (IPathEntryFactory::WriteToolboxCache).
TFSP_API void WriteToolboxPathCache(const foundation::storage::vfs::AbsoluteIRI& cacheFile,
                                    const foundation::storage::vfs::AbsoluteIRI& root, const IPathEntryFactory& factory,
                                    foundation::core::except::Notification* leftOut = nullptr);

}  // namespace Thornfell::PathManagement
