#pragma once
// What several parts of the library share.
#include "tfsearch_path/PathTypes.hpp"
#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>

namespace Thornfell::PackageRegistry {
class IPackage;
}  // namespace Thornfell::PackageRegistry

namespace Thornfell::PathManagement {

class IPath;
class IPathEntry;

// The key rule of the oneTBB maps keyed by folder: the hash that the IRI
// computed once, as the standard containers take it, and its equality.
struct IRIHashCompare {
    // A map keyed by canonical IRIs may be asked with any IRI, without a
    // canonical copy made of it for the question.
    using is_transparent = void;
    static std::size_t hash(const foundation::storage::vfs::AbsoluteIRI& iri) {
        return foundation::storage::vfs::AbsoluteIRIHash{}(iri);
    }
    static bool equal(const foundation::storage::vfs::AbsoluteIRI& a, const foundation::storage::vfs::AbsoluteIRI& b) {
        return a == b;
    }
};

// Whether a package asks for the front of the path: its "PathPosition" is
// "begin". A value that isn't a text throws std::bad_variant_access.
bool GoesToFrontOfPath(const PackageRegistry::IPackage& package);

namespace detail {
// The message for a folder of a kind that can't stand on the path itself
// (a package, class, private or resources folder).
void AddErrorToNotificationForProcessingNonMainEntry(foundation::core::except::Notification& notification,
                                                     const PathEntryType& type, const ustring& folder);
}  // namespace detail

// Called inside a catch handler: turns the storage failure in flight into a
// message about `folder`, or lets an exception it doesn't know go on.
void AddStorageFailure(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                       foundation::core::except::Notification& notification);

// Reports every folder of `path` as changed to the observers, frozen ones
// included, except those that `leaveOut` names; returns once the next
// IsOutOfDate of their entries sees the report.
void ReportFoldersAsChanged(const IPath& path, const std::function<bool(const IPathEntry&)>& leaveOut = {});

// The installation folder of the environment, from the host's install path
// in its native form; empty when there is none. The entry factory and the
// folder monitor both freeze the folders below it, so both take it from here.
std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> InstallRootFromInstallPath();

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

// Asks the processor for the cache line at `address` without waiting for it;
// `address` need not be valid. g++ 12 dropped __builtin_prefetch from a loop
// that held two of them, as code without effect, so on x86-64 the
// instruction is written out.
inline void PrefetchLine(const void* address) {
#if defined(__x86_64__)
    asm volatile("prefetcht0 %0" : : "m"(*static_cast<const char*>(address)));
#else
    __builtin_prefetch(address);
#endif
}

}  // namespace Thornfell::PathManagement
