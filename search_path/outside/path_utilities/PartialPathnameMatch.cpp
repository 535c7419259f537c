#include "tfsearch_path/PathFunctions.hpp"

#include <boost/container/small_vector.hpp>

namespace Thornfell::PathManagement {

bool DoesPartialPathnameMatchPathEntryIRI(const IPath&, const PartialPathnamePartsRange& parts,
                                          const PathEntryPointer& entry, const FilenameMatchingPolicy& policy) {
    if (!entry) return false;
    // The range only goes forwards, and the location is matched from its end.
    boost::container::small_vector<const ustring*, 8> wanted;
    for (const ustring& part : parts) wanted.push_back(&part);
    if (wanted.empty()) return true;

    const FilenameMatcher matcher = entry->CreateFilenameMatcher(policy);
    const foundation::storage::vfs::CanonicalAbsoluteIRI iri = entry->GetIRI();
    // The path is in generic form: "/" between components, none at the end.
    const ustring& location = iri.getPath();
    std::size_t end = location.size();
    ustring component;
    for (auto part = wanted.rbegin(); part != wanted.rend(); ++part) {
        if (end == 0) return false;
        const std::size_t separator = location.rfind(u'/', end - 1);
        const std::size_t start = separator == ustring::npos ? 0 : separator + 1;
        if (start == end) return false;  // more parts than the location has components
        component.assign(location, start, end - start);
        if (!(*matcher)(component, **part)) return false;
        end = separator == ustring::npos ? 0 : separator;
    }
    return true;
}

}  // namespace Thornfell::PathManagement
