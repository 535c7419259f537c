#include "fl/i18n/MessageCatalog.hpp"

#include <algorithm>
#include <string_view>

namespace fl::i18n {

namespace {

struct CatalogEntry {
    std::string_view identifier;
    std::string_view text;
};

// "{n}" stands for the n-th argument, counted from 1.
constexpr CatalogEntry kCatalog[] = {
    // Folders refused by an alteration of the path. Argument: the folder.
    {"ORVIAN:mpath:packageDirectoriesNotAllowedOnPath",
     "'{1}' was not added to the path: package folders (with a leading '+') can't stand on the path. Add the folder "
     "that holds the package folder instead."},
    {"ORVIAN:mpath:methodDirectoriesNotAllowedOnPath",
     "'{1}' was not added to the path: class folders (with a leading '@') can't stand on the path. Add the folder "
     "that holds the class folder instead."},
    {"ORVIAN:mpath:privateDirectoriesNotAllowedOnPath",
     "'{1}' was not added to the path: private folders can't stand on the path. Their functions are found from the "
     "folder above them."},
    {"ORVIAN:mpath:resourcesDirectoriesNotAllowedOnPath",
     "'{1}' was not added to the path: resources folders can't stand on the path."},
    // Arguments: the folder, the package's display name, the package's root folder.
    {"ORVIAN:mpath:packageMemberFoldersNotAllowedOnPath",
     "'{1}' was not added to the path: it is a folder of the package '{2}', which goes on the path as a whole. Add "
     "the package's root folder '{3}' instead."},
    {"ORVIAN:mpath:packagesMustBeLastOnPath",
     "Packages must come after all other folders on the path. The path was changed with the packages at its end."},

    // Packages whose folders no longer stand together. Argument: the display
    // names of the packages, each on a line of its own.
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToAddedEntries",
     "The folders added to the path come between or apart from the other folders of these packages, whose folders "
     "belong together on the path:{1}"},
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToRemovedEntries",
     "The folders removed from the path leave only part of these packages on the path:{1}"},
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToReorderedEntries",
     "The new order of the path separates the folders of these packages, which belong together on the path:{1}"},

    // Changes of the path that were refused as a whole.
    {"ORVIAN:mpath:PathAlterationNotSupported", "The path can't be changed at this time."},
    {"ORVIAN:mpath:UnableToModifyOrvianpath", "The path can't be changed while a change of the path is under way."},

    // Folders that the storage system can't read. Argument: the folder.
    {"ORVIAN:mpath:invalidLocation", "'{1}' is not a valid folder location."},
    {"ORVIAN:mpath:directoryPermissionDenied", "Permission to read the folder '{1}' was denied."},
    {"ORVIAN:mpath:nameNonexistentOrNotADirectory", "'{1}' does not exist or is not a folder."},
    {"ORVIAN:mpath:directoryAccessFailure", "The folder '{1}' can't be read."},

    // Changes of the package registry.
    // Argument: the package's root folder.
    {"ORVIAN:mpath:AddPackageToPathInfo", "To put the package on the path, add its root folder '{1}'."},
    // Arguments: the folder, the package's display name, and either the text
    // of AddPackageToPathInfo or nothing.
    {"ORVIAN:mpath:packageMemberFolderRemovedFromPath",
     "'{1}' was removed from the path: it now belongs to the package '{2}'. {3}"},
    // Arguments: the version found first, then the other versions.
    {"ORVIAN:mpath:MultiplePackageVersionsOnPath",
     "Several versions of one package are on the path: {1} is used, and {2} is hidden behind it."},
    {"ORVIAN:mpath:ZPMFeatureOff",
     "The packages installed after a given time can't be listed: the package manager is not enabled."},
    {"ORVIAN:mpath:InvalidInstallStamp", "The install stamp must be an unsigned 64-bit integer scalar."},
    {"ORVIAN:legacy_two_part:nomem", "Out of memory."},

    // The host's standard argument errors.
    {"ORVIAN:maxlhs", "Too many output arguments."},
    {"ORVIAN:maxrhs", "Too many input arguments."},
    {"ORVIAN:minrhs", "Not enough input arguments."},

    // Host commands.
    // Argument: the cache file.
    {"ORVIAN:CachePath:FailedToSave", "Unable to save the toolbox cache file '{1}'."},
    {"ORVIAN:CachePath:FolderTooDeep",
     "Folder '{1}' nests deeper than the toolbox cache allows ({2} levels); it was left out."},
    {"ORVIAN:CachePath:QuotationMarkInName",
     "'{1}' holds a quotation mark, which the toolbox cache can't store; its folder was left out."},
    {"ORVIAN:ChangeHandleWarning:InvalidOption", "The option must be 'always', 'once', 'never' or 'status'."},
    {"ORVIAN:ChangeHandleWarning:notEnoughInputs",
     "Not enough input arguments: give one of 'always', 'once', 'never' or 'status'."},
    {"ORVIAN:RemotePolicy:UnknownPolicy",
     "Unknown remote folder policy: use 'Reload', 'TimecheckDir', 'None' or 'Status'."},
    {"ORVIAN:string:MustBeStringScalarOrCharacterVector", "The input must be a string scalar or a character vector."},
    {"ORVIAN:string:MissingNotSupported", "Missing string values are not supported."},

    // Folder observers. Arguments: the folder, the reason.
    {"ORVIAN:FileFolderObserver:ChangeHandleFallback",
     "Unable to get a change notification handle for folder '{1}' ({2}); changes to it will be detected by checking "
     "its time stamps."},
};

// Replaces each "{n}" whose n names an argument; anything else, such as a
// brace in the text or a placeholder without its argument, stays as it is.
ustring fillIn(const ustring& text, const std::vector<ustring>& arguments) {
    ustring out;
    out.reserve(text.size());
    bool endsWithEmptyArgument = false;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] == u'{') {
            std::size_t j = i + 1;
            std::size_t number = 0;
            while (j < text.size() && text[j] >= u'0' && text[j] <= u'9' && j - i <= 4)
                number = number * 10 + static_cast<std::size_t>(text[j++] - u'0');
            if (j > i + 1 && j < text.size() && text[j] == u'}' && number >= 1 && number <= arguments.size()) {
                out += arguments[number - 1];
                i = j + 1;
                endsWithEmptyArgument = arguments[number - 1].empty();
                continue;
            }
        }
        out += text[i++];
        endsWithEmptyArgument = false;
    }
    // An optional last argument that is empty would leave the space before it.
    if (endsWithEmptyArgument)
        while (!out.empty() && out.back() == u' ') out.pop_back();
    return out;
}

}  // namespace

std::optional<std::string> MessageCatalog::findTemplate(const std::string& identifier) {
    const auto* found = std::find_if(std::begin(kCatalog), std::end(kCatalog),
                                     [&](const CatalogEntry& entry) { return entry.identifier == identifier; });
    if (found == std::end(kCatalog)) return std::nullopt;
    return std::string(found->text);
}

ustring MessageCatalog::format(const resource_core::BaseMsgID& message) {
    const std::string identifier = message.getIdentifier();
    if (auto text = findTemplate(identifier)) return fillIn(utf8_to_ustring(*text), message.getArguments());

    ustring out = utf8_to_ustring(identifier);
    const auto& arguments = message.getArguments();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        out += i == 0 ? u": " : u", ";
        out += arguments[i];
    }
    return out;
}

std::string MessageCatalog::formatUtf8(const resource_core::BaseMsgID& message) {
    return ustring_to_utf8(format(message));
}

}  // namespace fl::i18n
