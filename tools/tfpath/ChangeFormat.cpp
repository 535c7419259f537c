#include "ChangeFormat.hpp"

#include "Commands.hpp"
#include "EntryFormat.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <algorithm>
#include <iterator>

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
        for (std::size_t i = 0; i < entries.size(); ++i) text += (i ? ", " : "") + FolderPath(*entries[i]);
        text += "]";
    });
    return text;
}

// The files of an entry and of the entries below it, as paths relative to
// the entry's folder, sorted.
std::vector<std::string> FilesBelow(const IPathEntry& entry) {
    const std::string prefix = FolderPath(entry) + "/";
    std::vector<std::string> files;
    entry.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& child) {
        for (const auto& item : *child->GetPathItems()) files.push_back(ItemPath(*item).substr(prefix.size()));
        return false;
    });
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> Without(const std::vector<std::string>& all, const std::vector<std::string>& taken) {
    std::vector<std::string> rest;
    std::set_difference(all.begin(), all.end(), taken.begin(), taken.end(), std::back_inserter(rest));
    return rest;
}

bool Unreadable(const IPathEntry& entry) { return dynamic_cast<const InaccessibleFolderPathEntry*>(&entry) != nullptr; }

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

nlohmann::ordered_json FolderList(const PathEntryVector& entries) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& entry : entries) list.push_back({{"folder", FolderPath(*entry)}});
    return list;
}

nlohmann::ordered_json FileList(const std::string& folder, const std::vector<std::string>& files) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& file : files) list.push_back({{"file", folder + "/" + file}});
    return list;
}

}  // namespace

const char* StageName(PathChangeEvent::Stage stage) {
    switch (stage) {
    case PathChangeEvent::BeforeChange: return "BeforeChange";
    case PathChangeEvent::AfterChange: return "AfterChange";
    case PathChangeEvent::AfterChangeNotified: return "AfterChangeNotified";
    }
    return "Unknown";
}

std::string DescribeChange(const PathChangeEvent& event) {
    const std::string search = DescribeLists("search", event.GetSearchPathDifferences());
    const std::string userSearch = DescribeLists("user search", event.GetUserSearchPathDifferences());
    std::string text = search;
    if (!userSearch.empty()) text += (search.empty() ? "" : "; ") + userSearch;
    if (text.empty()) text = "no entry lists";
    if (event.IsCurrentFolderChange()) text += " (current folder)";
    if (event.CurrentFolderPositionChanged()) text += " (current folder moved)";
    return std::string("event ") + StageName(event.GetStage()) + ": " + text;
}

std::vector<RefreshedFolder> CompareRefreshed(const PathChangeEvent& event, const IPath& before) {
    std::vector<RefreshedFolder> folders;
    for (const auto& entry : *event.GetSearchPathDifferences().refreshed) {
        RefreshedFolder folder;
        folder.folder = FolderPath(*entry);
        const auto old = before.GetPathEntryFromAbsoluteIRI(entry->GetIRI());
        const std::vector<std::string> was = old ? FilesBelow(*old) : std::vector<std::string>();
        const std::vector<std::string> is = FilesBelow(*entry);
        folder.vanished = Unreadable(*entry) && !(old && Unreadable(*old));
        folder.added = Without(is, was);
        folder.removed = Without(was, is);
        folders.push_back(std::move(folder));
    }
    return folders;
}

std::vector<std::string> DescribeFolderChanges(const PathChangeEvent& event,
                                               const std::vector<RefreshedFolder>& refreshed) {
    std::vector<std::string> lines;
    const Lists& search = event.GetSearchPathDifferences();
    for (const auto& entry : *search.added) lines.push_back(FolderPath(*entry) + ": added to the path");
    for (const auto& entry : *search.removed) lines.push_back(FolderPath(*entry) + ": removed from the path");
    for (const auto& entry : *search.reordered) lines.push_back(FolderPath(*entry) + ": moved on the path");
    for (const auto& folder : refreshed) {
        std::string line = folder.folder + ":";
        if (folder.vanished) line += " vanished;";
        if (!folder.added.empty()) line += " added " + Joined(folder.added) + ";";
        if (!folder.removed.empty()) line += " removed " + Joined(folder.removed) + ";";
        if (line.back() == ':') line += " read again, no file added or removed;";
        line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

nlohmann::ordered_json FolderChangesToJson(const PathChangeEvent& event,
                                           const std::vector<RefreshedFolder>& refreshed) {
    const Lists& search = event.GetSearchPathDifferences();
    nlohmann::ordered_json object{{"added", FolderList(*search.added)},
                                  {"removed", FolderList(*search.removed)},
                                  {"reordered", FolderList(*search.reordered)},
                                  {"refreshed", nlohmann::ordered_json::array()},
                                  {"vanished", nlohmann::ordered_json::array()}};
    for (const auto& folder : refreshed) {
        object["refreshed"].push_back({{"folder", folder.folder},
                                       {"added", FileList(folder.folder, folder.added)},
                                       {"removed", FileList(folder.folder, folder.removed)}});
        if (folder.vanished) object["vanished"].push_back({{"folder", folder.folder}});
    }
    return object;
}

}  // namespace tfpath
