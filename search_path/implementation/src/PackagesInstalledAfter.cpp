// The host command that tells which folders the packages installed since a
// moment would put on the path.
#include "tfsearch_path/HostCommands.hpp"

#include "CommandArguments.hpp"
#include "SearchPathPublicFunctions.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Thornfell::PathManagement {

namespace {

using OrvianComponents::ComponentIdentifier;
using IdIterator = std::vector<ComponentIdentifier>::const_iterator;

// The stamp is read straight from the array's data, whatever its class: the
// host passes an unsigned 64-bit scalar. An array without a 64-bit element
// to read can't be one.
std::uint64_t StampOf(const qvArray_tag* array) {
    if (!array || matrix::getNumberOfElements(*array) == 0 || matrix::getElementSize(*array) != sizeof(std::uint64_t))
        detail::RaiseMessage(MessageIds::mpath::InvalidInstallStamp.Message());
    std::uint64_t stamp = 0;
    std::memcpy(&stamp, matrix::getData(*array), sizeof stamp);
    return stamp;
}

// The folders of the packages in [first, last), package after package,
// joined by ";" into a character array.
template <class Iterator>
matrix::unique_array_ptr JoinedFolders(const PackageRegistry::IPackageRegistry& registry, Iterator first,
                                       Iterator last) {
    ustring joined;
    for (; first != last; ++first)
        for (const auto& folder : GetPathFoldersForPackages(registry, std::span(&*first, 1))) {
            if (!joined.empty()) joined += u';';
            joined += GetStringFromIRI(folder);
        }
    return matrix::create(joined.data(), joined.size());
}

}  // namespace

void GetPathForPackagesInstalledAfter(int outputCount, matrix::unique_array_ptr* outputs, int inputCount,
                                      const qvArray_tag** inputs) {
    if (!OrvianComponents::ZPMFeature::IsOn()) detail::RaiseMessage(MessageIds::mpath::ZPMFeatureOff.Message());
    if (outputCount > 2) matrix::detail::error_maxlhs();
    if (inputCount > 1) matrix::detail::error_maxrhs();
    if (inputCount < 1) matrix::detail::error_minrhs();
    const std::uint64_t stamp = StampOf(inputs[0]);
    const auto registry = PackageRegistry::GetPackageRegistrar().GetRegistry();
    const bool componentsOn = OrvianComponents::ComponentFeature::IsOn();
    auto ids =
        *registry->GetPackages([&](const PackageRegistry::IPackage& package, const PackageRegistry::IPackageRegistry&) {
            if (!componentsOn && package.IsManaged()) return false;
            return package.GetInstallStamp() > stamp;
        });
    const auto stampOf = [&](const ComponentIdentifier& id) { return registry->GetPackage(id)->GetInstallStamp(); };
    std::sort(ids.begin(), ids.end(), [&](const auto& a, const auto& b) { return stampOf(a) < stampOf(b); });
    const auto split = std::stable_partition(ids.begin(), ids.end(), [&](const ComponentIdentifier& id) {
        return GoesToFrontOfPath(*registry->GetPackage(id));
    });
    // The front takes the package installed last first.
    outputs[0] = JoinedFolders(*registry, std::make_reverse_iterator(split), ids.rend());
    if (outputCount < 2) return;
    outputs[1] = JoinedFolders(*registry, split, ids.end());
}

}  // namespace Thornfell::PathManagement
