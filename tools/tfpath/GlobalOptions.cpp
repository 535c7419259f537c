#include "Commands.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/log/DiagnosticLogger.hpp"
#include "orvian/FeatureSwitches.hpp"

#include <unistd.h>

#include <climits>
#include <stdexcept>

namespace tfpath {

std::string ToUtf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }

ustring AbsoluteFolderArgument(const std::string& argument) {
    if (argument.empty()) throw std::invalid_argument("an empty folder name");
    if (argument.front() == '/') return fl::i18n::utf8_to_ustring(argument);
    char cwd[PATH_MAX];
    if (!::getcwd(cwd, sizeof cwd)) throw std::runtime_error("can't read the working folder");
    return fl::i18n::utf8_to_ustring(std::string(cwd) + "/" + argument);
}

void ApplyGlobalOptions(const GlobalOptions& global) {
    if (!global.installRoot.empty()) fl::filesystem::set_install_path(AbsoluteFolderArgument(global.installRoot));
    for (const auto& feature : global.features) {
        if (feature == "component") OrvianComponents::ComponentFeature::Set(true);
        if (feature == "gup") OrvianComponents::GUPFeature::Set(true);
        if (feature == "zpm") OrvianComponents::ZPMFeature::Set(true);
    }
    if (global.verbose) foundation::log::enableConsoleOutput(64);
}

} // namespace tfpath
