// The indexed path on a generated tree of 2,000 folders with 50 files each
// (100,000 items): the build, name queries, the caller's share of dropping a
// path, and the memory of the indexes.
//
// The tree is written under $TMPDIR (else /tmp); a tmpfs there makes the set
// up quicker and changes none of the figures, which are all in memory.
#include "support/GeneratedTree.hpp"
#include "support/Text.hpp"

#include "foundation/memmgr/Leaks.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace {

using namespace Thornfell::PathManagement;

using tfsp::test::Utf16;

// Memory as the two allocators of the process see it. glibc counts what is in
// use (mallinfo2); the scalable allocator behind tbb_allocator keeps no count,
// so its part is the growth of anonymous memory that glibc didn't ask for.
struct MemoryUse {
    long anonymousBytes = 0;
    std::size_t mallocInUse = 0;
    std::size_t mallocFromSystem = 0;
};

MemoryUse SampleMemory() {
    MemoryUse use;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("RssAnon:", 0) == 0) use.anonymousBytes = std::stol(line.substr(8)) * 1024;
    const struct mallinfo2 info = mallinfo2();
    use.mallocInUse = info.uordblks + info.hblkhd;
    use.mallocFromSystem = info.arena + info.hblkhd;
    return use;
}

double BytesAllocatedBetween(const MemoryUse& before, const MemoryUse& after) {
    const double scalable =
        static_cast<double>(after.anonymousBytes - before.anonymousBytes) -
        (static_cast<double>(after.mallocFromSystem) - static_cast<double>(before.mallocFromSystem));
    const double glibc = static_cast<double>(after.mallocInUse) - static_cast<double>(before.mallocInUse);
    return std::max(0.0, scalable) + glibc;
}

// Minor page faults of the whole process so far: on a virtual machine each
// costs microseconds, so they are a large share of a build.
long MinorPageFaults() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

struct Setup {
    explicit Setup(const IPathFactory& pathFactory) : factory(pathFactory) {}
    const IPathFactory& factory;
    PathEntryVector mainEntries;
    std::size_t items = 0;
    std::size_t entries = 0;
    ustring heldByOneFolder;
    ustring partialInMainFolder;
    ustring partialInPackage;
};

const std::vector<ustring> kExtensions = {u".tf", u".tfc", u".tfx"};

void ReportSize(benchmark::State& state, const Setup& setup) {
    state.counters["items"] = static_cast<double>(setup.items);
    state.counters["entries"] = static_cast<double>(setup.entries);
}

// Drops a path and waits until the worker has freed its maps, so that the
// next measurement doesn't share the machine with it.
void DropAndSettle(std::shared_ptr<const IPath>& path) {
    path.reset();
    foundation::memmgr::leaks::takeSnapshot();
}

