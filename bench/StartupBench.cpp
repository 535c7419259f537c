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
// sizes show how the cost grows. Memory is the growth of the resident set
// of a process of its own (this program, run again) when it puts the folders
// on the path, per file on the path: in a process that had a path before,
// the heap it kept would hold the new one, uncounted.
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
#include <oneapi/tbb/scalable_allocator.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string_view>
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

// The CPU time of this process so far, all its threads, user and system.
double ProcessCpuSeconds() {
    ::rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const ::timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The wall time and the CPU time of `work`.
struct Times {
    double wall = 0;
    double cpu = 0;
    Times& operator+=(const Times& other) {
        wall += other.wall;
        cpu += other.cpu;
        return *this;
    }
};
template <class Work>
Times TimesOf(const Work& work) {
    const double cpuStart = ProcessCpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    work();
    return {Seconds(start), ProcessCpuSeconds() - cpuStart};
}

Times TimesOfBareWalk(const std::vector<std::string>& folders) {
    return TimesOf([&] { benchmark::DoNotOptimize(tfsp::test::BareWalk(folders)); });
}

std::size_t ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

// The heap given back to the system as far as it goes (the scalable
// allocator's, which the stem map's arena comes from, too), so that the
// resident set counts what lives.
std::size_t SettledResidentBytes() {
    tfsp::test::SettleHeap();
    ::malloc_trim(0);
    scalable_allocation_command(TBBMALLOC_CLEAN_ALL_BUFFERS, nullptr);
    return ResidentBytes();
}

// python3's import system on the same folders: the time of its first lookup
// of a name that no folder holds (which lists every folder into its cache),
// and the resident growth per file of those caches. Empty when python3 can't
// be run.
// A file that names the tree's main folders, one a line, for another
// process to read; removed when the object goes.
class FolderList {
public:
    explicit FolderList(const tfsp::test::GeneratedTree& tree) : path_(tree.root() + ".folders") {
        std::ofstream out(path_);
        for (const auto& folder : tree.mainFolders()) out << folder << '\n';
    }
    ~FolderList() { std::remove(path_.c_str()); }
    FolderList(const FolderList&) = delete;
    FolderList& operator=(const FolderList&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// The "NAME VALUE" lines that `command` prints.
std::map<std::string, double> FiguresPrintedBy(const std::string& command) {
    std::map<std::string, double> figures;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, pipe)) {
            std::istringstream fields(line);
            std::string name;
            double value = 0;
            if (fields >> name >> value) figures[name] = value;
        }
        if (::pclose(pipe) != 0) figures.clear();
    }
    return figures;
}

std::map<std::string, double> ImportSystemFigures(const tfsp::test::GeneratedTree& tree) {
    const FolderList list(tree);
    return FiguresPrintedBy("python3 " TFSP_BENCH_SOURCE_DIR "/importlib_listing.py " + list.path() + " 2>/dev/null");
}

constexpr const char* kResidentGrowthOption = "--resident-growth";

// Run as `StartupBench --resident-growth LIST SERIAL`: prints
// "resident_growth BYTES", the growth of this process's resident set when
// the folders that the file LIST names go on the path of a fresh engine. An
// engine with one folder on its path comes first, so that what a process
// sets up once (the pool's threads, the inotify instance) isn't counted, and
// so little of a path that the heap it leaves can't hold the one measured.
int PrintResidentGrowth(const char* list, bool serial) {
    std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
    std::ifstream in(list);
    for (std::string folder; std::getline(in, folder);)
        iris.push_back(foundation::storage::vfs::toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(folder)));
    if (iris.empty()) return 1;
    const std::vector<foundation::storage::vfs::AbsoluteIRI> first(iris.begin(), iris.begin() + 1);
    CreateSearchPathSession()->SetPathFolders(FolderRange(first));
    ProcessStore::endAll();
    const std::size_t before = SettledResidentBytes();
    auto session = CreateSearchPathSession();
    OrvianComponents::SerialEntryBuildFeature::Set(serial);
    session->SetPathFolders(FolderRange(iris));
    const std::size_t after = SettledResidentBytes();
    if (session->GetManager().GetMainPath()->GetMainEntries()->size() != iris.size()) return 1;
    std::printf("resident_growth %.0f\n", static_cast<double>(after) - static_cast<double>(before));
    return 0;
}

// The growth PrintResidentGrowth gives for the tree's main folders, from
// this program run again; NaN if that fails.
double ResidentGrowthInOwnProcess(const tfsp::test::GeneratedTree& tree, bool serial) {
    const FolderList list(tree);
    const auto figures =
        FiguresPrintedBy(std::filesystem::read_symlink("/proc/self/exe").string() + " " +
                         std::string(kResidentGrowthOption) + " " + list.path() + (serial ? " 1" : " 0"));
    return figures.contains("resident_growth") ? figures.at("resident_growth")
                                               : std::numeric_limits<double>::quiet_NaN();
}

void BM_StartUp(benchmark::State& state) {
    const auto& tree = Tree(static_cast<std::size_t>(state.range(0)));
    const bool serial = state.range(1) != 0;
    const auto iris = tfsp::test::MainFolderIRIs(tree);
    TimesOfBareWalk(tree.allFolders());
    // One engine made and ended before counting, so that what a process
    // sets up once (the pool's threads, the inotify instance) isn't counted.
    CreateSearchPathSession()->SetPathFolders(FolderRange(iris));
    ProcessStore::endAll();

    Times startUpTimes;
    Times bareTimes;
    for (auto _ : state) {
        state.PauseTiming();
        auto session = CreateSearchPathSession();
        OrvianComponents::SerialEntryBuildFeature::Set(serial);
        state.ResumeTiming();
        startUpTimes += TimesOf([&] { session->SetPathFolders(FolderRange(iris)); });
        state.PauseTiming();
        if (session->GetManager().GetMainPath()->GetMainEntries()->size() != iris.size())
            state.SkipWithError("a folder is missing from the path");
        session.reset();
        ProcessStore::endAll();
        tfsp::test::SettleHeap();
        bareTimes += TimesOfBareWalk(tree.allFolders());
        state.ResumeTiming();
    }
    const double startUp = startUpTimes.wall;
    const double bare = bareTimes.wall;
    const auto runs = static_cast<double>(state.iterations());
    const auto files = static_cast<double>(tree.fileCount());
    state.counters["startup_ms"] = 1e3 * startUp / runs;
    state.counters["bare_walk_ms"] = 1e3 * bare / runs;
    state.counters["vs_bare_walk"] = startUp / bare;
    // CPU time bounds what more cores can give: on N cores the start-up
    // takes at least its CPU time over N.
    state.counters["startup_cpu_ms"] = 1e3 * startUpTimes.cpu / runs;
    state.counters["bare_walk_cpu_ms"] = 1e3 * bareTimes.cpu / runs;
    state.counters["cpu_vs_bare_walk"] = startUpTimes.cpu / bareTimes.cpu;
    state.counters["ns_per_file"] = 1e9 * startUp / runs / files;
    state.counters["resident_bytes_per_file"] = ResidentGrowthInOwnProcess(tree, serial) / files;
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

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == kResidentGrowthOption)
        return PrintResidentGrowth(argv[2], std::string_view(argv[3]) == "1");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
