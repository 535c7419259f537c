// The worker thread that frees the maps of dropped paths, and the factory
// that owns it.
#include "PathTestHelpers.hpp"

#include "AsynchronousWorkerQueue.hpp"
#include "Path.hpp"
#include "PathFactory.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/memmgr/Leaks.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "tfsearch_path/PathEvents.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>

namespace tfsp::test {
namespace {

using ::testing::Each;
using ::testing::Eq;
using ::testing::SizeIs;

// Records the name of the thread on which each entry is destroyed.
class DestructionThreads {
public:
    DestructionThreads()
        : connection_(ovutil::eventmgr::createLocalEventMgr(boost::none)
                          ->subscribe(PathEntryWillBeDestroyedEvent::TypeName(),
                                      [this](const foundation::msg_svc::eventmgr::BaseEvent&) {
                                          std::lock_guard lock(mutex_);
                                          names_.push_back(foundation::core::diag::getCurrentThreadName());
                                      })) {}
    std::vector<std::string> Names() {
        std::lock_guard lock(mutex_);
        return names_;
    }

private:
    std::mutex mutex_;
    std::vector<std::string> names_;
    foundation::msg_svc::eventmgr::ScopedConnection connection_;
};

class PathWorkerTest : public EngineFixture {
protected:
    // Some main folders, each with a package, a class and a private folder.
    PathEntryVector MainEntries(int count) {
        PathEntryVector entries;
        for (int i = 0; i < count; ++i) {
            const std::string folder = "m" + std::to_string(i);
            for (const char* file : {"/x.tf", "/+pkg/y.tf", "/@cls/z.tf", "/private/w.tf"}) tree.file(folder + file);
            entries.push_back(GetPathEntryFactory().GetPathEntry(tree.iri(folder)));
        }
        return entries;
    }
    static std::packaged_task<void()> Task(std::function<void()> work) { return std::packaged_task<void()>(work); }
    TempTree tree;
};

TEST_F(PathWorkerTest, AStoppingQueueRunsWhatIsPendingBeforeItsThreadEnds) {
    auto queue = std::make_unique<AsynchronousWorkerQueue>();
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future().share();
    std::atomic<int> ran{0};
    queue->Enqueue(Task([opened] { opened.wait(); }));
    queue->Enqueue(Task([] { throw std::runtime_error("kept in the task, not on the worker"); }));
    for (int i = 0; i < 100; ++i) queue->Enqueue(Task([&ran] { ++ran; }));
    std::thread stopper([&queue] { queue.reset(); });
    // Most often the stop is asked for while the tasks still wait; the result
    // must be the same if not.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    gate.set_value();
    stopper.join();
    EXPECT_EQ(ran, 100);
}

TEST_F(PathWorkerTest, ALeakSnapshotReturnsOnlyOnceTheWorkerIsIdle) {
    AsynchronousWorkerQueue queue;
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future().share();
    std::atomic<int> ran{0};
    queue.Enqueue(Task([opened] { opened.wait(); }));
    for (int i = 0; i < 50; ++i) queue.Enqueue(Task([&ran] { ++ran; }));
    int ranWhenSnapshotReturned = -1;
    std::thread snapshot([&] {
        foundation::memmgr::leaks::takeSnapshot();
        ranWhenSnapshotReturned = ran;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    gate.set_value();
    snapshot.join();
    EXPECT_EQ(ranWhenSnapshotReturned, 50);
}

TEST_F(PathWorkerTest, EntriesDieOnTheThreadThatDropsThePathNeverOnTheWorker) {
    DestructionThreads destroyed;
    auto queue = std::make_shared<AsynchronousWorkerQueue>();
    // The worker is held up until the path is gone, so that any share of an
    // entry that reached it would be the last one.
    std::promise<void> gate;
    queue->Enqueue(Task([opened = gate.get_future().share()] { opened.wait(); }));
    auto path = std::make_shared<const Path>(MainEntries(70), queue, OrvianStorageSystem::GetStorageSystemReference());
    std::thread([last = std::move(path)]() mutable {
        foundation::core::diag::setCurrentThreadName("dropper");
        last.reset();
    }).join();
    gate.set_value();
    foundation::memmgr::leaks::takeSnapshot();  // every map has been freed
    EXPECT_THAT(destroyed.Names(), SizeIs(70 * 4));
    EXPECT_THAT(destroyed.Names(), Each(Eq("dropper")));
}

TEST_F(PathWorkerTest, APathThatOutlivesItsFactoryFreesEverythingItself) {
    DestructionThreads destroyed;
    foundation::core::diag::setCurrentThreadName("owner");
    auto factory = std::make_unique<PathFactory>(OrvianStorageSystem::GetStorageSystemReference());
    auto path = factory->CreatePath(MainEntries(2));
    factory.reset();  // the worker is gone
    EXPECT_TRUE(path->FindFirstInScope(allEntryTypesScope, detail::SearchTarget(u"+pkg/y", {u".tf"}), CaseRuleOne));
    path.reset();
    EXPECT_THAT(destroyed.Names(), SizeIs(2 * 4));
    EXPECT_THAT(destroyed.Names(), Each(Eq("owner")));
    foundation::core::diag::setCurrentThreadName("");
}

TEST_F(PathWorkerTest, OneFactoryForEachEngineInstance) {
    const IPathFactory& factory = GetCurrentPathFactory();
    EXPECT_EQ(&GetCurrentPathFactory(), &factory);
    foundation::usm::EngineInstance other;
    foundation::usm::EngineInstance::MakeCurrent current(other);
    EXPECT_NE(&GetCurrentPathFactory(), &factory);
}

}  // namespace
}  // namespace tfsp::test
