#pragma once
// The identifiers of the messages the search path raises, each named once:
// the library raises its messages by these names, and a host that looks at
// a Notification or a MessageException compares with them. Constants and
// inline functions only, so that nothing here is exported.
#include "fl/ustring.hpp"
#include "resource_core/BaseMsgID.hpp"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Thornfell::PathManagement {

// A message's identifier: the catalog it belongs to ("ORVIAN:mpath") and its
// key there.
struct MessageIdentifier {
    std::string_view catalog;
    std::string_view key;

    // "catalog:key", as resource_core::BaseMsgID::getIdentifier gives it.
    std::string Text() const { return std::string(catalog).append(":").append(key); }
    // The message of this identifier with `arguments`.
    resource_core::BaseMsgID Message(std::vector<ustring> arguments = {}) const {
        return resource_core::BaseMsgID(std::string(catalog), std::string(key), std::move(arguments));
    }
};

// One namespace for each catalog, named as the catalog is; a constant is
// named as its key. The arguments of each message are in the comments.
namespace MessageIds {

namespace mpath {
inline constexpr std::string_view catalog = "ORVIAN:mpath";
// A folder left off the path: the folder as given.
inline constexpr MessageIdentifier packageDirectoriesNotAllowedOnPath{catalog, "packageDirectoriesNotAllowedOnPath"};
inline constexpr MessageIdentifier methodDirectoriesNotAllowedOnPath{catalog, "methodDirectoriesNotAllowedOnPath"};
inline constexpr MessageIdentifier privateDirectoriesNotAllowedOnPath{catalog, "privateDirectoriesNotAllowedOnPath"};
inline constexpr MessageIdentifier resourcesDirectoriesNotAllowedOnPath{catalog,
                                                                        "resourcesDirectoriesNotAllowedOnPath"};
inline constexpr MessageIdentifier invalidLocation{catalog, "invalidLocation"};
inline constexpr MessageIdentifier directoryPermissionDenied{catalog, "directoryPermissionDenied"};
inline constexpr MessageIdentifier nameNonexistentOrNotADirectory{catalog, "nameNonexistentOrNotADirectory"};
inline constexpr MessageIdentifier directoryAccessFailure{catalog, "directoryAccessFailure"};
// The folder, the package's name, the package's root.
inline constexpr MessageIdentifier packageMemberFoldersNotAllowedOnPath{catalog,
                                                                        "packageMemberFoldersNotAllowedOnPath"};
// No arguments.
inline constexpr MessageIdentifier packagesMustBeLastOnPath{catalog, "packagesMustBeLastOnPath"};
// The packages' names, each after a line break and a tab.
inline constexpr MessageIdentifier PackagesBrokenAsAtomicUnitDueToAddedEntries{
    catalog, "PackagesBrokenAsAtomicUnitDueToAddedEntries"};
inline constexpr MessageIdentifier PackagesBrokenAsAtomicUnitDueToRemovedEntries{
    catalog, "PackagesBrokenAsAtomicUnitDueToRemovedEntries"};
inline constexpr MessageIdentifier PackagesBrokenAsAtomicUnitDueToReorderedEntries{
    catalog, "PackagesBrokenAsAtomicUnitDueToReorderedEntries"};
// No arguments.
inline constexpr MessageIdentifier PathAlterationNotSupported{catalog, "PathAlterationNotSupported"};
inline constexpr MessageIdentifier UnableToModifyOrvianpath{catalog, "UnableToModifyOrvianpath"};
// The package's root.
inline constexpr MessageIdentifier AddPackageToPathInfo{catalog, "AddPackageToPathInfo"};
// The folder, the package's name, and the hint of AddPackageToPathInfo or
// nothing.
inline constexpr MessageIdentifier packageMemberFolderRemovedFromPath{catalog, "packageMemberFolderRemovedFromPath"};
// The version on the path, the others.
inline constexpr MessageIdentifier MultiplePackageVersionsOnPath{catalog, "MultiplePackageVersionsOnPath"};
// No arguments.
inline constexpr MessageIdentifier ZPMFeatureOff{catalog, "ZPMFeatureOff"};
inline constexpr MessageIdentifier InvalidInstallStamp{catalog, "InvalidInstallStamp"};
}  // namespace mpath

namespace CachePath {
inline constexpr std::string_view catalog = "ORVIAN:CachePath";
// The file.
inline constexpr MessageIdentifier FailedToSave{catalog, "FailedToSave"};
// The folder, relative to the root; the deepest nesting the file holds.
inline constexpr MessageIdentifier FolderTooDeep{catalog, "FolderTooDeep"};
// The folder or file, relative to the root.
inline constexpr MessageIdentifier QuotationMarkInName{catalog, "QuotationMarkInName"};
}  // namespace CachePath

// The policy commands' refusals; no arguments.
namespace ChangeHandleWarning {
inline constexpr std::string_view catalog = "ORVIAN:ChangeHandleWarning";
inline constexpr MessageIdentifier InvalidOption{catalog, "InvalidOption"};
inline constexpr MessageIdentifier notEnoughInputs{catalog, "notEnoughInputs"};
}  // namespace ChangeHandleWarning

namespace RemotePolicy {
inline constexpr std::string_view catalog = "ORVIAN:RemotePolicy";
inline constexpr MessageIdentifier UnknownPolicy{catalog, "UnknownPolicy"};
}  // namespace RemotePolicy

// A text argument refused; no arguments.
namespace string {
inline constexpr std::string_view catalog = "ORVIAN:string";
inline constexpr MessageIdentifier MustBeStringScalarOrCharacterVector{catalog, "MustBeStringScalarOrCharacterVector"};
inline constexpr MessageIdentifier MissingNotSupported{catalog, "MissingNotSupported"};
}  // namespace string

namespace legacy_two_part {
inline constexpr std::string_view catalog = "ORVIAN:legacy_two_part";
// Out of memory; no arguments.
inline constexpr MessageIdentifier nomem{catalog, "nomem"};
}  // namespace legacy_two_part

}  // namespace MessageIds

}  // namespace Thornfell::PathManagement
