#pragma once
// Turns folders into entries. One for the process; any thread may call it.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"
#include "foundation/core/except/Notification.hpp"

#include <iosfwd>

namespace Thornfell::PathManagement {

class IFolderMonitor;

class TFSP_API IPathEntryFactory {
public:
    virtual ~IPathEntryFactory() = default;

    // Frozen below the installation root, monitored elsewhere. Throws the
    // storage Exception when the folder can't be read.
    virtual PathEntryPointer GetPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const = 0;
    virtual PathEntryPointer GetPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder) const = 0;
    virtual PathEntryPointer GetFrozenPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) const = 0;
    virtual PathEntryPointer GetFrozenPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder) const = 0;
    // Frozen if the monitor says so, else as GetPathEntry.
    virtual PathEntryPointer CreateUpdatedPathEntry(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                                                    const IFolderMonitor& monitor) const = 0;
    virtual PathEntryPointer GetMonitoredPathEntry(const foundation::storage::vfs::AbsoluteIRI& folder,
                                                   const IFolderMonitor& monitor) const = 0;
    // A copy of the entry with frozen observers throughout.
    virtual PathEntryPointer GetFrozenEntryFor(const PathEntryPointer& entry) const = 0;
    virtual void LoadToolboxCache(std::istream& in, const foundation::storage::vfs::AbsoluteIRI& root) = 0;
    // Leaves out a main folder that the file can't hold (a name with a
    // quotation mark, or nesting past what a reader takes), so that it is
    // listed from the disk instead; says which and why in `leftOut`, if given.
    virtual void WriteToolboxCache(std::ostream& out, const foundation::storage::vfs::AbsoluteIRI& root,
                                   foundation::core::except::Notification* leftOut = nullptr) const = 0;
    // The main entries kept alive below the installation root, in no order.
    virtual std::shared_ptr<const PathEntryVector> GetToolboxEntries() const = 0;
    virtual foundation::storage::vfs::CanonicalAbsoluteIRI GetCanonicalFolderIRI(
        const foundation::storage::vfs::AbsoluteIRI& folder) const = 0;
    virtual foundation::storage::vfs::CanonicalAbsoluteIRI GetCanonicalFileIRI(
        const foundation::storage::vfs::AbsoluteIRI& file) const = 0;
};

// The process-wide factory.
TFSP_API IPathEntryFactory& GetPathEntryFactory();

}  // namespace Thornfell::PathManagement
