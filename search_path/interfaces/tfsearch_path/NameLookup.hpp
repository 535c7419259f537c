#pragma once
// What a name typed by a user finds on a path: the rule of SearchPath::Find,
// for any program that holds an IPath.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/IPath.hpp"

#include <vector>

namespace Thornfell::PathManagement {

// The files `name` finds on `path`, best first; with `all` false, at most the
// first.
//  - A bare name: the constructor @NAME/NAME of a class in a main folder, in
//    path order, then the files of that stem in the main folders. Methods of
//    other classes, package and private functions are not reached.
//  - A partial pathname (+pkg/name, @Cls/name, private/name, dir/name): the
//    path query's match, in any kind of folder.
//  - A dotted name whose parts are all identifiers (pkg.name, pkg.sub.name):
//    the package function +pkg/+sub/name.
// Throws std::invalid_argument for an empty name or one that ends in a
// separator.
TFSP_API std::vector<FoundItem> LookUpName(const IPath& path, const ustring& name,
                                           const std::vector<ustring>& extensions, FilenameMatchingPolicy policy,
                                           bool all);

// The first file of LookUpName, borrowed from `path` (see FoundItemView):
// what many threads ask at once without writing anything they share.
TFSP_API FoundItemView LookUpFirstName(const IPath& path, const ustring& name, const std::vector<ustring>& extensions,
                                       FilenameMatchingPolicy policy);

}  // namespace Thornfell::PathManagement
