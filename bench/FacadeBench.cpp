// SearchPath::Find against the path query it rests on, on the same path of
// the benchmark tree (2,000 folders, 100,000 items): what the facade adds to
// a hit (the name's conversion, the class constructor check, the snapshot of
// the calling thread, the result's path), and Find on 1 to 8 threads at once,
// which scales with the cores only if a lookup takes no lock and writes
// nothing shared.
#include "support/GeneratedTree.hpp"
#include "support/Text.hpp"

#include "tfsearch_path/IPath.hpp"
#include "tfsearch_path/NameLookup.hpp"
#include "tfsearch_path/SearchPath.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

namespace {

using namespace Thornfell::PathManagement;

// Folder 10 is a main folder ("d10"), the only one that holds f10_20.
constexpr const char* kHeldByOneFolder = "f10_20";

SearchPath& BenchmarkPath() {
    static const std::unique_ptr<SearchPath> searchPath = [] {
        tfsp::test::GeneratedTreeOptions options = tfsp::test::BenchmarkTreeOptions();
        options.sharedStems = {{"sharedBy100", 100}, {"sharedBy1000", 1000}};
        static const tfsp::test::GeneratedTree tree(options);
        auto made = std::make_unique<SearchPath>(SearchPathOptions{.extensions = {".tf", ".tfc", ".tfx"}});
        const std::vector<std::filesystem::path> folders(tree.mainFolders().begin(), tree.mainFolders().end());
        made->SetFolders(folders);
        if (!made->Find(kHeldByOneFolder)) throw std::logic_error("the benchmark tree lacks its name");
        return made;
    }();
    return *searchPath;
}

void BM_FindFirstInScope(benchmark::State& state) {
    const auto path = BenchmarkPath().Snapshot();
    static constexpr PathEntryType mainFolders[] = {Main};
    const detail::SearchTarget target(tfsp::test::Utf16(kHeldByOneFolder), {u".tf", u".tfc", u".tfx"});
    for (auto _ : state) benchmark::DoNotOptimize(path->FindFirstInScope(mainFolders, target, StorageSystemRule));
}
BENCHMARK(BM_FindFirstInScope);

// The facade's rule on the same snapshot, without the name's conversion and
// the result's std::filesystem::path.
void BM_LookUpName(benchmark::State& state) {
    const auto path = BenchmarkPath().Snapshot();
    const ustring name = tfsp::test::Utf16(kHeldByOneFolder);
    const std::vector<ustring> extensions{u".tf", u".tfc", u".tfx"};
    for (auto _ : state) benchmark::DoNotOptimize(LookUpName(*path, name, extensions, StorageSystemRule, false));
}
BENCHMARK(BM_LookUpName);

// What the result's type costs alone: the std::filesystem::path of the
// same hit, made from its text as Find makes it. A path splits itself into
// its components when made, so this is a floor under any Find that returns
// one.
void BM_ResultPathAlone(benchmark::State& state) {
    const std::string text = BenchmarkPath().Find(kHeldByOneFolder)->native();
    for (auto _ : state) {
        std::string copy = text;
        benchmark::DoNotOptimize(std::filesystem::path(std::move(copy)));
    }
}
BENCHMARK(BM_ResultPathAlone);

void BM_SearchPathFind(benchmark::State& state) {
    const SearchPath& searchPath = BenchmarkPath();
    for (auto _ : state) benchmark::DoNotOptimize(searchPath.Find(kHeldByOneFolder));
}
BENCHMARK(BM_SearchPathFind);

void BM_SearchPathFindAbsent(benchmark::State& state) {
    const SearchPath& searchPath = BenchmarkPath();
    for (auto _ : state) benchmark::DoNotOptimize(searchPath.Find("notOnThePath"));
}
BENCHMARK(BM_SearchPathFindAbsent);

// Lookups per second of wall time, all threads together: it grows with the
// threads up to the cores when a lookup takes no lock and writes nothing
// shared (a share of the result's objects, say, whose count every thread
// would write). The time shown is wall time per lookup of all threads.
void BM_SearchPathFindThreads(benchmark::State& state) {
    const SearchPath& searchPath = BenchmarkPath();
    for (auto _ : state) benchmark::DoNotOptimize(searchPath.Find(kHeldByOneFolder));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SearchPathFindThreads)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();

}  // namespace
