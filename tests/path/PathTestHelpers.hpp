#pragma once
// Shared by the path tests: seeded random folder trees, and a plain walk of a
// path's entries that the indexed queries are checked against.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;

inline std::string Utf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }
inline ustring Utf16(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }

inline const FilenameMatchingPolicy kAllPolicies[] = {CaseRuleOne, CaseRuleTwo, StorageSystemRule};

// Names as the policy compares them: folded under CaseRuleTwo, exact
// otherwise (the POSIX storage system's own rule is exact).
inline bool SameName(const ustring& a, const ustring& b, FilenameMatchingPolicy policy) {
    return policy == CaseRuleTwo ? foundation::storage::vfs::equalFolded(a, b) : a == b;
}

// A tree of main folders made from a seed: plain, package, class (with UDD
// classes), private and resources folders; folder and file names that differ
// only in case; and stems held by every main folder ("common", "Foo").
class RandomTree {
public:
    RandomTree(std::uint64_t seed, int mainFolders);

    // Entries of the main folders, in path order, from the process's factory.
    PathEntryVector MainEntries() const;

    // Every stem used anywhere, and one that is used nowhere.
    std::vector<ustring> stems;
    std::mt19937_64 random;
    TempTree tree;

private:
    enum class FolderKind { Main, Package, Class, UDDClass, Leaf };
    void Fill(const std::string& folder, FolderKind kind, int depth);
    std::vector<std::string> mains;
};

// One entry as a plain walk of the main entries sees it.
struct WalkedEntry {
    PathEntryPointer entry;
    PathEntryPointer parent;  // null for a main entry
    std::size_t mainIndex;
};

// Every entry under the main entries, each before its children, children in
// the order packages, methods, UDD classes, private, resources.
std::vector<WalkedEntry> WalkInPathOrder(const PathEntryVector& mainEntries);

// An entry made in memory, for trees too large to write to disk: its files
// are the stems with ".tf", and it has no observer.
PathEntryPointer MemoryEntry(const ustring& location, PathEntryType type, const std::vector<ustring>& stems,
                             PathEntryPointer privateChild = nullptr);

// Whether the folder names of `entry`'s location end in `parts`.
bool LocationEndsWith(const IPathEntry& entry, const std::vector<ustring>& parts, FilenameMatchingPolicy policy);

} // namespace tfsp::test
