#include "EntryFormat.hpp"

#include "Commands.hpp"
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

} // namespace tfpath
