#pragma once
// A stage of a path change as one line of text, or as one JSON object.
#include "tfsearch_path/PathManagerEvents.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tfpath {

const char* StageName(Thornfell::PathManagement::PathChangeEvent::Stage stage);
// "event AfterChange: search added [/a, /b] refreshed [/c]; user search
// added [/a]": the lists that aren't empty, search path first.
std::string DescribeChange(const Thornfell::PathManagement::PathChangeEvent& event);
// The same without the stage: "search added [/a, /b] ...".
std::string DescribeDifferences(const Thornfell::PathManagement::PathChangeEvent& event);
nlohmann::ordered_json ChangeToJson(const Thornfell::PathManagement::PathChangeEvent& event);

} // namespace tfpath
