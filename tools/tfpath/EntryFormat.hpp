#pragma once
// Entries as JSON and as indented text.
#include "tfsearch_path/IPath.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <nlohmann/json.hpp>

#include <ostream>

namespace tfpath {

const char* EntryTypeName(Thornfell::PathManagement::PathEntryType type);
nlohmann::ordered_json EntryToJson(const Thornfell::PathManagement::IPathEntry& entry);
void PrintEntry(std::ostream& out, const Thornfell::PathManagement::IPathEntry& entry, int depth);
// The plain file system path of an item: its folder, then stem and extension.
std::string ItemPath(const Thornfell::PathManagement::PathItem& item);
// The main entries of a path, numbered, or as JSON; with `tree`, the entries
// below each.
void PrintSearchPath(std::ostream& out, const Thornfell::PathManagement::IPath& path, bool tree, bool json);

} // namespace tfpath
