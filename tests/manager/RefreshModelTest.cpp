// The path against the disk under random changes: a tree of folders is
// changed at random (files made, removed and renamed, folders made, removed,
// renamed, replaced by a file, a link or a link loop, made unreadable), each
// change followed by one Refresh(0), after which every lookup must answer
// what a fresh listing of the disk answers.
//
// TFSP_MODEL_SECONDS sets the time budget (10 s by default) and
// TFSP_MODEL_SEED the seed (drawn at random by default); a failure prints
// the seed, which replays the same changes. TFSP_MODEL_ALL=1 prints every
// change of a failed run, and TFSP_MODEL_TRACE=N the path's entries after
// each change from the Nth on.
#include "ManagerTestSupport.hpp"

#include "support/RandomSeed.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>

namespace tfsp::test {
namespace {

namespace fs = std::filesystem;

constexpr PathEntryType kMainFolders[] = {Main};
constexpr int kStems = 10;  // files are named s0.tf .. s9.tf
constexpr int kPathFolders = 8;
constexpr char kNames[] = "abc";  // each folder's children, three levels deep

enum Kind : int {
    MakeFile,
    RemoveFile,
    RenameFile,
    MakeFolder,
    RemoveAny,
    RenameFolder,
    RenameAbovePath,
    ReplaceByFile,
    ReplaceByLink,
    ReplaceByLoop,
    Permissions,
};
// How often each kind is drawn: changes of the tree's structure come less
// often than those of files.
constexpr double kWeights[] = {6, 4, 3, 2, 1, 2, 2, 1, 1, 1, 1};
static_assert(std::size(kWeights) == Permissions + 1);

class RefreshModelTest : public ManagerFixture {
protected:
    RefreshModelTest() : seed(SeedFromEnvironment("TFSP_MODEL_SEED")), random(seed) {
        // Every folder of the tree is one of these; a folder renamed takes
        // the name of another of its depth, so its subfolders stay in the set.
        for (const char first : std::string(kNames)) {
            const std::string a(1, first);
            universe.push_back(a);
            for (const char second : std::string(kNames)) {
                const std::string b = a + "/" + second;
                universe.push_back(b);
                for (const char third : std::string(kNames)) universe.push_back(b + "/" + third);
            }
        }
    }
    ~RefreshModelTest() override {
        // What was made unreadable becomes removable again, wherever it went.
        for (int pass = 0; pass < 3; ++pass)
            for (const std::string& folder : RealFolders())
                fs::permissions(tree.path(folder), fs::perms::owner_all, fs::perm_options::add, ignored);
    }

    static double Seconds() {
        const char* text = std::getenv("TFSP_MODEL_SECONDS");
        return text ? std::strtod(text, nullptr) : 10.0;
    }

    // Folders reached from the root through folders alone, no link.
    std::vector<std::string> RealFolders() {
        std::vector<std::string> folders;
        for (const std::string& folder : universe) {
            const fs::path parent = fs::path(folder).parent_path();
            const bool parentReal =
                parent.empty() || std::find(folders.begin(), folders.end(), parent.string()) != folders.end();
            if (parentReal && fs::symlink_status(tree.path(folder), ignored).type() == fs::file_type::directory)
                folders.push_back(folder);
        }
        return folders;
    }
    std::vector<std::string> Files() {
        std::vector<std::string> files;
        for (const std::string& folder : RealFolders())
            for (int s = 0; s < kStems; ++s) {
                const std::string file = folder + "/" + Stem(s) + ".tf";
                if (fs::symlink_status(tree.path(file), ignored).type() == fs::file_type::regular)
                    files.push_back(file);
            }
        return files;
    }
    bool Exists(const std::string& relative) {
        return fs::symlink_status(tree.path(relative), ignored).type() != fs::file_type::not_found;
    }
    // Names of the tree that a folder could take: absent, in a real folder
    // (or at the top), of the given depth, and not below `notBelow`.
    std::vector<std::string> FreeNames(std::size_t depth, const std::string& notBelow = "") {
        const auto real = RealFolders();
        std::vector<std::string> names;
        for (const std::string& name : universe) {
            const std::string parent = fs::path(name).parent_path().string();
            if (Depth(name) != depth || Exists(name) || (!notBelow.empty() && name.starts_with(notBelow + "/")))
                continue;
            if (parent.empty() || std::find(real.begin(), real.end(), parent) != real.end()) names.push_back(name);
        }
        return names;
    }
    static std::size_t Depth(const std::string& folder) { return std::count(folder.begin(), folder.end(), '/') + 1; }
    static std::string Stem(int s) { return "s" + std::to_string(s); }

