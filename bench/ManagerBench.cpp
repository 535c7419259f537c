// What a change of the working folder costs on a 2,000-folder path, next to
// the cost of building that main path. A change of the current folder must
// only recompose wrappers around the main path, never rebuild its indexes.
#include "support/BenchEntries.hpp"

#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>

namespace {

using namespace Thornfell::PathManagement;

const tfsp::bench::GeneratedTree& Tree() {
    static const tfsp::bench::GeneratedTree tree(tfsp::bench::GeneratedTreeOptions{});
    return tree;
}

// An engine instance with a manager whose path holds every main folder of the tree.
struct Host {
    Host() : current(engine) {
        const auto folders = tfsp::bench::MainFolderIRIs(Tree());
        manager = CreateMainSearchPathManager(foundation::msg_svc::eventmgr::getEngineEventMgr(), registry);
        foundation::core::except::Notification notification;
        manager->SetPathFolders(FolderRange(folders), notification);
    }
    ~Host() { manager.reset(); }

    foundation::usm::EngineInstance engine;
    foundation::usm::EngineInstance::MakeCurrent current;
    OrvianComponents::ModularPackageRegistry registry{
        [](PathEntryVector entries) { return GetCurrentPathFactory().CreatePath(std::move(entries)); }};
    std::unique_ptr<IMainSearchPathManager> manager;
};

void Cd(const std::string& folder) {
    Thornfell::current_working_folder::GetCurrentWorkingFolder().set(GetIRIFromString(fl::i18n::utf8_to_ustring(folder)));
}

// The working folder moves between a folder off the path and one in the
// middle of it, and back: each move composes and installs a new search path.
// "build_ms" is the build of the main path itself, timed in the same run, and
// "percent_of_build" the change over that build.
void BM_CurrentFolderChange(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::resetForTesting();
    const std::string offPath = Tree().root() + "/elsewhere";
    std::filesystem::create_directories(offPath);
    const std::string onPath = Tree().mainFolders()[Tree().mainFolders().size() / 2];
    Host host;
    const PathEntryVector mainEntries = *host.manager->GetMainPath()->GetMainEntries();
    bool toggle = false;
    for (auto _ : state) {
        Cd((toggle = !toggle) ? onPath : offPath);
        benchmark::DoNotOptimize(host.manager->GetSearchPath().get());
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

} // namespace
