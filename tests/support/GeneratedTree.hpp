#pragma once
// A folder tree made from a seed in a new temporary folder (under $TMPDIR,
// else /tmp) and removed again by the destructor: the benchmarks' trees, and
// the reference tests' trees of every kind of folder.
//
// With TFSP_TREE_STORE set to a folder, a tree is made there once and kept,
// under a hash of its folders' and files' names, and a later tree of the same
// names (in this process or another) uses it as it stands: the benchmark
// programs of one run then share their trees, which on a slow disk take
// longer to write than to measure.
//
// `folders` folders are made in all, each holding `filesPerFolder` empty
// files; the given shares of them are package ("+pkgN"), class ("@ClsN") and
// private folders, each put inside a main folder chosen by the seed, and the
// rest are main folders ("dN"). File stems are unique ("fN_M", N the folder)
// except for the shared stems, each of which stands in as many main folders
// as asked. The options after those make trees with names in common (see
// each); left at their defaults, a seed makes the same tree as it always has,
// so that benchmark figures stay comparable.
#include "support/TempTree.hpp"

#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "tfsearch_path/IPathEntry.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tfsp::test {

struct GeneratedTreeOptions {
    std::size_t folders = 2000;
    std::size_t filesPerFolder = 50;
    std::uint64_t seed = 1;
    double packageFraction = 0.05;
    double classFraction = 0.05;
    double privateFraction = 0.05;
    // Stems held by several main folders: (stem, number of main folders).
    std::vector<std::pair<std::string, std::size_t>> sharedStems;
    // Chosen by the seed for each file.
    std::vector<std::string> extensions = {".tf", ".tfc", ".tfx"};

    // Main folder i becomes "g<i>/<name>", the name drawn from these and
    // "d<i>", so that base names repeat and may differ only in case.
    std::vector<std::string> mainNames;
    // Package and class folders are named "+pkgK" and "@clsK", K from 1 to
    // this, and go inside a main or package folder made before them, so that
    // they nest and repeat; private folders go inside any folder. 0: unique
    // names inside main folders.
    std::size_t nestedNames = 0;
    // UDD class folders ("@uddK") inside class folders; needs nestedNames.
    double uddClassFraction = 0;
    // Resources folders, one at most inside a main folder.
    double resourcesFraction = 0;
    // The stems of a folder's files are drawn from these, none twice, rather
    // than made unique.
    std::vector<std::string> stemPool;
    // Files (with their extension) that every folder holds besides.
    std::vector<std::string> filesInEveryFolder;
    // The constructor returns once the tree's writes have reached the disk.
    // The benchmarks' trees ask for it: the kernel's writeback of 100,000
    // new files otherwise shares the CPUs with the first seconds of timing,
    // and measured twice as slow in some runs.
    bool settleOnDisk = false;
};

// The default tree, settled on disk: where the benchmarks start from.
GeneratedTreeOptions BenchmarkTreeOptions();

class GeneratedTree {
public:
    explicit GeneratedTree(const GeneratedTreeOptions& options);

    // Resolved, so that it compares equal to canonical names.
    const std::string& root() const { return temp_->root(); }
    // For more folders and files beside the generated ones.
    TempTree& temp() { return *temp_; }
    // Absolute paths of the main folders, in the order they were made.
    const std::vector<std::string>& mainFolders() const { return mainFolders_; }
    // Every folder made, main and special, as absolute paths.
    const std::vector<std::string>& allFolders() const { return allFolders_; }
    std::size_t fileCount() const { return fileCount_; }

private:
    std::unique_ptr<TempTree> temp_;
    std::vector<std::string> mainFolders_;
    std::vector<std::string> allFolders_;
    std::size_t fileCount_ = 0;
};

// A small tree of every kind of folder for the reference tests: half of the
// folders are main folders "g<i>/<name>" with shared base names ("util",
// "Util", "lib", "pkg1"), the rest nested "+pkg1", "@cls1", "@udd1", private
// and resources folders; each folder holds "common.tf" and two files of
// stems from "Foo", "foo", "s0" to "s5".
GeneratedTreeOptions EveryKindOfFolder(std::size_t folders, std::uint64_t seed);

std::vector<foundation::storage::vfs::AbsoluteIRI> MainFolderIRIs(const GeneratedTree& tree);
// Lists `folders` with opendir/readdir, one after another, and counts the
// names that don't begin with a dot: what listing them costs with no library
// in between, the measure that the benchmarks' builds stand beside.
std::size_t BareWalk(const std::vector<std::string>& folders);
// Frozen entries of the main folders, in order: no change watch is set up.
Thornfell::PathManagement::PathEntryVector FrozenMainEntries(const GeneratedTree& tree);

}  // namespace tfsp::test