void RegisterAll(Setup& setup) {
    // First, and once whatever repetitions are asked for, while the scalable
    // allocator holds no freed memory of earlier paths to reuse: that memory
    // would not show as growth.
    benchmark::RegisterBenchmark("PathIndexMemory",
                                 [&setup](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const MemoryUse before = SampleMemory();
                                         auto path = setup.factory.CreatePath(setup.mainEntries);
                                         const MemoryUse after = SampleMemory();
                                         state.counters["index_bytes_per_item"] =
                                             BytesAllocatedBetween(before, after) / static_cast<double>(setup.items);
                                         state.PauseTiming();
                                         DropAndSettle(path);
                                         state.ResumeTiming();
                                     }
                                     ReportSize(state, setup);
                                 })
        ->Iterations(1)
        ->Repetitions(1)
        ->Unit(benchmark::kMillisecond);

    benchmark::RegisterBenchmark("PathBuild",
                                 [&setup](benchmark::State& state) {
                                     long faults = 0;
                                     for (auto _ : state) {
                                         const long before = MinorPageFaults();
                                         auto path = setup.factory.CreatePath(setup.mainEntries);
                                         faults += MinorPageFaults() - before;
                                         state.PauseTiming();
                                         DropAndSettle(path);
                                         state.ResumeTiming();
                                     }
                                     ReportSize(state, setup);
                                     state.counters["page_faults"] =
                                         benchmark::Counter(static_cast<double>(faults),
                                                            benchmark::Counter::kAvgIterations);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();

    benchmark::RegisterBenchmark("PathDropByCaller",
                                 [&setup](benchmark::State& state) {
                                     for (auto _ : state) {
                                         state.PauseTiming();
                                         auto path = setup.factory.CreatePath(setup.mainEntries);
                                         state.ResumeTiming();
                                         path.reset();
                                         state.PauseTiming();
                                         foundation::memmgr::leaks::takeSnapshot();
                                         state.ResumeTiming();
                                     }
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();

    auto path = std::shared_ptr<const IPath>(setup.factory.CreatePath(setup.mainEntries));
    const auto findFirst = [path](const ustring& name) {
        return [path, target = detail::SearchTarget(name, kExtensions)](benchmark::State& state) {
            const auto policy = static_cast<FilenameMatchingPolicy>(state.range(0));
            for (auto _ : state) benchmark::DoNotOptimize(path->FindFirstInScope(allEntryTypesScope, target, policy));
        };
    };
    for (const auto& [name, query] : {std::pair{"FindFirstInScope/heldByOneFolder", setup.heldByOneFolder},
                                      std::pair{"FindFirstInScope/heldBy100Folders", Utf16("sharedBy100")},
                                      std::pair{"FindFirstInScope/heldBy1000Folders", Utf16("sharedBy1000")},
                                      std::pair{"FindFirstInScope/absent", Utf16("notOnThePath")},
                                      std::pair{"FindFirstInScope/partialMainFolder", setup.partialInMainFolder},
                                      std::pair{"FindFirstInScope/partialPackage", setup.partialInPackage}})
        benchmark::RegisterBenchmark(name, findFirst(query))->ArgName("policy")->Arg(CaseRuleOne)->Arg(CaseRuleTwo);

    benchmark::RegisterBenchmark("FindAllInScope/heldBy100Folders", [path](benchmark::State& state) {
        const detail::SearchTarget target(Utf16("sharedBy100"), kExtensions);
        for (auto _ : state) benchmark::DoNotOptimize(path->FindAllInScope(allEntryTypesScope, target, CaseRuleTwo));
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("GetPartiallyMatchingEntries/private", [path](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(path->GetPartiallyMatchingEntries(allEntryTypesScope, u"private", CaseRuleTwo));
    })->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    foundation::usm::EngineInstance engine;
    foundation::usm::EngineInstance::MakeCurrent current(engine);
    {
        tfsp::test::GeneratedTreeOptions options = tfsp::test::BenchmarkTreeOptions();
        options.sharedStems = {{"sharedBy100", 100}, {"sharedBy1000", 1000}};
        const tfsp::test::GeneratedTree tree(options);

        Setup setup(GetCurrentPathFactory());
        setup.mainEntries = tfsp::test::FrozenMainEntries(tree);
        for (const auto& main : setup.mainEntries)
            main->ForEachEntry(allEntryTypesScope, [&setup](const PathEntryPointer& entry) {
                setup.items += entry->GetPathItems()->size();
                ++setup.entries;
                return false;
            });
        // Folder 10 is a main folder ("d10"); the first package folder comes
        // right after the main folders in the generator's numbering.
        setup.heldByOneFolder = Utf16("f10_20");
        setup.partialInMainFolder = Utf16("d10/f10_20");
        const std::size_t firstPackage = tree.mainFolders().size();
        setup.partialInPackage = Utf16("+pkg0/f" + std::to_string(firstPackage) + "_5");

        // Start the pool's threads before anything is measured.
        tbb::parallel_for(0, 1000, [](int i) { benchmark::DoNotOptimize(i); });

        RegisterAll(setup);
        benchmark::RunSpecifiedBenchmarks();
        // The benchmarks hold a path: it goes before the engine does.
        benchmark::ClearRegisteredBenchmarks();
        benchmark::Shutdown();
    }
    return 0;
}
