// Composing the search path around the current folder, on a generated main
// path of 2,000 folders with 50 files each: what a change of the working
// folder costs, set against building the main path itself, and what a query
// pays for going through the composites instead of the bare path.
//
// Each composition is measured with the drop of the previous one, as a change
// of the working folder replaces it.
#include "support/GeneratedTree.hpp"

#include "foundation/memmgr/Leaks.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/ConcatenatedPath.hpp"
#include "tfsearch_path/DeduplicatedPath.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/MultiMaskedPath.hpp"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <chrono>

namespace {

using namespace Thornfell::PathManagement;
using Clock = std::chrono::steady_clock;

const std::vector<ustring> kExtensions = {u".tf", u".tfc", u".tfx"};

struct Setup {
    const IPathFactory& factory;
    std::shared_ptr<const IPath> mainPath;
    PathEntryVector mainEntries;
    // The folder at position 5 of the main path, and one that isn't on it.
    PathEntryPointer currentOnPath;
    PathEntryPointer currentOffPath;
    double pathBuildSeconds = 0;
};

// The search path without packages, the current folder being on the path:
// the folder moves to the front, masked where it stood.
std::shared_ptr<const IPath> ComposeMasked(const Setup& setup) {
    const PathEntryPointer found = setup.mainPath->GetPathEntryFromAbsoluteIRI(setup.currentOnPath->GetIRI());
    return std::make_shared<ConcatenatedPath>(setup.factory.CreatePath({found}),
                                              std::make_shared<MultiMaskedPath>(setup.mainPath,
                                                                                PathEntryVector{found}));
}

std::shared_ptr<const IPath> ComposeDeduplicated(const Setup& setup, const PathEntryPointer& current) {
    return std::make_shared<DeduplicatedPath>(
        std::vector<std::shared_ptr<const IPath>>{setup.factory.CreatePath({current}), setup.mainPath});
}

// Times each composition (and the drop of the one before) by hand, so that
// the share of a main path build can be reported beside the time.
template <class Compose>
void MeasureComposition(benchmark::State& state, const Setup& setup, const Compose& compose) {
    std::shared_ptr<const IPath> previous = compose();
    Clock::duration total{};
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        previous = compose();
        total += Clock::now() - start;
    }
    const double perIteration = std::chrono::duration<double>(total).count() / static_cast<double>(state.iterations());
    state.counters["percent_of_path_build"] = 100.0 * perIteration / setup.pathBuildSeconds;
    state.counters["main_entries"] = static_cast<double>(previous->GetMainEntries()->size());
}

void RegisterAll(Setup& setup) {
    // The part of each composition that is the one-entry path of the current
    // folder, not a composite.
    benchmark::RegisterBenchmark("Compose/OneEntryPathOnly", [&setup](benchmark::State& state) {
        MeasureComposition(state, setup, [&] { return setup.factory.CreatePath({setup.currentOnPath}); });
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Compose/MaskedConcatenation", [&setup](benchmark::State& state) {
        MeasureComposition(state, setup, [&] { return ComposeMasked(setup); });
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Compose/DeduplicatedOnPath", [&setup](benchmark::State& state) {
        MeasureComposition(state, setup, [&] { return ComposeDeduplicated(setup, setup.currentOnPath); });
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Compose/DeduplicatedOffPath", [&setup](benchmark::State& state) {
        MeasureComposition(state, setup, [&] { return ComposeDeduplicated(setup, setup.currentOffPath); });
    })->Unit(benchmark::kMicrosecond);

    const std::pair<const char*, std::shared_ptr<const IPath>> paths[] = {
        {"Path", setup.mainPath},
        {"MaskedConcatenation", ComposeMasked(setup)},
        {"Deduplicated", ComposeDeduplicated(setup, setup.currentOnPath)}};
    for (const auto& [kind, path] : paths) {
        const std::string suffix = std::string("/") + kind;
        benchmark::RegisterBenchmark(("FindFirstInScope/heldByOneFolder" + suffix).c_str(),
                                     [path = path](benchmark::State& state) {
                                         const detail::SearchTarget target(u"f10_20", kExtensions);
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(
                                                 path->FindFirstInScope(allEntryTypesScope, target, CaseRuleTwo));
                                     });
        benchmark::RegisterBenchmark(("FindAllInScope/heldBy100Folders" + suffix).c_str(),
                                     [path = path](benchmark::State& state) {
                                         const detail::SearchTarget target(u"sharedBy100", kExtensions);
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(
                                                 path->FindAllInScope(allEntryTypesScope, target, CaseRuleTwo));
                                     })
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("GetPathEntryFromAbsoluteIRI" + suffix).c_str(),
                                     [path = path, iri = setup.mainEntries[1000]->GetIRI()](benchmark::State& state) {
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(path->GetPathEntryFromAbsoluteIRI(iri));
                                     });
    }
}

double MedianPathBuildSeconds(const Setup& setup) {
    std::vector<double> seconds;
    for (int run = 0; run < 7; ++run) {
        const Clock::time_point start = Clock::now();
        auto path = setup.factory.CreatePath(setup.mainEntries);
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        path.reset();
        foundation::memmgr::leaks::takeSnapshot();
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    foundation::usm::EngineInstance engine;
    foundation::usm::EngineInstance::MakeCurrent current(engine);
    {
        tfsp::test::GeneratedTreeOptions options = tfsp::test::BenchmarkTreeOptions();
        options.sharedStems = {{"sharedBy100", 100}};
        const tfsp::test::GeneratedTree tree(options);
        Setup setup{GetCurrentPathFactory(), nullptr, tfsp::test::FrozenMainEntries(tree), nullptr, nullptr};
        // The last main folder stays off the path, as a working folder that
        // isn't on it.
        setup.currentOffPath = setup.mainEntries.back();
        setup.mainEntries.pop_back();
        setup.currentOnPath = setup.mainEntries[5];

        tbb::parallel_for(0, 1000, [](int i) { benchmark::DoNotOptimize(i); });
        setup.pathBuildSeconds = MedianPathBuildSeconds(setup);
        setup.mainPath = setup.factory.CreatePath(setup.mainEntries);
        std::printf("main path: %zu main entries, built in %.2f ms (median of 7)\n", setup.mainEntries.size(),
                    setup.pathBuildSeconds * 1e3);

        RegisterAll(setup);
        benchmark::RunSpecifiedBenchmarks();
        // The benchmarks hold paths: they go before the engine does.
        benchmark::ClearRegisteredBenchmarks();
        benchmark::Shutdown();
    }
    return 0;
}
