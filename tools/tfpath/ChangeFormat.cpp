#include "ChangeFormat.hpp"

#include "Commands.hpp"
#include "tfsearch_path/PathFunctions.hpp"

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

using Lists = PathChangeEvent::Differences;

// The lists of one set of differences with their names, in a fixed order.
template <class Visit>
void ForEachList(const Lists& lists, Visit visit) {
    visit("added", *lists.added);
    visit("removed", *lists.removed);
    visit("reordered", *lists.reordered);
    visit("refreshed", *lists.refreshed);
}

std::string DescribeLists(const char* path, const Lists& lists) {
    std::string text;
    ForEachList(lists, [&](const char* name, const PathEntryVector& entries) {
        if (entries.empty()) return;
        text += text.empty() ? std::string(path) + " " : std::string(" ");
        text += std::string(name) + " [";
        for (std::size_t i = 0; i < entries.size(); ++i)
            text += (i ? ", " : "") + ToUtf8(GetStringFromIRI(entries[i]->GetIRI()));
        text += "]";
    });
    return text;
}

nlohmann::ordered_json ListsToJson(const Lists& lists) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    ForEachList(lists, [&](const char* name, const PathEntryVector& entries) {
        nlohmann::ordered_json folders = nlohmann::ordered_json::array();
        for (const auto& entry : entries) folders.push_back(ToUtf8(GetStringFromIRI(entry->GetIRI())));
        object[name] = std::move(folders);
    });
    return object;
}

} // namespace

const char* StageName(PathChangeEvent::Stage stage) {
    switch (stage) {
    case PathChangeEvent::BeforeChange: return "BeforeChange";
    case PathChangeEvent::AfterChange: return "AfterChange";
    case PathChangeEvent::AfterChangeNotified: return "AfterChangeNotified";
    }
    return "Unknown";
}

std::string DescribeDifferences(const PathChangeEvent& event) {
    const std::string search = DescribeLists("search", event.GetSearchPathDifferences());
    const std::string userSearch = DescribeLists("user search", event.GetUserSearchPathDifferences());
    std::string text = search;
    if (!userSearch.empty()) text += (search.empty() ? "" : "; ") + userSearch;
    if (text.empty()) text = "no entry lists";
    if (event.IsCurrentFolderChange()) text += " (current folder)";
    if (event.CurrentFolderPositionChanged()) text += " (current folder moved)";
    return text;
}

std::string DescribeChange(const PathChangeEvent& event) {
    return std::string("event ") + StageName(event.GetStage()) + ": " + DescribeDifferences(event);
}

nlohmann::ordered_json ChangeToJson(const PathChangeEvent& event) {
    return {{"stage", StageName(event.GetStage())},
            {"currentFolderChange", event.IsCurrentFolderChange()},
            {"search", ListsToJson(event.GetSearchPathDifferences())},
            {"userSearch", ListsToJson(event.GetUserSearchPathDifferences())}};
}

} // namespace tfpath
