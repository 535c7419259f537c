#pragma once
// A folder tree for benchmarks, made from a seed in a new temporary folder
// (under $TMPDIR, else /tmp) and removed again by the destructor.
//
// `folders` folders are made in all, each holding `filesPerFolder` empty
// files; the given shares of them are package ("+pkgN"), class ("@ClsN") and
// private folders, each put inside a main folder chosen by the seed, and the
// rest are main folders ("dN"). File stems are unique ("fN_M", N the folder)
// except for the shared stems, each of which stands in as many main folders
// as asked.
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tfsp::bench {

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
};

class GeneratedTree {
public:
    explicit GeneratedTree(const GeneratedTreeOptions& options);
    ~GeneratedTree();
    GeneratedTree(const GeneratedTree&) = delete;
    GeneratedTree& operator=(const GeneratedTree&) = delete;

    // Resolved, so that it compares equal to canonical names.
    const std::string& root() const { return root_; }
    // Absolute paths of the main folders, in the order they were made.
    const std::vector<std::string>& mainFolders() const { return mainFolders_; }
    // Every folder made, main and special, as absolute paths.
    const std::vector<std::string>& allFolders() const { return allFolders_; }
    std::size_t fileCount() const { return fileCount_; }

private:
    std::string root_;
    std::vector<std::string> mainFolders_;
    std::vector<std::string> allFolders_;
    std::size_t fileCount_ = 0;
};

} // namespace tfsp::bench
