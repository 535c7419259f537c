// What the manager's roads cost on a 2,000-folder path, each next to the cost
// of building that main path in the same run: a change of the working folder
// (only wrappers are recomposed), an alteration whose entries are all cached
// (the road around the build), and a refresh with nothing or one file
// changed (live observers: nothing to read, or one folder).
#include "support/GeneratedTree.hpp"

#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/ISearchPathSession.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "storage/filefolderobserver/ObserverTestHooks.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace Thornfell::PathManagement;

const tfsp::test::GeneratedTree& Tree() {
    static const tfsp::test::GeneratedTree tree(tfsp::test::BenchmarkTreeOptions());
    return tree;
}

// A session (engine instance, registry, manager) whose path holds every main
// folder of the tree.
std::unique_ptr<ISearchPathSession> MakeHost() {
    auto host = CreateSearchPathSession();
    host->SetPathFolders(FolderRange(tfsp::test::MainFolderIRIs(Tree())));
    return host;
}

// The working folder moves between a folder off the path and one in the
// middle of it, and back: each move composes and installs a new search path.
// "build_ms" is the build of the main path itself, timed in the same run, and
// "percent_of_build" the change over that build.
void BM_CurrentFolderChange(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const std::string offPath = Tree().root() + "/elsewhere";
    std::filesystem::create_directories(offPath);
    const std::string onPath = Tree().mainFolders()[Tree().mainFolders().size() / 2];
    const auto host = MakeHost();
    const PathEntryVector mainEntries = *host->GetManager().GetMainPath()->GetMainEntries();
    bool toggle = false;
    for (auto _ : state) {
        host->ChangeWorkingFolder(GetIRIFromString(fl::i18n::utf8_to_ustring((toggle = !toggle) ? onPath : offPath)));
        benchmark::DoNotOptimize(host->GetManager().GetSearchPath().get());
    }
    // The build of the main path, the way an alteration makes it.
    double build = 0;
    const int builds = 5;
    for (int i = 0; i < builds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        auto path = GetCurrentPathFactory().CreatePath(mainEntries);
        build += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    state.counters["build_ms"] = 1e3 * build / builds;
    state.counters["main_entries"] = static_cast<double>(mainEntries.size());
}
BENCHMARK(BM_CurrentFolderChange)->Unit(benchmark::kMicrosecond);

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Mean seconds of building the main path from `entries`, after one build
// that isn't counted: the first build after a while takes its memory fresh
// from the system, which on a virtual machine costs more than the build.
double BuildSeconds(const PathEntryVector& entries, int builds = 5) {
    GetCurrentPathFactory().CreatePath(entries);
    double total = 0;
    for (int i = 0; i < builds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        auto path = GetCurrentPathFactory().CreatePath(entries);
        total += Seconds(start);
    }
    return total / builds;
}

// The whole path handed over again, every entry cached and up to date.
// "road_percent": what the alteration costs beyond building its main path,
// over that build.
void BM_SetPathFoldersWarm(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto host = MakeHost();
    const auto folders = tfsp::test::MainFolderIRIs(Tree());
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        host->SetPathFolders(FolderRange(folders));
        total += Seconds(start);
    }
    const double build = BuildSeconds(*host->GetManager().GetMainPath()->GetMainEntries());
    const double alteration = total / static_cast<double>(state.iterations());
    state.counters["build_ms"] = 1e3 * build;
    state.counters["road_percent"] = 100.0 * (alteration - build) / build;
}
BENCHMARK(BM_SetPathFoldersWarm)->Unit(benchmark::kMillisecond);

storage::filefolderobserver::IFileFolderObserverFactory& Observers() {
    return storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
}

