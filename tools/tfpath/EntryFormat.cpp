#include "EntryFormat.hpp"

#include "Commands.hpp"
#include "JsonText.hpp"
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

std::string ItemPath(const PathItem& item) {
    ustring path = GetStringFromIRI(item.folderIRI);
    if (path.empty() || path.back() != u'/') path += u'/';
    return ToUtf8(path + item.stem + item.extension);
}

namespace {
nlohmann::ordered_json ChildrenToJson(const PathEntryList& children) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& child : *children) list.push_back(EntryToJson(*child));
    return list;
}
void PrintTree(std::ostream& out, const IPathEntry& entry, int depth) {
    auto children = [&out, depth](const PathEntryList& list) {
        for (const auto& child : *list) PrintTree(out, *child, depth + 1);
    };
    if (depth > 0)
        out << std::string(2 * depth + 2, ' ') << ToUtf8(entry.GetIRI().getName()) << "  ["
            << EntryTypeName(entry.GetPathEntryType()) << "]\n";
    children(entry.GetPackageEntries());
    children(entry.GetMethodEntries());
    children(entry.GetUDDClassEntries());
    if (auto child = entry.GetPrivateEntry(); child && child.get() != &entry) PrintTree(out, *child, depth + 1);
    if (auto child = entry.GetResourcesEntry()) PrintTree(out, *child, depth + 1);
}

nlohmann::ordered_json TreeJson(const IPathEntry& entry) {
    nlohmann::ordered_json children = nlohmann::ordered_json::array();
    entry.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& child) {
        if (child.get() != &entry)
            children.push_back({{"folder", ToUtf8(GetStringFromIRI(child->GetIRI()))},
                                {"type", EntryTypeName(child->GetPathEntryType())}});
        return false;
    });
    return children;
}

} // namespace

nlohmann::ordered_json EntryToJson(const IPathEntry& entry) {
    nlohmann::ordered_json items = nlohmann::ordered_json::array();
    for (const auto& item : *entry.GetPathItems())
        items.push_back({{"stem", ToUtf8(item->stem)}, {"extension", ToUtf8(item->extension)}});
    const auto privateEntry = entry.GetPrivateEntry();
    const auto resourcesEntry = entry.GetResourcesEntry();
    return {{"iri", ToUtf8(entry.GetIRI().toString())},
            {"type", EntryTypeName(entry.GetPathEntryType())},
            {"descriptor", ToUtf8(entry.GetDescriptor())},
            {"items", std::move(items)},
            {"packages", ChildrenToJson(entry.GetPackageEntries())},
            {"methods", ChildrenToJson(entry.GetMethodEntries())},
            {"uddClasses", ChildrenToJson(entry.GetUDDClassEntries())},
            {"private", privateEntry ? EntryToJson(*privateEntry) : nlohmann::ordered_json(nullptr)},
            {"resources", resourcesEntry ? EntryToJson(*resourcesEntry) : nlohmann::ordered_json(nullptr)}};
}

void PrintEntry(std::ostream& out, const IPathEntry& entry, int depth) {
    const std::string indent(2 * depth, ' ');
    out << indent << ToUtf8(GetStringFromIRI(entry.GetIRI())) << "  [" << EntryTypeName(entry.GetPathEntryType())
        << ", " << entry.GetPathItems()->size() << " files]\n";
    for (const auto& item : *entry.GetPathItems()) out << indent << "    " << ToUtf8(item->FileName()) << "\n";
    for (const auto& child : *entry.GetPackageEntries()) PrintEntry(out, *child, depth + 1);
    for (const auto& child : *entry.GetMethodEntries()) PrintEntry(out, *child, depth + 1);
    for (const auto& child : *entry.GetUDDClassEntries()) PrintEntry(out, *child, depth + 1);
    if (auto child = entry.GetPrivateEntry()) PrintEntry(out, *child, depth + 1);
    if (auto child = entry.GetResourcesEntry()) PrintEntry(out, *child, depth + 1);
}

void PrintSearchPath(std::ostream& out, const IPath& path, bool tree, bool json) {
    const auto mainEntries = path.GetMainEntries();
    if (json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const auto& entry : *mainEntries) {
            nlohmann::ordered_json item{{"folder", ToUtf8(GetStringFromIRI(entry->GetIRI()))},
                                        {"type", EntryTypeName(entry->GetPathEntryType())}};
            if (tree) item["entries"] = TreeJson(*entry);
            list.push_back(std::move(item));
        }
        out << JsonText(list, 2) << "\n";
        return;
    }
    out << "search path, " << mainEntries->size() << " folders:\n";
    std::size_t position = 0;
    for (const auto& entry : *mainEntries) {
        out << "  " << ++position << "  " << ToUtf8(GetStringFromIRI(entry->GetIRI())) << "  ["
            << EntryTypeName(entry->GetPathEntryType()) << "]\n";
        if (tree) PrintTree(out, *entry, 0);
    }
}

} // namespace tfpath
