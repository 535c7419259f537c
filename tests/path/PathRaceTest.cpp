// Paths built, queried and dropped on several threads at once while the
// worker frees the maps of the dropped ones, and the worker's end racing the
// last drops. Small enough for the ThreadSanitizer run, large enough that
// every build and query spreads over the pool.
#include "PathTestHelpers.hpp"

#include "PathFactory.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

namespace tfsp::test {
namespace {

class PathRaceTest : public EngineFixture {
protected:
    // 80 main folders, each with a private folder: 160 entries hold "common",
    // well above the count from which a query runs on the pool.
    PathRaceTest() {
        for (int i = 0; i < 80; ++i) {
            const ustring folder = Utf16("/virtual/m" + std::to_string(i));
            mains.push_back(MemoryEntry(folder, Main, {u"common", Utf16("own" + std::to_string(i))},
                                        MemoryEntry(folder + u"/private", Private, {u"common"})));
        }
    }
    static std::vector<const IPathEntry*> Holders(const IPath& path) {
        std::vector<const IPathEntry*> holders;
        for (const FoundItem& found :
             path.FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"common", {u".tf"}), CaseRuleOne))
            holders.push_back(found.GetPathEntry().get());
        return holders;
    }
    // Once no path is left, `mains` holds the only share of each entry.
    bool NoPathHoldsAnEntry() const {
        return std::all_of(mains.begin(), mains.end(), [](const PathEntryPointer& e) { return e.use_count() == 1; });
    }

    PathEntryVector mains;
    std::unique_ptr<PathFactory> factory =
        std::make_unique<PathFactory>(OrvianStorageSystem::GetStorageSystemReference());
};

TEST_F(PathRaceTest, ThreadsBuildQueryAndDropPathsOfTheSameEntriesWhileTheWorkerFrees) {
    const std::vector<const IPathEntry*> expected = Holders(*factory->CreatePath(mains));
    ASSERT_EQ(expected.size(), 160u);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 12; ++i) {
                const auto path = factory->CreatePath(mains);
                const auto own =
                    path->FindFirstInScope(allEntryTypesScope,
                                           detail::SearchTarget(Utf16("own" + std::to_string(t * 12 + i)), {u".tf"}),
                                           CaseRuleOne);
                if (Holders(*path) != expected || !own || own->GetPathEntry() != mains[t * 12 + i]) ++wrong;
            }  // each path goes here, its maps to the worker
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    factory.reset();  // the worker runs out its queue and ends
    EXPECT_TRUE(NoPathHoldsAnEntry());
}

TEST_F(PathRaceTest, TheWorkerEndsWhileOtherThreadsDropTheirLastPaths) {
    constexpr int kDroppers = 4;
    std::latch start(kDroppers + 1);
    std::vector<std::thread> droppers;
    for (int t = 0; t < kDroppers; ++t)
        droppers.emplace_back([&, path = factory->CreatePath(mains)]() mutable {
            start.arrive_and_wait();
            path.reset();  // to the worker, or freed here if the worker has gone
        });
    start.arrive_and_wait();
    factory.reset();
    for (std::thread& dropper : droppers) dropper.join();
    EXPECT_TRUE(NoPathHoldsAnEntry());
}

}  // namespace
}  // namespace tfsp::test
