#pragma once
// Counts with their nouns: "1 folder", "2 folders".
#include <string>
#include <string_view>

namespace tfpath {

// `noun` is singular and takes an "s" in the plural.
inline std::string Counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace tfpath
