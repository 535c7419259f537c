#include "QueryOptions.hpp"

#include "EntryFormat.hpp"
#include "ExitStatus.hpp"
#include "JsonText.hpp"

#include "tfsearch_path/NameLookup.hpp"

#include <CLI/CLI.hpp>

namespace tfpath {

using namespace Thornfell::PathManagement;

std::vector<ustring> ParseExtensions(const std::string& text) {
    std::vector<ustring> extensions;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        extensions.push_back(fl::i18n::utf8_to_ustring(text.substr(start, comma - start)));
        if (comma == std::string::npos) return extensions;
        start = comma + 1;
    }
}

FilenameMatchingPolicy ParsePolicy(const std::string& text) {
    if (text == "exact") return CaseRuleOne;
    if (text == "fold") return CaseRuleTwo;
    return StorageSystemRule;
}

std::vector<PathEntryType> ParseScope(const std::string& text) {
    static const std::pair<const char*, PathEntryType> names[] = {{"main", Main},         {"package", Package},
                                                                  {"method", Method},     {"private", Private},
                                                                  {"uddclass", UDDClass}, {"resources", Resources}};
    std::vector<PathEntryType> scope;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t comma = text.find(',', start);
        if (comma == std::string::npos) comma = text.size();
        const std::string name = text.substr(start, comma - start);
        bool known = false;
        for (const auto& [word, type] : names)
            if (name == word) scope.push_back(type), known = true;
        if (!known && !name.empty())
            throw CLI::ValidationError("--scope", "unknown entry type '" + name + "' (known: " + kEntryTypeNames + ")");
        start = comma + 1;
    }
    return scope;
}

std::vector<FoundItem> FindFiles(const IPath& path, const NameQuery& query) {
    const ustring name = fl::i18n::utf8_to_ustring(query.name);
    const std::vector<ustring> extensions = ParseExtensions(query.extensions);
    const FilenameMatchingPolicy policy = ParsePolicy(query.policy);
    if (!query.scope) {
        try {
            return LookUpName(path, name, extensions, policy, query.all);
        } catch (const std::invalid_argument& e) {
            throw BadInput(e.what());
        }
    }
    const std::vector<PathEntryType> types = ParseScope(*query.scope);
    const SearchScope scope(types.data(), types.data() + types.size());
    const detail::SearchTarget target(name, extensions);
    if (query.all) return path.FindAllInScope(scope, target, policy);
    std::vector<FoundItem> found;
    if (auto hit = path.FindFirstInScope(scope, target, policy)) found.push_back(std::move(*hit));
    return found;
}

void PrintFound(std::ostream& out, const std::vector<FoundItem>& found, bool all, bool json) {
    if (!json) {
        for (const auto& hit : found) out << ItemPath(*hit.GetPathItem()) << "\n";
        return;
    }
    nlohmann::ordered_json value = all ? nlohmann::ordered_json::array() : nlohmann::ordered_json(nullptr);
    for (const auto& hit : found) {
        if (!all) {
            value = FoundToJson(hit);
            break;
        }
        value.push_back(FoundToJson(hit));
    }
    out << JsonText(value, 2) << "\n";
}

}  // namespace tfpath
