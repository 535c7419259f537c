#pragma once
// The folders right below an entry, walked in one order wherever they are
// walked: packages, methods (@class folders), UDD classes, the private
// entry, the resources entry.
#include "tfsearch_path/IPathEntry.hpp"

#include <type_traits>

namespace Thornfell::PathManagement {

// Calls `visit(child, kind)` for each child, `kind` being the slot the child
// fills (Package, Method, UDDClass, Private, Resources), which a decorated
// child's own type need not be. A visitor that returns bool stops the walk
// by returning true; one that returns nothing sees every child. Returns true
// if the visitor stopped the walk. A private entry that is the entry itself
// (a folder that stands as its own private folder) is not visited, so that a
// recursive walk ends.
//
// The lists are given apart for an entry that walks its own fields: the
// getters of IPathEntry hand out shares, and most entries share one empty
// list, whose count a walk on many threads would move from core to core.
template <class Visit>
bool ForEachChildEntry(const IPathEntry* self, const PathEntryVector& packages, const PathEntryVector& methods,
                       const PathEntryVector& uddClasses, const PathEntryPointer& privateEntry,
                       const PathEntryPointer& resourcesEntry, Visit&& visit) {
    const auto visitStops = [&visit](const PathEntryPointer& child, PathEntryType kind) {
        if constexpr (std::is_void_v<std::invoke_result_t<Visit&, const PathEntryPointer&, PathEntryType>>) {
            visit(child, kind);
            return false;
        } else {
            return static_cast<bool>(visit(child, kind));
        }
    };
    for (const PathEntryPointer& child : packages)
        if (visitStops(child, Package)) return true;
    for (const PathEntryPointer& child : methods)
        if (visitStops(child, Method)) return true;
    for (const PathEntryPointer& child : uddClasses)
        if (visitStops(child, UDDClass)) return true;
    if (privateEntry && privateEntry.get() != self && visitStops(privateEntry, Private)) return true;
    if (resourcesEntry && visitStops(resourcesEntry, Resources)) return true;
    return false;
}

template <class Visit>
bool ForEachChildEntry(const IPathEntry& entry, Visit&& visit) {
    // The lists are held for the whole call, the visits included.
    return ForEachChildEntry(&entry, *entry.GetPackageEntries(), *entry.GetMethodEntries(), *entry.GetUDDClassEntries(),
                             entry.GetPrivateEntry(), entry.GetResourcesEntry(), visit);
}

}  // namespace Thornfell::PathManagement
