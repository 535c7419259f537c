#pragma once
// Entries, found files and paths as indented text and as JSON. The JSON of
// every command shares one vocabulary: an object about a folder holds
// "folder" (its native path), one about a file "file" (its native path),
// and lists are arrays whatever their length.
#include "tfsearch_path/IPath.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <nlohmann/json.hpp>

#include <ostream>

namespace tfpath {

const char* EntryTypeName(Thornfell::PathManagement::PathEntryType type);
// The plain file system path of an entry's folder.
std::string FolderPath(const Thornfell::PathManagement::IPathEntry& entry);
// The plain file system path of an item: its folder, then stem and extension.
std::string ItemPath(const Thornfell::PathManagement::PathItem& item);

// {"folder", "type", "files": [{"file", "name", "stem", "extension"}],
//  "entries": [the child entries, each of this form]}
nlohmann::ordered_json EntryToJson(const Thornfell::PathManagement::IPathEntry& entry);
// {"file", "folder", "type"}: a file a name found, and the entry it is in.
nlohmann::ordered_json FoundToJson(const Thornfell::PathManagement::FoundItem& found);
void PrintEntry(std::ostream& out, const Thornfell::PathManagement::IPathEntry& entry, int depth);
// The main entries of a path, numbered, or as JSON ([{"folder", "type"}]);
// with `tree`, the entries below each ("entries": [{"folder", "type"}]).
void PrintSearchPath(std::ostream& out, const Thornfell::PathManagement::IPath& path, bool tree, bool json);

}  // namespace tfpath