    template <typename T>
    const T& Pick(const std::vector<T>& from) {
        return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random)];
    }
    int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }
    std::string AnyStem() { return Stem(Below(kStems)); }
    // A file made where the file system lets it be made (not in a folder
    // made unreadable).
    void Write(const std::string& file) { std::ofstream(tree.path(file), std::ios::binary); }
    void Fill(const std::string& folder) {
        for (int files = Below(3); files > 0; --files) Write(folder + "/" + AnyStem() + ".tf");
    }

    // One change, described; nullopt when the tree offers nothing to make it on.
    std::optional<std::string> Change(Kind kind) {
        const auto real = RealFolders();
        switch (kind) {
        case MakeFile: {  // a file made
            if (real.empty()) return std::nullopt;
            const std::string file = Pick(real) + "/" + AnyStem() + ".tf";
            Write(file);
            return "make " + file;
        }
        case RemoveFile: {  // a file removed
            const auto files = Files();
            if (files.empty()) return std::nullopt;
            const std::string file = Pick(files);
            fs::remove(tree.path(file), refused);
            return "remove " + file + Failed();
        }
        case RenameFile: {  // a file renamed, maybe into another folder, maybe over another file
            const auto files = Files();
            if (files.empty()) return std::nullopt;
            const std::string from = Pick(files), to = Pick(real) + "/" + AnyStem() + ".tf";
            fs::rename(tree.path(from), tree.path(to), refused);
            return "rename " + from + " " + to + Failed();
        }
        case MakeFolder: {  // a folder made, with a few files
            const auto free = FreeNames(1 + Below(3));
            if (free.empty()) return std::nullopt;
            const std::string folder = Pick(free);
            fs::create_directory(tree.path(folder), refused);
            Fill(folder);
            return "mkdir " + folder + Failed();
        }
        case RemoveAny: {  // a folder, file or link removed
            const std::string name = Pick(universe);
            if (!Exists(name)) return std::nullopt;
            fs::remove_all(tree.path(name), refused);
            return "rm -r " + name + Failed();
        }
        case RenameFolder: {  // a folder renamed
            if (real.empty()) return std::nullopt;
            const std::string from = Pick(real);
            return Rename(from, false);
        }
        case RenameAbovePath: {  // a folder above one on the path renamed, and the path's folder maybe made again
            std::vector<std::string> above;
            for (const std::string& folder : path)
                for (fs::path parent = fs::path(folder).parent_path(); !parent.empty(); parent = parent.parent_path())
                    if (std::find(real.begin(), real.end(), parent.string()) != real.end())
                        above.push_back(parent.string());
            if (above.empty()) return std::nullopt;
            return Rename(Pick(above), true);
        }
        case ReplaceByFile: {  // replaced by a file
            const std::string name = Pick(universe);
            if (!Exists(name)) return std::nullopt;
            fs::remove_all(tree.path(name), refused);
            Write(name);
            return "replace " + name + " by a file" + Failed();
        }
        case ReplaceByLink: {  // replaced by a link to another folder, not one inside it
            const std::string name = Pick(universe);
            std::vector<std::string> targets;
            for (const std::string& folder : real)
                if (folder != name && !folder.starts_with(name + "/")) targets.push_back(folder);
            const std::string parent = fs::path(name).parent_path().string();
            if (targets.empty() || (!parent.empty() && std::find(real.begin(), real.end(), parent) == real.end()))
                return std::nullopt;
            const std::string target = Pick(targets);
            fs::remove_all(tree.path(name), refused);
            fs::create_symlink(tree.path(target), tree.path(name), refused);
            return "replace " + name + " by a link to " + target + Failed();
        }
        case ReplaceByLoop: {  // replaced by a link to itself
            const std::string name = Pick(universe);
            if (!Exists(name)) return std::nullopt;
            fs::remove_all(tree.path(name), refused);
            fs::create_symlink(fs::path(name).filename(), tree.path(name), refused);
            return "replace " + name + " by a link loop" + Failed();
        }
        case Permissions: {  // made unreadable, or readable again
            // Root reads folders of any mode, so there is nothing to see;
            // CI runs as root.
            if (!permissionsEnforced || real.empty()) return std::nullopt;
            const std::string folder = Pick(real);
            const fs::perms mode = fs::status(tree.path(folder), ignored).permissions();
            const bool locked = (mode & fs::perms::owner_read) == fs::perms::none;
            fs::permissions(tree.path(folder), locked ? fs::perms::owner_all : fs::perms::none, refused);
            return (locked ? "chmod 700 " : "chmod 0 ") + folder + Failed();
        }
        }
        return std::nullopt;
    }
    std::optional<std::string> Rename(const std::string& from, bool remakePath) {
        const auto free = FreeNames(Depth(from), from);
        if (free.empty()) return std::nullopt;
        const std::string to = Pick(free);
        fs::rename(tree.path(from), tree.path(to), refused);
        std::string done = "mv " + from + " " + to + Failed();
        if (remakePath) {
            // `mv x/a x/old; mkdir -p x/a/b` for a path folder x/a/b
            std::vector<std::string> below;
            for (const std::string& folder : path)
                if (folder.starts_with(from + "/")) below.push_back(folder);
            if (!below.empty() && Below(2)) {
                const std::string folder = Pick(below);
                fs::create_directories(tree.path(folder), refused);
                if (!refused) Fill(folder);
                done += "; mkdir -p " + folder + Failed();
            }
        }
        return done;
    }
    // Said of a change the file system refused (a folder made unreadable
    // keeps some from being made); the tree is as it is, and the oracle reads it.
    std::string Failed() {
        std::string failed = refused ? " (failed: " + refused.message() + ")" : "";
        refused.clear();
        return failed;
    }

    // The oracle: the stems of the .tf files a folder of the path holds now,
    // read afresh; a folder that isn't there holds none, and one that can't
    // be read keeps what it was last seen to hold.
    std::set<std::string> Listing(const std::string& folder) {
        std::set<std::string> stems;
        std::error_code error;
        fs::directory_iterator it(tree.path(folder), error);
        if (error == std::errc::permission_denied) return lastSeen[folder];
        for (; !error && it != fs::directory_iterator(); it.increment(error))
            if (it->path().extension() == ".tf" && it->is_regular_file(ignored))
                stems.insert(it->path().stem().string());
        return lastSeen[folder] = stems;
    }
    // Every lookup against the oracle; what disagrees, or "".
    std::string Disagreements() {
        std::vector<std::set<std::string>> listings;
        for (const std::string& folder : path) listings.push_back(Listing(folder));
        std::ostringstream out;
        std::vector<std::string> stems{"absent", "s" + std::to_string(kStems)};
        for (int s = 0; s < kStems; ++s) stems.push_back(Stem(s));
        for (const std::string& stem : stems) {
            std::vector<std::string> expected;
            for (std::size_t i = 0; i < path.size(); ++i)
                if (listings[i].contains(stem)) expected.push_back(path[i] + "/" + stem + ".tf");
            const auto all = FoundAll(stem, kMainFolders);
            const auto first = FoundFirst(stem, kMainFolders);
            if (all != expected || first != (expected.empty() ? "" : expected.front()))
                out << "  " << stem << ": disk " << ::testing::PrintToString(expected) << ", FindAll "
                    << ::testing::PrintToString(all) << ", FindFirst \"" << first << "\"\n";
        }
        return out.str();
    }

    // From which change on each refresh's entries are printed, with the
    // address of each entry: the same address again is an entry served anew.
    static std::size_t TraceFrom() {
        const char* text = std::getenv("TFSP_MODEL_TRACE");
        return text ? std::strtoull(text, nullptr, 10) : 0;
    }
    void Trace(std::size_t number, const std::string& change) {
        std::cout << number << ". " << change << "\n";
        for (const auto& entry : *Manager().GetSearchPath()->GetMainEntries()) {
            std::cout << "   " << fl::i18n::ustring_to_utf8(entry->GetDescriptor()) << " @" << entry.get() << ":";
            for (const auto& item : *entry->GetPathItems())
                std::cout << " " << fl::i18n::ustring_to_utf8(item->FileName());
            std::cout << "\n";
        }
    }

    const std::size_t traceFrom = TraceFrom();
    const std::uint64_t seed;
    std::mt19937_64 random;
    std::vector<std::string> universe;
    std::vector<std::string> path;
    std::map<std::string, std::set<std::string>> lastSeen;
    const bool permissionsEnforced = permissionsAreEnforced();
    std::error_code ignored;  // of questions: a name that isn't there, say
    std::error_code refused;  // of changes: one the file system refuses is part of the run
};

