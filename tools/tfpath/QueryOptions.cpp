#include "QueryOptions.hpp"

#include "EntryFormat.hpp"

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
        if (!known && !name.empty()) throw CLI::ValidationError("--scope", "unknown entry type '" + name + "'");
        start = comma + 1;
    }
    return scope;
}

std::vector<std::string> FindFiles(const IPath& path, const NameQuery& query) {
    const detail::SearchTarget target(fl::i18n::utf8_to_ustring(query.name), ParseExtensions(query.extensions));
    const FilenameMatchingPolicy policy = ParsePolicy(query.policy);
    const std::vector<PathEntryType> types = ParseScope(query.scope);
    const SearchScope scope(types.data(), types.data() + types.size());
    std::vector<std::string> found;
    if (query.all) {
        for (const auto& hit : path.FindAllInScope(scope, target, policy)) found.push_back(ItemPath(*hit.GetPathItem()));
    } else if (auto hit = path.FindFirstInScope(scope, target, policy)) {
        found.push_back(ItemPath(*hit->GetPathItem()));
    }
    return found;
}

} // namespace tfpath
