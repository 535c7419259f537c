#include "thornfell/PackageManifest.hpp"

#include "fl/i18n/TextConverters.hpp"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/nil_generator.hpp>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>

namespace Thornfell::PackageRegistry {

namespace {

namespace fs = std::filesystem;

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

CanonicalAbsoluteIRI iriOf(const fs::path& folder) {
    return CanonicalAbsoluteIRI(foundation::storage::vfs::toAbsoluteIRI("file",
                                                                        fl::i18n::utf8_to_ustring(folder.string())),
                                ustring());
}

// Reads one manifest; every complaint names the file and, where there is
// one, the line.
class ManifestReader {
public:
    explicit ManifestReader(fs::path root)
        : root_(std::move(root)), file_((root_ / PackageManifestFileName).string()) {}

    PackageDescription read() {
        std::ifstream in(file_);
        if (!in) throw PackageInstallationException(file_ + ": no package manifest can be read there");
        std::string text;
        while (std::getline(in, text)) {
            ++line_;
            const std::string_view content = trim(line_ == 1 ? fl::i18n::without_utf8_bom(text) : text);
            if (content.empty() || content.front() == '#') continue;
            readLine(content);
        }
        if (!name_) failAtEnd("the manifest gives no name");
        if (!version_) failAtEnd("the manifest gives no version");
        static const boost::uuids::name_generator_sha1 uuidOfName(boost::uuids::nil_uuid());
        description_.id = ComponentIdentifier(fl::i18n::utf8_to_ustring(*name_), *version_, uuidOfName(*name_));
        description_.root = iriOf(root_);
        return std::move(description_);
    }

private:
    [[noreturn]] void fail(const std::string& problem) const {
        throw PackageInstallationException(file_ + ":" + std::to_string(line_) + ": " + problem);
    }
    [[noreturn]] void failAtEnd(const std::string& problem) const {
        throw PackageInstallationException(file_ + ": " + problem);
    }

    void readLine(std::string_view content) {
        const auto equals = content.find('=');
        if (equals == std::string_view::npos) fail("expected 'key = value', found '" + std::string(content) + "'");
        const std::string_view key = trim(content.substr(0, equals));
        const std::string_view value = trim(content.substr(equals + 1));
        if (key.starts_with("property ") || key.starts_with("property\t")) {
            readProperty(trim(key.substr(9)), value);
        } else if (key == "name") {
            once(name_.has_value(), key);
            if (value.empty() || value.find_first_of("@ \t") != std::string_view::npos)
                fail("the name must be a word without '@' or spaces");
            name_ = std::string(value);
        } else if (key == "version") {
            once(version_.has_value(), key);
            try {
                version_ = OrvianComponents::ComponentVersion(std::string(value));
            } catch (const std::invalid_argument&) {
                fail("the version must be numbers separated by dots, found '" + std::string(value) + "'");
            }
        } else if (key == "managed") {
            once(std::exchange(seenManaged_, true), key);
            description_.managed = readBool(value, "managed");
        } else if (key == "on-path") {
            once(std::exchange(seenOnPath_, true), key);
            description_.addedToPath = readBool(value, "on-path");
        } else if (key == "folder") {
            description_.pathFolders.push_back(readMemberFolder(value));
        } else {
            fail("unknown key '" + std::string(key) + "'");
        }
    }

    void once(bool seen, std::string_view key) const {
        if (seen) fail("'" + std::string(key) + "' is given twice");
    }

    bool readBool(std::string_view value, std::string_view what) const {
        if (value == "true") return true;
        if (value == "false") return false;
        fail("'" + std::string(what) + "' must be true or false, found '" + std::string(value) + "'");
    }

    CanonicalAbsoluteIRI readMemberFolder(std::string_view value) const {
        const fs::path relative{std::string(value)};
        if (value.empty() || relative.is_absolute()) fail("a member folder is written relative to the package root");
        std::error_code error;
        const fs::path folder = fs::canonical(root_ / relative, error);
        if (error || !fs::is_directory(folder, error))
            fail("the member folder '" + std::string(value) + "' does not exist or is not a folder");
        const fs::path inside = folder.lexically_relative(root_);
        if (inside.empty() || *inside.begin() == ".." || inside == ".")
            fail("the member folder '" + std::string(value) + "' lies outside the package root");
        const CanonicalAbsoluteIRI iri = iriOf(folder);
        for (const auto& earlier : description_.pathFolders)
            if (earlier == iri) fail("the member folder '" + std::string(value) + "' is listed twice");
        return iri;
    }

    void readProperty(std::string_view name, std::string_view value) {
        if (name.empty()) fail("a property needs a name: 'property NAME = VALUE'");
        for (const auto& [earlier, ignored] : description_.properties)
            if (earlier == name) once(true, name);
        PropertyValue parsed;
        std::int64_t number = 0;
        if (value == "true" || value == "false") {
            parsed = value == "true";
        } else if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            parsed = fl::i18n::utf8_to_ustring(value.substr(1, value.size() - 2));
        } else if (auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
                   error == std::errc() && end == value.data() + value.size()) {
            parsed = number;
        } else {
            fail("the value of property " + std::string(name) +
                 " must be true, false, a whole number or a text in double quotes");
        }
        if (name == "ManualInstall" && !std::holds_alternative<bool>(parsed))
            fail("the property ManualInstall must be true or false");
        if (name == "PathPosition" && !std::holds_alternative<ustring>(parsed))
            fail("the property PathPosition must be a text in double quotes");
        description_.properties.emplace_back(std::string(name), std::move(parsed));
    }

    const fs::path root_;
    const std::string file_;
    int line_ = 0;
    std::optional<std::string> name_;
    std::optional<OrvianComponents::ComponentVersion> version_;
    bool seenManaged_ = false, seenOnPath_ = false;
    PackageDescription description_{ComponentIdentifier({}, {}, {}), iriOf("/")};
};

}  // namespace

PackageDescription ReadPackageManifest(const std::string& folder) {
    std::error_code error;
    const fs::path root = fs::canonical(folder, error);
    if (error || !fs::is_directory(root, error))
        throw PackageInstallationException("'" + folder + "' does not exist or is not a folder");
    return ManifestReader(root).read();
}

}  // namespace Thornfell::PackageRegistry
