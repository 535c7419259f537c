// What following the package registry costs: one package installed into a
// registry of 200 packages while the path holds 2,000 folders. The
// coordinator's own work (planning and messages) is set against the path
// build that the change causes, timed in the same run.
#include "support/GeneratedTree.hpp"

#include "foundation/usm/StateStore.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/IPathFactory.hpp"
#include "tfsearch_path/ISearchPathSession.hpp"
#include "tfsearch_path/PackagesOnPathCoordinator.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <benchmark/benchmark.h>

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/nil_generator.hpp>

#include <chrono>
#include <filesystem>

namespace {

using namespace Thornfell::PathManagement;
namespace registry = Thornfell::PackageRegistry;
using Clock = std::chrono::steady_clock;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

constexpr std::size_t RegistryPackages = 200;

const tfsp::test::GeneratedTree& Tree() {
    // Main folders only, so that all 2,000 stand on the path.
    static const tfsp::test::GeneratedTree tree([] {
        tfsp::test::GeneratedTreeOptions options = tfsp::test::BenchmarkTreeOptions();
        options.packageFraction = options.classFraction = options.privateFraction = 0;
        return options;
    }());
    return tree;
}

// Hands every call to the manager, and times SetPathFolders: what the
// coordinator spends beyond that is its own.
class TimedManager final : public IMainSearchPathManager {
public:
    explicit TimedManager(IMainSearchPathManager& inner) : inner(inner) {}

    std::shared_ptr<const IPath> GetSearchPath() const override { return inner.GetSearchPath(); }
    std::shared_ptr<const IPath> GetUserSearchPath() const override { return inner.GetUserSearchPath(); }
    bool Refresh(RefreshType type) override { return inner.Refresh(type); }
    void SetPathFolders(const CanonicalFolderRange& folders, foundation::core::except::Notification& n) override {
        const auto start = Clock::now();
        inner.SetPathFolders(folders, n);
        setPathSeconds += std::chrono::duration<double>(Clock::now() - start).count();
    }
    void SetPathFolders(const FolderRange& folders, foundation::core::except::Notification& n) override {
        inner.SetPathFolders(folders, n);
    }
    std::shared_ptr<const IPath> GetMainPath() const override { return inner.GetMainPath(); }
    IFolderMonitor& GetFolderMonitor() const override { return inner.GetFolderMonitor(); }
    std::shared_ptr<void> PushMutabilityPolicy(PathManagerMutabilityPolicy p) override {
        return inner.PushMutabilityPolicy(p);
    }
    void SetMutabilityPolicy(PathManagerMutabilityPolicy p) override { inner.SetMutabilityPolicy(p); }
    std::optional<OrvianComponents::ComponentIdentifier> GetCurrentFolderComponent() const override {
        return inner.GetCurrentFolderComponent();
    }
    std::shared_ptr<const ComponentVector> GetComponentsOnPath() const override { return inner.GetComponentsOnPath(); }
    void SetCurrentFolderPolicy(CurrentFolderPolicy p) override { inner.SetCurrentFolderPolicy(p); }
    std::shared_ptr<const CanonicalFolderVector> GetPathFolders() const override { return inner.GetPathFolders(); }
    std::shared_ptr<PathMemento> CreateMemento() const override { return inner.CreateMemento(); }
    void RestoreMemento(const PathMemento& memento) override { inner.RestoreMemento(memento); }

    IMainSearchPathManager& inner;
    double setPathSeconds = 0;
};

registry::PackageDescription Package(const std::string& root) {
    static const boost::uuids::name_generator_sha1 uuidOf(boost::uuids::nil_uuid());
    const std::string name = std::filesystem::path(root).filename().string();
    return {.id = OrvianComponents::ComponentIdentifier(fl::i18n::utf8_to_ustring(name),
                                                        OrvianComponents::ComponentVersion("1"), uuidOf(root)),
            .root = CanonicalAbsoluteIRI(GetIRIFromString(fl::i18n::utf8_to_ustring(root)), ustring())};
}

// Main folders spread over the path are the roots of the 200 packages; the new
// package lies off the path and goes to its back. Counters: "change_us", the
// whole change; "set_path_us", the manager's part of it; "coordinator_us",
// the rest; "build_ms", a build of the path of all main folders; and
// "percent_of_build", the coordinator's work over that build.
void BM_InstallOnePackage(benchmark::State& state) {
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    OrvianComponents::ComponentFeature::Set(true);
    OrvianComponents::GUPFeature::Set(true);
    const auto session = CreateSearchPathSession();
    auto& registrar = registry::GetPackageRegistrarForUpdate();

    const auto& mainFolders = Tree().mainFolders();
    registry::PackageRegistryBuilder builder;
    const std::size_t stride = mainFolders.size() / RegistryPackages;
    for (std::size_t i = 0; i < RegistryPackages; ++i) builder.Add(Package(mainFolders[i * stride]));
    const auto base = builder.Build();
    const std::string extraRoot = Tree().root() + "/installed-package";
    std::filesystem::create_directories(extraRoot + "/member");
    auto extra = Package(extraRoot);
    extra.pathFolders = {
        CanonicalAbsoluteIRI(GetIRIFromString(fl::i18n::utf8_to_ustring(extraRoot + "/member")), ustring())};
    const auto withExtra = registry::PackageRegistryBuilder(*base).Add(extra).Build();
    registrar.Install(base);

    session->SetPathFolders(FolderRange(tfsp::test::MainFolderIRIs(Tree())));
    IMainSearchPathManager& manager = session->GetManager();
    TimedManager timed(manager);
    std::size_t messages = 0;
    InstallPackagesOnPathCoordinator(*foundation::msg_svc::eventmgr::getEngineEventMgr(), timed,
                                     [&messages](const foundation::core::except::Notification& n) {
                                         messages += n.size();
                                     });

    double changeSeconds = 0;
    for (auto _ : state) {
        timed.setPathSeconds = 0;
        const auto start = Clock::now();
        registrar.Install(withExtra);
        const double change = std::chrono::duration<double>(Clock::now() - start).count();
        const double setPath = timed.setPathSeconds;
        state.SetIterationTime(change);
        changeSeconds += change;
        state.PauseTiming();
        registrar.Install(base);
        state.ResumeTiming();
        state.counters["set_path_us"] += 1e6 * setPath;
    }
    const double iterations = static_cast<double>(state.iterations());
    const double coordinatorUs = 1e6 * changeSeconds / iterations - state.counters["set_path_us"] / iterations;

    const PathEntryVector mainEntries = *manager.GetMainPath()->GetMainEntries();
    double build = 0;
    const int builds = 5;
    for (int i = 0; i < builds; ++i) {
        const auto start = Clock::now();
        auto path = GetCurrentPathFactory().CreatePath(mainEntries);
        build += std::chrono::duration<double>(Clock::now() - start).count();
    }
    const double buildMs = 1e3 * build / builds;
    state.counters["change_us"] = 1e6 * changeSeconds / iterations;
    state.counters["set_path_us"] = state.counters["set_path_us"] / iterations;
    state.counters["coordinator_us"] = coordinatorUs;
    state.counters["build_ms"] = buildMs;
    state.counters["percent_of_build"] = 100.0 * coordinatorUs / (1e3 * buildMs);
    state.counters["path_folders"] = static_cast<double>(manager.GetPathFolders()->size());
    state.counters["messages"] = static_cast<double>(messages);
}
BENCHMARK(BM_InstallOnePackage)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(20);

}  // namespace
