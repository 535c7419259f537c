#pragma once
// Small functions on names, IRIs and entries.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "orvian/ComponentIdentifier.hpp"

#include <boost/container/small_vector.hpp>
#include <boost/range/any_range.hpp>

#include <array>
#include <span>

namespace Thornfell::PackageRegistry {
class IPackage;
class IPackageRegistry;
}  // namespace Thornfell::PackageRegistry

namespace Thornfell::current_working_folder {
class ICurrentWorkingFolder;
}  // namespace Thornfell::current_working_folder

namespace Thornfell::PathManagement {

// Package for a leading "+", Method for a leading "@", Private and Resources
// for "private" and "resources", else Main. Never UDDClass: only a caller
// that knows the parent can tell.
TFSP_API PathEntryType GetPathEntryTypeFromBaseName(const ustring& baseName);

// The IRI of a folder or file given as an absolute path, or as the text of a
// "file://" IRI. Throws the storage Exception for a relative path.
TFSP_API foundation::storage::vfs::AbsoluteIRI GetIRIFromString(const ustring& text);
// A text fit to show a user and to join with ";": the plain path.
TFSP_API ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri);

// The name comparisons of an entry, one for each matching policy: its
// comparator under that policy's case modifier, a storage failure in a
// comparison counting as no match. The entry holds them, and hands one out
// as a FilenameMatcher that shares ownership of the entry.
class TFSP_API PolicyFilenameMatchers {
public:
    explicit PolicyFilenameMatchers(const foundation::storage::vfs::PathComparator& comparator);

    // One policy's comparison, called directly: a query compares names by
    // the thousand, and a FilenameMatcherFunction adds two indirect calls to
    // each. Valid while the matchers that made it live.
    class Comparison {
    public:
        bool operator()(const ustring& a, const ustring& b) const { return Compare(comparator_, modifier_, a, b); }

    private:
        friend class PolicyFilenameMatchers;
        Comparison(const foundation::storage::vfs::PathComparator& comparator,
                   foundation::storage::vfs::CaseModifier modifier)
            : comparator_(comparator), modifier_(modifier) {}

        const foundation::storage::vfs::PathComparator& comparator_;
        foundation::storage::vfs::CaseModifier modifier_;
    };

    // Fatal for a policy out of range.
    Comparison ComparisonFor(FilenameMatchingPolicy policy) const { return {comparator_, ModifierFor(policy)}; }
    const FilenameMatcherFunction& ForPolicy(FilenameMatchingPolicy policy) const {
        return byModifier_[static_cast<std::size_t>(ModifierFor(policy))];
    }
    // The matcher of `policy` as an aliasing pointer that owns `holder`, the
    // entry these matchers belong to: the matcher keeps its entry alive.
    FilenameMatcher Share(std::shared_ptr<const IPathEntry> holder, FilenameMatchingPolicy policy) const {
        return FilenameMatcher(std::move(holder), &ForPolicy(policy));
    }

    // What every comparison and matcher does.
    static bool Compare(const foundation::storage::vfs::PathComparator& comparator,
                        foundation::storage::vfs::CaseModifier modifier, const ustring& a, const ustring& b) noexcept {
        try {
            return comparator(a, b, modifier);
        } catch (const foundation::storage::vfs::Exception&) {
            return false;
        }
    }

private:
    static foundation::storage::vfs::CaseModifier ModifierFor(FilenameMatchingPolicy policy) {
        switch (policy) {
        case CaseRuleOne: return foundation::storage::vfs::CaseModifier::Exact;
        case CaseRuleTwo: return foundation::storage::vfs::CaseModifier::Folded;
        case StorageSystemRule: return foundation::storage::vfs::CaseModifier::StorageSystemRule;
        }
        TerminateOnUnknownPolicy();
    }
    [[noreturn]] static void TerminateOnUnknownPolicy();

    foundation::storage::vfs::PathComparator comparator_;
    // One matcher for each CaseModifier, at the modifier's value.
    std::array<FilenameMatcherFunction, 3> byModifier_;
};

// True if `entry`'s comparison under `policy` calls the text of its IRI
// equal to `iriText`, the text of a folder's IRI ("file://...").
TFSP_API bool DoesEntryIRITextMatch(const IPathEntry& entry, const ustring& iriText, FilenameMatchingPolicy policy);

// `path` made absolute against the working folder ("~" expanded) and then
// canonical: links and ".." resolved by the storage system as far as the
// path exists, the names below that kept as they are. Throws the storage
// Exception for a failure other than a missing name (a folder that may not
// be read), and FailedToAbsolutizeException for an empty path.
TFSP_API foundation::storage::vfs::CanonicalAbsoluteIRI CanonicalizeRelativePathAgainstCWD(
    const ustring& path, const Thornfell::current_working_folder::ICurrentWorkingFolder& workingFolder);

using PartialPathnameParts = boost::container::small_vector<ustring, 8>;
using PartialPathnamePartsRange =
    boost::any_range<const ustring, boost::forward_traversal_tag, const ustring&, std::ptrdiff_t>;

// Where the last separator (Constants::PathnameSeparatorStr) of `name`
// stands, or npos: where the item name of a partial pathname begins.
TFSP_API std::size_t LastPathnameSeparator(ustring_view name);

// The folder names of a partial pathname, the innermost last; empty parts
// (doubled separators) are dropped. May be empty.
TFSP_API PartialPathnameParts SplitPartialPathname(const ustring& partialPathname);

// True if the location of `entry` ends in `parts` (compared with the entry's
// matcher under `policy`). Parts of package and class folders are written
// with their "+" or "@". Safe on pool threads.
TFSP_API bool DoesPartialPathnameMatchPathEntryIRI(const IPath& path, const PartialPathnamePartsRange& parts,
                                                   const PathEntryPointer& entry, const FilenameMatchingPolicy& policy);

// The folders of a package that go on the path: those of its records of
// kind 0, in record order; the first is its root.
TFSP_API std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> GetPathFoldersOfPackage(
    const Thornfell::PackageRegistry::IPackage& package);

// The folders that stand for `packages` on the path, package after package:
// a managed package by its root alone (the manager expands it), any other
// package by each of its folders of kind 0, in record order. A package the
// registry doesn't hold gives nothing.
TFSP_API std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> GetPathFoldersForPackages(
    const Thornfell::PackageRegistry::IPackageRegistry& registry,
    std::span<const OrvianComponents::ComponentIdentifier> packages);

}  // namespace Thornfell::PathManagement
