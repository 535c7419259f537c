// Building folder entries against a bare listing of the same folders, and the
// cost of asking again for an entry that is up to date.
//
// The tree (2,000 folders of 50 files, some of them package, class and private
// folders) is made once from a fixed seed in a temporary folder, so that runs
// compare. Both walks run warm: the tree is listed once before timing, and
// each starts on a settled heap.
#include "support/GeneratedTree.hpp"
#include "support/Heap.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

using namespace Thornfell::PathManagement;

const tfsp::test::GeneratedTree& Tree() {
    static const tfsp::test::GeneratedTree tree(tfsp::test::BenchmarkTreeOptions());
    return tree;
}

using tfsp::test::BareWalk;

std::vector<foundation::storage::vfs::AbsoluteIRI> MainFolderIRIs() { return tfsp::test::MainFolderIRIs(Tree()); }

double SecondsOfBareWalk() {
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(BareWalk(Tree().allFolders()));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Lists every folder of the tree (main and special) with opendir/readdir.
void BM_BareWalk(benchmark::State& state) {
    BareWalk(Tree().allFolders());
    for (auto _ : state) benchmark::DoNotOptimize(BareWalk(Tree().allFolders()));
    state.counters["folders"] = static_cast<double>(Tree().allFolders().size());
}
BENCHMARK(BM_BareWalk)->Unit(benchmark::kMillisecond);

// Builds the entries of every main folder (and so of the special folders in
// them), with live observers, through the process's entry factory. The
// counter "ratio" is this build over a bare walk timed in the same run.
void BM_BuildEntries(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto iris = MainFolderIRIs();
    BareWalk(Tree().allFolders());
    double bare = 0;
    double build = 0;
    for (auto _ : state) {
        state.PauseTiming();
        tfsp::test::SettleHeap();
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        PathEntryVector entries;
        entries.reserve(iris.size());
        for (const auto& iri : iris) entries.push_back(GetPathEntryFactory().GetPathEntry(iri));
        benchmark::DoNotOptimize(entries.data());
        build += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.PauseTiming();
        entries.clear();  // entries die here, outside the timing, so the next round builds anew
        tfsp::test::SettleHeap();
        bare += SecondsOfBareWalk();
        state.ResumeTiming();
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["build_ms"] = 1e3 * build / runs;
    state.counters["bare_walk_ms"] = 1e3 * bare / runs;
    state.counters["ratio"] = build / bare;
}
BENCHMARK(BM_BuildEntries)->Unit(benchmark::kMillisecond)->MinTime(3.0);

// The same build for folders below the installation root: frozen observers,
// no change watch. The difference to BM_BuildEntries is what watching costs.
void BM_BuildFrozenEntries(benchmark::State& state) {
    const auto iris = MainFolderIRIs();
    BareWalk(Tree().allFolders());
    double build = 0;
    for (auto _ : state) {
        state.PauseTiming();
        // A fresh factory each round: main entries below the root stay alive in it.
        foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
        fl::filesystem::set_install_path(fl::i18n::utf8_to_ustring(Tree().root()));
        auto& factory = GetPathEntryFactory();
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        for (const auto& iri : iris) benchmark::DoNotOptimize(factory.GetPathEntry(iri).get());
        build += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    state.counters["build_ms"] = 1e3 * build / static_cast<double>(state.iterations());
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
}
BENCHMARK(BM_BuildFrozenEntries)->Unit(benchmark::kMillisecond)->MinTime(3.0);

// Asks again for a folder whose entry is alive and up to date.
void BM_SecondRequestUpToDate(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto iri = MainFolderIRIs().front();
    const auto canonical = foundation::storage::vfs::CanonicalAbsoluteIRI(iri, ustring());
    const auto held = GetPathEntryFactory().GetPathEntry(iri);
    auto& factory = GetPathEntryFactory();
    for (auto _ : state) benchmark::DoNotOptimize(factory.GetPathEntry(canonical));
    if (factory.GetPathEntry(canonical) != held) state.SkipWithError("the entry was rebuilt");
}
BENCHMARK(BM_SecondRequestUpToDate)->Unit(benchmark::kNanosecond);

}  // namespace
