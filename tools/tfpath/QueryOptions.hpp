#pragma once
// The options of a name query, as words of a command line.
#include "tfsearch_path/IPath.hpp"

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

struct NameQuery {
    std::string name;
    std::string extensions = ".tf";
    std::string policy = "storage";
    std::string scope = "main,package,method,private,uddclass,resources";
    bool all = false;
};

// The files the name finds on the path, in order: the first, or with `all`
// every one.
std::vector<std::string> FindFiles(const Thornfell::PathManagement::IPath& path, const NameQuery& query);

} // namespace tfpath
