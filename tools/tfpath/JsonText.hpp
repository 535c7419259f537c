#pragma once
// The text of the tool's JSON output.
#include <nlohmann/json.hpp>

#include <string>

namespace tfpath {

// `indent` as nlohmann::json::dump takes it (-1: one line). JSON holds
// Unicode text only, so a name whose bytes are not UTF-8 (printed as they
// are in plain output) shows each such byte as U+FFFD here, instead of the
// output failing.
template <class Json>
std::string JsonText(const Json& value, int indent = -1) {
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tfpath
