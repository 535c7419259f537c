#pragma once
// The loop that a path's builds run on the oneTBB pool, and the size of the
// chunks that builds and parallel queries hand it.
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>

#include <cstddef>

namespace Thornfell::PathManagement {

// Every loop of the build and of a parallel query hands the pool chunks of
// about this many indices: one entry is too little work for a task.
inline constexpr std::size_t kGrainSize = 32;

inline tbb::blocked_range<std::size_t> IndexRange(std::size_t count) { return {0, count, kGrainSize}; }

// Calls `body` once for each index of `range`, in ascending order within each
// chunk, on the pool; returns when all calls have returned. An exception of a
// call cancels the loop and reaches the caller.
template <class Body>
void ParallelForEachInRange(const tbb::blocked_range<std::size_t>& range, const Body& body) {
    if (range.empty()) return;
    tbb::parallel_for(
        range,
        [&body](const tbb::blocked_range<std::size_t>& chunk) {
            for (std::size_t index = chunk.begin(); index != chunk.end(); ++index) body(index);
        },
        tbb::auto_partitioner());
}

}  // namespace Thornfell::PathManagement
