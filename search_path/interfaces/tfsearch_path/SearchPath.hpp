#pragma once
// A search path for any program: folders in, files out, from any thread.
//
//   SearchPath path;
//   path.SetFolders(std::vector<std::filesystem::path>{"lib", "/opt/tools"});
//   if (auto file = path.Find("hello")) std::cout << file->string() << "\n";
//
// Strings are UTF-8, folders std::filesystem::path (relative ones are taken
// against the process's working folder). A byte of a name on disk that isn't
// part of valid UTF-8 comes back as that byte.
//
// Every operation may be called from any thread. Changes are serialised
// inside; Find, FindAll and Snapshot take no lock in the common case. Change
// callbacks run on the thread that made the change, after it, with no lock of
// this object held: they may call Find, FindAll, Folders and Snapshot, and a
// SetFolders or Refresh they call throws (a change can't start while its own
// callbacks run). An exception a callback throws reaches the caller of the
// change, which stands; the callbacks after it miss that change.
#include "tfsearch_path/Export.hpp"
#include "tfsearch_path/FilenameMatchingPolicy.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Thornfell::PathManagement {

class IPath;
class ISearchPathSession;

struct SearchPathOptions {
    bool followWorkingFolder = false;               // the working folder ahead of the path, as an interactive host does
    std::vector<std::string> extensions = {".tf"};  // what a name finds, in order of preference ("" is no extension)
    FilenameMatchingPolicy policy = StorageSystemRule;
};

// The folders of the search path that a change added, removed, moved or read
// again.
struct PathChange {
    std::vector<std::filesystem::path> added, removed, reordered, refreshed;
};

// Keeps a change callback connected until it is destroyed. It may outlive its
// SearchPath, and may be destroyed inside its own callback.
class TFSP_API Subscription {
public:
    Subscription() noexcept;
    Subscription(Subscription&&) noexcept;
    Subscription& operator=(Subscription&&) noexcept;
    ~Subscription();

private:
    friend class SearchPath;
    struct State;
    explicit Subscription(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

class TFSP_API SearchPath {
public:
    explicit SearchPath(SearchPathOptions options = {});
    SearchPath(SearchPath&&) noexcept;
    SearchPath& operator=(SearchPath&&) noexcept;
    ~SearchPath();

    // Replaces the path whole; returns a message for each folder left out (one
    // that doesn't exist, or a package or class folder, which can't stand on
    // the path by itself). The other folders still make the path.
    std::vector<std::string> SetFolders(std::span<const std::filesystem::path> folders);
    // The folders as they were set, made absolute and canonical.
    std::vector<std::filesystem::path> Folders() const;

    // The file a name stands for: a class constructor @NAME/NAME in a folder of
    // the path comes first; then the first file of that name in the folders, in
    // path order. Class methods, package functions and private functions are
    // reached by partial pathnames (+pkg/name, @Cls/name, private/name) or, for
    // package functions, by the dotted form (pkg.name, pkg.sub.name). Throws
    // std::invalid_argument for an empty name or one ending in a separator.
    std::optional<std::filesystem::path> Find(std::string_view name) const;
    // Every file the name finds, in the order Find ranks them.
    std::vector<std::filesystem::path> FindAll(std::string_view name) const;

    // Takes in what changed on disk (and, when followed, the working folder);
    // true when the path changed.
    bool Refresh();
    Subscription OnChange(std::function<void(const PathChange&)> callback);

    // The immutable path that Find answers from now; it stays valid and
    // unchanged however the SearchPath moves on.
    std::shared_ptr<const IPath> Snapshot() const;
    // The host-level session underneath, for what this class doesn't offer.
    // Its own calls are serialised with this object's and run with the engine
    // context they need; the manager and registry it hands out keep the
    // host-level rules (one thread at a time, with that context). The manager
    // ends with the SearchPath: EndManager throws std::logic_error.
    ISearchPathSession& Session();

private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

}  // namespace Thornfell::PathManagement