// Refresh(0) with no folder changed: one read of the observers' event queue,
// then one look at each entry's observer. "folder_watches" counts the
// watches of the folders on the path, "ancestor_watches" those set only for
// the folders above them, so that moves and deletions there are seen.
void BM_RefreshNothingChanged(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto host = MakeHost();
    for (auto _ : state) benchmark::DoNotOptimize(host->GetManager().Refresh(TrustObservers));
    state.counters["folder_watches"] =
        static_cast<double>(storage::filefolderobserver::testhooks::WatchCountForTesting(Observers()));
    state.counters["ancestor_watches"] =
        static_cast<double>(storage::filefolderobserver::testhooks::AncestorWatchCountForTesting(Observers()));
}
BENCHMARK(BM_RefreshNothingChanged)->Unit(benchmark::kMicrosecond);

// From a file's creation to the lookup that finds it: the file is made, then
// one Refresh(0) and one lookup, the way a host's user saves a file and runs
// it at the next prompt; then the file is removed the same way (not timed).
// The argument is the number of folders on the path (at most the tree's main
// folders), the file going to the one in the middle.
void BM_CreationToVisible(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto& all = Tree().mainFolders();
    const std::size_t count = std::min(static_cast<std::size_t>(state.range(0)), all.size());
    std::vector<foundation::storage::vfs::AbsoluteIRI> folders;
    for (std::size_t i = 0; i < count; ++i) folders.push_back(GetIRIFromString(fl::i18n::utf8_to_ustring(all[i])));
    auto host = CreateSearchPathSession();
    host->SetPathFolders(FolderRange(folders));
    const std::string folder = all[count / 2];
    static constexpr PathEntryType plainFolders[] = {Main};
    const auto finds = [&] {
        const detail::SearchTarget target(u"visible_new", {u".tf"});
        return host->GetManager()
            .GetSearchPath()
            ->FindFirstInScope(plainFolders, target, StorageSystemRule)
            .has_value();
    };
    for (auto _ : state) {
        std::ofstream(folder + "/visible_new.tf").flush();
        host->GetManager().Refresh(TrustObservers);
        if (!finds()) state.SkipWithError("a refresh after the creation didn't find the file");
        state.PauseTiming();
        std::filesystem::remove(folder + "/visible_new.tf");
        host->GetManager().Refresh(TrustObservers);
        if (finds()) state.SkipWithError("a refresh after the removal still found the file");
        state.ResumeTiming();
    }
    state.counters["folders"] = static_cast<double>(count);
}
BENCHMARK(BM_CreationToVisible)->Arg(1)->Arg(2000)->Unit(benchmark::kMicrosecond);

// Refresh(0) after one file was added to one folder, once the observer has
// heard of it. "budget_ms" is one listing of that folder plus one build of
// the main path; "percent_of_budget" the refresh over it.
void BM_RefreshOneFileAdded(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    const auto host = MakeHost();
    const std::string folder = Tree().mainFolders()[Tree().mainFolders().size() / 3];
    const auto iri = GetIRIFromString(fl::i18n::utf8_to_ustring(folder));
    const auto entry = [&] {
        return host->GetManager().GetMainPath()->GetPathEntryFromAbsoluteIRI(
            foundation::storage::vfs::CanonicalAbsoluteIRI(iri, u""));
    };
    double total = 0;
    int added = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::ofstream(folder + "/added" + std::to_string(added++) + ".tf").flush();
        while (!entry()->IsOutOfDate()) std::this_thread::sleep_for(std::chrono::microseconds(100));
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        host->GetManager().Refresh(TrustObservers);
        total += Seconds(start);
    }
    for (int i = 0; i < added; ++i) std::filesystem::remove(folder + "/added" + std::to_string(i) + ".tf");
    const auto listingStart = std::chrono::steady_clock::now();
    const int listings = 20;
    for (int i = 0; i < listings; ++i)
        benchmark::DoNotOptimize(foundation::storage::vfs::Folder(iri, OrvianStorageSystem::GetStorageSystemReference())
                                     .listFiles(u"")
                                     .size());
    const double listing = Seconds(listingStart) / listings;
    const double budget = listing + BuildSeconds(*host->GetManager().GetMainPath()->GetMainEntries());
    state.counters["budget_ms"] = 1e3 * budget;
    state.counters["percent_of_budget"] = 100.0 * total / static_cast<double>(state.iterations()) / budget;
}
BENCHMARK(BM_RefreshOneFileAdded)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace
