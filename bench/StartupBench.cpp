// What a host's start-up costs: its folders put on the path of a fresh
// engine, cold (every entry built, with live observers, then the path), as
// the host does before its first prompt. Each figure stands beside a bare
// serial opendir/readdir walk of the same folders timed in the same run,
// and beside what a scripting language's import system spends to list the
// same folders for its first lookup (python3's importlib, when python3 is
// there).
//
// BM_StartUp/N runs on a tree of N folders of 50 files (N = 200, 2,000 and
// 20,000), made from a fixed seed, so that the figures per file of the three
// sizes show how the cost grows. Memory is the growth of the process's
// resident set over the path's life, per file on the path.
#include "support/GeneratedTree.hpp"
#include "support/Heap.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/usm/StateStore.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/ISearchPathSession.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace Thornfell::PathManagement;
using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

const tfsp::test::GeneratedTree& Tree(std::size_t folders) {
    static std::map<std::size_t, std::unique_ptr<tfsp::test::GeneratedTree>> trees;
    auto& tree = trees[folders];
    if (!tree) {
        tfsp::test::GeneratedTreeOptions options = tfsp::test::BenchmarkTreeOptions();
        options.folders = folders;
        tree = std::make_unique<tfsp::test::GeneratedTree>(options);
    }
    return *tree;
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double SecondsOfBareWalk(const std::vector<std::string>& folders) {
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(tfsp::test::BareWalk(folders));
    return Seconds(start);
}

std::size_t ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

// The heap given back to the system as far as it goes, so that the resident
// set counts what lives.
std::size_t SettledResidentBytes() {
    tfsp::test::SettleHeap();
    ::malloc_trim(0);
    return ResidentBytes();
}

// python3's import system on the same folders: the time of its first lookup
// of a name that no folder holds (which lists every folder into its cache),
// and the resident growth per file of those caches. Empty when python3 can't
// be run.
std::map<std::string, double> ImportSystemFigures(const tfsp::test::GeneratedTree& tree) {
    const std::string list = tree.root() + ".folders";
    {
        std::ofstream out(list);
        for (const auto& folder : tree.mainFolders()) out << folder << '\n';
    }
    const std::string command = "python3 " TFSP_BENCH_SOURCE_DIR "/importlib_listing.py " + list + " 2>/dev/null";
    std::map<std::string, double> figures;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, pipe)) {
            std::istringstream fields(line);
            std::string name;
            double value = 0;
            if (fields >> name >> value) figures[name] = value;
        }
        ::pclose(pipe);
    }
    std::remove(list.c_str());
    return figures;
}

void BM_StartUp(benchmark::State& state) {
    const auto& tree = Tree(static_cast<std::size_t>(state.range(0)));
    const bool serial = state.range(1) != 0;
    const auto iris = tfsp::test::MainFolderIRIs(tree);
    SecondsOfBareWalk(tree.allFolders());
    // One engine made and ended before counting, so that what a process
    // sets up once (the pool's threads, the inotify instance) isn't counted.
    CreateSearchPathSession()->SetPathFolders(FolderRange(iris));
    ProcessStore::endAll();

    double startUp = 0;
    double bare = 0;
    double residentGrowth = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::size_t before = SettledResidentBytes();
        auto session = CreateSearchPathSession();
        OrvianComponents::SerialEntryBuildFeature::Set(serial);
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        session->SetPathFolders(FolderRange(iris));
        startUp += Seconds(start);
        state.PauseTiming();
        residentGrowth += static_cast<double>(SettledResidentBytes()) - static_cast<double>(before);
        if (session->GetManager().GetMainPath()->GetMainEntries()->size() != iris.size())
            state.SkipWithError("a folder is missing from the path");
        session.reset();
        ProcessStore::endAll();
        tfsp::test::SettleHeap();
        bare += SecondsOfBareWalk(tree.allFolders());
        state.ResumeTiming();
    }
    const auto runs = static_cast<double>(state.iterations());
    const auto files = static_cast<double>(tree.fileCount());
    state.counters["startup_ms"] = 1e3 * startUp / runs;
    state.counters["bare_walk_ms"] = 1e3 * bare / runs;
    state.counters["vs_bare_walk"] = startUp / bare;
    state.counters["ns_per_file"] = 1e9 * startUp / runs / files;
    state.counters["resident_bytes_per_file"] = residentGrowth / runs / files;
    if (serial) return;  // python3's figures stand beside the library's own road
    const auto python = ImportSystemFigures(tree);
    if (python.contains("first_lookup_ms")) {
        state.counters["python_first_lookup_ms"] = python.at("first_lookup_ms");
        state.counters["vs_python"] = 1e3 * startUp / runs / python.at("first_lookup_ms");
    }
    if (python.contains("resident_bytes"))
        state.counters["python_resident_bytes_per_file"] = python.at("resident_bytes") / files;
}
// The second argument 1 builds the entries in turn, as before the parallel
// road: the difference is what building them at once gains.
BENCHMARK(BM_StartUp)
    ->ArgNames({"folders", "serial"})
    ->Args({200, 0})
    ->Args({2000, 0})
    ->Args({2000, 1})
    ->Args({20000, 0})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// The same folders, frozen, loaded from a toolbox cache into a fresh
// factory, against building their entries by listing them (serially, as a
// host without a cache does folder by folder).
void BM_CacheLoadAgainstListing(benchmark::State& state) {
    const auto& tree = Tree(static_cast<std::size_t>(state.range(0)));
    const auto iris = tfsp::test::MainFolderIRIs(tree);
    const auto root = foundation::storage::vfs::toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(tree.root()));
    const auto freshFactory = [&tree]() -> IPathEntryFactory& {
        ProcessStore::endAll();
        fl::filesystem::set_install_path(fl::i18n::utf8_to_ustring(tree.root()));
        return GetPathEntryFactory();
    };
    const auto listAll = [&] {
        auto& factory = freshFactory();
        tfsp::test::SettleHeap();
        const auto start = std::chrono::steady_clock::now();
        for (const auto& iri : iris) benchmark::DoNotOptimize(factory.GetPathEntry(iri).get());
        return Seconds(start);
    };
    listAll();
    std::ostringstream written;
    GetPathEntryFactory().WriteToolboxCache(written, root);
    const std::string text = written.str();

    double load = 0;
    double listing = 0;
    for (auto _ : state) {
        auto& factory = freshFactory();
        std::istringstream in(text);
        tfsp::test::SettleHeap();
        const auto start = std::chrono::steady_clock::now();
        factory.LoadToolboxCache(in, root);
        const double seconds = Seconds(start);
        load += seconds;
        state.SetIterationTime(seconds);
        listing += listAll();
    }
    ProcessStore::endAll();
    const auto runs = static_cast<double>(state.iterations());
    state.counters["load_ms"] = 1e3 * load / runs;
    state.counters["listing_ms"] = 1e3 * listing / runs;
    state.counters["load_vs_listing"] = load / listing;
}
BENCHMARK(BM_CacheLoadAgainstListing)->Arg(20000)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace
