#include "tfsearch_path/PathFunctions.hpp"

#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "thornfell/PackageRegistry.hpp"

namespace Thornfell::PathManagement {

PathEntryType GetPathEntryTypeFromBaseName(const ustring& baseName) {
    if (!baseName.empty()) {
        if (baseName.front() == u'+') return Package;
        if (baseName.front() == u'@') return Method;
    }
    if (baseName == u"private") return Private;
    if (baseName == u"resources") return Resources;
    return Main;
}

foundation::storage::vfs::AbsoluteIRI GetIRIFromString(const ustring& text) {
    static const ustring filePrefix = u"file://";
    if (text.compare(0, filePrefix.size(), filePrefix) == 0)
        return foundation::storage::vfs::toAbsoluteIRI(u"file", text.substr(filePrefix.size()));
    return foundation::storage::vfs::toAbsoluteIRI(u"file", text);
}

ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri) { return iri.getPath(); }

namespace {
// The comparator is copied in, so that the function stands on its own.
FilenameMatcherFunction MakeComparatorMatcher(const foundation::storage::vfs::PathComparator& comparator,
                                              foundation::storage::vfs::CaseModifier modifier) {
    return [comparator, modifier](const ustring& a, const ustring& b) {
        try {
            return comparator(a, b, modifier);
        } catch (const foundation::storage::vfs::Exception&) {
            return false;
        }
    };
}
} // namespace

PolicyFilenameMatchers::PolicyFilenameMatchers(const foundation::storage::vfs::PathComparator& comparator)
    : exact_(MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::Exact)),
      folded_(MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::Folded)),
      storageSystemRule_(MakeComparatorMatcher(comparator, foundation::storage::vfs::CaseModifier::StorageSystemRule)) {}

void PolicyFilenameMatchers::TerminateOnUnknownPolicy() {
    FL_DIAG_TERMINATE("Unrecognized FilenameMatchingPolicy passed to GetFilenameMatcher");
}

bool DoesEntryIRITextMatch(const IPathEntry& entry, const ustring& iriText, FilenameMatchingPolicy policy) {
    return (*entry.CreateFilenameMatcher(policy))(entry.GetIRI().toString(), iriText);
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

} // namespace Thornfell::PathManagement
