#pragma once
// Helpers shared by the entry tests.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "support/Text.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathEvents.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

inline std::vector<std::string> FileNames(const IPathEntry& entry) {
    std::vector<std::string> names;
    for (const auto& item : *entry.GetPathItems()) names.push_back(Utf8(item->FileName()));
    return names;
}

inline std::vector<std::string> BaseNames(const PathEntryList& entries) {
    std::vector<std::string> names;
    for (const auto& entry : *entries) names.push_back(Utf8(entry->GetIRI().getName()));
    std::sort(names.begin(), names.end());  // listing order is the directory's
    return names;
}

inline detail::SearchTarget Target(const char16_t* name, std::vector<ustring> extensions) {
    return detail::SearchTarget(name, extensions);
}

}  // namespace tfsp::test
