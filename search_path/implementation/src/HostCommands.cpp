// The host commands of the cache, the observer policies, the dump of the
// search path and the canonical path string.
#include "tfsearch_path/HostCommands.hpp"

#include "CommandArguments.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "host/HostServices.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/ToolboxPathCache.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/string/StringArray.hpp"

#include <array>
#include <iostream>
#include <optional>
#include <string>

namespace Thornfell::PathManagement {

namespace {

using detail::GetTextArgument;
using detail::RaiseMessage;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

storage::filefolderobserver::IFileFolderObserverFactory& ObserverFactory() {
    return storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
}

// A narrow path of the host as the storage system names it.
ustring NativePath(const std::string& narrow) {
    return fl::filesystem::detail::make_native_form(fl::filesystem::codecvt_narrow_string_to_ustring(narrow), 0);
}

// The value of the option that `text` names, its names compared without
// regard to case; nothing for a text that names none. `names[i]` gives the
// value i; "status" gives `status`.
template <std::size_t N>
std::optional<int> OptionValue(ustring_view text, const std::array<ustring_view, N>& names, ustring_view statusName,
                               int status) {
    const NormalizedName normalized(text);
    for (std::size_t i = 0; i < N; ++i)
        if (normalized.view() == NormalizedName(names[i]).view()) return static_cast<int>(i);
    if (normalized.view() == NormalizedName(statusName).view()) return status;
    return std::nullopt;
}

constexpr std::array<ustring_view, 3> kWarningNames{u"always", u"once", u"never"};
constexpr std::array<ustring_view, 3> kRemotePolicyNames{u"Reload", u"TimecheckDir", u"None"};

std::string Narrow(const AbsoluteIRI& iri) { return fl::i18n::ustring_to_utf8(iri.toString()); }

}  // namespace

void FeatureCachePath(int outputCount, qvArray_tag**, int inputCount, qvArray_tag**) {
    if (outputCount > 0) matrix::detail::error_maxlhs();
    if (inputCount > 0) matrix::detail::error_maxrhs();
    const std::string cacheFile = svGetSystemToolboxCacheFile(svIsStandaloneMode());
    const AbsoluteIRI cacheIri = foundation::storage::vfs::toAbsoluteIRI("file", NativePath(cacheFile));
    ustring root = NativePath(svOrvianRoot());
    if (svIsStandaloneMode())
        root = fl::filesystem::concatenate_pathname(fl::filesystem::concatenate_pathname(root, u"rtk"), u"toolbox");
    const AbsoluteIRI rootIri = foundation::storage::vfs::toAbsoluteIRI("file", root);
    try {
        // A folder the file can't hold is listed from the disk instead; the
        // user hears which, as warnings.
        foundation::core::except::Notification leftOut;
        WriteToolboxPathCache(cacheIri, rootIri, GetPathEntryFactory(), &leftOut);
        for (const auto& message : leftOut) qvWarningMsgId(message);
    } catch (const UnableToSaveToolboxCacheException&) {
        RaiseMessage(
            MessageIds::CachePath::FailedToSave.Message({fl::filesystem::codecvt_narrow_string_to_ustring(cacheFile)}));
    }
}

void FeatureDirChangeHandleWarn(int outputCount, qvArray_tag** outputs, int inputCount, qvArray_tag** inputs) {
    if (outputCount > 1) matrix::detail::error_maxlhs();
    if (inputCount > 1) matrix::detail::error_maxrhs();
    if (inputCount == 0) RaiseMessage(MessageIds::ChangeHandleWarning::notEnoughInputs.Message());
    auto& factory = ObserverFactory();
    const ustring_view text = GetTextArgument(inputs[0], false);
    const int previous = factory.GetChangeHandleWarning();
    const auto value = OptionValue(text, kWarningNames, u"status", previous);
    if (!value) RaiseMessage(MessageIds::ChangeHandleWarning::InvalidOption.Message());
    factory.SetChangeHandleWarning(*value);
    outputs[0] = qvCreateString(previous == 0 ? "always" : previous == 1 ? "once" : "never");
}

void FeatureRemotePathPolicy(int outputCount, qvArray_tag** outputs, int inputCount, qvArray_tag** inputs) {
    if (outputCount > 1) matrix::detail::error_maxlhs();
    if (inputCount > 1) matrix::detail::error_maxrhs();
    if (inputCount < 1) matrix::detail::error_minrhs();
    const ustring_view text = GetTextArgument(inputs[0], false);
    auto& factory = ObserverFactory();
    const int previous = factory.GetRemotePathPolicy();
    // "Status" only reads: -1 stands for it, since no policy has that value.
    const auto value = OptionValue(text, kRemotePolicyNames, u"Status", -1);
    if (!value) RaiseMessage(MessageIds::RemotePolicy::UnknownPolicy.Message());
    if (*value >= 0) factory.SetRemotePathPolicy(*value);
    outputs[0] = nullptr;
    if (previous >= 0 && previous < static_cast<int>(kRemotePolicyNames.size())) {
        const ustring_view name = kRemotePolicyNames[static_cast<std::size_t>(previous)];
        outputs[0] = matrix::to_orvian(matrix::create(name.data(), name.size()));
    }
}

void FeatureDumpMainSearchPath(int, qvArray_tag**, int, const qvArray_tag**) {
    const auto path = GetMainSearchPathManager().GetSearchPath();
    path->ForEachEntry(allEntryTypesScope, [](const PathEntryPointer& entry) {
        std::cout << "PathEntry " << Narrow(entry->GetIRI()) << " is "
                  << (entry->IsOutOfDate() ? "out-of-date" : "up-to-date") << "\n";
        for (const auto& item : *entry->GetPathItems())
            std::cout << Narrow(CanonicalAbsoluteIRI(item->folderIRI, item->FileName())) << "\n";
        return false;
    });
}

void HiddenCanonicalizepath(int outputCount, qvArray_tag** outputs, int inputCount, const qvArray_tag** inputs) {
    if (outputCount > 1) matrix::detail::error_maxlhs();
    if (inputCount > 1) matrix::detail::error_maxrhs();
    if (inputCount < 1) matrix::detail::error_minrhs();
    if (!Thornfell::String::isNonMissingScalarText(inputs[0], Thornfell::String::CharTolerance::RowVector))
        RaiseMessage(MessageIds::string::MustBeStringScalarOrCharacterVector.Message());
    const ustring text(GetTextArgument(inputs[0], true));
    const ustring result = GetStringFromIRI(
        CanonicalizeRelativePathAgainstCWD(text, Thornfell::current_working_folder::GetCurrentWorkingFolder()));
    if (matrix::getClassID(*inputs[0]) == matrix::ClassID::Char)
        outputs[0] = matrix::to_orvian(matrix::create(result.data(), result.size()));
    else
        outputs[0] = matrix::to_orvian(Thornfell::String::createStringArray(result));
}

}  // namespace Thornfell::PathManagement
