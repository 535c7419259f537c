#include "tfsearch_path/PathFunctions.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <vector>

namespace Thornfell::PathManagement {

foundation::storage::vfs::AbsoluteIRI GetIRIFromString(const ustring& text) {
    static const ustring filePrefix = u"file://";
    if (text.compare(0, filePrefix.size(), filePrefix) == 0)
        return foundation::storage::vfs::toAbsoluteIRI(u"file", text.substr(filePrefix.size()));
    return foundation::storage::vfs::toAbsoluteIRI(u"file", text);
}

ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri) { return iri.getPath(); }

foundation::storage::vfs::CanonicalAbsoluteIRI CanonicalizeRelativePathAgainstCWD(
    const ustring& path, const Thornfell::current_working_folder::ICurrentWorkingFolder& workingFolder) {
    using foundation::storage::vfs::AbsoluteIRI;
    using foundation::storage::vfs::CanonicalAbsoluteIRI;
    const auto storage = OrvianStorageSystem::GetStorageSystemReference();
    AbsoluteIRI existing = workingFolder.absolutize(path);
    // The names below the deepest folder that exists, the innermost first.
    std::vector<ustring> missing;
    for (;;) {
        try {
            CanonicalAbsoluteIRI canonical = foundation::storage::vfs::Folder(existing, storage).getCanonicalLocation();
            if (missing.empty()) return canonical;
            ustring relative;
            for (auto name = missing.rbegin(); name != missing.rend(); ++name)
                relative = fl::filesystem::concatenate_pathname(relative, *name);
            return CanonicalAbsoluteIRI(canonical, relative);
        } catch (const foundation::storage::vfs::Exception& e) {
            // A file, or a name that doesn't exist: its folder is resolved
            // instead. At the root there is nothing left to resolve.
            if (e.getErrorCode() != static_cast<int>(foundation::storage::vfs::ErrorCode::NotFound)) throw;
            if (!existing.hasParent()) return CanonicalAbsoluteIRI(workingFolder.absolutize(path), ustring());
            missing.push_back(existing.getName());
            existing = existing.getParent();
        }
    }
}

namespace {
// The comparator is copied in, so that the function stands on its own.
FilenameMatcherFunction MakeComparatorMatcher(const foundation::storage::vfs::PathComparator& comparator,
                                              foundation::storage::vfs::CaseModifier modifier) {
    return [comparator, modifier](const ustring& a, const ustring& b) {
        return PolicyFilenameMatchers::Compare(comparator, modifier, a, b);
    };
}
}  // namespace

// byModifier_ is listed in the order of these values.
static_assert(static_cast<int>(foundation::storage::vfs::CaseModifier::StorageSystemRule) == 0 &&
              static_cast<int>(foundation::storage::vfs::CaseModifier::Exact) == 1 &&
              static_cast<int>(foundation::storage::vfs::CaseModifier::Folded) == 2);

PolicyFilenameMatchers::PolicyFilenameMatchers(const foundation::storage::vfs::PathComparator& comparator)
    : comparator_(comparator),
      byModifier_{MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::StorageSystemRule),
                  MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::Exact),
                  MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::Folded)} {}

void PolicyFilenameMatchers::TerminateOnUnknownPolicy() {
    FL_DIAG_TERMINATE("Unrecognized FilenameMatchingPolicy passed to GetFilenameMatcher");
}

bool DoesEntryIRITextMatch(const IPathEntry& entry, const ustring& iriText, FilenameMatchingPolicy policy) {
    return (*entry.CreateFilenameMatcher(policy))(entry.GetIRI().toString(), iriText);
}

std::size_t LastPathnameSeparator(ustring_view name) {
    // One reverse scan for each separator: find_last_of tests each unit
    // against the whole set, which took a third of a query for a name that
    // isn't on the path.
    std::size_t last = ustring::npos;
    for (const char16_t separator : Constants::PathnameSeparatorStr) {
        const std::size_t at = name.rfind(separator);
        if (at != ustring::npos && (last == ustring::npos || at > last)) last = at;
    }
    return last;
}

PartialPathnameParts SplitPartialPathname(const ustring& partialPathname) {
    PartialPathnameParts parts;
    std::size_t start = 0;
    while (start <= partialPathname.size()) {
        std::size_t stop = partialPathname.find_first_of(Constants::PathnameSeparatorStr, start);
        if (stop == ustring::npos) stop = partialPathname.size();
        if (stop > start) parts.emplace_back(partialPathname, start, stop - start);
        start = stop + 1;
    }
    return parts;
}

std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> GetPathFoldersOfPackage(
    const Thornfell::PackageRegistry::IPackage& package) {
    std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> folders;
    const auto records = package.GetFolders();
    for (const auto& record : *records)
        if (record.kinds && record.kinds->contains(0)) folders.push_back(record.folder);
    return folders;
}

std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> GetPathFoldersForPackages(
    const Thornfell::PackageRegistry::IPackageRegistry& registry,
    std::span<const OrvianComponents::ComponentIdentifier> packages) {
    std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> folders;
    for (const auto& id : packages) {
        const auto package = registry.GetPackage(id);
        if (!package) continue;
        if (package->IsManaged()) {
            folders.push_back(package->GetRoot());
            continue;
        }
        const auto own = GetPathFoldersOfPackage(*package);
        folders.insert(folders.end(), own.begin(), own.end());
    }
    return folders;
}

}  // namespace Thornfell::PathManagement
