#include "Commands.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/log/DiagnosticLogger.hpp"
#include "orvian/FeatureSwitches.hpp"

namespace tfpath {

std::string ToUtf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }

void ApplyGlobalOptions(const GlobalOptions& global) {
    if (!global.installRoot.empty()) {
        RequireFolder(global.installRoot, "--root " + global.installRoot);
        fl::filesystem::set_install_path(AbsoluteFolderArgument(global.installRoot));
    }
    for (const auto& feature : global.features) {
        if (feature == "component") OrvianComponents::ComponentFeature::Set(true);
        if (feature == "gup") OrvianComponents::GUPFeature::Set(true);
        if (feature == "zpm") OrvianComponents::ZPMFeature::Set(true);
    }
    if (global.verbose) foundation::log::enableConsoleOutput(64);
}

}  // namespace tfpath
