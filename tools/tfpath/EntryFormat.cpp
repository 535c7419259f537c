#include "EntryFormat.hpp"

#include "Commands.hpp"
#include "JsonText.hpp"
#include "Plural.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/PathFunctions.hpp"

namespace tfpath {

using namespace Thornfell::PathManagement;

const char* EntryTypeName(PathEntryType type) {
    switch (type) {
    case Main: return "Main";
    case Package: return "Package";
    case Method: return "Method";
    case Private: return "Private";
    case UDDClass: return "UDDClass";
    case Resources: return "Resources";
    }
    return "Unknown";
}

std::string FolderPath(const IPathEntry& entry) { return ToUtf8(GetStringFromIRI(entry.GetIRI())); }

std::string ItemPath(const PathItem& item) {
    ustring path = GetStringFromIRI(item.folderIRI);
    if (path.empty() || path.back() != u'/') path += u'/';
    return ToUtf8(path + item.stem + item.extension);
}

namespace {

nlohmann::ordered_json FolderJson(const IPathEntry& entry) {
    return {{"folder", FolderPath(entry)}, {"type", EntryTypeName(entry.GetPathEntryType())}};
}

void PrintTree(std::ostream& out, const IPathEntry& entry, int depth) {
    if (depth > 0)
        out << std::string(2 * depth + 2, ' ') << ToUtf8(entry.GetIRI().getName()) << "  ["
            << EntryTypeName(entry.GetPathEntryType()) << "]\n";
    ForEachChildEntry(entry, [&](const PathEntryPointer& child, PathEntryType) { PrintTree(out, *child, depth + 1); });
}

nlohmann::ordered_json TreeJson(const IPathEntry& entry) {
    nlohmann::ordered_json children = nlohmann::ordered_json::array();
    entry.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& child) {
        if (child.get() != &entry) children.push_back(FolderJson(*child));
        return false;
    });
    return children;
}

}  // namespace

nlohmann::ordered_json EntryToJson(const IPathEntry& entry) {
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const auto& item : *entry.GetPathItems())
        files.push_back({{"file", ItemPath(*item)},
                         {"name", ToUtf8(item->FileName())},
                         {"stem", ToUtf8(item->stem)},
                         {"extension", ToUtf8(item->extension)}});
    nlohmann::ordered_json children = nlohmann::ordered_json::array();
    ForEachChildEntry(entry,
                      [&](const PathEntryPointer& child, PathEntryType) { children.push_back(EntryToJson(*child)); });
    nlohmann::ordered_json object = FolderJson(entry);
    object["files"] = std::move(files);
    object["entries"] = std::move(children);
    return object;
}

nlohmann::ordered_json FoundToJson(const FoundItem& found) {
    nlohmann::ordered_json object{{"file", ItemPath(*found.GetPathItem())}};
    object.update(FolderJson(*found.GetPathEntry()));
    return object;
}

void PrintEntry(std::ostream& out, const IPathEntry& entry, int depth) {
    const std::string indent(2 * depth, ' ');
    out << indent << FolderPath(entry) << "  [" << EntryTypeName(entry.GetPathEntryType()) << ", "
        << Counted(entry.GetPathItems()->size(), "file") << "]\n";
    for (const auto& item : *entry.GetPathItems()) out << indent << "    " << ToUtf8(item->FileName()) << "\n";
    ForEachChildEntry(entry, [&](const PathEntryPointer& child, PathEntryType) { PrintEntry(out, *child, depth + 1); });
}

void PrintSearchPath(std::ostream& out, const IPath& path, bool tree, bool json) {
    const auto mainEntries = path.GetMainEntries();
    if (json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const auto& entry : *mainEntries) {
            nlohmann::ordered_json item = FolderJson(*entry);
            if (tree) item["entries"] = TreeJson(*entry);
            list.push_back(std::move(item));
        }
        out << JsonText(list, 2) << "\n";
        return;
    }
    out << "search path, " << Counted(mainEntries->size(), "folder") << ":\n";
    std::size_t position = 0;
    for (const auto& entry : *mainEntries) {
        out << "  " << ++position << "  " << FolderPath(*entry) << "  [" << EntryTypeName(entry->GetPathEntryType())
            << "]\n";
        if (tree) PrintTree(out, *entry, 0);
    }
}

}  // namespace tfpath
