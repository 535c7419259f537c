#include "support/BenchEntries.hpp"

#include "tfsearch_path/IPathEntryFactory.hpp"

namespace tfsp::bench {

std::vector<foundation::storage::vfs::AbsoluteIRI> MainFolderIRIs(const GeneratedTree& tree) {
    std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
    iris.reserve(tree.mainFolders().size());
    for (const auto& folder : tree.mainFolders())
        iris.push_back(foundation::storage::vfs::toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(folder)));
    return iris;
}

Thornfell::PathManagement::PathEntryVector FrozenMainEntries(const GeneratedTree& tree) {
    Thornfell::PathManagement::PathEntryVector entries;
    for (const auto& iri : MainFolderIRIs(tree))
        entries.push_back(Thornfell::PathManagement::GetPathEntryFactory().GetFrozenPathEntry(iri));
    return entries;
}

} // namespace tfsp::bench
