#include "tfsearch_path/PathManagerCanonicalFilePath.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <stdexcept>
#include <vector>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

NoParentIRIException::~NoParentIRIException() = default;

std::unique_ptr<NoParentIRIException> NoParentIRIException::clone() const {
    return std::make_unique<NoParentIRIException>(*this);
}

void NoParentIRIException::rethrow() const { throw *this; }

const char* NoParentIRIException::what() const noexcept { return "the file has no main folder above it"; }

namespace {

// Whether the search path of this engine instance holds `folder`; only on a
// thread that may reach the manager.
bool OnSearchPath(const CanonicalAbsoluteIRI& folder) {
    if (!foundation::usm::Detail<foundation::usm::scope::Qvm>::isRequiredContextActive()) return false;
    const IMainSearchPathManager* manager = GetMainSearchPathManagerIfAvailable();
    return manager && manager->GetSearchPath()->GetPathEntryFromAbsoluteIRI(folder) != nullptr;
}

}  // namespace

AbsoluteIRI PathManagerCanonicalFilePath(const AbsoluteIRI& file) {
    try {
        const auto storage = OrvianStorageSystem::GetStorageSystemReference();
        AbsoluteIRI folder = file.getParent();
        if (OnSearchPath(CanonicalAbsoluteIRI(folder, ustring()))) return file;
        // The names from the file up to the first main folder, file first.
        std::vector<ustring> names{file.getName()};
        while (GetPathEntryTypeFromBaseName(folder.getName()) != Main) {
            names.push_back(folder.getName());
            folder = folder.getParent();
        }
        ustring relative;
        for (auto name = names.rbegin(); name != names.rend(); ++name) {
            if (!relative.empty()) relative += fl::filesystem::upath::constant::GENERIC_PATHNAME_SEPARATOR;
            relative += *name;
        }
        const CanonicalAbsoluteIRI canonical = foundation::storage::vfs::Folder(folder, storage).getCanonicalLocation();
        return AbsoluteIRI(canonical, relative);
    } catch (const std::logic_error&) {
        throw NoParentIRIException();
    }
}

}  // namespace Thornfell::PathManagement
