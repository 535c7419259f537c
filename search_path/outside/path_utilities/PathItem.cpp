#include "tfsearch_path/PathItem.hpp"

#include "foundation/storage/vfs/PathComparator.hpp"

namespace Thornfell::PathManagement {

PathItem::PathItem(ustring&& stemIn, ustring&& extensionIn, foundation::storage::vfs::CanonicalAbsoluteIRI&& folder)
    : stem(std::move(stemIn)), extension(std::move(extensionIn)), normalizedStem(Normalize(ustring(stem))),
      folderIRI(std::move(folder)) {}

PathItem::PathItem(ustring_view stemIn, ustring_view extensionIn,
                   const foundation::storage::vfs::CanonicalAbsoluteIRI& folder)
    : stem(stemIn), extension(extensionIn), normalizedStem(Normalize(ustring(stem))), folderIRI(folder) {}

ustring PathItem::Normalize(ustring&& name) {
    // The exact rule calls equal only identical strings, and the folded rule
    // calls equal exactly the strings with the same folding, so folding is a
    // form that both agree on.
    foundation::storage::vfs::foldCaseInPlace(name);
    return std::move(name);
}

namespace Constants {
const ustring PathnameSeparatorStr = u"/\\";
}

}  // namespace Thornfell::PathManagement
