#pragma once
// Events that the search path publishes.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPathEntry.hpp"
#include "foundation/msg_svc/eventmgr/BaseEvent.hpp"

namespace Thornfell::PathManagement {

// Published by an entry as it is destroyed, on the thread that dropped its
// last share. The entry may be looked at during delivery only.
class TFSP_API PathEntryWillBeDestroyedEvent
    : public foundation::msg_svc::eventmgr::EventBase<PathEntryWillBeDestroyedEvent> {
public:
    PathEntryWillBeDestroyedEvent(const IPathEntry& entry, foundation::storage::vfs::CanonicalAbsoluteIRI iri)
        : entry_(&entry), iri_(std::move(iri)) {}
    static const std::string& TypeName();
    const IPathEntry& GetPathEntry() const { return *entry_; }
    const foundation::storage::vfs::CanonicalAbsoluteIRI& GetCanonicalAbsoluteIRI() const { return iri_; }

private:
    const IPathEntry* entry_;
    foundation::storage::vfs::CanonicalAbsoluteIRI iri_;
};

}  // namespace Thornfell::PathManagement
