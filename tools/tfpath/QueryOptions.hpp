#pragma once
// A name query, as words of a command line, and its answer as text or JSON.
#include "tfsearch_path/IPath.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tfpath {

// ".a,.b," lists ".a", ".b" and the empty extension, in that order.
std::vector<ustring> ParseExtensions(const std::string& text);
// "exact", "fold"; anything else is the storage system's rule.
Thornfell::PathManagement::FilenameMatchingPolicy ParsePolicy(const std::string& text);
// Entry type names, comma separated; throws CLI::ValidationError for an
// unknown one.
std::vector<Thornfell::PathManagement::PathEntryType> ParseScope(const std::string& text);

inline constexpr const char* kEntryTypeNames = "main,package,method,private,uddclass,resources";

struct NameQuery {
    std::string name;
    std::string extensions = ".tf";
    std::string policy = "storage";
    // The entry types to look in. Without it, the host's rule answers
    // (LookUpName): a class constructor first, then plain folders.
    std::optional<std::string> scope;
    bool all = false;
};

// The files the name finds on the path, in order: the first, or with `all`
// every one. Throws BadInput for a name that can't be looked up (empty, or
// ending in a separator).
std::vector<Thornfell::PathManagement::FoundItem> FindFiles(const Thornfell::PathManagement::IPath& path,
                                                            const NameQuery& query);

// What FindFiles found, on `out`: one file a line, or JSON: with `all` an
// array of FoundToJson objects, else one such object, or null when nothing
// was found.
void PrintFound(std::ostream& out, const std::vector<Thornfell::PathManagement::FoundItem>& found, bool all, bool json);

}  // namespace tfpath
