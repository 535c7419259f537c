// The toolbox cache on the 2,000-folder tree: loading its cache against
// building the same entries by listing the folders, writing the cache, and
// the reader alone.
//
// The tree is made once from a fixed seed in a temporary folder, and its
// cache written once from its listing; each load and each listing runs in a
// fresh factory whose installation is the tree, so that every entry is
// frozen and built anew, on a heap settled after the entries before it died.
#include "support/GeneratedTree.hpp"
#include "support/Heap.hpp"

#include "PathCacheReader.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <sstream>

namespace {

using namespace Thornfell::PathManagement;
using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

const tfsp::test::GeneratedTree& Tree() {
    static const tfsp::test::GeneratedTree tree(tfsp::test::BenchmarkTreeOptions());
    return tree;
}

foundation::storage::vfs::AbsoluteIRI RootIRI() {
    return foundation::storage::vfs::toAbsoluteIRI(u"file", fl::i18n::utf8_to_ustring(Tree().root()));
}

IPathEntryFactory& FreshFactory() {
    ProcessStore::endAll();
    fl::filesystem::set_install_path(fl::i18n::utf8_to_ustring(Tree().root()));
    return GetPathEntryFactory();
}

double ListAllMainFolders() {
    auto& factory = FreshFactory();
    const auto iris = tfsp::test::MainFolderIRIs(Tree());
    tfsp::test::SettleHeap();
    const auto start = std::chrono::steady_clock::now();
    for (const auto& iri : iris) benchmark::DoNotOptimize(factory.GetPathEntry(iri).get());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

const std::string& CacheText() {
    static const std::string text = [] {
        ListAllMainFolders();
        std::ostringstream out;
        GetPathEntryFactory().WriteToolboxCache(out, RootIRI());
        ProcessStore::endAll();
        return out.str();
    }();
    return text;
}

double LoadCache() {
    auto& factory = FreshFactory();
    std::istringstream in(CacheText());
    tfsp::test::SettleHeap();
    const auto start = std::chrono::steady_clock::now();
    factory.LoadToolboxCache(in, RootIRI());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Loads the cache into a fresh factory. The counter "speedup" is the time of
// building the same entries by listing, timed in the same run, over the
// time of the load.
void BM_LoadCacheAgainstListing(benchmark::State& state) {
    CacheText();
    ListAllMainFolders();  // warm: the listing reads from the page cache, as the load does
    double load = 0;
    double listing = 0;
    for (auto _ : state) {
        const double seconds = LoadCache();
        state.SetIterationTime(seconds);
        load += seconds;
        listing += ListAllMainFolders();
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["load_ms"] = 1e3 * load / runs;
    state.counters["listing_ms"] = 1e3 * listing / runs;
    state.counters["speedup"] = listing / load;
    if (FreshFactory().GetToolboxEntries()->size() != 0) state.SkipWithError("a fresh factory held entries");
    ProcessStore::endAll();
}
BENCHMARK(BM_LoadCacheAgainstListing)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(3.0);

// Writes the cache of the tree's live entries into memory.
void BM_WriteCache(benchmark::State& state) {
    ListAllMainFolders();
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::ostringstream out;
        GetPathEntryFactory().WriteToolboxCache(out, RootIRI());
        bytes = out.str().size();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
    state.counters["folders"] = static_cast<double>(Tree().allFolders().size());
    ProcessStore::endAll();
}
BENCHMARK(BM_WriteCache)->Unit(benchmark::kMillisecond);

// The reader alone, in bytes of cache file per second.
void BM_ReadCache(benchmark::State& state) {
    const std::string& text = CacheText();
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    std::size_t folders = 0;
    for (auto _ : state) {
        std::istringstream in(text);
        PathCacheReader reader(in, fromUtf8);
        reader.ReadFolders([&folders](std::shared_ptr<PathCacheReader::FolderContents>) { ++folders; });
    }
    if (folders != Tree().mainFolders().size() * state.iterations()) state.SkipWithError("folders lost");
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size() * state.iterations()));
}
BENCHMARK(BM_ReadCache)->Unit(benchmark::kMillisecond);

}  // namespace
