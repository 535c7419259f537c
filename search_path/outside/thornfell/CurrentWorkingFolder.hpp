#pragma once
// The working folder of an engine instance.
#include "foundation/core/except/Exception.hpp"
#include "foundation/msg_svc/eventmgr/BaseEvent.hpp"
#include "foundation/storage/vfs/Folder.hpp"

#include <optional>
#include <stdexcept>

namespace Thornfell::current_working_folder {

class FailedToAbsolutizeException
    : public foundation::core::except::Exception<foundation::core::except::IInternalException, std::runtime_error,
                                                 void> {
public:
    explicit FailedToAbsolutizeException(const ustring& path);
};

class ICurrentWorkingFolder {
public:
    virtual ~ICurrentWorkingFolder() = default;
    // The working folder. Its canonical location is known.
    virtual foundation::storage::vfs::Folder get() const = 0;
    // `path` as an absolute IRI: an absolute path as it is ("~" expanded), a
    // relative one joined to the working folder. FailedToAbsolutizeException
    // for an empty path.
    virtual foundation::storage::vfs::AbsoluteIRI absolutize(const ustring& path) const = 0;
    // Makes `folder` the working folder and publishes
    // CurrentWorkingFolderChangedEvent on the engine's bus with mode 0. Throws
    // the storage Exception when it can't be resolved to a folder; then nothing
    // changes.
    virtual void set(const foundation::storage::vfs::AbsoluteIRI& folder) = 0;
};

// The working folder of the engine instance current on this thread. It
// starts as the process's working folder (getcwd) the first time it is asked.
ICurrentWorkingFolder& GetCurrentWorkingFolder();

class CurrentWorkingFolderChangedEvent
    : public foundation::msg_svc::eventmgr::EventBase<CurrentWorkingFolderChangedEvent> {
public:
    CurrentWorkingFolderChangedEvent(foundation::storage::vfs::CanonicalAbsoluteIRI oldFolder,
                                     foundation::storage::vfs::CanonicalAbsoluteIRI newFolder)
        : old_(std::move(oldFolder)), new_(std::move(newFolder)) {}
    static const std::string& TypeName();
    const foundation::storage::vfs::CanonicalAbsoluteIRI& getOld() const { return old_; }
    const foundation::storage::vfs::CanonicalAbsoluteIRI& getNew() const { return new_; }

private:
    foundation::storage::vfs::CanonicalAbsoluteIRI old_;
    foundation::storage::vfs::CanonicalAbsoluteIRI new_;
};

}  // namespace Thornfell::current_working_folder
