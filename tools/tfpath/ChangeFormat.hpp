#pragma once
// A stage of a path change as one line of text; what a refresh changed in
// each folder, as lines or as one JSON object.
#include "tfsearch_path/PathManagerEvents.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tfpath {

const char* StageName(Thornfell::PathManagement::PathChangeEvent::Stage stage);
// "event AfterChange: search added [/a, /b] refreshed [/c]; user search
// added [/a]": the lists that aren't empty, search path first.
std::string DescribeChange(const Thornfell::PathManagement::PathChangeEvent& event);

// A folder of the search path that a change gave a new entry: the files
// that came and went in it and in the folders below it (paths relative to
// it), or that it can no longer be read.
struct RefreshedFolder {
    std::string folder;
    bool vanished = false;
    std::vector<std::string> added, removed;
};
// The refreshed folders of `event`, each compared with its entry on
// `before`, the search path the change replaced.
std::vector<RefreshedFolder> CompareRefreshed(const Thornfell::PathManagement::PathChangeEvent& event,
                                              const Thornfell::PathManagement::IPath& before);
// One line for each folder that came, went, moved or was refreshed:
// "/a: added to the path", "/c: added x.tf, +p/y.tf; removed z.tf", "/d: vanished".
std::vector<std::string> DescribeFolderChanges(const Thornfell::PathManagement::PathChangeEvent& event,
                                               const std::vector<RefreshedFolder>& refreshed);
// {"added", "removed", "reordered": [{"folder"}], "refreshed": [{"folder",
//  "added": [{"file"}], "removed": [{"file"}]}], "vanished": [{"folder"}]}
nlohmann::ordered_json FolderChangesToJson(const Thornfell::PathManagement::PathChangeEvent& event,
                                           const std::vector<RefreshedFolder>& refreshed);

}  // namespace tfpath
