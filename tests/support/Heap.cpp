#include "support/Heap.hpp"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace tfsp::test {

namespace {

// Large enough to be served by the arena's lists rather than by its fast
// bins, small enough not to be mapped apart from the heap.
constexpr std::size_t kLargeRequest = 64 * 1024;

void AskForALargeBlock() {
    void* block = std::malloc(kLargeRequest);
    // The compiler may drop an allocation that nothing reads.
    asm volatile("" : : "r"(block) : "memory");
    std::free(block);
}

}  // namespace

void SettleHeap() {
    // One share for each thread of the pool, the calling one among them: a
    // share waits until all are taken (a second at most), so that no thread
    // takes two.
    const int threads = tbb::this_task_arena::max_concurrency();
    std::atomic<int> taken{0};
    tbb::parallel_for(
        tbb::blocked_range<int>(0, threads, 1),
        [&](const tbb::blocked_range<int>&) {
            AskForALargeBlock();
            taken.fetch_add(1);
            const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(1);
            while (taken.load() < threads && std::chrono::steady_clock::now() < giveUp) std::this_thread::yield();
        },
        tbb::static_partitioner());
}

}  // namespace tfsp::test
