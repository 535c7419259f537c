#pragma once
// One file of a folder, a query target, and a query result.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/PathTypes.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace Thornfell::PathManagement {

class IPathEntry;

enum ItemContentKind : std::int32_t {
    KindC = 0,
    KindN = 1,
    KindU = 2,
};

class TFSP_API PathItem {
public:
    PathItem(ustring&& stem, ustring&& extension, foundation::storage::vfs::CanonicalAbsoluteIRI&& folderIRI);
    // The same item from views of its parts, whose strings are made in
    // place: a listing makes all of a folder's items so, with no strings of
    // its own to move from.
    PathItem(ustring_view stem, ustring_view extension,
             const foundation::storage::vfs::CanonicalAbsoluteIRI& folderIRI);
    PathItem(const PathItem&) = delete;
    PathItem& operator=(const PathItem&) = delete;

    // The form under which names are compared in indexes: the simple case
    // folding of the storage layer (foundation::storage::vfs::foldCase). Any
    // two names that one of the matching policies calls equal have the same
    // normalized form.
    static ustring Normalize(ustring&& name);

    const ustring stem;                                              // in the case of the file system
    const ustring extension;                                         // "." and what follows, or empty
    const ustring normalizedStem;                                    // Normalize(stem): the key of every index
    const foundation::storage::vfs::CanonicalAbsoluteIRI folderIRI;  // the folder that holds the file
    // The only field that changes after construction: set when the item comes
    // from the toolbox cache, read when the cache is written.
    std::atomic<std::int32_t> contentKind{KindC};

    // stem + extension.
    ustring FileName() const { return stem + extension; }
};

using PathItemPointer = std::shared_ptr<const PathItem>;
using PathItemVector = std::vector<PathItemPointer>;

// A query result: the item and the entry that holds it.
class FoundItem {
public:
    FoundItem(std::shared_ptr<const PathItem> item, std::shared_ptr<const IPathEntry> entry)
        : item_(std::move(item)), entry_(std::move(entry)) {}

    const std::shared_ptr<const PathItem>& GetPathItem() const { return item_; }
    const std::shared_ptr<const IPathEntry>& GetPathEntry() const { return entry_; }

    friend bool operator==(const FoundItem& a, const FoundItem& b) {
        return a.item_ == b.item_ && a.entry_ == b.entry_;
    }

private:
    std::shared_ptr<const PathItem> item_;
    std::shared_ptr<const IPathEntry> entry_;
};

// A query result borrowed from the path that gave it, valid while that path
// lives: a path keeps its entries, and an entry its items. Taking it moves no
// shared count, so lookups on many threads at once write nothing they share.
struct FoundItemView {
    const PathItem* item = nullptr;
    const IPathEntry* entry = nullptr;
    explicit operator bool() const { return item != nullptr; }
    friend bool operator==(const FoundItemView&, const FoundItemView&) = default;
};

namespace detail {

// What a query looks for: a stem (for path queries, possibly a partial
// pathname) and the extensions that count, in order of preference, each with
// its leading dot. The empty extension stands for a file without one.
class SearchTarget {
public:
    SearchTarget(const ustring& name, const std::vector<ustring>& extensions) : name_(name), extensions_(extensions) {}
    const ustring& name() const { return name_; }
    const std::vector<ustring>& extensions() const { return extensions_; }

private:
    ustring name_;
    std::vector<ustring> extensions_;
};

}  // namespace detail

namespace Constants {
// The characters accepted as folder separators in a partial pathname, used as
// a set. "\\" is accepted beside "/" so that names written on other systems
// still split.
extern TFSP_API const ustring PathnameSeparatorStr;
}  // namespace Constants

}  // namespace Thornfell::PathManagement