TEST_F(RefreshModelTest, EveryLookupAfterOneRefreshAgreesWithTheDisk) {
    for (const std::string& folder : universe) {
        tree.folder(folder);
        Fill(folder);
    }
    tree.folder("cwd");  // holds no .tf file and never changes
    Cd("cwd");
    path = universe;
    std::shuffle(path.begin(), path.end(), random);
    path.resize(kPathFolders);
    ASSERT_TRUE(SetPath(path).empty());

    std::discrete_distribution<int> kinds(std::begin(kWeights), std::end(kWeights));
    std::vector<std::string> done;
    std::string wrong = Disagreements();
    const auto start = std::chrono::steady_clock::now();
    const auto deadline = start + std::chrono::duration<double>(Seconds());
    while (wrong.empty() && std::chrono::steady_clock::now() < deadline) {
        const std::optional<std::string> change = Change(static_cast<Kind>(kinds(random)));
        if (!change) continue;
        done.push_back(*change);
        ASSERT_TRUE(Manager().Refresh(TrustObservers)) << *change;
        wrong = Disagreements();
        if (traceFrom && done.size() >= traceFrom) Trace(done.size(), *change);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cout << "seed " << seed << ": " << done.size() << " changes in " << seconds << " s\n";
    if (!wrong.empty()) {
        // The last changes, which are where to look first; the seed replays all.
        const std::size_t kShown = std::getenv("TFSP_MODEL_ALL") ? ~std::size_t{0} : 300;
        std::ostringstream changes;
        if (done.size() > kShown) changes << "  (the first " << done.size() - kShown << " left out)\n";
        for (std::size_t i = done.size() > kShown ? done.size() - kShown : 0; i < done.size(); ++i)
            changes << "  " << i + 1 << ". " << done[i] << "\n";
        std::ostringstream folders;
        for (const std::string& folder : path) folders << " " << folder;
        ADD_FAILURE() << "TFSP_MODEL_SEED=" << seed << " replays this run.\npath:" << folders.str() << "\nchanges:\n"
                      << changes.str() << "after the last change and one refresh:\n"
                      << wrong;
    }
}

}  // namespace
}  // namespace tfsp::test
