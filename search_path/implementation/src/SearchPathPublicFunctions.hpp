#pragma once
// What several parts of the library share.
#include "tfsearch_path/PathTypes.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <array>

namespace Thornfell::PackageRegistry {
class IPackage;
} // namespace Thornfell::PackageRegistry

namespace Thornfell::PathManagement {

// Whether a package asks for the front of the path: its "PathPosition" is
// "begin". A value that isn't a text throws std::bad_variant_access.
bool GoesToFrontOfPath(const PackageRegistry::IPackage& package);

namespace detail {
// The message for a folder of a kind that can't stand on the path itself
// (a package, class, private or resources folder).
void AddErrorToNotificationForProcessingNonMainEntry(foundation::core::except::Notification& notification,
                                                     const PathEntryType& type, const ustring& folder);
} // namespace detail

// Called inside a catch handler: turns the storage failure in flight into a
// message about `folder`, or lets an exception it doesn't know go on.
void AddStorageFailure(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                       foundation::core::except::Notification& notification);

// PathItem::Normalize of a name, as a view, without a string on the heap for
// the names lookups nearly always get: those of ASCII characters, whose
// normal form is their ASCII folding, are folded into a buffer inside.
class NormalizedName {
public:
    explicit NormalizedName(ustring_view name);
    NormalizedName(const NormalizedName&) = delete;
    NormalizedName& operator=(const NormalizedName&) = delete;

    ustring_view view() const { return view_; }

private:
    std::array<char16_t, 64> buffer_;
    ustring other_;  // the normal form of any other name
    ustring_view view_;
};

// The component text of the manager's messages.
inline constexpr const char* MpathComponent = "ORVIAN:mpath";

} // namespace Thornfell::PathManagement
