#include "support/GeneratedTree.hpp"

#include "tfsearch_path/IPathEntryFactory.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <random>
#include <set>
#include <stdexcept>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace tfsp::test {

namespace {

std::vector<std::size_t> Shuffled(std::size_t count, std::mt19937_64& random) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

// The stored tree of these folders and files (relative to the root, one list
// of file names per folder): its folder, named by a hash of every name, and
// whether a complete copy of it is there (else it is to be written, over
// whatever a run cut short left). The name follows the tree itself, so a
// store kept across builds never serves the tree of an older generator.
std::unique_ptr<TempTree> StoredTree(const std::vector<std::string>& folders,
                                     const std::vector<std::vector<std::string>>& files, std::string& completeMark,
                                     bool& complete) {
    const char* store = std::getenv("TFSP_TREE_STORE");
    if (!store || !*store) return std::make_unique<TempTree>("tfsp-trees");
    std::string names;
    for (std::size_t f = 0; f < folders.size(); ++f) {
        names += folders[f] + "/\n";
        for (const std::string& file : files[f]) names += file + "\n";
    }
    char key[32];
    std::snprintf(key, sizeof key, "tree-%016zx", std::hash<std::string>()(names));
    const std::string root = std::string(store) + "/" + key;
    completeMark = root + ".complete";
    complete = std::filesystem::exists(completeMark);
    if (!complete) std::filesystem::remove_all(root);
    return std::make_unique<TempTree>(TempTree::Kept{}, root);
}

}  // namespace

// The draws from the seed come in a fixed order (folders, stems, extensions),
// and options left at their defaults draw nothing: a new option must keep it so.
GeneratedTreeOptions BenchmarkTreeOptions() {
    GeneratedTreeOptions options;
    options.settleOnDisk = true;
    return options;
}

