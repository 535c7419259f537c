#pragma once
// The vocabulary of the search path: kinds of folder, name matching
// policies, monitoring states and search scopes.
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>

#include "fl/ustring.hpp"
#include "tfsearch_path/FilenameMatchingPolicy.hpp"

namespace Thornfell::PathManagement {

// The numbers are fixed: code tests them and scopes list them.
enum PathEntryType : std::int32_t {
    Main = 0,       // a folder listed on the path
    Package = 1,    // "+name"
    Method = 2,     // "@name"
    Private = 3,    // "private"
    UDDClass = 4,   // "@name" inside an "@" folder
    Resources = 5,  // "resources"
};

enum FolderMonitoringState : std::int32_t {
    Unclassified = 0,
    Frozen = 1,
    Monitored = 2,
};

// A view of a contiguous array of entry types that outlives the call. An
// entry is in scope when its type is one of the elements; an empty scope
// selects nothing.
class SearchScope {
public:
    constexpr SearchScope() = default;
    constexpr SearchScope(const PathEntryType* begin, const PathEntryType* end) : begin_(begin), end_(end) {}
    template <std::size_t N>
    constexpr SearchScope(const PathEntryType (&types)[N]) : begin_(types), end_(types + N) {}

    constexpr const PathEntryType* begin() const { return begin_; }
    constexpr const PathEntryType* end() const { return end_; }
    constexpr bool empty() const { return begin_ == end_; }
    constexpr bool contains(PathEntryType type) const {
        for (const PathEntryType* it = begin_; it != end_; ++it)
            if (*it == type) return true;
        return false;
    }

private:
    const PathEntryType* begin_ = nullptr;
    const PathEntryType* end_ = nullptr;
};

inline constexpr PathEntryType allEntryTypes[] = {Main, Package, Method, Private, UDDClass, Resources};
// Every entry type, in the order of their values.
inline constexpr SearchScope allEntryTypesScope{allEntryTypes};

// A name comparison: (value from the entry, value sought).
using FilenameMatcherFunction = std::function<bool(const ustring&, const ustring&)>;
// An entry's comparison, handed out as an aliasing pointer that owns the
// entry holding the function: the entry lives while the matcher does.
using FilenameMatcher = std::shared_ptr<const FilenameMatcherFunction>;

}  // namespace Thornfell::PathManagement
