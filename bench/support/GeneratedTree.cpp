#include "support/GeneratedTree.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <random>
#include <system_error>

namespace tfsp::bench {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), what + " " + path);
}

void MakeEmptyFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) Fail("create", path);
    ::close(fd);
}

} // namespace

GeneratedTree::GeneratedTree(const GeneratedTreeOptions& options) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tfsp-bench-XXXXXX";
    if (!::mkdtemp(pattern.data())) Fail("mkdtemp", pattern);
    root_ = fs::canonical(pattern).string();

    std::mt19937_64 random(options.seed);
    const auto share = [&](double fraction) { return static_cast<std::size_t>(fraction * options.folders); };
    const std::size_t packages = share(options.packageFraction);
    const std::size_t classes = share(options.classFraction);
    const std::size_t mains = options.folders - std::min(options.folders, packages + classes + share(options.privateFraction));
    // A folder holds one private folder at most.
    const std::size_t privates = std::min(share(options.privateFraction), mains);

    for (std::size_t i = 0; i < mains; ++i) mainFolders_.push_back(root_ + "/d" + std::to_string(i));
    allFolders_ = mainFolders_;
    if (mains > 0) {
        std::uniform_int_distribution<std::size_t> anyMain(0, mains - 1);
        for (std::size_t i = 0; i < packages; ++i)
            allFolders_.push_back(mainFolders_[anyMain(random)] + "/+pkg" + std::to_string(i));
        for (std::size_t i = 0; i < classes; ++i)
            allFolders_.push_back(mainFolders_[anyMain(random)] + "/@Cls" + std::to_string(i));
        std::vector<std::size_t> order(mains);
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        for (std::size_t i = 0; i < privates; ++i) allFolders_.push_back(mainFolders_[order[i]] + "/private");
    }

    // stems[folder][file]; shared stems take the place of a unique one in the
    // main folders the seed picks.
    std::vector<std::vector<std::string>> stems(allFolders_.size());
    for (std::size_t f = 0; f < allFolders_.size(); ++f)
        for (std::size_t j = 0; j < options.filesPerFolder; ++j)
            stems[f].push_back("f" + std::to_string(f) + "_" + std::to_string(j));
    std::vector<std::size_t> sharedSlotsUsed(mains, 0);
    for (const auto& [stem, count] : options.sharedStems) {
        std::vector<std::size_t> order(mains);
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        for (std::size_t i = 0; i < std::min(count, mains); ++i) {
            std::size_t& used = sharedSlotsUsed[order[i]];
            if (used < options.filesPerFolder) stems[order[i]][used++] = stem;
        }
    }

    std::uniform_int_distribution<std::size_t> anyExtension(0, options.extensions.empty() ? 0 : options.extensions.size() - 1);
    for (std::size_t f = 0; f < allFolders_.size(); ++f) {
        fs::create_directories(allFolders_[f]);
        for (const std::string& stem : stems[f]) {
            const std::string extension = options.extensions.empty() ? "" : options.extensions[anyExtension(random)];
            MakeEmptyFile(allFolders_[f] + "/" + stem + extension);
            ++fileCount_;
        }
    }
}

GeneratedTree::~GeneratedTree() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

} // namespace tfsp::bench