GeneratedTree::GeneratedTree(const GeneratedTreeOptions& options) {
    std::mt19937_64 random(options.seed);
    const auto share = [&](double fraction) {
        return static_cast<std::size_t>(fraction * static_cast<double>(options.folders));
    };
    const bool nested = options.nestedNames > 0;
    const std::size_t packages = share(options.packageFraction);
    const std::size_t classes = share(options.classFraction);
    const std::size_t udds = nested ? share(options.uddClassFraction) : 0;
    const std::size_t resources = share(options.resourcesFraction);
    const std::size_t mains =
        options.folders -
        std::min(options.folders, packages + classes + share(options.privateFraction) + udds + resources);

    std::vector<std::string> folders;  // relative to the root
    for (std::size_t i = 0; i < mains; ++i) {
        const std::string unique = "d" + std::to_string(i);
        if (options.mainNames.empty()) {
            folders.push_back(unique);
            continue;
        }
        const std::size_t name = random() % (options.mainNames.size() + 1);
        folders.push_back("g" + std::to_string(i) + "/" +
                          (name < options.mainNames.size() ? options.mainNames[name] : unique));
    }
    if (mains > 0) {
        std::set<std::string> made(folders.begin(), folders.end());
        const auto add = [&](std::string folder) {
            if (made.insert(folder).second) folders.push_back(std::move(folder));
        };
        // A repeated name inside one of folders[first, end).
        const auto nestedInside = [&](std::size_t first, std::size_t end, const char* kind) {
            const std::string& parent = folders[first + random() % (end - first)];
            return parent + kind + std::to_string(1 + random() % options.nestedNames);
        };
        std::uniform_int_distribution<std::size_t> anyMain(0, mains - 1);
        for (std::size_t i = 0; i < packages; ++i)
            add(nested ? nestedInside(0, folders.size(), "/+pkg")
                       : folders[anyMain(random)] + "/+pkg" + std::to_string(i));
        const std::size_t firstClass = folders.size();
        for (std::size_t i = 0; i < classes; ++i)
            add(nested ? nestedInside(0, firstClass, "/@cls") : folders[anyMain(random)] + "/@Cls" + std::to_string(i));
        const std::size_t endClass = folders.size();
        for (std::size_t i = 0; i < udds && endClass > firstClass; ++i)
            add(nestedInside(firstClass, endClass, "/@udd"));
        // A folder holds one private folder at most, and one resources folder.
        const std::vector<std::size_t> holders = Shuffled(nested ? folders.size() : mains, random);
        for (std::size_t i = 0; i < std::min(share(options.privateFraction), holders.size()); ++i)
            add(folders[holders[i]] + "/private");
        if (resources > 0) {
            const std::vector<std::size_t> order = Shuffled(mains, random);
            for (std::size_t i = 0; i < std::min(resources, mains); ++i) add(folders[order[i]] + "/resources");
        }
    }

    // stems[folder][file]; shared stems take the place of another in the main
    // folders the seed picks.
    std::vector<std::vector<std::string>> stems(folders.size());
    for (std::size_t f = 0; f < folders.size(); ++f) {
        if (options.stemPool.empty()) {
            for (std::size_t j = 0; j < options.filesPerFolder; ++j)
                stems[f].push_back("f" + std::to_string(f) + "_" + std::to_string(j));
            continue;
        }
        std::vector<std::string> pool = options.stemPool;
        std::shuffle(pool.begin(), pool.end(), random);
        stems[f].assign(pool.begin(), pool.begin() + std::min(options.filesPerFolder, pool.size()));
    }
    std::vector<std::size_t> sharedSlotsUsed(mains, 0);
    for (const auto& [stem, count] : options.sharedStems) {
        const std::vector<std::size_t> order = Shuffled(mains, random);
        for (std::size_t i = 0; i < std::min(count, mains); ++i) {
            std::size_t& used = sharedSlotsUsed[order[i]];
            if (used < stems[order[i]].size()) stems[order[i]][used++] = stem;
        }
    }

    std::uniform_int_distribution<std::size_t> anyExtension(0, options.extensions.empty()
                                                                   ? 0
                                                                   : options.extensions.size() - 1);
    std::vector<std::vector<std::string>> files(folders.size());  // names, by folder
    for (std::size_t f = 0; f < folders.size(); ++f) {
        for (const std::string& stem : stems[f])
            files[f].push_back(stem + (options.extensions.empty() ? "" : options.extensions[anyExtension(random)]));
        files[f].insert(files[f].end(), options.filesInEveryFolder.begin(), options.filesInEveryFolder.end());
    }

    std::string completeMark;
    bool stored = false;
    temp_ = StoredTree(folders, files, completeMark, stored);
    for (std::size_t f = 0; f < folders.size(); ++f) {
        allFolders_.push_back(stored ? temp_->path(folders[f]) : temp_->folder(folders[f]));
        if (f < mains) mainFolders_.push_back(allFolders_.back());
        if (!stored)
            for (const std::string& name : files[f]) temp_->file(folders[f] + "/" + name);
        fileCount_ += files[f].size();
    }
    if (options.settleOnDisk) {
        const int root = ::open(temp_->root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (root < 0 || ::syncfs(root) != 0) throw std::runtime_error("can't sync the tree " + temp_->root());
        ::close(root);
    }
    if (!completeMark.empty() && !stored) std::ofstream(completeMark).flush();
}

GeneratedTreeOptions EveryKindOfFolder(std::size_t folders, std::uint64_t seed) {
    GeneratedTreeOptions options;
    options.folders = folders;
    options.seed = seed;
    options.filesPerFolder = 2;
    options.packageFraction = 0.2;
    options.classFraction = 0.15;
    options.uddClassFraction = 0.05;
    options.privateFraction = 0.1;
    options.resourcesFraction = 0.05;
    options.nestedNames = 1;
    options.mainNames = {"util", "Util", "lib", "pkg1"};
    options.stemPool = {"Foo", "foo", "s0", "s1", "s2", "s3", "s4", "s5"};
    options.extensions = {".tf", ".tfc"};
    options.filesInEveryFolder = {"common.tf"};
    return options;
}

std::vector<foundation::storage::vfs::AbsoluteIRI> MainFolderIRIs(const GeneratedTree& tree) {
    std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
    iris.reserve(tree.mainFolders().size());
    for (const auto& folder : tree.mainFolders())
        iris.push_back(foundation::storage::vfs::toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(folder)));
    return iris;
}

std::size_t BareWalk(const std::vector<std::string>& folders) {
    std::size_t names = 0;
    for (const auto& folder : folders) {
        DIR* dir = ::opendir(folder.c_str());
        if (!dir) continue;
        while (const dirent* entry = ::readdir(dir)) names += entry->d_name[0] != '.';
        ::closedir(dir);
    }
    return names;
}

Thornfell::PathManagement::PathEntryVector FrozenMainEntries(const GeneratedTree& tree) {
    Thornfell::PathManagement::PathEntryVector entries;
    for (const auto& iri : MainFolderIRIs(tree))
        entries.push_back(Thornfell::PathManagement::GetPathEntryFactory().GetFrozenPathEntry(iri));
    return entries;
}

}  // namespace tfsp::test
