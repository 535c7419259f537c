// Functions that several parts of the library share.
#include "SearchPathPublicFunctions.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathItem.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>

namespace Thornfell::PathManagement {

// Module hooks of the library: nothing to do at load or unload.
void initializeFcn() {}
void terminateFcn() {}

bool GoesToFrontOfPath(const PackageRegistry::IPackage& package) {
    const auto value = package.GetProperty("PathPosition");
    return value && std::get<ustring>(*value) == u"begin";
}

namespace detail {

void AddErrorToNotificationForProcessingNonMainEntry(foundation::core::except::Notification& notification,
                                                     const PathEntryType& type, const ustring& folder) {
    namespace ids = MessageIds::mpath;
    MessageIdentifier refusal;
    switch (type) {
    case Package: refusal = ids::packageDirectoriesNotAllowedOnPath; break;
    case Method:
    case UDDClass: refusal = ids::methodDirectoriesNotAllowedOnPath; break;
    case Private: refusal = ids::privateDirectoriesNotAllowedOnPath; break;
    case Resources: refusal = ids::resourcesDirectoriesNotAllowedOnPath; break;
    default: FL_DIAG_TERMINATE("All illegal path entry types for addpath should have been handled.");
    }
    notification.add(refusal.Message({folder}));
}

}  // namespace detail

NormalizedName::NormalizedName(ustring_view name) {
    const bool ascii = std::all_of(name.begin(), name.end(), [](char16_t c) { return c < 0x80; });
    if (ascii && name.size() <= buffer_.size()) {
        std::transform(name.begin(), name.end(), buffer_.begin(), [](char16_t c) {
            return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
        });
        view_ = ustring_view(buffer_.data(), name.size());
    } else {
        other_ = PathItem::Normalize(ustring(name));
        view_ = other_;
    }
}

void ReportFoldersAsChanged(const IPath& path, const std::function<bool(const IPathEntry&)>& leaveOut) {
    namespace ffo = storage::filefolderobserver;
    auto bus = ovutil::eventmgr::createLocalEventMgr(boost::none);
    path.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& entry) {
        if (leaveOut && leaveOut(*entry)) return false;
        bus->publish(boost::make_shared<ffo::FileFolderChangedEvent>(entry->GetIRI().toString(),
                                                                     ffo::FrozenInclusion::IncludeFrozen),
                     1);
        return false;
    });
    bus->deliverHeld();
}

std::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> InstallRootFromInstallPath() {
    const ustring installPath = fl::filesystem::get_install_path();
    if (installPath.empty()) return std::nullopt;
    return foundation::storage::vfs::CanonicalAbsoluteIRI(
        foundation::storage::vfs::toAbsoluteIRI(u"file", fl::filesystem::detail::make_native_form(installPath, 0)),
        ustring());
}

void AddStorageFailure(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                       foundation::core::except::Notification& notification) {
    namespace ids = MessageIds::mpath;
    MessageIdentifier failure;
    try {
        throw;
    } catch (const foundation::storage::vfs::UnsupportedIRISchemeException&) {
        failure = ids::invalidLocation;
    } catch (const foundation::storage::vfs::Exception& e) {
        using foundation::storage::vfs::ErrorCode;
        switch (e.getCode()) {
        case ErrorCode::InvalidLocation: failure = ids::invalidLocation; break;
        case ErrorCode::PermissionDenied: failure = ids::directoryPermissionDenied; break;
        case ErrorCode::NotFound: failure = ids::nameNonexistentOrNotADirectory; break;
        case ErrorCode::AccessFailure: failure = ids::directoryAccessFailure; break;
        default: throw;
        }
    }
    notification.add(failure.Message({GetStringFromIRI(folder)}));
}

}  // namespace Thornfell::PathManagement
