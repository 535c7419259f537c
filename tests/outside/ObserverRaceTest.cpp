// The observers' reader thread delivers changes while entries of the same
// folders are made and destroyed on other threads: the watches those entries
// share outlive the churn, and a folder nobody changes keeps its entry.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "tfsearch_path/IPathEntry.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace tfsp::test {
namespace {

using namespace Thornfell::PathManagement;

class ObserverRaceTest : public EngineFixture {
protected:
    TempTree tree;
};

TEST_F(ObserverRaceTest, EntriesComeAndGoWhileTheirFoldersChangeAndWatchesStayTrue) {
    constexpr int kBusy = 3;
    constexpr int kWrites = 25;
    const IPathEntryFactory& factory = GetPathEntryFactory();
    tree.file("still/a.tf");
    for (int i = 0; i < kBusy; ++i) tree.file("busy" + std::to_string(i) + "/a.tf");
    // Held throughout: the factory hands out this one while it is up to date.
    const PathEntryPointer still = factory.GetPathEntry(tree.iri("still"));

    std::atomic<bool> written{false};
    std::atomic<int> wrong{0}, rounds{0};
    std::vector<std::thread> threads;
    // Nobody holds the busy entries: each round builds them anew, each with a
    // new observer on its folder's watch, and drops them again.
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            while (!written || rounds < 10) {
                for (int i = 0; i < kBusy; ++i) factory.GetPathEntry(tree.iri("busy" + std::to_string(i)));
                if (factory.GetPathEntry(tree.iri("still")) != still) ++wrong;
                ++rounds;
            }
        });
    threads.emplace_back([&] {
        for (int n = 0; n < kWrites; ++n)
            for (int i = 0; i < kBusy; ++i) tree.file("busy" + std::to_string(i) + "/n" + std::to_string(n) + ".tf");
        written = true;
    });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);

    // Every watch still reports: the held entries go out of date on the next change.
    std::vector<PathEntryPointer> busy;
    for (int i = 0; i < kBusy; ++i) {
        // An entry the factory still shares has heard of the last writes
        // once they are handed over.
        SynchronizeObservers();
        PathEntryPointer entry = factory.GetPathEntry(tree.iri("busy" + std::to_string(i)));
        EXPECT_EQ(entry->GetPathItems()->size(), 1u + kWrites) << "busy" << i;
        busy.push_back(entry);
    }
    ASSERT_FALSE(still->IsOutOfDate());
    tree.file("still/final.tf");
    for (int i = 0; i < kBusy; ++i) tree.file("busy" + std::to_string(i) + "/final.tf");
    SynchronizeObservers();
    EXPECT_TRUE(still->IsOutOfDate());
    for (const PathEntryPointer& entry : busy) EXPECT_TRUE(entry->IsOutOfDate());
}

}  // namespace
}  // namespace tfsp::test
